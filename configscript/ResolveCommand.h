#pragma once

#include "configscript/Command.h"
#include "configscript/RunReport.h"

#include <QStringList>

class Manifest;
class Project;

/// configscript resolve: runs the dependency scripts of a project.
class ResolveCommand : public Command
{
public:
    explicit ResolveCommand(CLI::App &program);

    int run() override;

private:
    QStringList selectedInstances(const Project &project, const Manifest &manifest) const;
    RunReport resolve(const Project &project) const;
    void print(const Project &project, const RunReport &report) const;

    std::string m_projectPath;
    std::string m_instance;
    bool m_isDryRun = false;
    bool m_isJson = false;
    bool m_isQuiet = false;
    bool m_isColorless = false;
};
