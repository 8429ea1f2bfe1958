#pragma once

#include <benchmark/benchmark.h>

/// What the bodies of the benchmarks share.
namespace Body {

/**
 * To be asked before a body measures: whether its work gives what it should.
 * @return false when @p condition is false; then the benchmark is over, and so is the program's
 *         success
 */
bool expect(benchmark::State &state, bool condition, const char *expectation);

/// Whether all that was expected came true.
bool allCameTrue();

} // namespace Body
