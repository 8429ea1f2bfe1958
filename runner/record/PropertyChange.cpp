#include "PropertyChange.h"

#include "filehost/JsonValue.h"

#include <QStringList>

#include <algorithm>
#include <iterator>

namespace {

QVector<PropertyChange> flattenedMap(const PropertyChange &change)
{
    const QVariantMap oldMap = change.oldValue.toMap();
    const QVariantMap newMap = change.newValue.toMap();
    QStringList keys;
    std::set_union(oldMap.keyBegin(), oldMap.keyEnd(), newMap.keyBegin(), newMap.keyEnd(),
                   std::back_inserter(keys));
    QVector<PropertyChange> changes;
    for (const QString &key : qAsConst(keys)) {
        changes += PropertyChange{change.path, change.key + QLatin1Char('.') + key,
                                  oldMap.value(key), newMap.value(key)}
                       .flattened();
    }
    return changes;
}

/// What differs between the elements that both lists begin with and those that both end with.
QVector<PropertyChange> flattenedList(const PropertyChange &change)
{
    const QVariantList oldList = change.oldValue.toList();
    const QVariantList newList = change.newValue.toList();
    const auto [begin, equalEnd] = JsonValue::commonEnds(oldList, newList);
    QVector<PropertyChange> changes;
    const int end = std::max(oldList.size(), newList.size()) - equalEnd;
    for (int i = begin; i < end; ++i) {
        const QVariant oldValue = i < oldList.size() - equalEnd ? oldList.at(i) : QVariant();
        const QVariant newValue = i < newList.size() - equalEnd ? newList.at(i) : QVariant();
        changes += PropertyChange{change.path, QStringLiteral("%1[%2]").arg(change.key).arg(i),
                                  oldValue, newValue}
                       .flattened();
    }
    return changes;
}

} // namespace

QVector<PropertyChange> PropertyChange::flattened() const
{
    const int type = oldValue.userType();
    if (type == newValue.userType()) {
        if (JsonValue::areEqual(oldValue, newValue)) {
            return {};
        }
        if (type == QMetaType::QVariantMap) {
            return flattenedMap(*this);
        }
        if (type == QMetaType::QVariantList) {
            return flattenedList(*this);
        }
    }
    return {*this};
}
