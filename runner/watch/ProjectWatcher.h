#pragma once

#include "filehost/store/TextFile.h"

#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVector>

namespace ConfigScript {

class Project;

/// A file of a project that is not as it was.
struct FileChange
{
    enum class Kind { Changed, Appeared, Gone };

    QString filePath;
    Kind kind;
};

/**
 * Watches the files of a project, and the trees of the projects that its scripts reach.
 *
 * Whatever the system tells, files count as changed when their stamps differ. Hidden files, and
 * editors' backups, which end in "~", are not looked at.
 */
class ProjectWatcher : public QObject
{
    Q_OBJECT

public:
    explicit ProjectWatcher(const Project &project);

    /// Watches the projects that this one reaches now; what it reached before counts as unchanged.
    void setProject(const Project &project);

    /// The files watched, sorted.
    QStringList files() const;

    /// What changed since the last time, by path.
    QVector<FileChange> takeChanges();

    /// Whether the system tells no changes of some files, so that all are looked at again and
    /// again.
    bool isPolling() const { return m_isPolling; }

Q_SIGNALS:
    /// Something may have changed, and nothing has for a short while.
    void settled();

private:
    using Stamps = QHash<QString, TextFile::Stamp>;

    void noteEvent();
    void settle();
    bool isBeingWritten();
    void watch();
    Stamps look();
    void lookInto(const QString &folder, const QString &suffix, Stamps &stamps);

    QString m_path;
    QStringList m_otherPaths;
    QFileSystemWatcher m_watcher;
    QTimer m_settling; ///< since the last event
    QTimer m_patience; ///< since the first event
    QTimer m_polling;
    bool m_isPolling = false;
    QSet<QString> m_folders; ///< found when looked last
    Stamps m_stamps; ///< of the files when changes were taken last
};

} // namespace ConfigScript
