#include "ScriptLimits.h"

#include "configscript/process/LastWords.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>

#include <sys/resource.h>

namespace {

constexpr double s_maximumTimeout = 1'000'000; ///< in seconds
constexpr int s_minimumMemory = 32; ///< in MB; about what the program needs for itself
constexpr int s_maximumMemory = 1'000'000;

/// What a range takes for a number in it.
std::string refuseNotANumber(const std::string &text)
{
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? "Value " + text + " is no number"
                                                          : std::string();
}

} // namespace

void ScriptLimits::addOptions(CLI::App &arguments)
{
    arguments
        .add_option("--timeout", m_timeout,
                    "Stop a script that runs longer; 0 for no limit (default: 10)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, s_maximumTimeout).description(""))
        ->check(refuseNotANumber);
    arguments
        .add_option("--memory", m_memory,
                    "End the program when it needs more memory (default: no limit)")
        ->type_name("MB")
        ->check(CLI::Range(s_minimumMemory, s_maximumMemory).description(""));
}

std::chrono::milliseconds ScriptLimits::timeout() const
{
    const std::chrono::duration<double> seconds(m_timeout);
    // A limit that is shorter than the unit is a limit, too.
    return std::chrono::ceil<std::chrono::milliseconds>(seconds);
}

void ScriptLimits::limitMemory() const
{
    if (m_memory > 0) {
        const rlim_t bytes = rlim_t(m_memory) * 1024 * 1024;
        const rlimit limit{bytes, bytes};
        setrlimit(RLIMIT_DATA, &limit);
        LastWords::memoryIsLimited(m_memory);
    }
}
