#include "TextFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>

#include <sys/stat.h>

namespace TextFile {

ReadResult read(const QString &filePath, qint64 maximumSize, QByteArray &content, Diagnostic &error)
{
    struct stat status;
    if (::stat(QFile::encodeName(filePath).constData(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            return ReadResult::Missing;
        }
        error = {filePath, 0, 0, QStringLiteral("cannot be read: ") + qt_error_string(errno)};
        return ReadResult::Unreadable;
    }
    if (!S_ISREG(status.st_mode)) { // a pipe would block
        error = {filePath, 0, 0, QStringLiteral("cannot be read: it is no file")};
        return ReadResult::Unreadable;
    }
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly)) {
        error = {filePath, 0, 0, QStringLiteral("cannot be read: ") + file.errorString()};
        return ReadResult::Unreadable;
    }
    if (file.size() > maximumSize) {
        error = {filePath, 0, 0,
                 QStringLiteral("expected at most %1 bytes, found %2")
                     .arg(maximumSize)
                     .arg(file.size())};
        return ReadResult::Unreadable;
    }
    content = file.readAll();
    if (file.error() != QFileDevice::NoError) {
        error = {filePath, 0, 0, QStringLiteral("cannot be read: ") + file.errorString()};
        return ReadResult::Unreadable;
    }
    return ReadResult::Read;
}

bool write(const QString &filePath, const QByteArray &content, Diagnostic &error)
{
    const QString folder = QFileInfo(filePath).path();
    if (!QDir().mkpath(folder)) {
        error = {filePath, 0, 0, QStringLiteral("cannot be written: no folder ") + folder};
        return false;
    }
    if (QFileInfo::exists(filePath) && !QFileInfo(filePath).isWritable()) {
        error = {filePath, 0, 0, QStringLiteral("cannot be written: the file is read-only")};
        return false;
    }
    QSaveFile file(filePath);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()
        || !file.commit()) {
        error = {filePath, 0, 0, QStringLiteral("cannot be written: ") + file.errorString()};
        return false;
    }
    return true;
}

} // namespace TextFile
