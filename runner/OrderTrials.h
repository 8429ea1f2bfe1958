#pragma once

#include "runner/OrderCheck.h"
#include "runner/RunRecorder.h"

#include <memory>

class Project;
class ScriptGuard;

/**
 * Runs a project's dependency scripts on a scratch copy, in one shuffled order after the other, and
 * looks at what they did.
 *
 * The order is that of a resolver's hash, whose seed is drawn anew for each. Where the environment
 * fixes the seed (QT_HASH_SEED), all orders are the same.
 */
class OrderTrials
{
public:
    /// @param project whose check has found no errors; nothing is written to it
    OrderTrials(const Project &project, ScriptGuard &guard);

    void setProgress(const RunRecorder::Progress &progress);

    /// Makes HostSessions: there must be none.
    /// @return null, with @p error set, when the project could not be copied
    std::unique_ptr<OrderCheck> run(int orders, Diagnostic &error) const;

private:
    QVector<RunReport> runOrder(const Project &copy) const;

    const Project &m_project;
    ScriptGuard &m_guard;
    RunRecorder::Progress m_progress;
};
