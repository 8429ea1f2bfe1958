#pragma once

#include <QJSValue>
#include <QObject>
#include <QVariant>

#include <algorithm>

/// Whether a value, or a value inside it, dies with a script's engine or its API object.
inline bool holdsReference(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QJSValue>() || value.canConvert<QObject *>()) {
        return true;
    }
    QVariantList members;
    if (value.userType() == QMetaType::QVariantList) {
        members = value.toList();
    } else if (value.userType() == QMetaType::QVariantMap) {
        members = value.toMap().values();
    }
    return std::any_of(members.cbegin(), members.cend(), holdsReference);
}
