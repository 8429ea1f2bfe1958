#pragma once

#include "runner/RunReport.h"

#include <QJsonObject>

#include <chrono>

namespace ConfigScript {

class Project;

/// What happened in a run, for programs. The format is described in docs/command.md.
namespace JsonReport {

QJsonObject make(const Project &project, const RunReport &report, bool isDryRun);

double milliseconds(std::chrono::nanoseconds duration);

} // namespace JsonReport

} // namespace ConfigScript
