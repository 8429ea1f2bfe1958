#include "StagedFile.h"

#include "filehost/store/Descriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ConfigScript {

namespace {

constexpr char s_prefix[] = ".configscript-";
constexpr char s_newSuffix[] = ".new";
constexpr char s_oldSuffix[] = ".old";

bool syncPath(const QByteArray &path, int flags)
{
    const Descriptor file(::open(path.constData(), flags | O_RDONLY | O_CLOEXEC));
    return file >= 0 && ::fsync(file) == 0;
}

} // namespace

StagedFile::StagedFile(const QString &filePath, qint64 number)
    : m_filePath(filePath)
    , m_number(QByteArray::number(number))
{
}

QString StagedFile::realPath(const QString &filePath, RealFolders &realFolders)
{
    struct stat status;
    if (::lstat(QFile::encodeName(filePath).constData(), &status) == 0 && S_ISLNK(status.st_mode)) {
        QString target = QFileInfo(filePath).canonicalFilePath();
        if (!target.isEmpty()) {
            return target;
        }
    }
    // Following the links of a folder takes time.
    const QString absolutePath = QFileInfo(filePath).absoluteFilePath();
    const int nameBegin = absolutePath.lastIndexOf(QLatin1Char('/')) + 1;
    QString &folder = realFolders[absolutePath.left(nameBegin)];
    if (folder.isNull()) {
        const QString given = absolutePath.left(std::max(1, nameBegin - 1));
        const QString real = QFileInfo(given).canonicalFilePath();
        folder = real.isEmpty() ? realPath(given, realFolders) : real;
    }
    const QString path = folder + QLatin1Char('/') + absolutePath.mid(nameBegin);
    return path == filePath ? filePath
                            : path; // shares the memory of the text given, which mostly is equal
}

QStringList StagedFile::namePatterns()
{
    const QString any = QLatin1String(s_prefix) + QLatin1Char('*');
    return {any + QLatin1String(s_newSuffix), any + QLatin1String(s_oldSuffix)};
}

QByteArray StagedFile::folder() const
{
    return QFile::encodeName(m_filePath.left(m_filePath.lastIndexOf(QLatin1Char('/'))));
}

QByteArray StagedFile::path() const
{
    return QFile::encodeName(m_filePath);
}

QByteArray StagedFile::newPath() const
{
    return pathWith(s_newSuffix);
}

QByteArray StagedFile::oldPath() const
{
    return pathWith(s_oldSuffix);
}

QByteArray StagedFile::pathWith(const char *suffix) const
{
    return folder() + '/' + s_prefix + m_number + suffix;
}

bool StagedFile::write(const QByteArray &content, Diagnostic &error) const
{
    const auto refuse = [&](const QString &reason) {
        error = {m_filePath, 0, 0, QStringLiteral("cannot be written: ") + reason};
        return false;
    };
    struct stat old
    {
    };
    const bool exists = ::stat(path().constData(), &old) == 0;
    if (exists && !S_ISREG(old.st_mode)) {
        return refuse(QStringLiteral("it is no file"));
    }
    if (exists && ::access(path().constData(), W_OK) != 0) {
        return refuse(QStringLiteral("the file is read-only"));
    }
    const QString folderPath = QFileInfo(m_filePath).path();
    if (!exists && !QFileInfo(folderPath).isDir() && !QDir().mkpath(folderPath)) {
        return refuse(QStringLiteral("no folder ") + folderPath);
    }
    bool isWritten = false;
    {
        const auto make = [&] {
            return ::open(newPath().constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                          exists ? 0600 : 0666);
        };
        Descriptor file(make());
        if (file < 0 && errno == EEXIST) {
            // An earlier content of this batch, or a file that was left there.
            if (!remove(newPath(), error)) {
                return false;
            }
            file = Descriptor(make());
        }
        if (file < 0) {
            return fail(error);
        }
        mode_t mode = old.st_mode & 07777;
        if (exists && (old.st_uid != ::geteuid() || old.st_gid != ::getegid())
            && ::fchown(file, old.st_uid, old.st_gid) != 0
            && ::fchown(file, uid_t(-1), old.st_gid) != 0) {
            mode &= ~mode_t(S_IRWXG | S_ISGID); // not for another group what was for that one
        }
        isWritten =
            (!exists || ::fchmod(file, mode) == 0) && file.write(content, 0) && file.close();
    }
    if (!isWritten) {
        fail(error);
        ::unlink(newPath().constData());
    }
    return isWritten;
}

bool StagedFile::sync(Diagnostic &error) const
{
    return syncPath(newPath(), 0) || fail(error);
}

bool StagedFile::keep(Diagnostic &error)
{
    const auto link = [this] {
        return ::link(path().constData(), oldPath().constData()) == 0;
    };
    bool isKept = link();
    if (!isKept && errno == EEXIST) {
        if (!remove(oldPath(), error)) {
            return false;
        }
        isKept = link();
    }
    if (isKept) {
        m_old = Old::Kept;
        return true;
    }
    if (errno == ENOENT) {
        m_old = Old::Missing;
        return true;
    }
    // Not every file system has links: it is moved when its turn comes.
    struct stat status;
    if (::lstat(path().constData(), &status) == 0 && S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return fail(error);
    }
    return true;
}

bool StagedFile::replace(Diagnostic &error) const
{
    if (m_old == Old::Missing) {
        return placeNew(error);
    }
    if (m_old == Old::Unknown && ::rename(path().constData(), oldPath().constData()) != 0) {
        return fail(error);
    }
    return ::rename(newPath().constData(), path().constData()) == 0 || fail(error);
}

bool StagedFile::placeNew(Diagnostic &error) const
{
    // While the content keeps its own name, too, it can be told from a file that was there before.
    return ::link(newPath().constData(), path().constData()) == 0 || fail(error);
}

bool StagedFile::replaceFinally(Diagnostic &error) const
{
    return (::rename(newPath().constData(), path().constData()) == 0 && syncFolder(folder()))
        || fail(error);
}

bool StagedFile::discard(Diagnostic &error) const
{
    return remove(oldPath(), error) && remove(newPath(), error);
}

bool StagedFile::isPending() const
{
    struct stat status;
    return ::lstat(newPath().constData(), &status) == 0
        || ::lstat(oldPath().constData(), &status) == 0;
}

bool StagedFile::undo(Diagnostic &error) const
{
    // Where both are names of one file, rename() does nothing.
    if (::rename(oldPath().constData(), path().constData()) != 0) {
        if (errno != ENOENT && errno != ENOTDIR) {
            return fail(error);
        }
        if (isInPlace() && !remove(path(), error)) {
            return false;
        }
    }
    return discard(error);
}

bool StagedFile::syncFolder(const QByteArray &folder)
{
    return syncPath(folder, O_DIRECTORY);
}

bool StagedFile::fail(Diagnostic &error) const
{
    error = {m_filePath, 0, 0, QStringLiteral("cannot be written: ") + qt_error_string(errno)};
    return false;
}

/// Whether the file's path is another name of the new content.
bool StagedFile::isInPlace() const
{
    struct stat file;
    struct stat content;
    return ::lstat(path().constData(), &file) == 0 && ::lstat(newPath().constData(), &content) == 0
        && file.st_dev == content.st_dev && file.st_ino == content.st_ino;
}

bool StagedFile::remove(const QByteArray &path, Diagnostic &error) const
{
    return ::unlink(path.constData()) == 0 || errno == ENOENT || errno == ENOTDIR || fail(error);
}

} // namespace ConfigScript
