#include "Walls.h"

#include "filehost/store/Descriptor.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>

namespace ConfigScript {

namespace {

/// Whether the kernel reaches the file without leaving the project folder, which is a quick check.
/// False for a file that does not exist, and for a kernel that does not know.
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

} // namespace

bool Walls::liesInside(const QString &projectPath, const QString &filePath)
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

} // namespace ConfigScript
