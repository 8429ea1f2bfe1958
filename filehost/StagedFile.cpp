#include "StagedFile.h"

#include "filehost/Descriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool writeWhole(int file, const QByteArray &content)
{
    for (int written = 0; written < content.size();) {
        const ssize_t count =
            ::write(file, content.constData() + written, size_t(content.size() - written));
        if (count < 0 && errno != EINTR) {
            return false;
        }
        written += count < 0 ? 0 : int(count);
    }
    return true;
}

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

QString StagedFile::realPath(const QString &filePath)
{
    const QFileInfo info(filePath);
    if (info.exists()) {
        return info.canonicalFilePath();
    }
    const QString folder = QFileInfo(info.path()).canonicalFilePath();
    return folder.isEmpty() ? info.absoluteFilePath() : folder + QLatin1Char('/') + info.fileName();
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
    return pathWith(".new");
}

QByteArray StagedFile::oldPath() const
{
    return pathWith(".old");
}

QByteArray StagedFile::pathWith(const char *suffix) const
{
    return folder() + "/.configscript-" + m_number + suffix;
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
    if (!exists && !QDir().mkpath(folderPath)) {
        return refuse(QStringLiteral("no folder ") + folderPath);
    }
    // Nothing of an earlier attempt shall be taken for this one's.
    if (!remove(oldPath(), error) || !remove(newPath(), error)) {
        return false;
    }
    bool isWritten = false;
    {
        const Descriptor file(::open(newPath().constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC,
                                     exists ? 0600 : 0666));
        if (file < 0) {
            return fail(error);
        }
        mode_t mode = old.st_mode & 07777;
        if (exists && (old.st_uid != ::geteuid() || old.st_gid != ::getegid())
            && ::fchown(file, old.st_uid, old.st_gid) != 0
            && ::fchown(file, uid_t(-1), old.st_gid) != 0) {
            mode &= ~mode_t(S_IRWXG | S_ISGID); // another group shall not get what that one had
        }
        isWritten =
            (!exists || ::fchmod(file, mode) == 0) && writeWhole(file, content) && file.close();
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

bool StagedFile::replace(Diagnostic &error) const
{
    struct stat status;
    if (::lstat(newPath().constData(), &status) != 0) {
        return errno == ENOENT || fail(error); // done already
    }
    if (::lstat(path().constData(), &status) != 0) {
        if (errno != ENOENT) {
            return fail(error);
        }
        struct stat kept;
        if (::lstat(oldPath().constData(), &kept) != 0) {
            // A new file stays under both names: that tells it from one that was there before.
            return ::link(newPath().constData(), path().constData()) == 0 || fail(error);
        }
    } else if (isInPlaceOf(newPath())) {
        return true;
    } else if (::link(path().constData(), oldPath().constData()) != 0 && errno != EEXIST) {
        // Not every file system has links.
        if (::rename(path().constData(), oldPath().constData()) != 0) {
            return fail(error);
        }
    }
    return ::rename(newPath().constData(), path().constData()) == 0 || fail(error);
}

bool StagedFile::replaceFinally(Diagnostic &error) const
{
    if (::rename(newPath().constData(), path().constData()) == 0) {
        return syncFolder(folder()) || fail(error);
    }
    fail(error);
    ::unlink(newPath().constData());
    return false;
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
    struct stat status;
    if (::lstat(oldPath().constData(), &status) == 0) {
        // To rename one name of a file to another does nothing.
        if (::rename(oldPath().constData(), path().constData()) != 0) {
            return fail(error);
        }
    } else if (isInPlaceOf(newPath()) && !remove(path(), error)) {
        return false;
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

/// Whether the file's path and another one are names of one file.
bool StagedFile::isInPlaceOf(const QByteArray &otherPath) const
{
    struct stat own;
    struct stat other;
    return ::lstat(path().constData(), &own) == 0 && ::lstat(otherPath.constData(), &other) == 0
        && own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

bool StagedFile::remove(const QByteArray &path, Diagnostic &error) const
{
    return ::unlink(path.constData()) == 0 || errno == ENOENT || errno == ENOTDIR || fail(error);
}
