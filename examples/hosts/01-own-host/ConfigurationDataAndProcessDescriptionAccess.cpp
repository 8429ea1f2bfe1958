#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include "IniFile.h"

#include <QDebug>

namespace {

/// Empty for names that would lead out of the folder: scripts choose them.
QString filePath(const QDir &folder, const QString &instance)
{
    const QString folderPath = QDir::cleanPath(folder.path()) + QLatin1Char('/');
    const QString path = folderPath + instance + QLatin1String(".ini");
    if (QDir::cleanPath(path) != path) {
        qWarning() << "Not the name of an instance:" << instance;
        return QString();
    }
    return path;
}

} // namespace

ConfigurationAndProcessDataBase::BaseClassSharedPointer
ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
    const QDir &dir, const QString &instance, bool /*isProcess*/)
{
    const QString path = filePath(dir, instance);
    return path.isEmpty() ? nullptr : IniFile::read(path);
}

bool ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
    const QDir &dir, const QString & /*moduleName*/, const QString & /*objectName*/,
    const QString &instance, ConfigurationAndProcessDataBase::BaseClassSharedPointer root,
    bool /*isProcess*/)
{
    const QString path = filePath(dir, instance);
    // All trees that the library hands back came from this host.
    return !path.isEmpty() && IniFile::write(path, *root.staticCast<IniNode>());
}
