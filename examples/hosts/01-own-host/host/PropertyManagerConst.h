#pragma once

#include <QString>

class PropertyManagerConst
{
public:
    static QString getConfigurationFolderPath(const QString &projectPath);
    static QString getProcessFolderPath(const QString &projectPath);
    static QString getDependencyFolderPath(const QString &projectPath);
    static QString getConfigurationManifestFilename();
};
