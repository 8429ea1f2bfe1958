#include "ProjectWatcher.h"

#include "filehost/Project.h"
#include "host/PropertyManagerConst.h"
#include "runner/record/SilentLog.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>
#include <chrono>
#include <utility>

namespace {

constexpr std::chrono::milliseconds s_settlingTime(200);
constexpr std::chrono::milliseconds s_patience(2000);
constexpr std::chrono::milliseconds s_pollingInterval(1000);

} // namespace

ProjectWatcher::ProjectWatcher(const Project &project)
{
    m_settling.setSingleShot(true);
    m_settling.setInterval(s_settlingTime);
    m_patience.setSingleShot(true);
    m_patience.setInterval(s_patience);
    m_polling.setInterval(s_pollingInterval);
    connect(&m_watcher, &QFileSystemWatcher::fileChanged, this, &ProjectWatcher::noteEvent);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, this, &ProjectWatcher::noteEvent);
    connect(&m_settling, &QTimer::timeout, this, [this] {
        if (isBeingWritten() && m_patience.isActive()) {
            m_settling.start();
        } else {
            settle();
        }
    });
    connect(&m_patience, &QTimer::timeout, this, &ProjectWatcher::settle);
    connect(&m_polling, &QTimer::timeout, this, &ProjectWatcher::settle);
    setProject(project);
}

void ProjectWatcher::setProject(const Project &project)
{
    if (m_settling.isActive()) {
        m_settling.start(); // while the program was busy, nobody saw whether anything changed
    }
    QStringList otherPaths = project.reachableObjects().values();
    otherPaths.removeAll(project.path());
    otherPaths.removeDuplicates();
    std::sort(otherPaths.begin(), otherPaths.end());
    if (project.path() == m_path && otherPaths == m_otherPaths) {
        return;
    }
    m_path = project.path();
    m_otherPaths = otherPaths;
    // What begins or ceases to be watched has not changed.
    const Stamps known = std::exchange(m_stamps, look());
    for (auto file = known.cbegin(); file != known.cend(); ++file) {
        if (m_stamps.contains(file.key())) {
            m_stamps.insert(file.key(), *file);
        }
    }
    watch();
}

QStringList ProjectWatcher::files() const
{
    QStringList files = m_stamps.keys();
    files.sort();
    return files;
}

QVector<FileChange> ProjectWatcher::takeChanges()
{
    const Stamps before = m_stamps;
    m_stamps = look();
    QVector<FileChange> changes;
    QStringList replaced;
    for (auto file = m_stamps.cbegin(); file != m_stamps.cend(); ++file) {
        const auto old = before.constFind(file.key());
        if (old == before.cend()) {
            changes.append({file.key(), FileChange::Kind::Appeared});
        } else if (!TextFile::areEqual(*old, *file)) {
            changes.append({file.key(), FileChange::Kind::Changed});
            replaced.append(file.key());
        }
    }
    for (auto file = before.cbegin(); file != before.cend(); ++file) {
        if (!m_stamps.contains(file.key())) {
            changes.append({file.key(), FileChange::Kind::Gone});
        }
    }
    if (!replaced.isEmpty()) {
        m_watcher.removePaths(replaced); // another file may have taken the place of the one watched
    }
    watch();
    std::sort(changes.begin(), changes.end(),
              [](const FileChange &a, const FileChange &b) { return a.filePath < b.filePath; });
    return changes;
}

void ProjectWatcher::noteEvent()
{
    m_settling.start();
    if (!m_patience.isActive()) {
        m_patience.start();
    }
}

void ProjectWatcher::settle()
{
    m_settling.stop();
    m_patience.stop();
    Q_EMIT settled();
}

/// Whether a file changed just now: its event may not have come yet, while the program was busy.
bool ProjectWatcher::isBeingWritten()
{
    const Stamps stamps = look();
    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    return std::any_of(stamps.begin(), stamps.end(), [now](const TextFile::Stamp &stamp) {
        const qint64 age = now - stamp.changed / 1'000'000;
        return age >= 0 && age < s_settlingTime.count();
    });
}

/// Has the system tell of all files and folders that were found.
void ProjectWatcher::watch()
{
    const QStringList watchedFiles = m_watcher.files();
    const QStringList watchedFolders = m_watcher.directories();
    QSet<QString> paths = m_folders;
    for (auto file = m_stamps.keyBegin(); file != m_stamps.keyEnd(); ++file) {
        paths.insert(*file);
    }
    for (const QStringList &watched : {watchedFiles, watchedFolders}) {
        for (const QString &path : watched) {
            paths.remove(path);
        }
    }
    bool isComplete = QFileInfo(m_path).isDir();
    if (!paths.isEmpty()) {
        const SilentLog log; // for each path that cannot be watched
        const QStringList refused = m_watcher.addPaths(paths.values());
        isComplete = isComplete
            && std::none_of(refused.begin(), refused.end(),
                            [](const QString &path) { return QFileInfo::exists(path); });
        if (refused.size() < paths.size()) {
            noteEvent(); // what happened before they were watched is not told
        }
    }
    m_isPolling = !isComplete;
    if (isComplete) {
        m_polling.stop();
    } else if (!m_polling.isActive()) {
        m_polling.start();
    }
}

ProjectWatcher::Stamps ProjectWatcher::look()
{
    const QString json = QStringLiteral(".json");
    Stamps stamps;
    m_folders.clear();
    if (QFileInfo(m_path).isDir()) {
        m_folders.insert(m_path);
    }
    for (const char *name : {"project.json", "units.json", "providers.json"}) {
        const QString filePath = m_path + QLatin1Char('/') + QLatin1String(name);
        const TextFile::Stamp stamp = TextFile::stampOf(filePath);
        if (stamp.size >= 0) {
            stamps.insert(filePath, stamp);
        }
    }
    lookInto(m_path + QStringLiteral("/texts"), json, stamps);
    lookInto(m_path + QStringLiteral("/scripts"), QString(), stamps);
    lookInto(PropertyManagerConst::getDependencyFolderPath(m_path), QString(), stamps);
    const QStringList paths = QStringList(m_path) + m_otherPaths;
    for (const QString &path : paths) {
        lookInto(PropertyManagerConst::getConfigurationFolderPath(path), json, stamps);
        lookInto(PropertyManagerConst::getProcessFolderPath(path), json, stamps);
    }
    return stamps;
}

void ProjectWatcher::lookInto(const QString &folder, const QString &suffix, Stamps &stamps)
{
    if (!QFileInfo(folder).isDir()) {
        // Somewhere above it, it may come to be.
        QString above = QFileInfo(folder).path();
        if (QFileInfo(above).isDir()) {
            m_folders.insert(above);
        }
        return;
    }
    m_folders.insert(folder);
    QDirIterator entries(folder, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        if (entries.fileInfo().isDir()) {
            m_folders.insert(path);
        } else if (path.endsWith(suffix) && !path.endsWith(QLatin1Char('~'))) {
            stamps.insert(path, TextFile::stampOf(path));
        }
    }
}
