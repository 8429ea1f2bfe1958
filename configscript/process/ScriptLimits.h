#pragma once

#include <chrono>

namespace CLI {
class App;
}

/// The options that limit what scripts may use.
class ScriptLimits
{
public:
    void addOptions(CLI::App &arguments);

    /// Of each run of a script; zero for none.
    std::chrono::milliseconds timeout() const;

    /// Sets the process's limit of memory, if one is asked for. Running into it ends the program,
    /// with a message and the exit code of a failure.
    void limitMemory() const;

private:
    double m_timeout = 10; ///< in seconds
    int m_memory = 0; ///< in MB; 0 for no limit
};
