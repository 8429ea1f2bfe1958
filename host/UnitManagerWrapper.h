#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

/// The texts of measurement units.
class UnitManagerWrapper
{
public:
    /// Serves the units of the project in use, as they are now. The switches belong to a product's
    /// unit store; the library passes false for both.
    UnitManagerWrapper(bool withSystemUnits, bool withUserUnits);

    /// The texts of @p unit as a map from language to text; invalid for an unknown unit.
    QVariant getUnitTextJsonMap(const QString &unit) const;

private:
    QHash<QString, QVariantMap> m_units;
};
