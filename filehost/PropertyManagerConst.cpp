#include "host/PropertyManagerConst.h"

#include <QDir>

QString PropertyManagerConst::getConfigurationFolderPath(const QString &projectPath)
{
    return QDir(projectPath).filePath(QStringLiteral("configuration"));
}

QString PropertyManagerConst::getProcessFolderPath(const QString &projectPath)
{
    return QDir(projectPath).filePath(QStringLiteral("process"));
}

QString PropertyManagerConst::getDependencyFolderPath(const QString &projectPath)
{
    return QDir(projectPath).filePath(QStringLiteral("dependency"));
}

QString PropertyManagerConst::getConfigurationManifestFilename()
{
    return QStringLiteral("manifest.json");
}
