#include "FileBatch.h"

#include "filehost/Descriptor.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Fewer files are synced one by one: to sync a file system waits for whatever others wrote to it.
constexpr size_t s_manyFiles = 16;

bool syncFileSystem(const QByteArray &folder)
{
    const Descriptor file(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return file >= 0 && ::syncfs(file) == 0;
}

QSet<QByteArray> foldersOf(const std::vector<StagedFile> &files)
{
    QSet<QByteArray> folders;
    for (const StagedFile &file : files) {
        folders.insert(file.folder());
    }
    return folders;
}

/// Waits until all entries of the folders, and with many files all their contents, are on the disk.
bool syncFolders(const std::vector<StagedFile> &files, Diagnostic &error)
{
    QSet<dev_t> synced;
    const QSet<QByteArray> folders = foldersOf(files);
    for (const QByteArray &folder : folders) {
        bool isSynced = false;
        struct stat status;
        if (files.size() < s_manyFiles) {
            isSynced = StagedFile::syncFolder(folder);
        } else if (::stat(folder.constData(), &status) == 0) {
            isSynced = synced.contains(status.st_dev) || syncFileSystem(folder);
            synced.insert(status.st_dev);
        }
        if (!isSynced) {
            error = {QFile::decodeName(folder), 0, 0,
                     QStringLiteral("cannot be written: ") + qt_error_string(errno)};
            return false;
        }
    }
    return true;
}

} // namespace

FileBatch::FileBatch(const QString &projectPath)
    : m_projectPath(QFileInfo(projectPath).canonicalFilePath())
    , m_journal(m_projectPath)
{
}

FileBatch::~FileBatch()
{
    drop();
}

bool FileBatch::add(const QString &projectPath, const QString &filePath, const QByteArray &content,
                    TextFile::Stamp &stamp, Diagnostic &error)
{
    const QString path = realPath(filePath);
    const bool isKnown = m_numbers.contains(path);
    const int number = isKnown ? m_numbers.value(path) : int(m_files.size());
    const bool isJournaled = isKnown
        || (begin(error) && joinProject(projectPath, error) && m_journal.addFile(path, error));
    if (isJournaled && !isKnown) {
        m_numbers.insert(path, number);
        m_files.emplace_back(path, number);
    }
    if (!isJournaled || !m_files[size_t(number)].write(content, error)) {
        giveUp(error.toString());
        return false;
    }
    stamp = TextFile::stampOf(QFile::decodeName(m_files[size_t(number)].newPath()));
    return true;
}

/// As StagedFile::realPath(), which takes its time.
QString FileBatch::realPath(const QString &filePath)
{
    struct stat status;
    if (::lstat(QFile::encodeName(filePath).constData(), &status) != 0 || S_ISLNK(status.st_mode)) {
        return StagedFile::realPath(filePath);
    }
    const int nameBegin = filePath.lastIndexOf(QLatin1Char('/')) + 1;
    QString &folder = m_realFolders[filePath.left(nameBegin)];
    if (folder.isNull()) {
        folder = QFileInfo(filePath.left(nameBegin)).canonicalFilePath() + QLatin1Char('/');
    }
    return folder + filePath.mid(nameBegin);
}

void FileBatch::giveUp(const QString &reason)
{
    if (m_reasonToGiveUp.isEmpty()) {
        m_reasonToGiveUp = reason;
    }
}

bool FileBatch::begin(Diagnostic &error)
{
    if (!m_isBegun) {
        m_isBegun = m_journal.create(error);
    }
    return m_isBegun;
}

bool FileBatch::joinProject(const QString &givenPath, Diagnostic &error)
{
    if (m_joinedProjects.contains(givenPath)) {
        return true;
    }
    const QString projectPath = QFileInfo(givenPath).canonicalFilePath();
    if (projectPath != m_projectPath && !m_otherProjects.contains(projectPath)) {
        BatchJournal journal(projectPath);
        if (!m_journal.addProject(projectPath, error) || !journal.create(error)) {
            return false;
        }
        m_otherProjects.append(projectPath);
        if (!journal.setOwner(m_projectPath, error)) {
            return false;
        }
    }
    m_joinedProjects.insert(givenPath);
    return true;
}

bool FileBatch::commit(QString &error)
{
    if (!m_reasonToGiveUp.isEmpty()) {
        error = m_reasonToGiveUp;
        drop();
        return false;
    }
    if (!m_isBegun) {
        return true;
    }
    Diagnostic failure;
    if (!syncContents(failure)) {
        error = failure.toString();
        drop();
        return false;
    }
    if (!m_journal.setState(BatchJournal::State::Replacing, failure) || !replaceAll(failure)) {
        error = failure.toString();
        if (!m_journal.setState(BatchJournal::State::Undoing, failure) || !undo(failure)) {
            error += QStringLiteral("; nor could the files before it be restored, which is done "
                                    "when the project is opened the next time");
            m_isBegun = false;
        }
        return false;
    }
    // All files are new, and on the disk. What cannot be cleaned up now is left to recover().
    finish(failure);
    m_isBegun = false;
    return true;
}

void FileBatch::drop()
{
    if (m_isBegun) {
        Diagnostic ignored; // what cannot be removed now is removed by recover()
        undo(ignored);
    }
}

bool FileBatch::isInterrupted(const QString &projectPath)
{
    struct stat status;
    return ::lstat(QFile::encodeName(BatchJournal::filePath(projectPath)).constData(), &status)
        == 0;
}

QString FileBatch::owner(const QString &projectPath)
{
    Diagnostic error;
    const auto journal = BatchJournal::read(projectPath, error);
    return journal && !journal->owner.isEmpty() ? journal->owner : projectPath;
}

FileBatch::Recovery FileBatch::recover(const QString &projectPath, Diagnostic &error)
{
    const auto journal = BatchJournal::read(projectPath, error);
    if (!journal) {
        return Recovery::Nothing;
    }
    if (!journal->owner.isEmpty()) {
        // The owner's journal names this project, unless it came to its end or never began.
        const auto ownersJournal = BatchJournal::read(journal->owner, error);
        const Recovery recovery = ownersJournal && ownersJournal->owner.isEmpty()
            ? recover(journal->owner, error)
            : Recovery::Undone;
        if (error.message.isEmpty()) {
            BatchJournal(projectPath).remove(error);
        }
        return recovery;
    }
    FileBatch batch(projectPath);
    batch.m_otherProjects = journal->otherProjects;
    for (const QString &file : journal->files) {
        batch.m_files.emplace_back(file, qint64(batch.m_files.size()));
    }
    if (journal->state == BatchJournal::State::Replacing) {
        return batch.replaceAll(error) && batch.finish(error) ? Recovery::Finished
                                                              : Recovery::Nothing;
    }
    return batch.undo(error) ? Recovery::Undone : Recovery::Nothing;
}

bool FileBatch::syncContents(Diagnostic &error) const
{
    if (m_files.size() < s_manyFiles) {
        for (const StagedFile &file : m_files) {
            if (!file.sync(error)) {
                return false;
            }
        }
    }
    return syncFolders(m_files, error);
}

bool FileBatch::replaceAll(Diagnostic &error)
{
    for (const StagedFile &file : m_files) {
        if (!file.replace(error)) {
            return false;
        }
    }
    return syncFolders(m_files, error);
}

/// Cleans up after replaceAll().
bool FileBatch::finish(Diagnostic &error)
{
    for (const StagedFile &file : m_files) {
        if (!file.forgetOld(error)) {
            return false;
        }
    }
    return end(error);
}

bool FileBatch::undo(Diagnostic &error)
{
    for (const StagedFile &file : m_files) {
        if (!file.undo(error)) {
            return false;
        }
    }
    return syncFolders(m_files, error) && end(error);
}

bool FileBatch::end(Diagnostic &error)
{
    for (const QString &project : qAsConst(m_otherProjects)) {
        // It may have joined another batch, and never this one.
        const bool isOwn = owner(project) == m_projectPath;
        if (isOwn && !BatchJournal(project).remove(error)) {
            return false;
        }
    }
    if (!m_journal.remove(error)) {
        return false;
    }
    StagedFile::syncFolder(QFile::encodeName(m_projectPath));
    m_isBegun = false;
    m_files.clear();
    m_numbers.clear();
    m_joinedProjects.clear();
    m_realFolders.clear();
    m_otherProjects.clear();
    return true;
}
