#pragma once

#include "host/ConfigurationAndProcessDataBase.h"

#include <QDir>
#include <QString>

/// Reads and writes whole configuration trees and process descriptions.
class ConfigurationDataAndProcessDescriptionAccess
{
public:
    ConfigurationDataAndProcessDescriptionAccess() = delete;

    /**
     * Reads the tree of @p instance from the folder @p dir, anew with every call.
     * @return the tree's root; null when there is no such tree or it cannot be read.
     */
    static ConfigurationAndProcessDataBase::BaseClassSharedPointer
    getParsedConfigurationProcessDescription(const QDir &dir, const QString &instance,
                                             bool isProcess);

    /**
     * Writes the tree below @p root as the tree of @p instance into the folder @p dir.
     * @return true when the tree is stored.
     */
    static bool setParsedConfigurationProcessDescription(
        const QDir &dir, const QString &moduleName, const QString &objectName,
        const QString &instance, ConfigurationAndProcessDataBase::BaseClassSharedPointer root,
        bool isProcess);
};
