#include "ProjectArgument.h"

#include "configscript/Output.h"
#include "filehost/FileBatch.h"

#include <QDir>
#include <QFileInfo>

#include <utility>

namespace {

QString realPath(const QString &path)
{
    return QFileInfo(path).canonicalFilePath();
}

/// @param lockedPath the project that this process has the right to write; empty for none
void recoverProject(const QString &path, const QString &lockedPath, Diagnostic &error)
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
                return;
            }
        }
    } while (FileBatch::owner(path) != owner);
    switch (FileBatch::recover(path, error)) {
    case FileBatch::Recovery::Nothing:
        break;
    case FileBatch::Recovery::Finished:
        Output::error(path
                      + QStringLiteral(": a run was interrupted while it saved; all its files "
                                       "are saved now"));
        break;
    case FileBatch::Recovery::Undone:
        Output::error(path
                      + QStringLiteral(": a run was interrupted before all was saved; none of "
                                       "its files is changed"));
        break;
    case FileBatch::Recovery::Unknown:
        Output::error(path
                      + QStringLiteral(": a run of another project was interrupted, which does not "
                                       "know of it any more; each file is as it was, or saved"));
        break;
    }
}

/// What was interrupted in a project, and in those that it reaches.
void recoverProjects(const Project &project, bool isLocked, Diagnostic &error)
{
    QStringList paths = project.reachableObjects().values();
    paths.prepend(project.path());
    paths.removeDuplicates();
    for (const QString &path : qAsConst(paths)) {
        if (error.message.isEmpty() && FileBatch::isInterrupted(path)) {
            recoverProject(path, isLocked ? realPath(project.path()) : QString(), error);
        }
    }
}

} // namespace

std::optional<Project> openProject(const std::string &argument, std::unique_ptr<ProjectLock> *lock)
{
    Diagnostic error;
    auto project = Project::open(QString::fromStdString(argument), error);
    if (project && lock) {
        *lock = lockProject(*project, error);
    } else if (project) {
        recoverProjects(*project, false, error);
    }
    if (error.message.isEmpty()) {
        return project;
    }
    Output::error(error.toString());
    return std::nullopt;
}

std::unique_ptr<ProjectLock> lockProject(const Project &project, Diagnostic &error)
{
    auto lock = ProjectLock::acquire(project.path(), error);
    if (lock) {
        recoverProjects(project, true, error);
    }
    return error.message.isEmpty() ? std::move(lock) : nullptr;
}

std::optional<Project> openProjectAround(const std::string &filePath,
                                         std::unique_ptr<ProjectLock> *lock)
{
    QDir folder = QFileInfo(QString::fromStdString(filePath)).absoluteDir();
    while (!folder.exists(QStringLiteral("project.json"))) {
        if (folder.isRoot() || !folder.cdUp()) {
            Output::error(QString::fromStdString(filePath)
                          + QStringLiteral(": no project.json in a folder above it; name the "
                                           "project"));
            return std::nullopt;
        }
    }
    return openProject(folder.path().toStdString(), lock);
}
