#include "InstanceFile.h"

#include "host/PropertyManagerConst.h"

#include <QFileInfo>
#include <QVector>

namespace InstanceFile {

namespace {

/// Whether the file, or as much of its path as exists, really lies below @p projectPath.
bool liesInside(const QString &projectPath, const QString &filePath)
{
    QFileInfo info(filePath);
    while (!info.exists() && !info.isSymLink()) {
        info.setFile(info.path());
    }
    const QString realPath = info.canonicalFilePath();
    const QString realProjectPath = QFileInfo(projectPath).canonicalFilePath();
    // A link to nowhere has no canonical path, and may become one that leads out. Where there is no
    // project yet, there is no link.
    return realProjectPath.isEmpty() || realPath == realProjectPath
        || realPath.startsWith(realProjectPath + QLatin1Char('/'));
}

} // namespace

QString path(const QDir &folder, const QString &instance, QString &error)
{
    error = nameError(instance);
    if (!error.isEmpty()) {
        return QString();
    }
    const QString folderPath = QDir::cleanPath(folder.absolutePath());
    QString filePath = folderPath + QLatin1Char('/') + instance + QStringLiteral(".json");
    const QString projectPath = QFileInfo(folderPath).path();
    if (filePath
        == PropertyManagerConst::getConfigurationFolderPath(projectPath) + QLatin1Char('/')
            + PropertyManagerConst::getConfigurationManifestFilename()) {
        error = QStringLiteral("this is the name of the manifest");
        return QString();
    }
    if (!liesInside(projectPath, filePath)) {
        error = QStringLiteral("a link leads out of the project folder: ") + filePath;
        return QString();
    }
    return filePath;
}

QString nameError(const QString &instance)
{
    if (instance.contains(QLatin1Char('\\'))) {
        return QStringLiteral("the instance name holds a backslash");
    }
    if (instance.contains(QChar::Null)) {
        return QStringLiteral("the instance name holds a NUL character");
    }
    const QVector<QStringRef> segments = instance.splitRef(QLatin1Char('/'));
    for (const QStringRef &segment : segments) {
        if (segment.isEmpty()) {
            return QStringLiteral("the instance name holds an empty segment");
        }
        if (segment == QLatin1String(".") || segment == QLatin1String("..")) {
            return QStringLiteral("the instance name holds the segment \"%1\"").arg(segment);
        }
    }
    return QString();
}

} // namespace InstanceFile
