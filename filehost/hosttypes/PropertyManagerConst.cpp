#include "host/PropertyManagerConst.h"

#include "filehost/ProjectLayout.h"

using namespace ConfigScript;

QString PropertyManagerConst::getConfigurationFolderPath(const QString &projectPath)
{
    return ProjectLayout(projectPath).configurationFolder();
}

QString PropertyManagerConst::getProcessFolderPath(const QString &projectPath)
{
    return ProjectLayout(projectPath).processFolder();
}

QString PropertyManagerConst::getDependencyFolderPath(const QString &projectPath)
{
    return ProjectLayout(projectPath).dependencyFolder();
}

QString PropertyManagerConst::getConfigurationManifestFilename()
{
    return ProjectLayout::manifestName();
}
