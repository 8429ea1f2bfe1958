#include "ProjectArgument.h"

#include "configscript/Output.h"

std::optional<Project> openProject(const std::string &argument)
{
    Diagnostic error;
    const auto project = Project::open(QString::fromStdString(argument), error);
    if (!project) {
        Output::error(error.toString());
    }
    return project;
}
