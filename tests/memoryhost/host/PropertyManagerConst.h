#pragma once

#include <QString>

/// The folders have other names than those of the embedded host.
class PropertyManagerConst
{
public:
    static QString getConfigurationFolderPath(const QString &projectPath);
    static QString getProcessFolderPath(const QString &projectPath);
    static QString getDependencyFolderPath(const QString &projectPath);
    static QString getConfigurationManifestFilename();
};
