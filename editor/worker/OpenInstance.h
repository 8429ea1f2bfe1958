#pragma once

#include "editor/data/InstanceReport.h"
#include "editor/data/SaveReport.h"
#include "editor/worker/SessionRecording.h"
#include "runner/run/DialogScript.h"
#include "runner/run/DialogSession.h"

#include <QByteArray>
#include <QSharedPointer>
#include <QString>
#include <QVariant>
#include <QVector>

#include <memory>
#include <optional>

class FileTreeNode;
class Project;
class ScriptStopper;

/**
 * An instance that the user edits, on the worker's thread: its tree, and the dialog session that
 * brings it together with its user-interface script.
 *
 * Each operation makes a HostSession: there must be none. Project and stopper outlive it.
 */
class OpenInstance
{
public:
    OpenInstance(const Project &project, DialogReach reach, ScriptStopper &stopper,
                 const QString &instance);
    ~OpenInstance();

    /// Reads tree and script, and fires onOpen. What was changed and not saved stays, if there is
    /// still a node for it.
    InstanceReport open();

    /// What the script reaches from the next open() on.
    void setReach(DialogReach reach) { m_reach = reach; }

    /// Forgets what was changed and not saved.
    void discardChanges();

    /// Changes a property as the user, and fires onValueChange. When that is not possible, the
    /// report's edit leads back to the value that stands.
    EventReport edit(const QString &path, const QString &key, const QVariant &value);

    /// Changes properties without an event; an invalid new value removes what the file does not
    /// hold.
    void apply(const QVector<PropertyChange> &changes);

    /// Fires onOk, and writes the tree when the script agrees.
    SaveReport save();

    /// A test of what happened since the instance was read or saved last.
    /// @return nothing, with @p error set, when that makes no test
    std::optional<QByteArray> recordedTest(QString &error) const;

    /// A copy of the tree as it stands.
    QSharedPointer<FileTreeNode> copyOfTree() const;

    bool isUnsaved() const { return !changes().isEmpty(); }

    /// Whether the file holds something else than was read, or could not be used.
    bool isTreeStale() const;
    bool isScriptStale() const;

private:
    bool readTree(InstanceReport &report);
    bool readScript(InstanceReport &report);
    QString scriptFile() const;
    void bind(const QSharedPointer<FileTreeNode> &root, const QVector<PropertyChange> &changes);
    QVector<PropertyChange> changes() const;
    EventReport fire(const QString &function, const QString &argument = QString());
    EventReport takeEvent(const QDateTime &time, const QVector<PropertyChange> &before);
    bool write(QStringList &recoveries, QString &error);

    const Project &m_project;
    DialogReach m_reach;
    ScriptStopper &m_stopper;
    const QString m_instance;
    DialogScript m_script;
    QSharedPointer<FileTreeNode> m_root; ///< null when the tree cannot be used
    std::unique_ptr<DialogSession> m_session; ///< null when tree or script cannot be used
    SessionRecording m_recording;
    bool m_isTreeWrong = false; ///< the file's, which could not be read again
};
