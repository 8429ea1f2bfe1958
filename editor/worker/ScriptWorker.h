#pragma once

#include "editor/data/DependencyReport.h"
#include "editor/data/ProjectReport.h"
#include "editor/data/RecordingReport.h"
#include "editor/data/RefreshReport.h"
#include "editor/worker/OpenInstance.h"
#include "filehost/Project.h"
#include "runner/run/DialogReach.h"

#include <QObject>
#include <QString>

#include <map>

namespace ConfigScript {

class Manifest;
class ScriptStopper;

/**
 * All that touches trees, scripts and files: it lives on a thread of its own, and so do the open
 * instances, their engines and the host's session. Results are plain data, for any thread.
 *
 * It is a QObject only because tasks are sent to its thread by way of one.
 */
class ScriptWorker : public QObject
{
public:
    /// @param reach of the scripts of dialogs
    /// @param stopper outlives the worker
    ScriptWorker(const Project &project, DialogReach reach, ScriptStopper &stopper);

    ProjectReport readProject() const;

    /// An instance by its name. It is made when it is asked for, stays until close(), and reads
    /// nothing before its open().
    OpenInstance &instance(const QString &name);
    void close(const QString &instance) { m_instances.erase(instance); }

    /// What the scripts of dialogs reach, in open instances from their next open() on.
    void setReach(DialogReach reach);

    /// Reads an open instance again if one of its files has changed; not when its tree has, and
    /// something in it is unsaved.
    RefreshReport refresh(const QString &instance);

    /// Runs the dependency scripts inside the instance's unsaved tree.
    DependencyReport previewDependencies(const QString &instance);

    /// Runs the dependency scripts on the project's files, and writes nothing.
    DependencyReport proposeDependencies(const QString &instance) const;

    /// Writes what was proposed.
    DependencyReport writeDependencies(const DependencyReport &proposal) const;

    /// Writes what happened to an open instance as a test, and replays it.
    RecordingReport recordTest(const QString &instance, const QString &filePath);

private:
    DependencyReport reportOf(DependencyReport::Kind kind, const QString &instance,
                              const Manifest &manifest) const;

    const Project m_project;
    DialogReach m_reach;
    ScriptStopper &m_stopper;
    std::map<QString, OpenInstance> m_instances;
};

} // namespace ConfigScript
