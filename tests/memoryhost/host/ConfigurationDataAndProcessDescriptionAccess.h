#pragma once

#include "host/ConfigurationAndProcessDataBase.h"

#include <QDir>
#include <QString>

/// Trees come from the MemoryHost and go there; a missing one is null, without a message.
class ConfigurationDataAndProcessDescriptionAccess
{
public:
    static ConfigurationAndProcessDataBase::BaseClassSharedPointer
    getParsedConfigurationProcessDescription(const QDir &dir, const QString &instance,
                                             bool isProcess);

    static bool setParsedConfigurationProcessDescription(
        const QDir &dir, const QString &moduleName, const QString &objectName,
        const QString &instance, ConfigurationAndProcessDataBase::BaseClassSharedPointer root,
        bool isProcess);
};
