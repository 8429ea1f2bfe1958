#pragma once

#include "runner/record/RunRecord.h"

#include <QJsonObject>

#include <chrono>

class Project;

/// What happened in a run, for programs. The format is described in docs/command.md.
namespace JsonReport {

QJsonObject make(const Project &project, const RunRecord &report, bool isDryRun);

double milliseconds(std::chrono::nanoseconds duration);

} // namespace JsonReport
