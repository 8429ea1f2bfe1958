#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"

/// configscript watch: checks and resolves again what files touch that change.
class WatchCommand : public Command
{
public:
    explicit WatchCommand(CLI::App &program);

    int run() override;

private:
    std::string m_projectPath;
    bool m_isWriting = false;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
