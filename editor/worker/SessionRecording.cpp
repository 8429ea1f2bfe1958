#include "SessionRecording.h"

#include "filehost/JsonValue.h"
#include "runner/scripttest/ScriptTestRecorder.h"

#include <algorithm>

namespace {

/// The change of the same property; the end when there is none.
QVector<PropertyChange>::const_iterator find(const QVector<PropertyChange> &changes,
                                             const PropertyChange &change)
{
    return std::find_if(changes.cbegin(), changes.cend(), [&](const PropertyChange &other) {
        return other.path == change.path && other.key == change.key;
    });
}

} // namespace

void SessionRecording::restart()
{
    *this = SessionRecording();
}

void SessionRecording::add(const ScriptRun &run, const QVector<PropertyChange> &before,
                           const QVector<PropertyChange> &after)
{
    m_events.append({editsTo(before), run.function, run.argument});
    m_report.runs.append(run);
    m_changes = after;
}

/// The edits that lead there from behind the last event.
QVector<EventRun::Edit> SessionRecording::editsTo(const QVector<PropertyChange> &changes)
{
    QVector<EventRun::Edit> edits;
    for (const PropertyChange &known : qAsConst(m_changes)) {
        if (find(changes, known) != changes.cend()) {
            continue;
        }
        if (known.oldValue.isValid()) {
            edits.append({known.path, known.key, known.oldValue});
        } else if (m_error.isEmpty()) {
            m_error = QStringLiteral("\"%1:%2\", which the script had added, was undone, and no "
                                     "test can do that; reload the instance to begin anew")
                          .arg(known.path, known.key);
        }
    }
    for (const PropertyChange &change : changes) {
        const auto known = find(m_changes, change);
        if (known == m_changes.cend() || !JsonValue::areEqual(known->newValue, change.newValue)) {
            edits.append({change.path, change.key, change.newValue});
        }
    }
    return edits;
}

QString SessionRecording::error() const
{
    return m_events.isEmpty() ? QStringLiteral("there was no event yet") : m_error;
}

QByteArray SessionRecording::toTest(const Project &project, const QString &instance,
                                    DialogReach reach) const
{
    return ScriptTestRecorder::record(project, instance, reach, m_events, m_report);
}
