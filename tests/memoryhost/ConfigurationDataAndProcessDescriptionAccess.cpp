#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include "MemoryHost.h"
#include "memoryhost/CallLog.h"
#include "support/CallText.h"

namespace {

const char *kindName(bool isProcess)
{
    return isProcess ? "process" : "configuration";
}

} // namespace

ConfigurationAndProcessDataBase::BaseClassSharedPointer
ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
    const QDir &dir, const QString &instance, bool isProcess)
{
    CallLog::add(callText("getParsedConfigurationProcessDescription", dir.path(), instance,
                          kindName(isProcess)));
    return MemoryHost::load(dir, instance, isProcess);
}

bool ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
    const QDir &dir, const QString &moduleName, const QString &objectName, const QString &instance,
    ConfigurationAndProcessDataBase::BaseClassSharedPointer root, bool isProcess)
{
    CallLog::add(callText("setParsedConfigurationProcessDescription", dir.path(), moduleName,
                          objectName, instance, kindName(isProcess)));
    if (MemoryHost::areWritesFailing()) {
        return false;
    }
    MemoryHost::store(dir, instance, isProcess, root.staticCast<MemoryNode>());
    return true;
}
