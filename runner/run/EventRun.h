#pragma once

#include "filehost/HostSession.h"
#include "runner/record/RunRecord.h"
#include "runner/record/RunRecorder.h"
#include "runner/run/DialogSession.h"

#include <QSharedPointer>
#include <QString>
#include <QVector>

#include <optional>

class FileTreeNode;
class Project;
class ScriptGuard;

/// Fires events of one instance's user-interface script, as a dialog does, and tells what the
/// script did.
class EventRun
{
public:
    using Edit = DialogSession::Edit;

    struct Event
    {
        QVector<Edit> edits; ///< before the function is called
        QString function;
        QString argument; ///< for onSave, the instance's own URL when empty
    };

    EventRun(const Project &project, const QString &instance, DialogReach reach,
             ScriptGuard &guard);

    void setRecording(RunRecorder::Recording recording);

    /**
     * Fires the events in one dialog's life, then saves, if they allow it.
     * Makes a HostSession: there must be none.
     * @return one run for each event; nothing, with @p error set to one line, when the instance or
     *         its script cannot be read, or an edit is not possible
     */
    std::optional<RunRecord> run(const QVector<Event> &events, HostSession::Writing writing,
                                 QString &error) const;

private:
    QSharedPointer<FileTreeNode> readInstance(QString &error) const;
    static bool areEditsPossible(const FileTreeNode &root, const QVector<Event> &events,
                                 QString &error);

    const Project &m_project;
    const QString m_instance;
    const DialogReach m_reach;
    ScriptGuard &m_guard;
    RunRecorder::Recording m_recording = RunRecorder::Recording::Writes;
};
