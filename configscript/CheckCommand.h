#pragma once

#include "configscript/Command.h"
#include "configscript/ScriptLimits.h"

/// configscript check: looks for mistakes in a project without running it.
class CheckCommand : public Command
{
public:
    explicit CheckCommand(CLI::App &program);

    int run() override;

private:
    std::string m_projectPath;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
