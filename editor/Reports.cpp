#include "Reports.h"

#include "filehost/JsonValue.h"

#include <algorithm>

namespace {

bool areAlike(const PropertyChange &left, const PropertyChange &right)
{
    return left.path == right.path && left.key == right.key
        && left.oldValue.isValid() == right.oldValue.isValid()
        && (!left.oldValue.isValid() || JsonValue::areEqual(left.oldValue, right.oldValue))
        && JsonValue::areEqual(left.newValue, right.newValue);
}

bool areAlike(const ChangedTree &left, const ChangedTree &right)
{
    return left.identity.filePath == right.identity.filePath
        && std::equal(left.changes.cbegin(), left.changes.cend(), right.changes.cbegin(),
                      right.changes.cend(), [](const PropertyChange &a, const PropertyChange &b) {
                          return areAlike(a, b);
                      });
}

} // namespace

bool DependencyReport::isLike(const DependencyReport &other) const
{
    return std::equal(report.trees.cbegin(), report.trees.cend(), other.report.trees.cbegin(),
                      other.report.trees.cend(),
                      [](const ChangedTree &a, const ChangedTree &b) { return areAlike(a, b); });
}
