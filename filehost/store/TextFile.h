#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/FileHostExport.h"

#include <QByteArray>
#include <QString>

namespace ConfigScript {

/// Reads and writes whole files.
namespace TextFile {

enum class ReadResult { Read, Missing, Unreadable };

/// Larger files of a project, trees and scripts alike, are refused, in bytes.
constexpr qint64 maximumSize = qint64(32) * 1024 * 1024;

/// Tells, without reading it again, whether a file is still as it was.
struct Stamp
{
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = -1;
    qint64 modified = 0; ///< of the content; nanoseconds since 1970
    qint64 changed = 0; ///< of the file and its attributes
    /// Whether the times were old enough for another change to give the file others.
    bool isSettled = false;
};

/**
 * @param maximumSize in bytes; a larger file is unreadable
 * @param error set when the file is unreadable
 * @param stamp receives, when it is not null, what the file was like before it was read
 */
FILEHOST_EXPORT ReadResult read(const QString &filePath, qint64 maximumSize, QByteArray &content,
                                Diagnostic &error, Stamp *stamp = nullptr);

/// What a file is like; the size is -1 when there is none.
FILEHOST_EXPORT Stamp stampOf(const QString &filePath);

/// Whether nothing that a stamp holds differs.
FILEHOST_EXPORT bool areEqual(const Stamp &left, const Stamp &right);

/// Whether a file is known to be as it was when @p stamp was taken. If not, it may be all the same.
FILEHOST_EXPORT bool isUnchanged(const QString &filePath, const Stamp &stamp);

/**
 * Replaces the file, or makes it, with the folders that lead to it. After a failure the old file
 * stands as it was; or the new one, when only its folder could not be synced.
 * @return false, with @p error set, when the file could not be written
 */
FILEHOST_EXPORT bool write(const QString &filePath, const QByteArray &content, Diagnostic &error);

} // namespace TextFile

} // namespace ConfigScript
