#pragma once

#include <QString>

/// Where things lie in a project folder. Paths come without a trailing separator.
class PropertyManagerConst
{
public:
    PropertyManagerConst() = delete;

    static QString getConfigurationFolderPath(const QString &projectPath);
    static QString getProcessFolderPath(const QString &projectPath);
    static QString getDependencyFolderPath(const QString &projectPath);

    /// The manifest's file name inside the configuration folder.
    static QString getConfigurationManifestFilename();
};
