#pragma once

#include "filehost/FileHostExport.h"
#include "filehost/store/BatchJournal.h"
#include "filehost/store/StagedFile.h"
#include "filehost/store/TextFile.h"

#include <QByteArray>
#include <QHash>
#include <QSet>
#include <QString>
#include <QStringList>

#include <set>
#include <vector>

namespace ConfigScript {

/**
 * Files that are replaced together or not at all, whatever happens in between: a crash, a kill, a
 * loss of power, a full disk.
 *
 * A batch belongs to a project, whose folder holds its journal, and may reach files of other
 * projects, which get a journal that points there. Until commit() all files are as they were. What
 * a crash left is finished or undone by recover(), which whoever opens a project calls first. Two
 * batches of one project at a time are the caller's to prevent; see ProjectLock.
 */
class FILEHOST_EXPORT FileBatch
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
    void giveUp(const Diagnostic &reason);

    /**
     * Replaces the files; then they are on the disk.
     * @return false, with @p error set, when one of them could not be replaced, or the batch was
     *         given up before: all files are as they were, or, when not even that could be
     *         restored, will be when recover() is called. It never finishes what commit() did not.
     */
    bool commit(Diagnostic &error);

    /// Drops all contents.
    void drop();

    enum class Recovery {
        Nothing,
        Finished,
        Undone,
        Unknown, ///< the batch belonged to a project that knows nothing of it; each file is whole
    };

    /**
     * Finishes or undoes what an interrupted batch left in a project. The caller has the right to
     * write the project that owner() names.
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
    bool joinProject(const QString &projectPath, Diagnostic &error);
    bool makeFolder(const QString &filePath, Diagnostic &error);
    bool prepare(const QString &projectPath, const QString &filePath, Diagnostic &error);
    QStringList projects() const;
    std::set<QByteArray> folders() const;
    bool keepAll(Diagnostic &error);
    bool syncContents(Diagnostic &error) const;
    bool replaceAll(Diagnostic &error) const;
    bool forgetOld(Diagnostic &error);
    bool undo(Diagnostic &error);
    static Recovery recoverPart(const QString &projectPath, const QString &ownersPath,
                                Diagnostic &error);
    bool takeOver(const BatchJournal::Content &journal, Diagnostic &error);
    bool pointsHere(const QString &projectPath, Diagnostic &error) const;
    bool end(Diagnostic &error);
    void clear();

    QString m_projectPath;
    BatchJournal m_journal;
    qint64 m_number = 0; ///< of the first file
    bool m_isBegun = false;
    std::vector<StagedFile> m_files;
    QHash<QString, int> m_numbers; ///< by real path, from 0
    StagedFile::RealFolders m_realFolders; ///< of files that were added
    QStringList m_madeFolders; ///< outer ones first
    QSet<QString> m_joinedProjects; ///< the paths that were given
    QStringList m_otherProjects; ///< that hold a journal which points here
    Diagnostic m_reasonToGiveUp; ///< the first one; without a message for none
};

} // namespace ConfigScript
