#include "Command.h"

#include <CLI/CLI.hpp>

Command::Command(CLI::App &program, const std::string &name, const std::string &description)
    : m_arguments(program.add_subcommand(name, description))
{
}

bool Command::isChosen() const
{
    return m_arguments->parsed();
}
