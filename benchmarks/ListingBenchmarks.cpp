// A listing of 100 children with their texts. An event asks for it 10 times; the times are those of
// one listing.

#include "Body.h"
#include "Device.h"

namespace {

constexpr int s_callCount = 10;

const QString s_script =
    QStringLiteral("const url = \"config://plant/station/device\";\n"
                   "function onOpen(api) {\n"
                   "  for (let i = 0; i < 10; ++i) {\n"
                   "    api.getListOfNodeInstancesWithText(url, true);\n"
                   "  }\n"
                   "}\n"
                   "function onOk(api) {\n"
                   "  const list = api.getListOfNodeInstancesWithText(url, true);\n"
                   "  const last = list.find((node) => node.url === \"n100\");\n"
                   "  return list.length === 100 && last.text === \"plant.device.label100\";\n"
                   "}\n");

void listingOurs(benchmark::State &state)
{
    Device device(Fixture::treeText(101, 100), s_script);
    JavaScriptHandler &handler = device.ours();
    if (!Body::expect(state, handler.callFunctionOnOk() && handler.callFunctionOnOpen(),
                      "100 children with texts")) {
        return;
    }
    while (state.KeepRunningBatch(s_callCount)) {
        benchmark::DoNotOptimize(handler.callFunctionOnOpen());
    }
}

void listingFloor(benchmark::State &state)
{
    Device device(Fixture::treeText(101, 100), s_script);
    PlainHandler &handler = device.floor();
    const QString onOpen = QStringLiteral("onOpen");
    if (!Body::expect(state, handler.call(QStringLiteral("onOk")) && handler.call(onOpen),
                      "100 children with texts")) {
        return;
    }
    while (state.KeepRunningBatch(s_callCount)) {
        benchmark::DoNotOptimize(handler.call(onOpen));
    }
}

BENCHMARK(listingOurs)->Name("listing of 100 children/ours");
BENCHMARK(listingFloor)->Name("listing of 100 children/floor");

} // namespace
