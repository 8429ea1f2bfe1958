#include "RunRecord.h"

#include <algorithm>
#include <tuple>

QString ScriptRun::foreignFunctionText() const
{
    return ranInstead.isEmpty()
        ? QString()
        : QStringLiteral("%1 of %2 ran instead: %3 defines none").arg(function, ranInstead, script);
}

int RunRecord::failedRuns() const
{
    return int(std::count_if(runs.begin(), runs.end(),
                             [](const ScriptRun &run) { return !run.succeeded; }));
}

int RunRecord::changedValues() const
{
    int count = 0;
    for (const ChangedTree &tree : trees) {
        if (tree.error.isEmpty()) {
            for (const PropertyChange &change : tree.changes) {
                count += change.flattened().size();
            }
        }
    }
    return count;
}

int RunRecord::storedTrees() const
{
    return int(std::count_if(trees.cbegin(), trees.cend(),
                             [](const ChangedTree &tree) { return tree.error.isEmpty(); }));
}

bool RunRecord::succeeded() const
{
    return failedRuns() == 0 && notRun.isEmpty() && storedTrees() == trees.size()
        && refusal.isEmpty();
}

void RunRecord::sort()
{
    // Sorting in place is what detaches on purpose here.
    std::sort(runs.begin(), runs.end(), // clazy:exclude=detaching-member
              [](const ScriptRun &a, const ScriptRun &b) { return a.instance < b.instance; });
    std::sort(trees.begin(), trees.end(), // clazy:exclude=detaching-member
              [](const ChangedTree &a, const ChangedTree &b) {
                  return std::tie(a.identity.filePath, a.error)
                      < std::tie(b.identity.filePath, b.error);
              });
    for (ChangedTree &tree : trees) {
        std::sort(tree.changes.begin(), tree.changes.end(), // clazy:exclude=detaching-member
                  [](const PropertyChange &a, const PropertyChange &b) {
                      return std::tie(a.path, a.key) < std::tie(b.path, b.key);
                  });
    }
    announced.sort();
}
