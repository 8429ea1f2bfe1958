// An event of a script that does nothing: what a call costs, before a script does anything.

#include "Body.h"
#include "Device.h"

namespace {

const QString s_script = QStringLiteral("function onOpen(api) {}\n"
                                        "function onValueChange(api, url) {}\n"
                                        "function onOk(api) { return false; }\n"
                                        "function onSave(api, url) { return url === \"n1\"; }\n");

void emptyEventOurs(benchmark::State &state)
{
    Device device(Fixture::treeText(40, 3), s_script);
    JavaScriptHandler &handler = device.ours();
    if (!Body::expect(state, handler.callFunctionOnOpen() && !handler.callFunctionOnOk(),
                      "an event that succeeds, and one that does not")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(handler.callFunctionOnOpen());
    }
}

void emptyEventFloor(benchmark::State &state)
{
    Device device(Fixture::treeText(40, 3), s_script);
    PlainHandler &handler = device.floor();
    const QString onOpen = QStringLiteral("onOpen");
    if (!Body::expect(state, handler.call(onOpen) && !handler.call(QStringLiteral("onOk")),
                      "an event that succeeds, and one that does not")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(handler.call(onOpen));
    }
}

void eventWithArgumentOurs(benchmark::State &state)
{
    Device device(Fixture::treeText(40, 3), s_script);
    JavaScriptHandler &handler = device.ours();
    const QString argument = QStringLiteral("n1");
    if (!Body::expect(state,
                      handler.callFunctionOnSave(argument)
                          && !handler.callFunctionOnSave(QStringLiteral("n2"))
                          && handler.callFunctionOnValueChanged(argument),
                      "the argument in the script")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(handler.callFunctionOnValueChanged(argument));
    }
}

void eventWithArgumentFloor(benchmark::State &state)
{
    Device device(Fixture::treeText(40, 3), s_script);
    PlainHandler &handler = device.floor();
    const QString onSave = QStringLiteral("onSave");
    const QString onValueChange = QStringLiteral("onValueChange");
    const QString argument = QStringLiteral("n1");
    if (!Body::expect(state,
                      handler.call(onSave, argument) && !handler.call(onSave, QStringLiteral("n2"))
                          && handler.call(onValueChange, argument),
                      "the argument in the script")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(handler.call(onValueChange, argument));
    }
}

BENCHMARK(emptyEventOurs)->Name("empty event/ours");
BENCHMARK(emptyEventFloor)->Name("empty event/floor");
BENCHMARK(eventWithArgumentOurs)->Name("empty event with an argument/ours");
BENCHMARK(eventWithArgumentFloor)->Name("empty event with an argument/floor");

} // namespace
