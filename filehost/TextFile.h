#pragma once

#include "filehost/Diagnostic.h"

#include <QByteArray>
#include <QString>

/// Reads and writes whole files.
namespace TextFile {

enum class ReadResult { Read, Missing, Unreadable };

/**
 * @param maximumSize in bytes; a larger file is unreadable
 * @param error set when the file is unreadable
 */
ReadResult read(const QString &filePath, qint64 maximumSize, QByteArray &content,
                Diagnostic &error);

/**
 * Replaces the file, or makes it, with the folders that lead to it. After a failure the old file
 * stands as it was.
 * @return false, with @p error set, when the file could not be written
 */
bool write(const QString &filePath, const QByteArray &content, Diagnostic &error);

} // namespace TextFile
