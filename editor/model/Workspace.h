#pragma once

#include "editor/model/Document.h"
#include "editor/model/EventsModel.h"
#include "editor/model/InstanceModel.h"
#include "editor/model/MessagesModel.h"
#include "editor/model/ScriptThread.h"
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
 * them. It brings the documents and the worker together, and knows no widget.
 *
 * One open instance is the current one. Another one takes its place when it is opened; the one
 * before stays open only while something in it is unsaved.
 */
class Workspace : public QObject
{
    Q_OBJECT

public:
    /// @param reach of the scripts of dialogs
    Workspace(const Project &project, DialogReach reach);
    ~Workspace() override;

    const Project &project() const { return m_project; }
    InstanceModel &instances() { return m_instances; }
    EventsModel &events() { return m_events; }
    MessagesModel &messages() { return m_messages; }
    QUndoGroup &undoGroup() { return m_undoGroup; }
    const QUndoGroup &undoGroup() const { return m_undoGroup; }

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

    /// Reads an open instance and its script again.
    void reload(const QString &instance, bool keepsChanges);

    /// Lets the scripts of dialogs reach more, or less, and opens the dialogs anew; changes stay.
    void setReach(DialogReach reach);

    void previewDependencies(const QString &instance);
    void proposeDependencies(const QString &instance);
    void writeDependencies(const DependencyReport &proposal);

    /// Writes what happened to an open instance as a test, and replays it.
    void recordTest(const QString &instance, const QString &filePath);

Q_SIGNALS:
    void projectRead(const ConfigScript::ProjectReport &report);
    /// @param document null for none; the one before is destroyed after this signal
    void currentChanged(ConfigScript::Document *document);
    void eventFired(const ConfigScript::EventReport &report);
    void saveEnded(const QString &instance, bool isSaved);
    void dependenciesRun(const ConfigScript::DependencyReport &report);
    void testRecorded(const ConfigScript::RecordingReport &report);
    void busyChanged(bool isBusy);
    void becameSlow();

private:
    Document &add(const QString &instance);
    void showBadges(const Document &document);
    void takeProject(const ProjectReport &report);
    void takeOpened(Document &document, const InstanceReport &report);
    void takeRefreshed(Document &document, const RefreshReport &report);
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
    QTimer m_settling; ///< until files that change are looked at
    ScriptThread m_scripts; ///< the last member: it ends before what it reports to
};

} // namespace ConfigScript
