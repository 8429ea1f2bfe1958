#include "FileBatch.h"

#include "filehost/Descriptor.h"
#include "host/PropertyManagerConst.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QSet>

#include <algorithm>
#include <cerrno>
#include <iterator>

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

/// Removes what batches have stored in a project's folders of trees.
void removeLeftOvers(const QString &projectPath)
{
    for (const QString &folder : {PropertyManagerConst::getConfigurationFolderPath(projectPath),
                                  PropertyManagerConst::getProcessFolderPath(projectPath)}) {
        QDirIterator files(
            folder, {QStringLiteral(".configscript-*.new"), QStringLiteral(".configscript-*.old")},
            QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile::remove(files.next());
        }
    }
}

/// Waits until all entries of the folders, and with many files all their contents, are on the disk.
bool syncFolders(const std::vector<StagedFile> &files, Diagnostic &error)
{
    QSet<dev_t> synced;
    const QSet<QByteArray> folders = foldersOf(files);
    for (const QByteArray &folder : folders) {
        struct stat status;
        if (::stat(folder.constData(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR)) {
            continue; // it was never made
        }
        bool isSynced = false;
        if (files.size() < s_manyFiles) {
            isSynced = StagedFile::syncFolder(folder);
        } else {
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
            error += QStringLiteral("; the project is finished or restored when it is opened the "
                                    "next time");
            m_isBegun = false;
        }
        return false;
    }
    // All files are new, and on the disk. What cannot be cleaned up now is left to recover().
    discard(failure);
    m_isBegun = false;
    return true;
}

void FileBatch::drop()
{
    if (m_isBegun) {
        Diagnostic ignored; // what cannot be removed now is removed by recover()
        discard(ignored);
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
    return journal && QFileInfo::exists(journal->owner) ? journal->owner : projectPath;
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
        if (!error.message.isEmpty()) {
            return Recovery::Nothing;
        }
        auto recovery = Recovery::Undone;
        if (ownersJournal && ownersJournal->owner.isEmpty()) {
            recovery = recover(journal->owner, error);
        } else {
            removeLeftOvers(projectPath); // each file is whole, and no more is known
        }
        return error.message.isEmpty() && BatchJournal(projectPath).remove(error)
            ? recovery
            : Recovery::Nothing;
    }
    FileBatch batch(projectPath);
    batch.m_otherProjects = journal->otherProjects;
    for (int number = 0; number < journal->files.size(); ++number) {
        const QString &file = journal->files.at(number);
        // A project may have been copied without the others.
        const bool isMissing = std::any_of(
            journal->otherProjects.begin(), journal->otherProjects.end(),
            [&file](const QString &project) {
                return file.startsWith(project + QLatin1Char('/')) && !QFileInfo::exists(project);
            });
        if (!isMissing) {
            batch.m_files.emplace_back(file, number);
        }
    }
    if (!batch.checkFiles(error)) {
        return Recovery::Nothing;
    }
    if (journal->state == BatchJournal::State::Collecting) {
        return batch.discard(error) ? Recovery::Undone : Recovery::Nothing;
    }
    if (journal->state == BatchJournal::State::Replacing) {
        return batch.replaceAll(error) && batch.discard(error) ? Recovery::Finished
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
    // The journals' own entries, too.
    StagedFile::syncFolder(QFile::encodeName(m_projectPath));
    for (const QString &project : m_otherProjects) {
        StagedFile::syncFolder(QFile::encodeName(project));
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

/// Before the switch-over, or when it is done.
bool FileBatch::discard(Diagnostic &error)
{
    for (const StagedFile &file : m_files) {
        if (!file.discard(error)) {
            return false;
        }
    }
    return end(error);
}

/// In the middle of the switch-over.
bool FileBatch::undo(Diagnostic &error)
{
    for (const StagedFile &file : m_files) {
        if (!file.undo(error)) {
            return false;
        }
    }
    return syncFolders(m_files, error) && end(error);
}

/// Whether another project's journal says that it takes part in this batch, and not in another
/// one; an empty one was to say so.
bool FileBatch::pointsHere(const QString &projectPath) const
{
    Diagnostic ignored;
    const auto journal = BatchJournal::read(projectPath, ignored);
    return journal
        && (journal->owner.isEmpty() ? journal->files.isEmpty() && journal->otherProjects.isEmpty()
                                     : journal->owner == m_projectPath);
}

/// Whether all files that are left to do lie in the projects that take part: the journal is no way
/// out of them.
bool FileBatch::checkFiles(Diagnostic &error) const
{
    QStringList projects{m_projectPath};
    std::copy_if(m_otherProjects.begin(), m_otherProjects.end(), std::back_inserter(projects),
                 [this](const QString &project) { return pointsHere(project); });
    for (const StagedFile &file : m_files) {
        QFileInfo folder(QFileInfo(file.filePath()).path());
        while (!folder.exists() && !folder.isRoot()) {
            folder.setFile(folder.path());
        }
        const QString path = folder.canonicalFilePath() + QLatin1Char('/');
        const bool isInside =
            std::any_of(projects.begin(), projects.end(), [&path](const QString &project) {
                return path.startsWith(project + QLatin1Char('/'));
            });
        if (!isInside && file.isPending()) {
            error = {BatchJournal::filePath(m_projectPath), 0, 0,
                     QStringLiteral("names a file outside of its projects: ") + file.filePath()};
            return false;
        }
    }
    return true;
}

bool FileBatch::end(Diagnostic &error)
{
    for (const QString &project : qAsConst(m_otherProjects)) {
        if (pointsHere(project) && !BatchJournal(project).remove(error)) {
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
