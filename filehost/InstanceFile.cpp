#include "InstanceFile.h"

#include "filehost/Descriptor.h"
#include "host/PropertyManagerConst.h"

#include <QFile>
#include <QFileInfo>
#include <QVector>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

namespace InstanceFile {

namespace {

/// Whether the kernel reaches the file without leaving the project folder, which it tells quickly;
/// false also when it cannot tell.
bool isReachedInside(const QString &projectPath, const QString &filePath)
{
#ifdef SYS_openat2
    const Descriptor project(
        ::open(QFile::encodeName(projectPath).constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    open_how how{};
    how.flags = O_PATH | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
    const QByteArray relativePath = QFile::encodeName(filePath.mid(projectPath.size() + 1));
    const Descriptor file(
        int(::syscall(SYS_openat2, int(project), relativePath.constData(), &how, sizeof how)));
    return file >= 0;
#else
    Q_UNUSED(projectPath)
    Q_UNUSED(filePath)
    return false;
#endif
}

/// Whether the file, or as much of its path as exists, really lies below @p projectPath.
bool liesInside(const QString &projectPath, const QString &filePath)
{
    if (isReachedInside(projectPath, filePath)) {
        return true;
    }
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
