#pragma once

#include "configscript/Command.h"

namespace ConfigScript {

/// configscript list: the instances of a project.
class ListCommand : public Command
{
public:
    explicit ListCommand(CLI::App &program);

    int run() override;

private:
    std::string m_projectPath;
    bool m_isJson = false;
};

} // namespace ConfigScript
