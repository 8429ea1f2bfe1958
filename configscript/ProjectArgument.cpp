#include "ProjectArgument.h"

#include "configscript/Output.h"
#include "filehost/FileBatch.h"

#include <QDir>
#include <QFileInfo>

namespace {

/// @param isLocked whether this process has the right to write the project
void recoverProject(const QString &path, bool isLocked, Diagnostic &error)
{
    const QString owner = FileBatch::owner(path);
    const auto lock = isLocked && owner == path ? nullptr : ProjectLock::acquire(owner, error);
    if (!error.message.isEmpty()) {
        return;
    }
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
                      + QStringLiteral(": a run was interrupted before it saved; none of its "
                                       "files is changed"));
        break;
    }
}

} // namespace

std::optional<Project> openProject(const std::string &argument, std::unique_ptr<ProjectLock> *lock)
{
    Diagnostic error;
    auto project = Project::open(QString::fromStdString(argument), error);
    if (project && lock) {
        *lock = ProjectLock::acquire(project->path(), error);
    }
    if (project) {
        QStringList paths = project->reachableObjects().values();
        paths.prepend(project->path());
        paths.removeDuplicates();
        for (const QString &path : qAsConst(paths)) {
            if (error.message.isEmpty() && FileBatch::isInterrupted(path)) {
                recoverProject(path, lock && path == project->path(), error);
            }
        }
    }
    if (error.message.isEmpty()) {
        return project;
    }
    Output::error(error.toString());
    return std::nullopt;
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
