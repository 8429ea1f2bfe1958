#pragma once

#include "host/TextManager.h"
#include "runner/record/RunRecorder.h"

#include <memory>

class HostSession;
class JavaScriptDependencyResolver;
class Project;
class ScriptGuard;

/// Resolves instances of a project, and records what their scripts do.
class RecordedResolver
{
public:
    /// @param session goes on for longer; what it writes is saved
    RecordedResolver(const Project &project, HostSession &session, RunRecorder::Recording recording,
                     ScriptGuard &guard);
    ~RecordedResolver();

    void setProgress(const RunRecorder::Progress &progress);

    /// Runs the scripts of the listed instances that a name selects, all if it is empty. What they
    /// change is saved together.
    void resolve(const QString &instance);

    /// What was done since a record was last taken.
    RunRecord takeRecord();

    /// The same, after which nothing can be resolved any more: the record takes the place of the
    /// resolver's trees.
    RunRecord takeLastRecord();

private:
    Q_DISABLE_COPY(RecordedResolver)

    const Project &m_project;
    HostSession &m_session;
    const TextManager m_texts;
    std::unique_ptr<JavaScriptDependencyResolver> m_resolver;
    RunRecorder m_recorder;
};
