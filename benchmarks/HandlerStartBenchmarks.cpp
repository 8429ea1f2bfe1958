// Binding a script to an instance, in a handler that is there already. The floor evaluates the
// script in an engine of the same kind.

#include "Body.h"
#include "Device.h"

namespace {

void startOurs(benchmark::State &state, int size)
{
    const QString script = Fixture::scriptText(size);
    Device device(Fixture::treeText(40, 3), QString());
    JavaScriptHandler &handler = device.ours();
    const PlainApi::Node root = device.oursRoot();
    handler.initializeHandler(root, script, Device::url());
    if (!Body::expect(state, handler.callFunctionOnOpen() && handler.hasInstanceChanged(),
                      "a script that writes")) {
        return;
    }
    while (state.KeepRunning()) {
        handler.initializeHandler(root, script, Device::url());
    }
}

void startFloor(benchmark::State &state, int size)
{
    const QString script = Fixture::scriptText(size);
    Device device(Fixture::treeText(40, 3), QString());
    PlainHandler &handler = device.floor();
    const auto value = [&handler] {
        return handler.api.getProperty(QStringLiteral("n1"), QStringLiteral("value"));
    };
    const QVariant before = value();
    if (!Body::expect(state,
                      handler.evaluate(script) && handler.call(QStringLiteral("onOpen"))
                          && value() != before,
                      "a script that writes")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(handler.evaluate(script));
    }
}

BENCHMARK_CAPTURE(startOurs, , 2048)->Name("initializeHandler, 2 KB/ours");
BENCHMARK_CAPTURE(startFloor, , 2048)->Name("initializeHandler, 2 KB/floor");
BENCHMARK_CAPTURE(startOurs, , 51200)->Name("initializeHandler, 50 KB/ours");
BENCHMARK_CAPTURE(startFloor, , 51200)->Name("initializeHandler, 50 KB/floor");

} // namespace
