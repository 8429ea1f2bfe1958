#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

class UnitManagerWrapper
{
public:
    using Units = QHash<QString, QVariantMap>; ///< unit to language to text

    /// The library's resolvers make one of their own: what it serves is set beforehand, here.
    static void useUnits(const Units &units);

    UnitManagerWrapper(bool withSystemUnits, bool withUserUnits);

    QVariant getUnitTextJsonMap(const QString &unit) const;

private:
    static Units s_units;
};
