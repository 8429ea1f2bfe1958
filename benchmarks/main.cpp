#include "Body.h"
#include "Fixture.h"

#include <QCoreApplication>

#include <cstdlib>

namespace {

bool s_allCameTrue = true;

} // namespace

bool Body::expect(benchmark::State &state, bool condition, const char *expectation)
{
    if (!condition) {
        s_allCameTrue = false;
        state.SkipWithError(expectation);
    }
    return condition;
}

bool Body::allCameTrue()
{
    return s_allCameTrue;
}

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    Fixture::failOnWarnings();

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return EXIT_FAILURE;
    }
    const bool hasRun = benchmark::RunSpecifiedBenchmarks() > 0;
    return hasRun && Body::allCameTrue() ? EXIT_SUCCESS : EXIT_FAILURE;
}
