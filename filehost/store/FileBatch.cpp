#include "FileBatch.h"

#include "filehost/ProjectLayout.h"
#include "filehost/store/Descriptor.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <limits>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace ConfigScript {

namespace {

/// Fewer files or folders are synced one by one: to sync a file system waits for whatever others
/// wrote to it.
constexpr size_t s_many = 16;

bool syncFileSystem(const QByteArray &folder)
{
    const Descriptor file(::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return file >= 0 && ::syncfs(file) == 0;
}

bool fail(const QString &path, Diagnostic &error)
{
    error = {path, 0, 0, QStringLiteral("cannot be written: ") + qt_error_string(errno)};
    return false;
}

/// Removes the contents and old files that batches have left in a project's folders of trees.
void removeLeftOvers(const QString &projectPath)
{
    const ProjectLayout layout(projectPath);
    for (const QString &folder : {layout.configurationFolder(), layout.processFolder()}) {
        QDirIterator files(folder, StagedFile::namePatterns(),
                           QDir::Files | QDir::Hidden | QDir::System, QDirIterator::Subdirectories);
        while (files.hasNext()) {
            QFile::remove(files.next());
        }
    }
}

/// Whether a file lies in one of the projects: a journal is not to lead out of those that take
/// part.
bool isInside(const QString &path, const QStringList &projects)
{
    QFileInfo folder(QFileInfo(path).path());
    while (!folder.exists() && !folder.isRoot()) {
        folder.setFile(folder.path());
    }
    const QString realFolder = folder.canonicalFilePath() + QLatin1Char('/');
    return std::any_of(projects.begin(), projects.end(), [&](const QString &project) {
        return realFolder.startsWith(project + QLatin1Char('/'));
    });
}

/// Waits until all entries of the folders are on the disk; where they are many, the contents, too.
bool syncFolders(const std::set<QByteArray> &folders, size_t files, Diagnostic &error)
{
    const bool areMany = std::max(folders.size(), files) >= s_many;
    std::set<dev_t> synced;
    for (const QByteArray &folder : folders) {
        struct stat status
        {
        };
        const bool exists = ::stat(folder.constData(), &status) == 0;
        if (exists ? !S_ISDIR(status.st_mode) : errno == ENOENT || errno == ENOTDIR) {
            continue; // it was never made
        }
        const bool isNeeded = !areMany || synced.insert(status.st_dev).second;
        if (isNeeded && !(areMany ? syncFileSystem(folder) : StagedFile::syncFolder(folder))) {
            return fail(QFile::decodeName(folder), error);
        }
    }
    return true;
}

bool syncFolders(const std::set<QByteArray> &folders, Diagnostic &error)
{
    return syncFolders(folders, 0, error);
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
    const QString path = StagedFile::realPath(filePath, m_realFolders);
    const bool isKnown = m_numbers.contains(path);
    if (!isKnown && prepare(projectPath, path, error)) {
        m_numbers.insert(path, int(m_files.size()));
        m_files.emplace_back(path, m_number + qint64(m_files.size()));
    }
    const auto number = m_numbers.constFind(path);
    if (number == m_numbers.constEnd() || !m_files[size_t(*number)].write(content, error)) {
        giveUp(error);
        return false;
    }
    stamp = TextFile::stampOf(QFile::decodeName(m_files[size_t(*number)].newPath()));
    return true;
}

/// Makes the folders and journals that a file needs; each is written down before it is made.
bool FileBatch::prepare(const QString &projectPath, const QString &filePath, Diagnostic &error)
{
    return begin(error) && joinProject(projectPath, error) && makeFolder(filePath, error)
        && m_journal.addFile(filePath, error);
}

void FileBatch::giveUp(const Diagnostic &reason)
{
    if (m_reasonToGiveUp.message.isEmpty()) {
        m_reasonToGiveUp = reason;
    }
}

bool FileBatch::begin(Diagnostic &error)
{
    if (!m_isBegun) {
        // Not the numbers of another batch, whose files, or whose journal after a loss of power,
        // would be taken for this one's.
        m_number = QRandomGenerator::system()->bounded(1, std::numeric_limits<int>::max());
        m_isBegun = m_journal.create(m_number, error);
    }
    return m_isBegun;
}

bool FileBatch::joinProject(const QString &givenPath, Diagnostic &error)
{
    if (m_joinedProjects.contains(givenPath)) {
        return true;
    }
    const QString projectPath = QFileInfo(givenPath).canonicalFilePath();
    if (!projects().contains(projectPath)) {
        if (!m_journal.addProject(projectPath, error)
            || !BatchJournal(projectPath).pointTo(m_projectPath, m_number - 1, error)) {
            return false;
        }
        m_otherProjects.append(projectPath);
    }
    m_joinedProjects.insert(givenPath);
    return true;
}

bool FileBatch::makeFolder(const QString &filePath, Diagnostic &error)
{
    QStringList missing;
    for (QString folder = QFileInfo(filePath).path(); !QFileInfo::exists(folder);
         folder = QFileInfo(folder).path()) {
        missing.prepend(folder);
    }
    for (const QString &folder : qAsConst(missing)) {
        if (!m_journal.addFolder(folder, error)) {
            return false;
        }
        if (::mkdir(QFile::encodeName(folder).constData(), 0777) != 0) {
            return fail(filePath, error);
        }
        m_madeFolders.append(folder);
    }
    return true;
}

bool FileBatch::commit(Diagnostic &error)
{
    if (!m_reasonToGiveUp.message.isEmpty()) {
        error = m_reasonToGiveUp;
        drop();
        return false;
    }
    if (!m_isBegun) {
        return true;
    }
    // After a failure nothing has to be written: a journal without its last line says that all is
    // to be undone.
    Diagnostic failure;
    const bool isSaved = keepAll(failure) && syncContents(failure) && replaceAll(failure)
        && syncFolders(folders(), failure) && m_journal.setSaved(failure);
    Diagnostic ignored; // what cannot be cleaned up or undone now is left to recover()
    if (isSaved) {
        forgetOld(ignored);
    } else {
        error = failure;
        if (!undo(ignored)) {
            error.message +=
                QStringLiteral("; the project is restored when it is opened the next time");
        }
    }
    clear();
    return isSaved;
}

void FileBatch::drop()
{
    if (m_isBegun) {
        Diagnostic ignored; // what cannot be removed now is removed by recover()
        undo(ignored);
        clear();
    }
}

bool FileBatch::isInterrupted(const QString &projectPath)
{
    struct stat status;
    return ::lstat(QFile::encodeName(ProjectLayout(projectPath).journalFile()).constData(), &status)
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
        return recoverPart(projectPath, journal->owner, error);
    }
    FileBatch batch(projectPath);
    if (!batch.takeOver(*journal, error)) {
        return Recovery::Nothing;
    }
    if (journal->isSaved) {
        // The process may have ended before that was on the disk.
        return batch.m_journal.sync(error) && batch.forgetOld(error) ? Recovery::Finished
                                                                     : Recovery::Nothing;
    }
    return batch.undo(error) ? Recovery::Undone : Recovery::Nothing;
}

/// Recovers a project that takes part in the batch of another one.
FileBatch::Recovery FileBatch::recoverPart(const QString &projectPath, const QString &ownersPath,
                                           Diagnostic &error)
{
    // The owner's journal names this project, unless it came to its end or never began.
    const auto ownersJournal = BatchJournal::read(ownersPath, error);
    if (!error.message.isEmpty()) {
        return Recovery::Nothing;
    }
    auto recovery = Recovery::Unknown;
    if (ownersJournal && ownersJournal->owner.isEmpty()) {
        recovery = recover(ownersPath, error);
    } else {
        removeLeftOvers(projectPath);
    }
    return error.message.isEmpty() && BatchJournal(projectPath).remove(error) ? recovery
                                                                              : Recovery::Nothing;
}

/// Becomes the batch that wrote the project's journal.
/// @return false, with @p error set, when the journal leads out of its projects, or when that of
///         another project cannot be read
bool FileBatch::takeOver(const BatchJournal::Content &journal, Diagnostic &error)
{
    m_number = journal.number;
    m_otherProjects = journal.otherProjects;
    QStringList takingPart{m_projectPath};
    for (const QString &project : journal.otherProjects) {
        if (pointsHere(project, error)) {
            takingPart.append(project);
        } else if (!error.message.isEmpty()) {
            return false;
        }
    }
    for (int number = 0; number < journal.files.size(); ++number) {
        const StagedFile file(journal.files.at(number), journal.number + number);
        // A project may have been copied without the others.
        const bool isMissing =
            std::any_of(journal.otherProjects.begin(), journal.otherProjects.end(),
                        [&file](const QString &project) {
                            return file.filePath().startsWith(project + QLatin1Char('/'))
                                && !QFileInfo::exists(project);
                        });
        if (!isMissing && file.isPending() && !isInside(file.filePath(), takingPart)) {
            error = {journal.filePath, 0, 0,
                     QStringLiteral("names a file outside of its projects: ") + file.filePath()};
            return false;
        }
        if (!isMissing) {
            m_files.push_back(file);
        }
    }
    if (!journal.isSaved) {
        std::copy_if(journal.folders.begin(), journal.folders.end(),
                     std::back_inserter(m_madeFolders),
                     [&takingPart](const QString &folder) { return isInside(folder, takingPart); });
    }
    return true;
}

QStringList FileBatch::projects() const
{
    return QStringList(m_projectPath) + m_otherProjects;
}

/// The folders in which the batch makes, replaces or removes something, other than journals.
std::set<QByteArray> FileBatch::folders() const
{
    std::set<QByteArray> folders;
    for (const StagedFile &file : m_files) {
        folders.insert(file.folder());
    }
    for (const QString &folder : m_madeFolders) {
        folders.insert(QFile::encodeName(QFileInfo(folder).path()));
    }
    return folders;
}

bool FileBatch::keepAll(Diagnostic &error)
{
    return std::all_of(m_files.begin(), m_files.end(),
                       [&error](StagedFile &file) { return file.keep(error); });
}

/// Waits until all that undo() needs, and the contents, are on the disk.
bool FileBatch::syncContents(Diagnostic &error) const
{
    if (m_files.size() < s_many) {
        const bool isSynced =
            std::all_of(m_files.begin(), m_files.end(),
                        [&error](const StagedFile &file) { return file.sync(error); });
        if (!isSynced || !m_journal.sync(error)) {
            return false;
        }
    }
    std::set<QByteArray> all = folders();
    const QStringList projectPaths = projects();
    for (const QString &project : projectPaths) {
        all.insert(QFile::encodeName(project));
    }
    return syncFolders(all, m_files.size(), error);
}

bool FileBatch::replaceAll(Diagnostic &error) const
{
    return std::all_of(m_files.begin(), m_files.end(),
                       [&error](const StagedFile &file) { return file.replace(error); });
}

/// Removes the old files and the journals, once all new ones are saved.
bool FileBatch::forgetOld(Diagnostic &error)
{
    return std::all_of(m_files.begin(), m_files.end(),
                       [&error](const StagedFile &file) { return file.discard(error); })
        && end(error);
}

/// Puts everything back as it was before the batch; until all new files are saved.
bool FileBatch::undo(Diagnostic &error)
{
    for (const StagedFile &file : m_files) {
        if (!file.undo(error)) {
            return false;
        }
    }
    for (auto folder = m_madeFolders.crbegin(); folder != m_madeFolders.crend(); ++folder) {
        if (::rmdir(QFile::encodeName(*folder).constData()) != 0 && errno != ENOENT
            && errno != ENOTDIR && errno != ENOTEMPTY && errno != EEXIST) {
            return fail(*folder, error);
        }
    }
    return end(error);
}

/// Whether another project's journal says that it takes part in this batch, and not in another one.
/// @param error set when it cannot be read
bool FileBatch::pointsHere(const QString &projectPath, Diagnostic &error) const
{
    const auto journal = BatchJournal::read(projectPath, error);
    return journal && journal->owner == m_projectPath;
}

/// Removes the journals when the files are as they shall stay. Each step is on the disk before the
/// next one: while files are left that a journal names, or a journal that points here, the one that
/// leads to them is not removed.
bool FileBatch::end(Diagnostic &error)
{
    if (!syncFolders(folders(), error)) {
        return false;
    }
    std::set<QByteArray> otherFolders;
    for (const QString &project : qAsConst(m_otherProjects)) {
        BatchJournal journal(project);
        const bool isOwn = pointsHere(project, error);
        if (!error.message.isEmpty() || !journal.giveUpPointing(m_number - 1, error)
            || (isOwn && !journal.remove(error))) {
            return false;
        }
        otherFolders.insert(QFile::encodeName(project));
    }
    return syncFolders(otherFolders, error) && m_journal.remove(error);
}

void FileBatch::clear()
{
    m_isBegun = false;
    m_files.clear();
    m_numbers.clear();
    m_madeFolders.clear();
    m_joinedProjects.clear();
    m_realFolders.clear();
    m_otherProjects.clear();
}

} // namespace ConfigScript
