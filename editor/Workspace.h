#pragma once

#include "editor/Document.h"
#include "editor/EventsModel.h"
#include "editor/InstanceModel.h"
#include "editor/MessagesModel.h"
#include "editor/ScriptThread.h"
#include "filehost/Project.h"

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QTimer>
#include <QUndoGroup>

#include <map>
#include <memory>

namespace ConfigScript {

/**
 * A project that is being edited: its instances, those of them that are open, and what happened to
 * them. It brings the documents and the worker together, and knows no window.
 *
 * One open instance is the current one. Another one takes its place when it is opened; the one
 * before stays open only while something in it is unsaved.
 */
class Workspace : public QObject
{
    Q_OBJECT

public:
    explicit Workspace(const Project &project);
    ~Workspace() override;

    const Project &project() const { return m_project; }
    InstanceModel &instances() { return m_instances; }
    EventsModel &events() { return m_events; }
    MessagesModel &messages() { return m_messages; }
    QUndoGroup &undoGroup() { return m_undoGroup; }

    bool isBusy() const { return m_scripts.isBusy(); }
    void stopScript() { m_scripts.stop(); }

    Document *current() const { return m_current; } ///< null for none
    Document *document(const QString &instance) const; ///< null when it is not open
    QStringList unsavedInstances() const;

    void readProject();
    void open(const QString &instance);

    /// Fires onOk, saves when the script agrees, and then proposes what the dependency scripts
    /// change.
    void save(const QString &instance);
    void reload(const QString &instance, bool keepsChanges);

    void previewDependencies();
    void proposeDependencies();
    void writeDependencies(const DependencyReport &proposal);

    /// Writes what happened to the current instance as a test, and replays it.
    void recordTest(const QString &filePath);

Q_SIGNALS:
    void projectRead(const ProjectReport &report);
    /// @param document null for none; the one before is gone when the control returns
    void currentChanged(Document *document);
    void eventFired(const EventReport &report);
    void saveEnded(const QString &instance, bool isSaved);
    void dependenciesRun(const DependencyReport &report);
    void testRecorded(const RecordingReport &report);
    void busyChanged(bool isBusy);
    void becameSlow();

private:
    void add(const QString &instance);
    void showBadges(const Document &document);
    void takeProject(const ProjectReport &report);
    void takeOpened(const InstanceReport &report);
    void takeEvent(const EventReport &report);
    void takeSaved(const SaveReport &report);
    void takeDependencies(const DependencyReport &report);
    void takeTest(const RecordingReport &report);
    void watch(const Document &document);
    void refreshAll();

    const Project m_project;
    InstanceModel m_instances;
    EventsModel m_events;
    MessagesModel m_messages;
    QUndoGroup m_undoGroup;
    std::map<QString, std::unique_ptr<Document>> m_documents; ///< by instance
    Document *m_current = nullptr;
    QFileSystemWatcher m_watcher;
    QTimer m_settling; ///< files that change are looked at when they have come to rest
    ScriptThread m_scripts; ///< last: it ends before what it reports to
};

} // namespace ConfigScript
