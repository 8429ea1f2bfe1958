#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"

class Output;
class Project;

/// configscript resolve: runs the dependency scripts of a project.
class ResolveCommand : public Command
{
public:
    explicit ResolveCommand(CLI::App &program);

    int run() override;

private:
    int resolveProject(const Project &project, Output &output) const;
    bool isKnownInstance(const Project &project) const;

    std::string m_projectPath;
    std::string m_instance;
    std::string m_treePath;
    std::string m_inplaceInstance;
    bool m_isUnchecked = false;
    bool m_isDryRun = false;
    bool m_isWriting = false;
    bool m_isJson = false;
    bool m_isQuiet = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
