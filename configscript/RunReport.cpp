#include "RunReport.h"

#include <algorithm>
#include <numeric>

int RunReport::failedRuns() const
{
    return int(std::count_if(runs.begin(), runs.end(),
                             [](const ScriptRun &run) { return !run.succeeded; }));
}

int RunReport::changedValues() const
{
    return std::accumulate(trees.begin(), trees.end(), 0, [](int sum, const ChangedTree &tree) {
        return tree.error.isEmpty() ? sum + tree.changes.size() : sum;
    });
}

int RunReport::storedTrees() const
{
    return int(std::count_if(trees.begin(), trees.end(),
                             [](const ChangedTree &tree) { return tree.error.isEmpty(); }));
}

bool RunReport::succeeded() const
{
    return failedRuns() == 0 && notRun.isEmpty() && storedTrees() == trees.size();
}
