#include "EventRun.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "runner/run/DialogScript.h"

EventRun::EventRun(const Project &project, const QString &instance, DialogReach reach,
                   ScriptGuard &guard)
    : m_project(project)
    , m_instance(instance)
    , m_reach(reach)
    , m_guard(guard)
{
}

void EventRun::setRecording(RunRecorder::Recording recording)
{
    m_recording = recording;
}

std::optional<RunRecord> EventRun::run(const QVector<Event> &events, HostSession::Writing writing,
                                       QString &error) const
{
    const auto root = readInstance(error);
    if (root.isNull()) {
        return std::nullopt;
    }
    const DialogScript script(m_project, *root);
    error = script.error.toString();
    if (!error.isEmpty() || !areEditsPossible(*root, events, error)) {
        return std::nullopt;
    }
    DialogSession session(m_project, root, script, m_reach, m_recording, m_guard);
    for (const Event &event : events) {
        for (const Edit &edit : event.edits) {
            session.edit(edit);
        }
        session.fire(event.function, event.argument);
    }
    session.save(writing);
    return session.takeRecord();
}

QSharedPointer<FileTreeNode> EventRun::readInstance(QString &error) const
{
    Diagnostic diagnostic;
    auto root = m_project.readTree(FileTree::Kind::Configuration, m_instance, diagnostic);
    if (!diagnostic.message.isEmpty()) {
        error = diagnostic.toString();
    } else if (root.isNull()) {
        error = QStringLiteral("no instance \"%1\"").arg(m_instance);
    }
    return root;
}

bool EventRun::areEditsPossible(const FileTreeNode &root, const QVector<Event> &events,
                                QString &error)
{
    for (const Event &event : events) {
        for (const Edit &edit : event.edits) {
            const auto node = root.getNode(edit.relUrl).dynamicCast<FileTreeNode>();
            if (node.isNull()) {
                error = QStringLiteral("cannot set \"%1\": no node \"%2\" in %3")
                            .arg(edit.key, edit.relUrl, root.tree().identity().instance);
                return false;
            }
            if (node->isReadOnly(edit.key)) {
                error = node->placeOf(edit.key, QStringLiteral("\"%1\" is read-only").arg(edit.key))
                            .toString();
                return false;
            }
        }
    }
    return true;
}
