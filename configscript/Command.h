#pragma once

#include <string>

namespace CLI {
class App;
}

/// One of the program's commands: its arguments, and what it does.
class Command
{
public:
    virtual ~Command() = default;

    bool isChosen() const;

    /// @return the program's exit code
    virtual int run() = 0;

protected:
    Command(CLI::App &program, const std::string &name, const std::string &description);

    CLI::App &arguments() { return *m_arguments; }

private:
    CLI::App *m_arguments;
};
