#pragma once

#include <QString>
#include <QVariant>
#include <QVector>

/// A property's value before and after.
struct PropertyChange
{
    QString path; ///< relative URL of the node
    QString key;
    QVariant oldValue; ///< invalid when there was none
    QVariant newValue; ///< invalid when there is none any more

    /// The changes inside a map or a list, each with the member or index behind the key; the change
    /// itself for other values.
    QVector<PropertyChange> flattened() const;
};
