#include "DependencyReport.h"

#include <algorithm>

namespace ConfigScript {

bool DependencyReport::isQuiet() const
{
    return error.isEmpty() && findings.isEmpty() && report.trees.isEmpty() && report.succeeded()
        && std::all_of(report.runs.cbegin(), report.runs.cend(),
                       [](const ScriptRun &run) { return run.errors.isEmpty(); });
}

} // namespace ConfigScript
