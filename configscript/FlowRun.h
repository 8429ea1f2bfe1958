#pragma once

#include "configscript/report/Output.h"
#include "runner/flow/DataFlow.h"
#include "runner/record/RunRecord.h"

#include <chrono>
#include <memory>

class Project;

/// Runs all dependency scripts of a project for what they read and write. No file is written.
class FlowRun
{
public:
    enum class Format { Text, Json };

    FlowRun(const Project &project, std::chrono::milliseconds timeout);

    /**
     * What keeps the scripts from running is printed to @p output, or, like what failed in the run,
     * to standard error.
     * @return null when none ran
     */
    std::unique_ptr<DataFlow> run(Output &output, Format format);

    /// The program's, after run().
    int exitCode() const { return m_exitCode; }

private:
    static void printFailures(const RunRecord &report);

    const Project &m_project;
    const std::chrono::milliseconds m_timeout;
    int m_exitCode;
};
