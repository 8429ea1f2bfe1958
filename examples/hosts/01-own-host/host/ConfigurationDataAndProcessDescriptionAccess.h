#pragma once

#include "host/ConfigurationAndProcessDataBase.h"

#include <QDir>
#include <QString>

/// Trees lie in files <instance>.ini.
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
