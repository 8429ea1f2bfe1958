#pragma once

#include "JavaScript/JavaScriptRunObserver.h"
#include "filehost/TreeObserver.h"
#include "runner/record/MessageLog.h"
#include "runner/record/RunRecord.h"
#include "runner/record/ScriptGuard.h"

#include <QHash>
#include <QPair>
#include <QSet>
#include <QSharedPointer>

#include <chrono>
#include <functional>
#include <unordered_map>
#include <vector>

class Project;

/// Watches scripts, trees and messages while scripts run, and makes the record. Runs may nest.
class RunRecorder : public JavaScriptRunObserver, public TreeObserver, public MessageLog
{
public:
    /// What the record holds of a run: what came of it; its writes, too; or all that it did with
    /// properties. Of a property that was read again, before anything was written to it, only the
    /// first time.
    enum class Recording { Outcome, Writes, Accesses };

    /// Told how far a run is.
    /// @param total how many there are in all; 0 when nobody knows
    using Progress = std::function<void(const QString &activity, int done, int total)>;

    /// @param interrupt stops the script that runs, and its like, or lets them go on
    RunRecorder(const Project &project, Recording recording, ScriptGuard &guard,
                ScriptGuard::Interrupt interrupt);

    void setProgress(const Progress &progress);

    /// All runs to come are of a dialog on this tree, with this script. Without it, runs are those
    /// of a resolver, which tells the instance; its tree names the script.
    void setSubject(const FileTree &tree, const QString &script);

    /// The dependency script of an instance whose tree is not read from a file of its own.
    void setScript(const QString &instance, const QString &fileName);

    void instanceAnnounced(const QString &instance);

    /// What was saved so far is not, after all.
    void savingFailed(const QString &reason);

    const QVector<ScriptRun> &runs() const { return m_runs; }

    /// What was seen; the runs in their order. Nothing of it is kept: of the trees that nobody else
    /// uses any more, each one makes room for its changes.
    RunRecord takeRecord();

    void instanceBegins(const QString &instanceName) override;
    void runBegins(const QString &functionName, const QString &argument) override;
    void apiCalled(const QByteArray &operation, const QStringList &texts) override;
    void exceptionThrown(int line, const QString &text) override;
    void runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors) override;

    void treeRead(const QSharedPointer<const FileTreeNode> &root) override;
    void propertyRead(const FileTreeNode &node, const QString &propertyKey,
                      const QVariant &value) override;
    void propertyWritten(const FileTreeNode &node, const QString &propertyKey,
                         const QVariant &oldValue, const QVariant &newValue) override;
    void propertyConfirmed(const FileTreeNode &node, const QString &propertyKey,
                           const QVariant &value) override;
    void treeSaved(const FileTreeNode &root, const QString &filePath) override;
    void treeNotSaved(const FileTreeNode &root, const QString &reason) override;

    void consoleMessage(QtMsgType level, int line, const QString &text) override;
    void message(const QString &function, const QString &text) override;

private:
    using Clock = std::chrono::steady_clock;

    enum class Fate { NotSaved, Saved, Failed };

    /// What is known of a run before it has ended. Of a script's text, it goes on with the first
    /// call of a function.
    struct RunInProgress
    {
        ScriptRun run;
        bool hasException = false;
        QStringList handlerWarnings; ///< of the library's handler, which tells of exceptions, too
        QSet<QPair<const FileTreeNode *, QString>> knownReads;
        Clock::time_point begin;
    };

    /// The node knows the values.
    struct WrittenProperty
    {
        QSharedPointer<const FileTreeNode> node;
        QString key;
    };

    /// A tree that was written to.
    struct WrittenTree
    {
        Fate fate = Fate::NotSaved;
        QString error;
        QVector<WrittenProperty> properties;
        QSet<QPair<const FileTreeNode *, QString>> index; ///< of the properties, if many
    };

    void record(TreeAccess::Kind kind, const FileTreeNode &node, const QString &propertyKey,
                const QVariant &value, const QVariant &oldValue = QVariant());
    static bool isKnown(WrittenTree &tree, const FileTreeNode &node, const QString &propertyKey);
    static QVector<PropertyChange> netChanges(const WrittenTree &tree);

    void addWarning(const QString &text);
    void showProgress(const QString &activity, int done, int total) const;

    const Project &m_project;
    const Recording m_recording;
    ScriptGuard &m_guard;
    const ScriptGuard::Interrupt m_interrupt;
    Progress m_progress;
    QString m_configurationFolder;
    QHash<QString, QString> m_scripts; ///< instance to its dependency script
    const FileTree *m_subject = nullptr; ///< a dialog's tree
    QString m_instance; ///< whose script runs
    QString m_script; ///< its file, relative to the project

    QVector<ScriptRun> m_runs;
    RunInProgress m_current;
    std::vector<RunInProgress> m_outer; ///< runs that wait for the end of one begun inside them
    int m_depth = 0; ///< how many runs have begun and not ended
    QSet<const FileTree *> m_commonTrees; ///< that scripts reach by absolute URL
    Clock::time_point m_begin = Clock::now();

    QVector<const FileTree *> m_treeOrder;
    std::unordered_map<const FileTree *, WrittenTree> m_trees;
    int m_savedTrees = 0;
    QSet<QString> m_treesRead; ///< files
    QStringList m_announced;
    QStringList m_warnings;
};
