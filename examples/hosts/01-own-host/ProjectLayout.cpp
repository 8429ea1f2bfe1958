#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SystemInformationManagerDataDefinitions.h"

QString ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()
{
    return QStringLiteral("dependencyScript");
}

QString ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()
{
    return QStringLiteral("config");
}

QString SystemInformationManagerDataDefinitions::getKeyInstanceName()
{
    return QStringLiteral("instance");
}

QString PropertyManagerConst::getConfigurationFolderPath(const QString &projectPath)
{
    return projectPath + QLatin1String("/configuration");
}

QString PropertyManagerConst::getProcessFolderPath(const QString &projectPath)
{
    return projectPath + QLatin1String("/process");
}

QString PropertyManagerConst::getDependencyFolderPath(const QString &projectPath)
{
    return projectPath + QLatin1String("/dependency");
}

QString PropertyManagerConst::getConfigurationManifestFilename()
{
    return QStringLiteral("manifest.json");
}
