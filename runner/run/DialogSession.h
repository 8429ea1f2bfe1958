#pragma once

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "filehost/HostSession.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"
#include "runner/record/RunRecord.h"
#include "runner/record/RunRecorder.h"
#include "runner/run/DialogReach.h"
#include "runner/run/DialogScript.h"

#include <QSharedPointer>
#include <QString>
#include <QVariant>
#include <QVector>

#include <memory>
#include <optional>

class FileTreeNode;
class Project;
class ScriptGuard;

/**
 * A dialog on one instance, as a user-interface host opens it: the instance's tree, its script, and
 * what the user does to them.
 *
 * A session records what happens. From its construction, and after each takeRecord() from the next
 * operation, it makes a HostSession, until takeRecord() or destruction: there must be no other one.
 * Project and guard outlive the session.
 */
class DialogSession
{
public:
    /// A value that the user enters.
    struct Edit
    {
        QString relUrl;
        QString key;
        QVariant value;
    };

    /// Opens the dialog: evaluates the script, and fires nothing.
    /// @param root the instance's tree, which edits and scripts change
    /// @param script a usable one, or none
    DialogSession(const Project &project, const QSharedPointer<FileTreeNode> &root,
                  const DialogScript &script, DialogReach reach, RunRecorder::Recording recording,
                  ScriptGuard &guard);
    ~DialogSession();

    /// Goes on with another tree of the same instance. The script keeps its variables.
    void bind(const QSharedPointer<FileTreeNode> &root);

    /// Enters a value, and fires nothing. The node must exist.
    /// @return as FileTreeNode::setProperty()
    int edit(const Edit &edit);

    /// Calls an event function, if there is a script.
    /// @param argument for onSave, the instance's own URL when empty
    void fire(const QString &function, const QString &argument = QString());

    /// Whether what was done since a record was last taken may be saved: what every user-interface
    /// host asks before it saves.
    bool isToBeSaved() const;
    static bool isToBeSaved(const QVector<ScriptRun> &runs);

    /// Why nothing is saved when it may not.
    static QString refusalOfEvents();

    /// Whether a tree holds what its file does not.
    bool isChanged() const;

    /**
     * Saves the changed trees, all or none, if they may be saved.
     * @param writing with Nothing, only the record tells what would be saved
     * @return why nothing is saved; empty when all is
     */
    QString save(HostSession::Writing writing);

    /// What was done since a record was last taken.
    RunRecord takeRecord();

private:
    Q_DISABLE_COPY(DialogSession)

    void beginRecording();
    void watch(HostSession::Writing writing);
    void endRecording();
    bool isOwnTreeChanged() const;
    QString saveTrees(HostSession::Writing writing);

    const Project &m_project;
    const DialogScript m_script;
    const RunRecorder::Recording m_recording;
    ScriptGuard &m_guard;
    QSharedPointer<FileTreeNode> m_root;
    QString m_url; ///< of the instance
    std::optional<HostSession> m_hostSession;
    const TextManager m_texts;
    const UnitManagerWrapper m_units;
    const std::unique_ptr<JavaScriptRootPointerHandler> m_otherTrees;
    JavaScriptApi m_api;
    JavaScriptHandler m_handler;
    std::optional<RunRecorder> m_recorder;
    QString m_refusal;
};
