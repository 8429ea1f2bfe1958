#include "configscript/CommandTest.h"
#include "configscript/LimitSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

using namespace LimitSupport;

namespace {

const QString s_pumpTree = QStringLiteral("plant/configuration/pump.json");
const QString s_valveTree = QStringLiteral("plant/configuration/valve.json");

QByteArray pumpWith(const QByteArray &properties)
{
    return "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", " + properties + " } }\n";
}

const QByteArray s_changedValve("{ \"properties\": { \"dependencyFileExtern\": \"valve.js\", "
                                "\"speed\": 1500 } }\n");

/// What lies around the project, which no script has a way to.
void makeSurroundings(const ScratchFolder &folder)
{
    folder.write(QStringLiteral("network/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"network\" }\n");
    folder.write(QStringLiteral("network/configuration/pump.json"), pumpWith("\"speed\": 1200"));
    folder.write(QStringLiteral("secret.json"), pumpWith("\"speed\": 1200"));
}

/// The tree of a file with the changes of a report undone.
QJsonObject undone(QJsonObject tree, const QJsonArray &changes)
{
    QJsonObject properties = tree.value(QLatin1String("properties")).toObject();
    for (const QJsonValue &value : changes) {
        const QJsonObject change = value.toObject();
        const QString key = change.value(QLatin1String("key")).toString();
        if (change.contains(QLatin1String("old"))) {
            properties.insert(key, change.value(QLatin1String("old")));
        } else {
            properties.remove(key);
        }
    }
    tree.insert(QStringLiteral("properties"), properties);
    return tree;
}

QJsonObject tree(const Files &files, const QString &name)
{
    return QJsonDocument::fromJson(files.value(name)).object();
}

} // namespace

/// Scripts that attack what runs them. Whatever they do, the program ends in good order, and the
/// files change as the calls of the API say, and not otherwise.
class HostileScriptTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void changesNothingButThroughTheApi_data();
    void changesNothingButThroughTheApi();
    void keepsTheApiAcrossInstances_data();
    void keepsTheApiAcrossInstances();
    void keepsTheApiAcrossEvents();
    void takesAnyValueForAnyArgument_data();
    void takesAnyValueForAnyArgument();
    void writesNothingOfAValueThatThrows_data();
    void writesNothingOfAValueThatThrows();
    void comesToAnEnd_data();
    void comesToAnEnd();
    void limitsTenMillionErrors_data();
    void limitsTenMillionErrors();
};

void HostileScriptTest::changesNothingButThroughTheApi_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<bool>("succeeds");
    QTest::addColumn<QByteArray>("properties"); // of the pump, after the run

    const auto add = [](const char *name, const QByteArray &text, const QByteArray &body,
                        bool succeeds, const QByteArray &properties) {
        QTest::newRow(name) << text + "\nfunction onSave(api, url) {\n" + body + "\n}\n"
                            << succeeds << properties;
    };
    const QByteArray same("\"speed\": 1200");
    const QByteArray seven("\"speed\": 7");
    const QByteArray writeSeven("api.setPropertyExtern(url, \"speed\", 7);");
    const QByteArray writeMap("api.setPropertyExtern(url, \"speed\", [1, { a: 2 }]);");
    const QByteArray map("\"speed\": [1, { \"a\": 2 }]");

    add("endless recursion", "", writeSeven + "onSave(api, url);", false, seven);
    add("endless recursion of two", "function f() { g(); } function g() { f(); }",
        writeSeven + "f();", false, seven);
    add("endless recursion through a getter", "var o = { get a() { return this.a; } };",
        writeSeven + "o.a;", false, seven);
    add("endless recursion through toString", "var o = { toString() { return String(this); } };",
        writeSeven + "api.isUrlValid(o);", true, seven);
    add("replaced console", "console = { log: null };", "console.log(1); " + writeSeven, false,
        same);
    add("emptied console", "for (var key in console) { delete console[key]; } console = 5;",
        writeSeven, true, seven);
    add("replaced console functions",
        "console.log = console.warn = console.error = function() { throw 1; };", writeSeven, true,
        seven);
    add("Object.prototype with more members",
        "Object.prototype.speed = 5; Object.prototype.properties = {};"
        "Object.prototype.toJSON = function() { return 5; };",
        writeMap, true, map);
    add("Object.prototype with a getter that throws",
        "Object.defineProperty(Object.prototype, \"a\", { get() { throw new Error(\"no\"); } });",
        writeMap, true, map);
    add("Object.prototype with setters that throw",
        "[\"0\", \"a\", \"speed\", \"value\"].forEach(function(key) {"
        "  Object.defineProperty(Object.prototype, key, { set() { throw new Error(key); } }); });",
        writeSeven, true, seven);
    add("Object.prototype without functions",
        "Object.getOwnPropertyNames(Object.prototype).forEach(function(name) {"
        "  delete Object.prototype[name]; });",
        writeMap, true, map);
    add("Array.prototype.push that throws",
        "Array.prototype.push = function() { throw new Error(\"no\"); };", writeMap, true, map);
    add("Array.prototype without functions",
        "Object.getOwnPropertyNames(Array.prototype).forEach(function(name) {"
        "  delete Array.prototype[name]; });",
        writeMap, true, map);
    add("Array.prototype with elements", "Array.prototype[0] = 5; Array.prototype[1] = { b: 6 };",
        writeMap, true, map);
    add("replaced JSON", "JSON = { parse: null, stringify: function() { return \"{}\"; } };",
        writeMap, true, map);
    add("no globals",
        "var all = Function(\"return this\")();"
        "Object.getOwnPropertyNames(all).forEach(function(name) {"
        "  if (name !== \"all\" && name !== \"onSave\") { try { all[name] = null; delete "
        "all[name]; } catch (e) {} } });",
        writeMap, true, map);
    add("Function.prototype without call",
        "Function.prototype.call = Function.prototype.apply = Function.prototype.bind = null;",
        writeMap, true, map);
    add("Error that is none", "Error = TypeError = RangeError = null;", writeSeven + "null.speed;",
        false, seven);
    add("Error.prototype that throws",
        "[\"lineNumber\", \"message\", \"name\", \"toString\", \"stack\"].forEach("
        "  function(key) { Object.defineProperty(Error.prototype, key, {"
        "    configurable: true, get() { throw 1; } }); });",
        writeSeven + "throw new Error();", false, seven);
    add("frozen globals", "Object.freeze(this); Object.freeze(Object.prototype);", writeSeven, true,
        seven);
    add("api.destroy()", "", writeSeven + "api.destroy();", false, seven);
    add("api.destroy() with a delay", "", "try { api.destroy(5); } catch (e) {}" + writeSeven, true,
        seven);
    add("api.objectName", "", "api.objectName = url; " + writeSeven, true, seven);
    add("connected signal of the api", "",
        "api.objectNameChanged.connect(function() { throw new Error(\"no\"); });"
        "api.objectName = \"x\"; api.objectName = \"y\"; "
            + writeSeven,
        true, seven);
    add("connected signal that recurses", "",
        "var i = 0; api.objectNameChanged.connect(function() {"
        "  if (++i < 50) { api.objectName = String(i); } });"
        "api.objectName = \"x\"; "
            + writeSeven,
        true, seven);
    add("replaced function of the api", "",
        "try { api.setPropertyExtern = null; } catch (e) {} " + writeSeven, true, seven);
    add("deleted function of the api", "", "delete api.setPropertyExtern; " + writeSeven, true,
        seven);
    add("more members of the api", "",
        "api.more = api; api.f = function() { return this; }; delete api.more; " + writeSeven, true,
        seven);
    add("frozen api", "", "Object.freeze(api); Object.seal(api); " + writeSeven, true, seven);
    add("api with another prototype", "",
        "try { Object.setPrototypeOf(api, null); } catch (e) {} " + writeSeven, true, seven);
    add("proxy of the api", "", "new Proxy(api, {}).setPropertyExtern(url, \"speed\", 7);", true,
        seven);
    add("functions of the api for another this", "",
        "try { api.setPropertyExtern.call({}, url, \"speed\", 8); } catch (e) {} " + writeSeven,
        true, seven);
    add("other constructors of QObject", "",
        "try { new api.constructor(); } catch (e) {} try { api.deleteLater(); } catch (e) {}"
            + writeSeven,
        true, seven);
    add("way out of the project", "",
        "[\"config://pumps/network/pump\", \"config://pumps/plant/../../secret\","
        " \"config://pumps/plant/%2e%2e/%2e%2e/secret\", \"config://pumps/../secret\","
        " \"file:///secret.json\", \"secret.json\", \"config://pumps/plant//../../secret\","
        " \"config://pumps/plant/project\", \"config://pumps/plant/manifest\"].forEach("
        "  function(other) { api.setPropertyExtern(other, \"speed\", 8); }); "
            + writeSeven,
        true, seven);
    add("modules and files", "",
        "[\"require\", \"Qt\", \"XMLHttpRequest\", \"process\", \"load\", \"importScripts\"]"
        ".forEach(function(name) {"
        "  if (typeof Function(\"return this\")()[name] !== \"undefined\") { throw name; } }); "
            + writeSeven,
        true, seven);
    add("key that is a path", "", "api.setPropertyExtern(url, \"../properties\", 8);", true,
        same + ", \"../properties\": 8");
    add("key __proto__", "", "api.setPropertyExtern(url, \"__proto__\", { a: 1 });", true,
        same + ", \"__proto__\": { \"a\": 1 }");
    add("object that contains itself", "",
        "var o = { a: 1 }; o.self = o; o.list = [o, [o]];"
        "api.setPropertyExtern(url, \"speed\", o);",
        true, "\"speed\": { \"a\": 1, \"list\": [{}, [{}]], \"self\": {} }");
    add("array that contains itself", "",
        "var a = [1]; a.push(a); api.setPropertyExtern(url, \"speed\", a);", true,
        "\"speed\": [1, []]");
}

void HostileScriptTest::changesNothingButThroughTheApi()
{
    QFETCH(const QByteArray, script);
    QFETCH(const bool, succeeds);
    QFETCH(const QByteArray, properties);

    const ScratchFolder folder;
    makeSurroundings(folder);
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), script);
    Files expected = folder.files();
    expected.insert(s_pumpTree, pumpWith(properties));
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 20")));
    COMPARE_FILES(folder.files(), expected);
    COMPARE_RUN(run, succeeds ? 0 : 1, run.output, QString());
}

void HostileScriptTest::keepsTheApiAcrossInstances_data()
{
    QTest::addColumn<QByteArray>("hostile");
    const auto add = [](const char *name, const char *hostile) {
        QTest::newRow(name) << "function onSave(api, url) {\n" + QByteArray(hostile) + "\n}\n";
    };
    add("api and URL kept, and written to",
        "if (this.kept) { kept.setPropertyExtern(keptUrl, \"speed\", 7); }"
        "this.kept = api; this.keptUrl = url; api.setPropertyExtern(url, \"speed\", 7);");
    add("api frozen", "Object.freeze(api); api.setPropertyExtern(url, \"speed\", 7);");
    add("functions replaced",
        "api.setPropertyExtern(url, \"speed\", 7);"
        "try { api.setPropertyExtern = function() {}; } catch (e) {}");
    add("functions deleted",
        "api.setPropertyExtern(url, \"speed\", 7); delete api.setPropertyExtern;");
    add("destroyed",
        "api.setPropertyExtern(url, \"speed\", 7); try { api.destroy(); } catch (e) {}");
    add("Object.prototype with a setter",
        "api.setPropertyExtern(url, \"speed\", 7);"
        "Object.defineProperty(Object.prototype, \"onSave\", { set() {}, configurable: true });");
}

// The other script writes to its own instance, whichever of them runs first.
void HostileScriptTest::keepsTheApiAcrossInstances()
{
    QFETCH(const QByteArray, hostile);

    const ScratchFolder folder;
    makeSurroundings(folder);
    makeTwo(folder, hostile);
    Files expected = folder.files();
    expected.insert(s_pumpTree, pumpWith("\"speed\": 7"));
    expected.insert(s_valveTree, s_changedValve);
    const Files before = folder.files();
    for (int i = 0; i < 4; ++i) { // the order is another one in each process
        for (const QString &name : {s_pumpTree, s_valveTree}) {
            folder.write(name, before.value(name));
        }
        const ProgramRun run =
            Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 20")));
        COMPARE_RUN(run, 0, run.output, QString());
        COMPARE_FILES(folder.files(), expected);
    }
}

void HostileScriptTest::keepsTheApiAcrossEvents()
{
    const ScratchFolder folder;
    makeSurroundings(folder);
    folder.makePlant();
    folder.write(s_pumpTree,
                 "{ \"properties\": { \"scriptFile\": \"pump.js\", \"speed\": 1200 } }\n");
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "let kept;\n"
                 "function onOpen(api) { kept = api; }\n"
                 "function onValueChange(api) {\n"
                 "  if (api !== kept) { throw new Error(\"another\"); }\n"
                 "  kept.setProperty(\"\", \"speed\", kept.getProperty(\"\", \"speed\") + 1);\n"
                 "}\n"
                 "function onOk() { kept.setProperty(\"\", \"speed\", 7); kept = null; }\n");
    Files expected = folder.files();
    expected.insert(s_pumpTree,
                    "{ \"properties\": { \"scriptFile\": \"pump.js\", \"speed\": 7 } }\n");
    const ProgramRun run =
        Program(folder.path())
            .run(words(QStringLiteral("run plant pump --event onOpen --event onValueChange "
                                      "--event onOk --write --timeout 20")));
    COMPARE_RUN(run, 0,
                QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                               "ok       onValueChange  scripts/pump.js  # ms\n"
                               "         speed  1200 -> 1201\n"
                               "ok       onOk  scripts/pump.js  # ms\n"
                               "         speed  1201 -> 7\n"
                               "\n"
                               "changed configuration/pump.json\n"
                               "  speed  1200 -> 7\n"),
                QString());
    COMPARE_FILES(folder.files(), expected);
}

void HostileScriptTest::takesAnyValueForAnyArgument_data()
{
    QTest::addColumn<QByteArray>("expression");

    const auto add = [](const char *name, const char *expression) {
        QTest::newRow(name) << QByteArray(expression);
    };
    add("object that contains itself", "(function() { var o = {}; o.o = o; return o; })()");
    add("proxy of an object", "new Proxy({ a: 1 }, {})");
    add("proxy of an array", "new Proxy([1, 2], {})");
    add("proxy of a function", "new Proxy(function() {}, {})");
    add("proxy of a proxy", "new Proxy(new Proxy({ a: 1 }, {}), {})");
    add("proxy of the api", "new Proxy(api, {})");
    add("proxy that was revoked",
        "(function() { var r = Proxy.revocable({ a: 1 }, {}); r.revoke(); return r.proxy; })()");
    add("proxy of an array that was revoked",
        "(function() { var r = Proxy.revocable([1], {}); r.revoke(); return r.proxy; })()");
    add("proxy whose traps throw",
        "new Proxy({ a: 1 }, new Proxy({}, { get() { throw new Error('trap'); } }))");
    add("proxy whose traps lie",
        "new Proxy({}, { ownKeys() { return ['x', 'y', 'length']; }, get() { return 5; },"
        "  getOwnPropertyDescriptor() { return { enumerable: true, configurable: true }; } })");
    add("proxy with a million members",
        "new Proxy([], { get(t, key) { return key === 'length' ? 1e6 : 5; } })");
    add("getter that throws", "({ get a() { throw new Error('getter'); }, b: 1 })");
    add("getter that throws no Error", "({ get a() { throw 5; }, b: 1 })");
    add("getter in an array that throws",
        "Object.defineProperty([1, 2], 0, { get() { throw new Error('getter'); } })");
    add("getter that changes the object", "({ get a() { delete this.b; this.c = 5; }, b: 1 })");
    add("getter that calls the api", "({ get a() { api.setError('', 'inner'); return 1; } })");
    add("toString that throws", "({ toString() { throw new Error('toString'); } })");
    add("toString that gives no text", "({ toString() { return {}; }, valueOf() { return {}; } })");
    add("toString that is none", "({ toString: 5, valueOf: 5 })");
    add("toString that calls the api",
        "({ toString() { api.setError('', 'inner'); return ''; } })");
    add("valueOf that throws", "({ valueOf() { throw new Error('valueOf'); } })");
    add("toPrimitive that throws",
        "({ [Symbol.toPrimitive]() { throw new Error('toPrimitive'); } })");
    add("toJSON that throws", "({ toJSON() { throw new Error('toJSON'); } })");
    add("no prototype", "Object.create(null)");
    add("symbol", "Symbol('a')");
    add("symbol object", "Object(Symbol.iterator)");
    add("function", "(function() { return 1; })");
    add("function of the api", "api.setProperty");
    add("class", "(class A { static a() {} })");
    add("generator", "(function*() { yield 1; })()");
    add("date", "new Date(0)");
    add("date that is none", "new Date(NaN)");
    add("regular expression", "/a(b)*/gi");
    add("typed array", "new Uint8Array([1, 2, 3])");
    add("array buffer", "new ArrayBuffer(16)");
    add("data view", "new DataView(new ArrayBuffer(16))");
    add("map", "new Map([[{}, {}], [1, 2]])");
    add("set", "new Set([1, {}])");
    add("weak map", "new WeakMap()");
    add("promise", "Promise.reject(new Error('no'))");
    add("error", "new Error('error')");
    add("error that throws",
        "Object.defineProperty(new Error(), 'message', { get() { throw 1; } })");
    add("the api", "api");
    add("object with the api", "({ a: [api, { api }] })");
    add("arguments", "(function() { return arguments; })(1, api)");
    add("global object", "Function('return this')()");
    add("number object", "new Number(1)");
    add("text object", "new String('speed')");
    add("not a number", "NaN");
    add("infinite", "-Infinity");
    add("negative zero", "-0");
    add("null", "null");
    add("undefined", "undefined");
    add("sparse array", "(function() { var a = []; a[1000] = 1; return a; })()");
    add("array of undefined", "[undefined, , null]");
    add("lone surrogate", "'\\ud800'");
    add("null character", "'a\\0b'");
    add("control characters", "'\\x1b[31m\\r\\n'");
    add("text of a megabyte", "'a'.repeat(1 << 20)");
}

// The operations are those that the api has, whichever they are.
void HostileScriptTest::takesAnyValueForAnyArgument()
{
    QFETCH(const QByteArray, expression);

    const ScratchFolder folder;
    makeSurroundings(folder);
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "let calls = 0;\n"
                       "function onSave(api, url) {\n"
                       "  for (const name in api) {\n"
                       "    if (typeof api[name] === 'function') {\n"
                       "      for (const first of [url, '', 'no URL']) {\n"
                       "        callAll(api, name, [first, 'key', 7, true]);\n"
                       "      }\n"
                       "    }\n"
                       "  }\n"
                       "  console.log('calls', calls);\n"
                       "  api.setPropertyExtern(url, 'speed', 1500);\n"
                       "}\n"
                       "function callAll(api, name, usual) {\n"
                       "  for (let count = 1; count <= usual.length; ++count) {\n"
                       "    for (let position = 0; position < count; ++position) {\n"
                       "      const given = usual.slice(0, count);\n"
                       "      given[position] = "
                           + expression
                           + ";\n"
                             "      ++calls;\n"
                             "      try { api[name].apply(api, given); } catch (error) {}\n"
                             "    }\n"
                             "  }\n"
                             "}\n");
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --json --timeout 60")));
    COMPARE_RUN(run, 0, run.output, QString());

    const QJsonObject report = QJsonDocument::fromJson(run.output.toUtf8()).object();
    const QJsonObject scriptRun = report.value(QLatin1String("runs")).toArray().at(0).toObject();
    QCOMPARE(scriptRun.value(QLatin1String("succeeded")), QJsonValue(true));
    QCOMPARE(scriptRun.value(QLatin1String("exceptions")), QJsonValue(QJsonArray()));
    const QString calls = scriptRun.value(QLatin1String("console"))
                              .toArray()
                              .last()
                              .toObject()
                              .value(QLatin1String("text"))
                              .toString();
    QVERIFY2(calls.section(QLatin1Char(' '), 1).toInt() >= 9 * 3 * 10, qPrintable(calls));

    // The file holds what was reported, and nothing else has changed.
    const QJsonArray trees = report.value(QLatin1String("files")).toArray();
    QCOMPARE(trees.size(), 1);
    const QJsonObject changed = trees.at(0).toObject();
    QCOMPARE(changed.value(QLatin1String("file")),
             QJsonValue(QStringLiteral("configuration/pump.json")));
    const Files after = folder.files();
    QCOMPARE(after.keys(), before.keys());
    QCOMPARE(differingFiles(after, before).keys(), QStringList{s_pumpTree});
    const QJsonArray changes = changed.value(QLatin1String("changes")).toArray();
    QCOMPARE(undone(tree(after, s_pumpTree), changes), tree(before, s_pumpTree));
    const QJsonObject properties =
        tree(after, s_pumpTree).value(QLatin1String("properties")).toObject();
    QCOMPARE(properties.value(QLatin1String("speed")), QJsonValue(1500));
    for (const QJsonValue &change : changes) {
        const QJsonObject object = change.toObject();
        QCOMPARE(properties.value(object.value(QLatin1String("key")).toString()),
                 object.value(QLatin1String("new")));
    }
}

void HostileScriptTest::writesNothingOfAValueThatThrows_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::newRow("getter") << QByteArray("{ get a() { throw new Error(\"no\"); }, b: 1 }");
    QTest::newRow("members of a proxy")
        << QByteArray("new Proxy({ a: 1 }, { ownKeys() { throw new Error(\"no\"); } })");
}

// The script gets an exception: what it wanted to write is not known.
void HostileScriptTest::writesNothingOfAValueThatThrows()
{
    QFETCH(const QByteArray, value);

    const ScratchFolder folder;
    makeOne(folder, "  api.setPropertyExtern(url, \"speed\", " + value + ");");
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path()).run(words(QStringLiteral("resolve plant")));
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.output.contains(QLatin1String("dependency/pump.js:2: Error: no\n")),
             qPrintable(run.output));
    COMPARE_FILES(folder.files(), before);
}

void HostileScriptTest::comesToAnEnd_data()
{
    QTest::addColumn<QByteArray>("body");
    const auto add = [](const char *name, const char *body) {
        QTest::newRow(name) << QByteArray(body);
    };
    add("recursion that catches", "(function f() { try { f(); } catch (e) { f(); } })();");
    add("recursion of a proxy",
        "var p = new Proxy({}, { get(t, key, self) { return self[key]; } }); p.a;");
    add("sort with a comparison that lies",
        "var a = []; for (var i = 0; i < 1e6; ++i) { a.push(i); }"
        "for (;;) { a.sort(function() { return Math.random() - 0.5; }); }");
    add("error that never tells its line",
        "throw Object.defineProperty(new Error(), \"lineNumber\", { get() { for (;;) {} } });");
    add("error that never tells its text",
        "var e = new Error(); e.toString = function() { for (;;) {} }; throw e;");
}

// Either the script is stopped, or the program ends.
void HostileScriptTest::comesToAnEnd()
{
    QFETCH(const QByteArray, body);

    const ScratchFolder folder;
    makeOne(folder, body);
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 0.2")));
    QCOMPARE(run.exitCode, 1);
    const QString reason = QStringLiteral("onSave took longer than 0.2 s (--timeout)");
    const bool isStopped = run.output.contains(QStringLiteral("stopped: ") + reason);
    const bool isEnded = run.errors
        == QStringLiteral("configscript: pump, dependency/pump.js: %1, and cannot be stopped; no "
                          "API call. Nothing was written.\n")
               .arg(reason);
    const bool isRefused = run.output.contains(QLatin1String("RangeError: "));
    QVERIFY2(isStopped || isEnded || isRefused, qPrintable(run.output + run.errors));
    QCOMPARE(run.errors.isEmpty(), !isEnded);
    COMPARE_FILES(withoutLock(folder.files()), before);
}

void HostileScriptTest::limitsTenMillionErrors_data()
{
    QTest::addColumn<QString>("limit");
    QTest::addColumn<QString>("message");
    QTest::newRow("time") << QStringLiteral("--timeout 0.3")
                          << QStringLiteral("stopped: onSave took longer than 0.3 s (--timeout); "
                                            "last API call: setError(\"motor\", \"hot\")");
    QTest::newRow("memory") << QStringLiteral("--memory 96 --timeout 0")
                            << QStringLiteral("configscript: pump, dependency/pump.js: out of "
                                              "memory: --memory allows 96 MB\n");
}

void HostileScriptTest::limitsTenMillionErrors()
{
    QFETCH(const QString, limit);
    QFETCH(const QString, message);
    if (limit.contains(QLatin1String("--memory")) && noMemoryLimit()) {
        QSKIP(noMemoryLimit());
    }

    const ScratchFolder folder;
    makeOne(folder, "  for (var i = 0; i < 1e7; ++i) { api.setError(\"motor\", \"hot\", [i]); }");
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant ") + limit));
    QCOMPARE(run.exitCode, 1);
    QVERIFY2((run.output + run.errors).contains(message), qPrintable(run.output + run.errors));
    COMPARE_FILES(withoutLock(folder.files()), before);
}

TEST_CLASS(HostileScriptTest)

#include "HostileScriptTest.moc"
