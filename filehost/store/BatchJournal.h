#pragma once

#include "filehost/Diagnostic.h"

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

#include <sys/types.h>

namespace ConfigScript {

class Descriptor;

/**
 * What a FileBatch leaves in a project folder while it is at work, for those who come after a
 * crash: the file .configscript-journal. Each line is a JSON object with one member:
 *
 * - "number": that of the first file; 0 when it is missing
 * - "file": a file of the batch, relative to the project folder; they are numbered in this order
 * - "folder": one that the batch makes, relative; before those in it
 * - "alsoIn": another project that the batch has files in; its folder, relative
 * - "belongsTo": the project that the batch belongs to; this journal only points there
 * - "state": "saved": all files are replaced, and that is on the disk; what is left of the old ones
 *   is not needed any more. Without this line, the old files are to be put back.
 *
 * A last line without its end counts as not written.
 */
class BatchJournal
{
public:
    /// What a journal says.
    struct Content
    {
        QString filePath; ///< the journal's own
        qint64 number = 0;
        QStringList files; ///< absolute, as are folders and projects
        QStringList folders;
        QStringList otherProjects;
        QString owner; ///< the project that the batch belongs to; empty for this one
        bool isSaved = false;
    };

    explicit BatchJournal(const QString &projectPath);
    ~BatchJournal();

    /// Nothing when the project has no journal, or, with the error set, when it cannot be read.
    static std::optional<Content> read(const QString &projectPath, Diagnostic &error);

    /// Makes the file; fails when there is one.
    bool create(qint64 number, Diagnostic &error);

    bool addFile(const QString &filePath, Diagnostic &error);
    bool addFolder(const QString &folderPath, Diagnostic &error);
    bool addProject(const QString &projectPath, Diagnostic &error);

    /// Waits until all lines are on the disk.
    bool sync(Diagnostic &error) const;

    /// Says that all files are replaced, and waits until that is on the disk. After a failure it
    /// does not say so.
    bool setSaved(Diagnostic &error);

    /**
     * Makes a journal that points to another project's; fails when there is one. Nobody finds it
     * half written, and it is on the disk but for its name.
     * @param number names a file that a crash may leave; see StagedFile
     */
    bool pointTo(const QString &ownersPath, qint64 number, Diagnostic &error) const;

    /// Removes what pointTo() left when the process ended in it.
    bool giveUpPointing(qint64 number, Diagnostic &error) const;

    bool remove(Diagnostic &error);

private:
    bool append(QLatin1String member, const QString &value, Diagnostic &error);
    QString relative(const QString &path) const;
    bool fail(Diagnostic &error) const;

    QString m_projectPath;
    QString m_filePath;
    std::unique_ptr<Descriptor> m_file;
    off_t m_size = 0; ///< of the lines that are whole
};

} // namespace ConfigScript
