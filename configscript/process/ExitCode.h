#pragma once

/// What the program ends with.
namespace ExitCode {

constexpr int success = 0;
constexpr int failure = 1; ///< a script failed, or a file could not be written
constexpr int unusable = 2; ///< the arguments are wrong, or the project cannot be read

} // namespace ExitCode
