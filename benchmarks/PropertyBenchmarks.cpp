// What scripts call most. An event of a script calls the operation 1,000 times in a loop; the times
// are those of one call.

#include "Body.h"
#include "Device.h"

namespace {

constexpr int s_callCount = 1000;
constexpr int s_fanOut = 3;

/// onOpen() runs @p statement 1,000 times, in which i is the number of the repetition.
QString loopScript(const char *statement)
{
    return QStringLiteral("function onOpen(api) {\n"
                          "  for (let i = 0; i < %1; ++i) {\n"
                          "    %2;\n"
                          "  }\n"
                          "}\n")
        .arg(s_callCount)
        .arg(QLatin1String(statement));
}

/// onOk() returns what @p expression gives; false fails the event.
QString checkScript(const char *expression)
{
    return QStringLiteral("function onOk(api) {\n  return %1;\n}\n").arg(QLatin1String(expression));
}

void measureOurs(benchmark::State &state, JavaScriptHandler &handler)
{
    while (state.KeepRunningBatch(s_callCount)) {
        benchmark::DoNotOptimize(handler.callFunctionOnOpen());
    }
}

void measureFloor(benchmark::State &state, PlainHandler &handler)
{
    const QString onOpen = QStringLiteral("onOpen");
    while (state.KeepRunningBatch(s_callCount)) {
        benchmark::DoNotOptimize(handler.call(onOpen));
    }
}

/// @param expression what is measured
/// @param check an expression that is true when the first one gives what it should
void readOurs(benchmark::State &state, const char *expression, const char *check)
{
    Device device(Fixture::treeText(40, s_fanOut), loopScript(expression) + checkScript(check));
    if (Body::expect(state, device.ours().callFunctionOnOk() && device.ours().callFunctionOnOpen(),
                     check)) {
        measureOurs(state, device.ours());
    }
}

void readFloor(benchmark::State &state, const char *expression, const char *check)
{
    Device device(Fixture::treeText(40, s_fanOut), loopScript(expression) + checkScript(check));
    if (Body::expect(state,
                     device.floor().call(QStringLiteral("onOk"))
                         && device.floor().call(QStringLiteral("onOpen")),
                     check)) {
        measureFloor(state, device.floor());
    }
}

/// Whether the last one of an event's writes has reached the node.
bool isWritten(const PlainApi::Node &root, int node)
{
    return root->getNode(Fixture::nodeUrl(node, s_fanOut))->getProperty(QStringLiteral("value"))
        == QVariant(s_callCount - 1);
}

enum class Place { Relative, Absolute };

/// @param statement gives @p node another "value" with each i
void writeOurs(benchmark::State &state, const char *statement, int node, Place place)
{
    Device device(Fixture::treeText(40, s_fanOut), loopScript(statement));
    const bool succeeded = device.ours().callFunctionOnOpen();
    if (Body::expect(
            state,
            succeeded
                && isWritten(place == Place::Relative ? device.oursRoot() : device.oursExternRoot(),
                             node)
                && device.ours().hasInstanceChanged() == (place == Place::Relative),
            "the value of the last write")) {
        measureOurs(state, device.ours());
    }
}

void writeFloor(benchmark::State &state, const char *statement, int node, Place place)
{
    Device device(Fixture::treeText(40, s_fanOut), loopScript(statement));
    const bool succeeded = device.floor().call(QStringLiteral("onOpen"));
    const PlainApi &api = device.floor().api;
    const PlainApi::Tree tree = api.trees.value(QStringLiteral("device"));
    if (Body::expect(state,
                     succeeded && isWritten(place == Place::Relative ? api.root : tree.root, node)
                         && tree.changed == (place == Place::Absolute),
                     "the value of the last write")) {
        measureFloor(state, device.floor());
    }
}

const char *const s_setError = "api.setError(\"n1\", \"error.aboveMaximum\", i)";

void setErrorOurs(benchmark::State &state)
{
    Device device(Fixture::treeText(40, s_fanOut), loopScript(s_setError));
    const bool succeeded = device.ours().callFunctionOnOpen();
    const auto errors = device.ours().getErrorMesageList();
    if (Body::expect(state,
                     succeeded && errors.size() == s_callCount
                         && errors.last().value == QVariant(s_callCount - 1),
                     "an error of each call")) {
        measureOurs(state, device.ours());
    }
}

void setErrorFloor(benchmark::State &state)
{
    Device device(Fixture::treeText(40, s_fanOut), loopScript(s_setError));
    const bool succeeded = device.floor().call(QStringLiteral("onOpen"));
    const auto &errors = device.floor().api.errors;
    if (Body::expect(state,
                     succeeded && errors.size() == s_callCount
                         && errors.last().value == QVariant(s_callCount - 1),
                     "an error of each call")) {
        measureFloor(state, device.floor());
    }
}

BENCHMARK_CAPTURE(readOurs, , "api.getProperty(\"n1\", \"value\")",
                  "api.getProperty(\"n1\", \"value\") === 1.5")
    ->Name("getProperty, depth 1/ours");
BENCHMARK_CAPTURE(readFloor, , "api.getProperty(\"n1\", \"value\")",
                  "api.getProperty(\"n1\", \"value\") === 1.5")
    ->Name("getProperty, depth 1/floor");
BENCHMARK_CAPTURE(readOurs, , "api.getProperty(\"n1/n4/n13\", \"value\")",
                  "api.getProperty(\"n1/n4/n13\", \"value\") === 13.5")
    ->Name("getProperty, depth 3/ours");
BENCHMARK_CAPTURE(readFloor, , "api.getProperty(\"n1/n4/n13\", \"value\")",
                  "api.getProperty(\"n1/n4/n13\", \"value\") === 13.5")
    ->Name("getProperty, depth 3/floor");

BENCHMARK_CAPTURE(writeOurs, , "api.setProperty(\"n1\", \"value\", i)", 1, Place::Relative)
    ->Name("setProperty, depth 1/ours");
BENCHMARK_CAPTURE(writeFloor, , "api.setProperty(\"n1\", \"value\", i)", 1, Place::Relative)
    ->Name("setProperty, depth 1/floor");
BENCHMARK_CAPTURE(writeOurs, , "api.setProperty(\"n1/n4/n13\", \"value\", i)", 13, Place::Relative)
    ->Name("setProperty, depth 3/ours");
BENCHMARK_CAPTURE(writeFloor, , "api.setProperty(\"n1/n4/n13\", \"value\", i)", 13, Place::Relative)
    ->Name("setProperty, depth 3/floor");

BENCHMARK_CAPTURE(
    readOurs, , "api.getPropertyExtern(\"config://plant/station/device#n1/n4/n13\", \"value\")",
    "api.getPropertyExtern(\"config://plant/station/device#n1/n4/n13\", \"value\") === 13.5")
    ->Name("getPropertyExtern/ours");
BENCHMARK_CAPTURE(
    readFloor, , "api.getPropertyExtern(\"config://plant/station/device#n1/n4/n13\", \"value\")",
    "api.getPropertyExtern(\"config://plant/station/device#n1/n4/n13\", \"value\") === 13.5")
    ->Name("getPropertyExtern/floor");
BENCHMARK_CAPTURE(
    writeOurs, , "api.setPropertyExtern(\"config://plant/station/device#n1/n4/n13\", \"value\", i)",
    13, Place::Absolute)
    ->Name("setPropertyExtern/ours");
BENCHMARK_CAPTURE(
    writeFloor, ,
    "api.setPropertyExtern(\"config://plant/station/device#n1/n4/n13\", \"value\", i)", 13,
    Place::Absolute)
    ->Name("setPropertyExtern/floor");

BENCHMARK(setErrorOurs)->Name("setError/ours");
BENCHMARK(setErrorFloor)->Name("setError/floor");

} // namespace
