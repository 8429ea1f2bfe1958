#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace ConfigScript {

/// One of the program's commands: its arguments, and what it does.
class Command
{
public:
    virtual ~Command() = default;

    bool isChosen() const { return m_arguments->parsed(); }

    /// @return the program's exit code
    virtual int run() = 0;

protected:
    Command(CLI::App &program, const std::string &name, const std::string &description)
        : m_arguments(program.add_subcommand(name, description))
    {
    }

    CLI::App &arguments() { return *m_arguments; }

private:
    CLI::App *m_arguments;
};

} // namespace ConfigScript
