#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SystemInformationManagerDataDefinitions.h"
#include "memoryhost/CallLog.h"
#include "support/CallText.h"

QString ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()
{
    CallLog::add(callText("getKeyDataPropertyDependencyFileExtern"));
    return QStringLiteral("linkedScript");
}

QString ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration()
{
    CallLog::add(callText("getSelectorUrlSchemeConfiguration"));
    return QStringLiteral("cfg");
}

QString SystemInformationManagerDataDefinitions::getKeyInstanceName()
{
    CallLog::add(callText("getKeyInstanceName"));
    return QStringLiteral("instance");
}

QString PropertyManagerConst::getConfigurationFolderPath(const QString &projectPath)
{
    CallLog::add(callText("getConfigurationFolderPath", projectPath));
    return projectPath + QLatin1String("/setups");
}

QString PropertyManagerConst::getProcessFolderPath(const QString &projectPath)
{
    CallLog::add(callText("getProcessFolderPath", projectPath));
    return projectPath + QLatin1String("/descriptions");
}

QString PropertyManagerConst::getDependencyFolderPath(const QString &projectPath)
{
    CallLog::add(callText("getDependencyFolderPath", projectPath));
    return projectPath + QLatin1String("/links/scripts");
}

QString PropertyManagerConst::getConfigurationManifestFilename()
{
    CallLog::add(callText("getConfigurationManifestFilename"));
    return QStringLiteral("index.json");
}
