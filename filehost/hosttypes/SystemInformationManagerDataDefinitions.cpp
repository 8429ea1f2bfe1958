#include "host/SystemInformationManagerDataDefinitions.h"

QString SystemInformationManagerDataDefinitions::getKeyInstanceName()
{
    return QStringLiteral("instanceName");
}
