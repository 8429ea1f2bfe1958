#pragma once

#include "filehost/Diagnostic.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <unordered_map>

namespace ConfigScript {

/**
 * The new content of a file, in a file of its own beside it, until it takes the file's place.
 *
 * It has the permissions of the file that it replaces, and never more. The old file can be kept,
 * too, so that all can be undone; there are two names for that, made of a number that is the
 * caller's to choose: no two staged files of a folder may have the same.
 *
 * Operations fail with an error that names the file itself. To undo or to discard what is undone or
 * discarded already, by a process that ended, is no failure.
 */
class StagedFile
{
public:
    using RealFolders = std::unordered_map<QString, QString>;

    /// @param filePath absolute, and free of links; see StagedFile::realPath()
    StagedFile(const QString &filePath, qint64 number);

    /// The file that a path leads to in the end; where it leads to nothing, itself.
    /// @param realFolders what is known of folders; receives more
    static QString realPath(const QString &filePath, RealFolders &realFolders);

    /// What the names of contents and of old files look like, with wildcards.
    static QStringList namePatterns();

    const QString &filePath() const { return m_filePath; }
    QByteArray folder() const;

    /// Stores the content; makes the folders that lead to the file.
    bool write(const QByteArray &content, Diagnostic &error) const;

    /// The file that holds the content until it takes the file's place.
    QByteArray newPath() const;

    /// Waits until the content is on the disk.
    bool sync(Diagnostic &error) const;

    /// Gives the old file another name, too, before replace().
    bool keep(Diagnostic &error);

    /// Replaces the file that was kept.
    bool replace(Diagnostic &error) const;

    /// Makes the file, which must not be there; the content stays under its own name, too.
    bool placeNew(Diagnostic &error) const;

    /// Replaces the file for good.
    bool replaceFinally(Diagnostic &error) const;

    /// Puts the old file back after replace(), if it came that far, and gives up the new content.
    bool undo(Diagnostic &error) const;

    /// Removes the new content before replace(), and the old file after it.
    bool discard(Diagnostic &error) const;

    /// Whether there is something to undo or to discard.
    bool isPending() const;

    /// Waits until the folder's entries are on the disk.
    static bool syncFolder(const QByteArray &folder);

private:
    /// The file before it is replaced: unknown, with its second name, or not there.
    enum class Old { Unknown, Kept, Missing };

    QByteArray oldPath() const;
    bool fail(Diagnostic &error) const;
    bool isInPlace() const;
    bool remove(const QByteArray &path, Diagnostic &error) const;

    QByteArray path() const;
    QByteArray pathWith(const char *suffix) const;

    QString m_filePath;
    QByteArray m_number;
    Old m_old = Old::Unknown;
};

} // namespace ConfigScript
