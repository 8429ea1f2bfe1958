#include "host/ConfigurationAndProcessDataDefinitions.h"

QString ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()
{
    return QStringLiteral("dependencyFileExtern");
}

QString ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()
{
    return QStringLiteral("config");
}
