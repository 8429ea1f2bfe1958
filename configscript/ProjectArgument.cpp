#include "ProjectArgument.h"

#include "configscript/Output.h"

#include <QDir>
#include <QFileInfo>

std::optional<Project> openProject(const std::string &argument)
{
    Diagnostic error;
    auto project = Project::open(QString::fromStdString(argument), error);
    if (!project) {
        Output::error(error.toString());
    }
    return project;
}

std::optional<Project> openProjectAround(const std::string &filePath)
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
    return openProject(folder.path().toStdString());
}
