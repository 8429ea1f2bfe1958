#include "ProjectArgument.h"

#include "configscript/report/Output.h"
#include "runner/run/ProjectOpening.h"

#include <QDir>
#include <QFileInfo>

namespace {

void print(const QStringList &recoveries)
{
    for (const QString &recovery : recoveries) {
        Output::error(recovery);
    }
}

} // namespace

std::optional<Project> openProject(const std::string &argument, std::unique_ptr<ProjectLock> *lock)
{
    QStringList recoveries;
    Diagnostic error;
    auto project = openRecoveredProject(QString::fromStdString(argument), lock, recoveries, error);
    print(recoveries);
    if (!project) {
        Output::error(error.toString());
    }
    return project;
}

std::unique_ptr<ProjectLock> lockProject(const Project &project, Diagnostic &error)
{
    QStringList recoveries;
    auto lock = lockRecoveredProject(project, recoveries, error);
    print(recoveries);
    return lock;
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
