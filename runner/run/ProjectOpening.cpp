#include "ProjectOpening.h"

#include "filehost/FileBatch.h"

#include <QFileInfo>

#include <utility>

namespace {

QString realPath(const QString &path)
{
    return QFileInfo(path).canonicalFilePath();
}

/// @param lockedPath the project that this process has the right to write; empty for none
/// @return what was done; empty for nothing
QString recoverProject(const QString &path, const QString &lockedPath, Diagnostic &error)
{
    std::unique_ptr<ProjectLock> lock;
    QString owner;
    // While it waits, one batch may end, and another one begin.
    do {
        lock = nullptr;
        owner = FileBatch::owner(path);
        if (realPath(owner) != lockedPath) {
            lock = ProjectLock::acquire(owner, error);
            if (!lock) {
                return QString();
            }
        }
    } while (FileBatch::owner(path) != owner);
    switch (FileBatch::recover(path, error)) {
    case FileBatch::Recovery::Nothing:
        break;
    case FileBatch::Recovery::Finished:
        return path
            + QStringLiteral(": a run was interrupted while it saved; all its files are saved now");
    case FileBatch::Recovery::Undone:
        return path
            + QStringLiteral(": a run was interrupted before all was saved; none of its files is "
                             "changed");
    case FileBatch::Recovery::Unknown:
        return path
            + QStringLiteral(": a run of another project was interrupted, which does not know of "
                             "it any more; each file is as it was, or saved");
    }
    return QString();
}

void recoverProjects(const Project &project, bool isLocked, QStringList &recoveries,
                     Diagnostic &error)
{
    QStringList paths = project.reachableObjects().values();
    paths.prepend(project.path());
    paths.removeDuplicates();
    for (const QString &path : qAsConst(paths)) {
        if (error.message.isEmpty() && FileBatch::isInterrupted(path)) {
            const QString recovery =
                recoverProject(path, isLocked ? realPath(project.path()) : QString(), error);
            if (!recovery.isEmpty()) {
                recoveries.append(recovery);
            }
        }
    }
}

} // namespace

std::optional<Project> openRecoveredProject(const QString &folder,
                                            std::unique_ptr<ProjectLock> *lock,
                                            QStringList &recoveries, Diagnostic &error)
{
    auto project = Project::open(folder, error);
    if (project && lock) {
        *lock = lockRecoveredProject(*project, recoveries, error);
    } else if (project) {
        recoverProjects(*project, false, recoveries, error);
    }
    return error.message.isEmpty() ? project : std::nullopt;
}

std::unique_ptr<ProjectLock> lockRecoveredProject(const Project &project, QStringList &recoveries,
                                                  Diagnostic &error)
{
    auto lock = ProjectLock::acquire(project.path(), error);
    if (lock) {
        recoverProjects(project, true, recoveries, error);
    }
    return error.message.isEmpty() ? std::move(lock) : nullptr;
}
