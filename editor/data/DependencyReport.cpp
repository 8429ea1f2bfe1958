#include "DependencyReport.h"

#include <algorithm>

namespace ConfigScript {

bool DependencyReport::isQuiet() const
{
    return error.isEmpty() && findings.isEmpty() && record.trees.isEmpty() && record.succeeded()
        && std::all_of(record.runs.cbegin(), record.runs.cend(),
                       [](const ScriptRun &run) { return run.errors.isEmpty(); });
}

} // namespace ConfigScript
