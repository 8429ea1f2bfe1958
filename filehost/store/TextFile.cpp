#include "TextFile.h"

#include "filehost/store/Descriptor.h"
#include "filehost/store/StagedFile.h"

#include <QFile>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ConfigScript {

namespace TextFile {

namespace {

qint64 nanoseconds(const timespec &time)
{
    return qint64(time.tv_sec) * 1000000000 + time.tv_nsec;
}

Stamp stampOf(const struct stat &status)
{
    // File systems count in steps of up to two seconds.
    constexpr qint64 coarsestStep = Q_INT64_C(2000000000);
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    Stamp stamp;
    stamp.device = quint64(status.st_dev);
    stamp.inode = quint64(status.st_ino);
    stamp.size = qint64(status.st_size);
    stamp.modified = nanoseconds(status.st_mtim);
    stamp.changed = nanoseconds(status.st_ctim);
    stamp.isSettled = std::max(stamp.modified, stamp.changed) + coarsestStep < nanoseconds(now);
    return stamp;
}

bool readWhole(int file, QByteArray &content)
{
    int length = 0;
    while (length < content.size()) {
        const ssize_t count =
            ::read(file, content.data() + length, size_t(content.size() - length));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            break;
        }
        length += int(count);
    }
    content.truncate(length);
    return true;
}

} // namespace

ReadResult read(const QString &filePath, qint64 maximumSize, QByteArray &content, Diagnostic &error,
                Stamp *stamp)
{
    const auto unreadable = [&](const QString &reason) {
        error = {filePath, 0, 0, reason};
        return ReadResult::Unreadable;
    };
    const auto failed = [&] {
        return unreadable(QStringLiteral("cannot be read: ") + qt_error_string(errno));
    };
    // O_NONBLOCK: opening a pipe would wait for the other end.
    const Descriptor file(::open(QFile::encodeName(filePath).constData(),
                                 O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (file < 0) {
        return errno == ENOENT || errno == ENOTDIR ? ReadResult::Missing : failed();
    }
    struct stat status;
    if (::fstat(file, &status) != 0) {
        return failed();
    }
    if (!S_ISREG(status.st_mode)) {
        return unreadable(QStringLiteral("cannot be read: it is no file"));
    }
    if (status.st_size > maximumSize) {
        return unreadable(QStringLiteral("expected at most %1 bytes, found %2")
                              .arg(maximumSize)
                              .arg(qint64(status.st_size)));
    }
    QByteArray text(int(status.st_size), Qt::Uninitialized);
    if (!readWhole(file, text)) {
        return failed();
    }
    if (stamp) {
        *stamp = stampOf(status);
    }
    content = text;
    return ReadResult::Read;
}

Stamp stampOf(const QString &filePath)
{
    struct stat status;
    return ::stat(QFile::encodeName(filePath).constData(), &status) == 0 ? stampOf(status)
                                                                         : Stamp();
}

bool areEqual(const Stamp &left, const Stamp &right)
{
    return left.device == right.device && left.inode == right.inode && left.size == right.size
        && left.modified == right.modified && left.changed == right.changed;
}

bool isUnchanged(const QString &filePath, const Stamp &stamp)
{
    return stamp.isSettled && areEqual(stampOf(filePath), stamp);
}

bool write(const QString &filePath, const QByteArray &content, Diagnostic &error)
{
    StagedFile::RealFolders ignoredFolders;
    const StagedFile file(StagedFile::realPath(filePath, ignoredFolders),
                          QRandomGenerator::system()->bounded(std::numeric_limits<int>::max()));
    if (file.write(content, error) && file.sync(error) && file.replaceFinally(error)) {
        return true;
    }
    Diagnostic ignored;
    file.discard(ignored);
    error.file = filePath;
    return false;
}

} // namespace TextFile

} // namespace ConfigScript
