#pragma once

#include "filehost/HostSession.h"
#include "runner/RunRecorder.h"
#include "runner/RunReport.h"

#include <QSharedPointer>
#include <QString>
#include <QVariant>
#include <QVector>

#include <optional>

namespace ConfigScript {

class FileTreeNode;
class Project;
class ScriptGuard;

/// Fires events of one instance's user-interface script, as a dialog does, and tells what the
/// script did.
class EventRun
{
public:
    /// A value that the user enters.
    struct Edit
    {
        QString relUrl;
        QString key;
        QVariant value;
    };

    struct Event
    {
        QVector<Edit> edits; ///< before the function is called
        QString function;
        QString argument; ///< for onSave, the instance's own URL when empty
    };

    EventRun(const Project &project, const QString &instance, ScriptGuard &guard);

    void setRecording(RunRecorder::Recording recording);

    /**
     * Fires the events in one dialog's life, then saves, unless isToBeSaved() says otherwise.
     * Makes a HostSession: there must be none.
     * @return one run for each event; nothing, with @p error set to one line, when the instance or
     *         its script cannot be read, or an edit is not possible
     */
    std::optional<RunReport> run(const QVector<Event> &events, HostSession::Writing writing,
                                 QString &error) const;

    /// Whether what was done may be saved: what a user-interface host asks before it saves.
    static bool isToBeSaved(const QVector<ScriptRun> &runs);

    /// The report's refusal when it may not.
    static QString refusalOfEvents();

private:
    QSharedPointer<FileTreeNode> readInstance(QString &error) const;
    static bool areEditsPossible(const FileTreeNode &root, const QVector<Event> &events,
                                 QString &error);

    const Project &m_project;
    const QString m_instance;
    ScriptGuard &m_guard;
    RunRecorder::Recording m_recording = RunRecorder::Recording::Writes;
};

} // namespace ConfigScript
