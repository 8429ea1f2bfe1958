#pragma once

#include "runner/record/PropertyChange.h"
#include "runner/record/RunRecord.h"
#include "runner/run/EventRun.h"

#include <QByteArray>
#include <QString>
#include <QVector>

class Project;

/// The events of an open instance since its file was read, and what the script did: what a test is
/// made of. What changed between two events becomes edits of the later one.
class SessionRecording
{
public:
    /// Forgets all events; the tree was read from its file.
    void restart();

    /// @param run recorded with RunRecorder::Recording::Accesses
    /// @param before what the tree held, and its file does not, when the function was called
    /// @param after the same when it had returned
    void add(const ScriptRun &run, const QVector<PropertyChange> &before,
             const QVector<PropertyChange> &after);

    /// Why these events make no test; empty when they do.
    QString error() const;

    QByteArray toTest(const Project &project, const QString &instance, DialogReach reach) const;

private:
    QVector<EventRun::Edit> editsTo(const QVector<PropertyChange> &changes);

    QVector<EventRun::Event> m_events;
    RunRecord m_report;
    QVector<PropertyChange> m_changes; ///< behind the last event
    QString m_error;
};
