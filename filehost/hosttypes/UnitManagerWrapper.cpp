#include "host/UnitManagerWrapper.h"

#include "filehost/HostSession.h"

using namespace ConfigScript;

UnitManagerWrapper::UnitManagerWrapper(bool /*withSystemUnits*/, bool /*withUserUnits*/)
    : m_units(HostSession::units())
{
}

QVariant UnitManagerWrapper::getUnitTextJsonMap(const QString &unit) const
{
    const auto texts = m_units.constFind(unit);
    return texts == m_units.constEnd() ? QVariant() : QVariant(*texts);
}
