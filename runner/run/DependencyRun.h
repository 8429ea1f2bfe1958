#pragma once

#include "filehost/HostSession.h"
#include "runner/check/Finding.h"
#include "runner/record/RunRecord.h"
#include "runner/record/RunRecorder.h"

#include <QString>
#include <QStringList>
#include <QVector>

class Manifest;
class Project;
class ScriptGuard;

/// Runs the dependency scripts of a project's listed instances, and tells what they did.
class DependencyRun
{
public:
    /// WallsOnly: scripts with mistakes run, but none that lies outside the project.
    enum class Check { Everything, WallsOnly };

    struct Result
    {
        QVector<Finding> findings; ///< errors that kept the scripts from running, if any
        RunRecord record; ///< the runs in their order
    };

    /**
     * @param manifest could be read
     * @param instance all listed instances if empty; else this one, or, if the manifest does not
     *        list it, the listed ones whose names begin with it
     */
    DependencyRun(const Project &project, const Manifest &manifest, const QString &instance,
                  ScriptGuard &guard);

    void setCheck(Check check);
    void setRecording(RunRecorder::Recording recording);
    void setProgress(const RunRecorder::Progress &progress);

    /// The listed instances that are selected.
    QStringList instances() const { return m_instances; }

    /// Makes a HostSession: there must be none.
    Result run(HostSession::Writing writing) const;

private:
    QVector<Finding> findings() const;
    RunRecord resolve(HostSession &session) const;

    const Project &m_project;
    const Manifest &m_manifest;
    const QString m_instance;
    ScriptGuard &m_guard;
    QStringList m_instances;
    Check m_check = Check::Everything;
    RunRecorder::Recording m_recording = RunRecorder::Recording::Outcome;
    RunRecorder::Progress m_progress;
};
