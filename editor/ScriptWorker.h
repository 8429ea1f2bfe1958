#pragma once

#include "editor/Reports.h"
#include "filehost/Project.h"
#include "host/TextManager.h"

#include <QObject>
#include <QVector>

#include <map>
#include <memory>

namespace ConfigScript {

class OpenInstance;
class ScriptStopper;

/**
 * All that touches trees, scripts and files: it lives on a thread of its own, and so do the open
 * instances, their engines and the host's session. Each operation is one task; what comes of it is
 * a signal.
 */
class ScriptWorker : public QObject
{
    Q_OBJECT

public:
    /// @param stopper outlives the worker
    ScriptWorker(const Project &project, ScriptStopper &stopper);
    ~ScriptWorker() override;

    void readProject();
    void open(const QString &instance);
    void reload(const QString &instance, bool keepsChanges);
    /// Reads an open instance again if one of its files has changed; not when its tree has, and
    /// something in it is unsaved.
    void refresh(const QString &instance);
    void close(const QString &instance);
    void edit(const QString &instance, const QString &path, const QString &key,
              const QVariant &value);
    void apply(const QString &instance, const QVector<PropertyChange> &changes);
    void save(const QString &instance);

    /// Runs the dependency scripts inside the instance's unsaved tree.
    void previewDependencies(const QString &instance);

    /// Runs the dependency scripts on the project's files, and writes nothing.
    void proposeDependencies(const QString &instance);

    /// Writes what was proposed.
    void writeDependencies(const DependencyReport &proposal);

    /// Writes what happened to an open instance as a test, and replays it.
    void recordTest(const QString &instance, const QString &filePath);

Q_SIGNALS:
    void projectRead(const ProjectReport &report);
    void opened(const InstanceReport &report);
    /// The file of an instance with unsaved changes has changed.
    void treeIsStale(const QString &instance);
    void edited(const EventReport &report);
    void saved(const SaveReport &report);
    void dependenciesRun(const DependencyReport &report);
    void testRecorded(const RecordingReport &report);

private:
    OpenInstance *instance(const QString &name);

    const Project m_project;
    const TextManager m_texts;
    ScriptStopper &m_stopper;
    std::map<QString, std::unique_ptr<OpenInstance>> m_instances;
};

} // namespace ConfigScript
