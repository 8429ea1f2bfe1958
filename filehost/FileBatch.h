#pragma once

#include "filehost/BatchJournal.h"
#include "filehost/StagedFile.h"
#include "filehost/TextFile.h"

#include <QHash>
#include <QSet>
#include <QVector>

#include <memory>
#include <unordered_map>
#include <vector>

/**
 * Files that are replaced together or not at all, whatever happens in between: a crash, a kill, a
 * loss of power, a full disk.
 *
 * A batch belongs to a project, whose folder holds its journal, and may reach files of other
 * projects, which get a journal that points there. Until commit() all files are as they were. What
 * a crash left is finished or undone by recover(), which whoever opens a project calls first. Two
 * batches of one project at a time are the caller's to prevent; see ProjectLock.
 */
class FileBatch
{
public:
    /// @param projectPath the folder, which exists
    explicit FileBatch(const QString &projectPath);
    /// Drops what was not committed.
    ~FileBatch();

    /**
     * Takes the content for a file, the last one for each file.
     * @param projectPath the folder of the project that the file belongs to
     * @param stamp receives what the file will be like, but for the time when it was changed
     * @return false, with @p error set, when it could not be stored; the batch is then given up
     */
    bool add(const QString &projectPath, const QString &filePath, const QByteArray &content,
             TextFile::Stamp &stamp, Diagnostic &error);

    /// Makes commit() fail, for a reason that add() does not know.
    void giveUp(const QString &reason);

    /**
     * Replaces the files; then they are on the disk.
     * @param error the reason, which names a file
     * @return false when one of them could not be replaced, or the batch was given up before: all
     * files are as they were, or, when not even that could be restored, will be when recover() is
     * called
     */
    bool commit(QString &error);

    /// Drops all contents.
    void drop();

    enum class Recovery { Nothing, Finished, Undone };

    /**
     * Finishes or undoes what an interrupted batch left in a project.
     * @param error set when that failed; the journal stays
     */
    static Recovery recover(const QString &projectPath, Diagnostic &error);

    /// The project that holds the batch which a project takes part in; itself, if none other does.
    static QString owner(const QString &projectPath);

    /// Whether there is something to recover, or a batch at work.
    static bool isInterrupted(const QString &projectPath);

private:
    Q_DISABLE_COPY(FileBatch)

    bool begin(Diagnostic &error);
    QString realPath(const QString &filePath);
    bool joinProject(const QString &projectPath, Diagnostic &error);
    bool syncContents(Diagnostic &error) const;
    bool replaceAll(Diagnostic &error);
    bool discard(Diagnostic &error);
    bool undo(Diagnostic &error);
    bool pointsHere(const QString &projectPath) const;
    bool checkFiles(Diagnostic &error) const;
    bool end(Diagnostic &error);

    QString m_projectPath;
    BatchJournal m_journal;
    bool m_isBegun = false;
    std::vector<StagedFile> m_files;
    QHash<QString, int> m_numbers; ///< by real path
    std::unordered_map<QString, QString> m_realFolders; ///< of the folders of files that were added
    QSet<QString> m_joinedProjects; ///< the paths that were given
    QStringList m_otherProjects; ///< that hold a journal which points here
    QString m_reasonToGiveUp; ///< the first one; empty for none
};
