#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

/// Serves the units that the MemoryHost has when it is constructed.
class UnitManagerWrapper
{
public:
    UnitManagerWrapper(bool, bool);

    QVariant getUnitTextJsonMap(const QString &unit) const;

private:
    const QHash<QString, QVariantMap> m_textsByUnit;
};
