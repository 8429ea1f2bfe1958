#include "configscript/CommandTest.h"
#include "configscript/LimitSupport.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <future>

using namespace LimitSupport;

namespace {

const QString s_pumpTree = QStringLiteral("plant/configuration/pump.json");
const QString s_valveTree = QStringLiteral("plant/configuration/valve.json");

const QByteArray s_changedValve("{ \"properties\": { \"dependencyFileExtern\": \"valve.js\", "
                                "\"speed\": 1500 } }\n");

/// Searches 2^32 elements that are not there, in one call that the engine does not interrupt.
const QByteArray s_unstoppable("Array.prototype.includes.call({ length: 4294967295 }, 1);");

QJsonObject object(const ProgramRun &run)
{
    return QJsonDocument::fromJson(run.output.toUtf8()).object();
}

/// Busy for a time, and then writes.
QByteArray busyFor(int milliseconds)
{
    return "  const end = Date.now() + " + QByteArray::number(milliseconds)
        + ";\n"
          "  while (Date.now() < end) {}\n"
          "  api.setPropertyExtern(url, \"speed\", 1500);";
}

/// The project "plant" with a user-interface script for "pump".
void makeDialog(const ScratchFolder &folder, const QByteArray &script)
{
    folder.makePlant();
    folder.write(s_pumpTree,
                 "{ \"properties\": { \"scriptFile\": \"pump.js\", \"speed\": 1200 } }\n");
    folder.write(QStringLiteral("plant/scripts/pump.js"), script);
}

/// A run in the background, in a folder of its own.
class BackgroundRun
{
public:
    explicit BackgroundRun(const QString &command)
        : m_arguments(words(command))
    {
    }

    const ScratchFolder folder;

    void start()
    {
        before = folder.files();
        m_run = std::async(std::launch::async,
                           [this] { return Program(folder.path()).run(m_arguments); });
    }

    ProgramRun wait() { return m_run.get(); }

    Files before;

private:
    QStringList m_arguments;
    std::future<ProgramRun> m_run;
};

} // namespace

/// --timeout and --memory, and what ends without them.
class ScriptLimitsTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void stopsAFunction_data();
    void stopsAFunction();
    void letsTheOtherScriptsRun();
    void tellsInJsonWhatItStopped();
    void stopsTheEvaluationOfAText_data();
    void stopsTheEvaluationOfAText();
    void refusesATextThatNeverEnds();
    void stopsAnEvent_data();
    void stopsAnEvent();
    void savesNothingOfAStoppedEvent();
    void stopsInPlace();
    void writesNothingThatAScriptWasStoppedBeforeItCouldGive_data();
    void writesNothingThatAScriptWasStoppedBeforeItCouldGive();
    void stopsOnlyWhatTakesLonger();
    void startsTheClockAnewWithEachRun();
    void stopsAfterTenSecondsByDefault();
    void refusesAWrongLimit_data();
    void refusesAWrongLimit();
    void endsTheProgramWhereTheEngineGoesOn();
    void endsTheProgramWhenMemoryIsUsedUp_data();
    void endsTheProgramWhenMemoryIsUsedUp();
    void needsLittleMemoryItself();
    void endsTheProgramWhenTheStackIsUsedUp_data();
    void endsTheProgramWhenTheStackIsUsedUp();
    void refusesAnArgumentThatIsNestedTooDeep();
    void showsTheFirstOfManyMessages_data();
    void showsTheFirstOfManyMessages();
    void showsAndRefusesAHugeValue();

private:
    void compareLastWords(const ScratchFolder &folder, const Files &before, const ProgramRun &run,
                          const QString &message);
};

/// Whether the program ended with the message, and with the project as it was; and the next command
/// works.
void ScriptLimitsTest::compareLastWords(const ScratchFolder &folder, const Files &before,
                                        const ProgramRun &run, const QString &message)
{
    COMPARE_RUN(run, 1, QString(), QStringLiteral("configscript: ") + message + QLatin1Char('\n'));
    COMPARE_FILES(withoutLock(folder.files()), before);
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", 1700);\n"
                       "}\n");
    const ProgramRun next = Program(folder.path()).run(words(QStringLiteral("resolve plant pump")));
    QCOMPARE(next.errors, QString());
    QCOMPARE(next.exitCode, 0);
    QCOMPARE(folder.files().value(s_pumpTree),
             QByteArray(before.value(s_pumpTree)).replace("1200", "1700"));
    QVERIFY(!folder.files().contains(QStringLiteral("plant/.configscript-lock")));
}

void ScriptLimitsTest::stopsAFunction_data()
{
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("lastCall");

    const auto add = [](const char *name, const char *body, const QString &lastCall) {
        QTest::newRow(name) << QByteArray(body) << lastCall;
    };
    const QString none = QStringLiteral("no API call");
    add("loop", "for (;;) {}", none);
    add("try", "for (;;) { try { for (;;) {} } catch (e) {} }", none);
    add("finally", "try { for (;;) {} } finally { for (;;) {} }", none);
    add("getter", "({ get endless() { for (;;) {} } }).endless;", none);
    add("after a call of the API", "api.setPropertyExtern(url, \"speed\", 1200); for (;;) {}",
        QStringLiteral(
            "last API call: setPropertyExtern(\"config://pumps/plant/pump\", \"speed\")"));
    add("after a call without texts", "api.isUrlValid(\"\"); api.getHostTypeName(); for (;;) {}",
        QStringLiteral("last API call: getHostTypeName()"));
    add("calls of the API", "for (;;) { api.setError(\"motor\", \"hot\\x1b[31m\"); }",
        QStringLiteral("last API call: setError(\"motor\", \"hot\\x1b[31m\")"));
    add("after a call with a long text", "api.isUrlValid(\"ä\".repeat(201)); for (;;) {}",
        QStringLiteral("last API call: isUrlValid(\"") + QString(200, QChar(0xe4))
            + QStringLiteral("…\")"));
    add("in a getter of an argument", "api.setError(\"\", \"\", { get a() { for (;;) {} } });",
        QStringLiteral("last API call: setError(\"\", \"\")"));
}

void ScriptLimitsTest::stopsAFunction()
{
    QFETCH(const QByteArray, body);
    QFETCH(const QString, lastCall);

    const ScratchFolder folder;
    makeOne(folder, body);
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 0.5")));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.errors, QString());
    const QString report =
        QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                       "         dependency/pump.js: stopped: onSave took longer than 0.5 s "
                       "(--timeout); %1\n")
            .arg(lastCall);
    QVERIFY2(run.output.startsWith(report), qPrintable(run.output));
    const QString summary =
        QStringLiteral("\n1 script run, 1 failed; 0 files changed, 0 values; # ms\n");
    QVERIFY2(run.output.endsWith(summary), qPrintable(run.output));
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::letsTheOtherScriptsRun()
{
    const ScratchFolder folder;
    makeTwo(folder, "function onSave() { for (;;) {} }\n");
    Files expected = folder.files();
    expected.insert(s_valveTree, s_changedValve);
    COMPARE_RUN(Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 0.5"))), 1,
                QStringLiteral("FAILED   pump   dependency/pump.js   # ms\n"
                               "         dependency/pump.js: stopped: onSave took longer than "
                               "0.5 s (--timeout); no API call\n"
                               "ok       valve  dependency/valve.js  # ms\n"
                               "\n"
                               "changed configuration/valve.json\n"
                               "  speed  1200 -> 1500\n"
                               "\n"
                               "2 scripts run, 1 failed; 1 file changed, 1 value; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), expected);
}

void ScriptLimitsTest::tellsInJsonWhatItStopped()
{
    const ScratchFolder folder;
    makeTwo(folder, "function onSave(api) { api.getProperty(\"\", \"speed\"); for (;;) {} }\n");
    Files expected = folder.files();
    expected.insert(s_valveTree, s_changedValve);
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 0.5 --json")));
    COMPARE_RUN(run, 1, run.output, QString());
    COMPARE_FILES(folder.files(), expected);

    const QJsonObject report = object(run);
    QCOMPARE(report.value(QLatin1String("succeeded")), QJsonValue(false));
    const QJsonArray runs = report.value(QLatin1String("runs")).toArray();
    QCOMPARE(runs.size(), 2);
    const QJsonObject stopped = runs.at(0).toObject();
    QCOMPARE(stopped.value(QLatin1String("instance")), QJsonValue(QStringLiteral("pump")));
    QCOMPARE(stopped.value(QLatin1String("script")),
             QJsonValue(QStringLiteral("dependency/pump.js")));
    QCOMPARE(stopped.value(QLatin1String("function")), QJsonValue(QStringLiteral("onSave")));
    QCOMPARE(stopped.value(QLatin1String("succeeded")), QJsonValue(false));
    QCOMPARE(stopped.value(QLatin1String("warnings")), QJsonValue(QJsonArray()));
    QCOMPARE(stopped.value(QLatin1String("exceptions")),
             QJsonValue(QJsonArray{QJsonObject{
                 {QStringLiteral("line"), 0},
                 {QStringLiteral("text"),
                  QStringLiteral("stopped: onSave took longer than 0.5 s (--timeout); last API "
                                 "call: getProperty(\"\", \"speed\")")}}}));
    const QJsonObject other = runs.at(1).toObject();
    QCOMPARE(other.value(QLatin1String("instance")), QJsonValue(QStringLiteral("valve")));
    QCOMPARE(other.value(QLatin1String("succeeded")), QJsonValue(true));
}

void ScriptLimitsTest::stopsTheEvaluationOfAText_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("loop") << QByteArray("for (;;) {}");
    QTest::newRow("finally") << QByteArray("try { for (;;) {} } finally { for (;;) {} }");
    QTest::newRow("getter") << QByteArray("({ get endless() { for (;;) {} } }).endless;");
}

void ScriptLimitsTest::stopsTheEvaluationOfAText()
{
    QFETCH(const QByteArray, text);

    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), "function onSave() {}\n" + text);
    const Files before = folder.files();
    const Program program(folder.path());
    const QString finding = QStringLiteral(
        "dependency/pump.js: error: stopped: the evaluation of the script's text took longer than "
        "0.5 s (--timeout); no API call [script-error]");
    COMPARE_RUN(program.run(words(QStringLiteral("resolve plant --timeout 0.5"))),
                refusal(finding));
    COMPARE_RUN(program.run(words(QStringLiteral("check plant --timeout 0.5"))), 1,
                finding + QStringLiteral("\n1 error, 0 warnings\n"), QString());
    COMPARE_RUN(program.run(words(QStringLiteral("resolve plant --timeout 0.5 --no-check"))), 1,
                QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: stopped: the evaluation of the "
                               "script's text took longer than 0.5 s (--timeout); no API call\n"
                               "         dependency/pump.js: warning: The script is not "
                               "evaluated.\n"
                               "\n"
                               "1 script run, 1 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

// It looks at the functions of the other scripts all the same.
void ScriptLimitsTest::refusesATextThatNeverEnds()
{
    const ScratchFolder folder;
    makeTwo(folder, "for (;;) {}\n");
    folder.writeScript(QStringLiteral("valve.js"), "function onOpen() {}\n");
    COMPARE_RUN(Program(folder.path()).run(words(QStringLiteral("check plant --timeout 0.5"))), 1,
                QStringLiteral("dependency/pump.js: error: stopped: the evaluation of the script's "
                               "text took longer than 0.5 s (--timeout); no API call "
                               "[script-error]\n"
                               "dependency/valve.js: error: the script has no function onSave "
                               "[missing-function]\n"
                               "2 errors, 0 warnings\n"),
                QString());
}

void ScriptLimitsTest::stopsAnEvent_data()
{
    QTest::addColumn<QString>("event");
    QTest::addColumn<QString>("heading");
    QTest::newRow("onOpen") << QStringLiteral("onOpen") << QStringLiteral("onOpen");
    QTest::newRow("onValueChange")
        << QStringLiteral("onValueChange motor") << QStringLiteral("onValueChange motor");
    QTest::newRow("onOk") << QStringLiteral("onOk") << QStringLiteral("onOk");
    QTest::newRow("onSave") << QStringLiteral("onSave")
                            << QStringLiteral("onSave config://pumps/plant/pump");
}

void ScriptLimitsTest::stopsAnEvent()
{
    QFETCH(const QString, event);
    QFETCH(const QString, heading);

    const ScratchFolder folder;
    makeDialog(folder,
               "function " + event.section(QLatin1Char(' '), 0, 0).toUtf8()
                   + "() { for (;;) {} }\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path())
                    .run(words(QStringLiteral("run plant pump %1 --timeout 0.5").arg(event))),
                1,
                QStringLiteral("FAILED   %1  scripts/pump.js  # ms\n"
                               "         scripts/pump.js: stopped: %2 took longer than 0.5 s "
                               "(--timeout); no API call\n"
                               "\n"
                               "Nothing is saved: an event failed, or onOk reported an error.\n")
                    .arg(heading, event.section(QLatin1Char(' '), 0, 0)),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::savesNothingOfAStoppedEvent()
{
    const ScratchFolder folder;
    makeDialog(folder,
               "function onOpen(api) { api.setProperty(\"\", \"speed\", 7); for (;;) {} }\n"
               "function onOk(api) { api.setProperty(\"\", \"speed\", 8); }\n");
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path())
                               .run(words(QStringLiteral("run plant pump onOpen --event onOk "
                                                         "--write --timeout 0.5")));
    COMPARE_RUN(run, 1,
                QStringLiteral("FAILED   onOpen  scripts/pump.js  # ms\n"
                               "         scripts/pump.js: stopped: onOpen took longer than 0.5 s "
                               "(--timeout); last API call: setProperty(\"\", \"speed\")\n"
                               "         speed  1200 -> 7\n"
                               "ok       onOk  scripts/pump.js  # ms\n"
                               "         speed  7 -> 8\n"
                               "\n"
                               "Nothing is saved: an event failed, or onOk reported an error.\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::stopsInPlace()
{
    const ScratchFolder folder;
    makeOne(folder, "  api.setProperty(\"\", \"speed\", 7);\n  for (;;) {}");
    const Files before = folder.files();
    const QString command = QStringLiteral(
        "resolve --in-place plant/configuration/pump.json --instance pump --timeout 0.5 --write");
    COMPARE_RUN(Program(folder.path()).run(words(command)), 1,
                QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: stopped: onSave took longer than "
                               "0.5 s (--timeout); last API call: setProperty(\"\", \"speed\")\n"
                               "--- configuration/pump.json\n"
                               "+++ configuration/pump.json\n"
                               "@@ -1,1 +1,1 @@\n"
                               "-{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
                               "\"speed\": 1200 } }\n"
                               "+{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
                               "\"speed\": 7 } }\n"
                               "Nothing was written: a script failed.\n"),
                QString());
    const ProgramRun json = Program(folder.path()).run(words(command + QStringLiteral(" --json")));
    COMPARE_RUN(json, 1, json.output, QString());
    const QJsonObject report = object(json);
    QCOMPARE(report.value(QLatin1String("written")), QJsonValue(false));
    QCOMPARE(report.value(QLatin1String("runs"))
                 .toArray()
                 .at(0)
                 .toObject()
                 .value(QLatin1String("exceptions")),
             QJsonValue(QJsonArray{QJsonObject{
                 {QStringLiteral("line"), 0},
                 {QStringLiteral("text"),
                  QStringLiteral("stopped: onSave took longer than 0.5 s (--timeout); last API "
                                 "call: setProperty(\"\", \"speed\")")}}}));
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::writesNothingThatAScriptWasStoppedBeforeItCouldGive_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::newRow("key") << QByteArray(
        "api.setPropertyExtern(url, { toString: function() { for (;;) {} } }, 7);");
    QTest::newRow("getter in the value")
        << QByteArray("api.setPropertyExtern(url, \"speed\", { get a() { for (;;) {} } });");
    QTest::newRow("members of a proxy")
        << QByteArray("api.setPropertyExtern(url, \"speed\",\n"
                      "  new Proxy({ a: 1 }, { ownKeys: function() { for (;;) {} } }));");
}

void ScriptLimitsTest::writesNothingThatAScriptWasStoppedBeforeItCouldGive()
{
    QFETCH(const QByteArray, call);

    const ScratchFolder folder;
    makeOne(folder, call);
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 0.5")));
    QCOMPARE(run.exitCode, 1);
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::stopsOnlyWhatTakesLonger()
{
    const ScratchFolder folder;
    makeOne(folder, busyFor(300));
    const Files before = folder.files();
    const Program program(folder.path());
    const ProgramRun stopped = program.run(words(QStringLiteral("resolve plant --timeout 0.1")));
    QCOMPARE(stopped.exitCode, 1);
    COMPARE_FILES(folder.files(), before);
    for (const char *limit : {"0", "0.0", "30", "1000000"}) {
        folder.write(s_pumpTree, before.value(s_pumpTree));
        const ProgramRun run = program.run(
            words(QStringLiteral("resolve plant --timeout %1").arg(QLatin1String(limit))));
        COMPARE_RUN(run, 0, run.output, QString());
        QVERIFY(folder.files().value(s_pumpTree).contains("1500"));
    }
}

// Together they take longer than the limit.
void ScriptLimitsTest::startsTheClockAnewWithEachRun()
{
    BackgroundRun resolve(QStringLiteral("resolve plant --timeout 3"));
    resolve.folder.makePlant();
    resolve.folder.writeScript(QStringLiteral("pump.js"),
                               "function onSave(api, url) {\n" + busyFor(700) + "\n}\n");
    QStringList instances;
    for (int i = 0; i < 5; ++i) {
        instances.append(QStringLiteral("pump%1").arg(i));
        resolve.folder.addInstance(instances.last(), QStringLiteral("pump.js"));
    }
    resolve.folder.listInstances(instances);

    BackgroundRun events(QStringLiteral("run plant pump --timeout 3 --event onOpen --event onOk "
                                        "--event onOpen --event onOk --event onOpen"));
    makeDialog(events.folder,
               "wait();\n"
               "function onOpen() { wait(); }\n"
               "function onOk() { wait(); }\n"
               "function wait() { const end = Date.now() + 700; while (Date.now() < end) {} }\n");
    resolve.start();
    events.start();
    const ProgramRun resolved = resolve.wait();
    COMPARE_RUN(resolved, 0, resolved.output, QString());
    QVERIFY2(resolved.output.contains(QLatin1String("5 scripts run, 0 failed; 5 files changed")),
             qPrintable(resolved.output));
    const ProgramRun fired = events.wait();
    COMPARE_RUN(fired, 0, fired.output, QString());
}

void ScriptLimitsTest::stopsAfterTenSecondsByDefault()
{
    const ScratchFolder folder;
    makeOne(folder, "for (;;) {}");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(words(QStringLiteral("resolve plant"))), 1,
                QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: stopped: onSave took longer than "
                               "10 s (--timeout); no API call\n"
                               "\n"
                               "1 script run, 1 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::refusesAWrongLimit_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("message");

    const auto addTimeout = [](const char *name, const char *value) {
        QTest::addRow("timeout: %s", name)
            << QStringLiteral("--timeout=") + QLatin1String(value)
            << QStringLiteral("--timeout: Value %1 not in range 0.000000 to 1000000.000000")
                   .arg(QLatin1String(value));
    };
    addTimeout("negative", "-1");
    addTimeout("text", "abc");
    addTimeout("unit", "10s");
    addTimeout("comma", "1,5");
    addTimeout("infinite", "inf");
    addTimeout("too long", "1000001");
    QTest::newRow("timeout: not a number")
        << QStringLiteral("--timeout=nan") << QStringLiteral("--timeout: Value nan is no number");
    QTest::newRow("timeout: empty")
        << QStringLiteral("--timeout=") << QStringLiteral("--timeout: 1 required SECONDS missing");
    const auto addMemory = [](const char *name, const char *value) {
        QTest::addRow("memory: %s", name)
            << QStringLiteral("--memory=") + QLatin1String(value)
            << QStringLiteral("--memory: Value %1 not in range 32 to 1000000")
                   .arg(QLatin1String(value));
    };
    addMemory("none", "0");
    addMemory("too little", "31");
    addMemory("negative", "-64");
    addMemory("fraction", "64.5");
    addMemory("text", "abc");
    addMemory("unit", "64MB");
    addMemory("too much", "1000001");
    addMemory("more than an integer", "99999999999999999999");
    QTest::newRow("memory: empty")
        << QStringLiteral("--memory=") << QStringLiteral("--memory: 1 required MB missing");
}

void ScriptLimitsTest::refusesAWrongLimit()
{
    QFETCH(const QString, option);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    makeDialog(folder, "function onOpen() {}\n");
    const Files before = folder.files();
    for (const char *command : {"resolve plant", "check plant", "run plant pump onOpen"}) {
        COMPARE_RUN(
            Program(folder.path()).run(words(QLatin1String(command)) + QStringList{option}), 2,
            QString(),
            message + QStringLiteral("\nRun with --help or --help-all for more information.\n"));
    }
    COMPARE_FILES(folder.files(), before);
}

void ScriptLimitsTest::endsTheProgramWhereTheEngineGoesOn()
{
    BackgroundRun function(QStringLiteral("resolve plant --timeout 0.5"));
    makeTwo(function.folder,
            "function onSave(api, url) {\n"
            "  api.setPropertyExtern(url, \"speed\", 7);\n  "
                + s_unstoppable + "\n}\n");
    BackgroundRun text(QStringLiteral("resolve plant --no-check --timeout 0.5"));
    makeOne(text.folder, "}\n" + s_unstoppable + "\n{");
    BackgroundRun json(QStringLiteral("resolve plant --json --timeout 0.5"));
    makeOne(json.folder, s_unstoppable);
    BackgroundRun check(QStringLiteral("check plant --timeout 0.5"));
    makeOne(check.folder, "}\n" + s_unstoppable + "\n{");
    BackgroundRun event(QStringLiteral("run plant pump onOpen --write --timeout 0.5"));
    makeDialog(event.folder,
               "function onOpen(api) {\n"
               "  api.setProperty(\"\", \"speed\", 7);\n  "
                   + s_unstoppable + "\n}\n");
    BackgroundRun inplace(QStringLiteral("resolve --in-place plant/configuration/pump.json "
                                         "--instance pump --write --timeout 0.5"));
    makeOne(inplace.folder, "  api.setProperty(\"\", \"speed\", 7);\n" + s_unstoppable);
    for (BackgroundRun *run : {&function, &text, &json, &check, &event, &inplace}) {
        run->start();
    }
    const auto message = [](const char *place, const char *what, const char *lastCall) {
        return QStringLiteral("%1: %2 took longer than 0.5 s (--timeout), and cannot be stopped; "
                              "%3. Nothing was written.")
            .arg(QLatin1String(place), QLatin1String(what), QLatin1String(lastCall));
    };
    const char *evaluation = "the evaluation of the script's text";
    // The dialog's tree names no dependency script: its next command is another one.
    const ProgramRun eventRun = event.wait();
    COMPARE_RUN(eventRun, 1, QString(),
                QStringLiteral("configscript: ")
                    + message("pump, scripts/pump.js", "onOpen",
                              "last API call: setProperty(\"\", \"speed\")")
                    + QLatin1Char('\n'));
    COMPARE_FILES(withoutLock(event.folder.files()), event.before);
    compareLastWords(function.folder, function.before, function.wait(),
                     message("pump, dependency/pump.js", "onSave",
                             "last API call: setPropertyExtern(\"config://pumps/plant/pump\", "
                             "\"speed\")"));
    compareLastWords(text.folder, text.before, text.wait(),
                     message("pump, dependency/pump.js", evaluation, "no API call"));
    compareLastWords(json.folder, json.before, json.wait(),
                     message("pump, dependency/pump.js", "onSave", "no API call"));
    compareLastWords(check.folder, check.before, check.wait(),
                     message("dependency/pump.js", evaluation, "no API call"));
    compareLastWords(inplace.folder, inplace.before, inplace.wait(),
                     message("pump, dependency/pump.js", "onSave",
                             "last API call: setProperty(\"\", \"speed\")"));
}

void ScriptLimitsTest::endsTheProgramWhenMemoryIsUsedUp_data()
{
    QTest::addColumn<QByteArray>("body");
    const QByteArray write("  api.setPropertyExtern(url, \"speed\", 7);\n");
    QTest::newRow("one text") << write + "  for (var s = \"a\";;) { s += s; s.charAt(0); }";
    QTest::newRow("texts") << write
            + "  for (var a = [];;) { a.push(\"a\".repeat(1 << 20) + a.length); }";
    QTest::newRow("array") << write + "  for (var a = [];;) { a.push([1, 2, 3]); }";
    QTest::newRow("objects") << write + "  for (var a = {};;) { a = { a: a }; }";
    QTest::newRow("reported errors")
        << write + "  for (;;) { api.setError(\"motor\", \"a\".repeat(1000)); }";
    QTest::newRow("reported values")
        << write + "  for (;;) { api.setError(\"\", \"\", [[1, 2], [3, 4], { a: {} }]); }";
    QTest::newRow("written values") << write
            + "  for (var i = 0;; ++i) {\n"
              "    api.setPropertyExtern(url, \"k\" + i, \"a\".repeat(1 << 20) + i);\n"
              "  }";
}

void ScriptLimitsTest::endsTheProgramWhenMemoryIsUsedUp()
{
    if (noMemoryLimit()) {
        QSKIP(noMemoryLimit());
    }
    QFETCH(const QByteArray, body);
    const ScratchFolder folder;
    makeOne(folder, body);
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("resolve plant --memory 96 --timeout 0")));
    compareLastWords(folder, before, run,
                     QStringLiteral("pump, dependency/pump.js: out of memory: --memory allows "
                                    "96 MB"));
}

void ScriptLimitsTest::needsLittleMemoryItself()
{
    if (noMemoryLimit()) {
        QSKIP(noMemoryLimit());
    }
    const ScratchFolder folder;
    folder.copyExamples();
    for (const char *command :
         {"resolve pump-station", "check pump-station", "run pump-station line1/pump1 onOpen"}) {
        const QStringList arguments = words(QLatin1String(command));
        const ProgramRun run =
            Program(folder.path()).run(arguments + words(QStringLiteral("--memory 64")));
        COMPARE_RUN(run, 0, run.output, QString());
    }
}

void ScriptLimitsTest::endsTheProgramWhenTheStackIsUsedUp_data()
{
    QTest::addColumn<QByteArray>("body");
    const auto add = [](const char *name, const char *body) {
        QTest::newRow(name) << QByteArray("  api.setPropertyExtern(url, \"speed\", 7);\n") + body;
    };
    add("text of an array",
        "  for (var a = [], i = 0; i < 100000; ++i) { a = [a]; }\n  String(a);");
    add("text of an array that contains itself", "  var a = []; a.push(a, [a]);\n  String(a);");
    add("array that contains itself in place of a text",
        "  var a = []; a.push(a, [a]);\n  api.isUrlValid(a);");
    add("regular expression", "  new RegExp(\"(\".repeat(100000) + \")\".repeat(100000));");
    add("JSON of an object",
        "  for (var a = {}, i = 0; i < 100000; ++i) { a = { a: a }; }\n  JSON.stringify(a);");
}

void ScriptLimitsTest::endsTheProgramWhenTheStackIsUsedUp()
{
    if (noStackLimit()) {
        QSKIP(noStackLimit());
    }
    QFETCH(const QByteArray, body);
    const ScratchFolder folder;
    makeOne(folder, body);
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path()).run(words(QStringLiteral("resolve plant")));
    compareLastWords(folder, before, run,
                     QStringLiteral("pump, dependency/pump.js: what the script nests is too deep "
                                    "for its engine, which crashed. Nothing was written."));
}

void ScriptLimitsTest::refusesAnArgumentThatIsNestedTooDeep()
{
    const ScratchFolder folder;
    makeOne(folder,
            "  api.setPropertyExtern(url, \"speed\", 7);\n"
            "  for (var a = {}, i = 0; i < 100000; ++i) { a = { a: a }; }\n"
            "  api.setError(\"\", \"\", a);");
    COMPARE_RUN(Program(folder.path()).run(words(QStringLiteral("resolve plant"))), 1,
                QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js:4: RangeError: Objects and arrays are "
                               "nested more than 512 deep\n"
                               "\n"
                               "changed configuration/pump.json\n"
                               "  speed  1200 -> 7\n"
                               "\n"
                               "1 script run, 1 failed; 1 file changed, 1 value; # ms\n"),
                QString());
}

void ScriptLimitsTest::showsTheFirstOfManyMessages_data()
{
    QTest::addColumn<QByteArray>("statement");
    QTest::addColumn<QString>("first"); // line
    QTest::addColumn<QString>("last"); // line of the hundredth
    QTest::addColumn<QString>("rest"); // line
    QTest::addColumn<QString>("member"); // of the run, in JSON
    QTest::addColumn<int>("held"); // there
    QTest::addColumn<QString>("more"); // the last one there; empty when it is one of the script's

    const auto add = [](const char *name, const char *statement, const char *line, const char *rest,
                        const char *member, int held, const char *more) {
        QTest::newRow(name) << QByteArray(statement)
                            << QString::fromLatin1(line).arg(QStringLiteral("0"))
                            << QString::fromLatin1(line).arg(QStringLiteral("99"))
                            << QString::fromLatin1(rest) << QString::fromLatin1(member) << held
                            << QString::fromLatin1(more);
    };
    const char *leftOut = "(more than 10000 messages: the rest is left out)";
    add("console", "console.log(i);", "dependency/pump.js:3: %1",
        "9901 console messages more; --json shows them", "console", 10001, leftOut);
    add("warnings", "api.getProperty(\"pipe\" + i, \"length\");",
        "dependency/pump.js: warning: Leaf for url \"pipe%1\" is null.",
        "9901 warnings more; --json shows them", "warnings", 10001, leftOut);
    add("reported errors", "api.setError(\"motor\", \"hot\" + i);", "reported: motor: [hot%1]",
        "19900 reported errors more; --json shows them", "errors", 20000, "");
}

void ScriptLimitsTest::showsTheFirstOfManyMessages()
{
    QFETCH(const QByteArray, statement);
    QFETCH(const QString, first);
    QFETCH(const QString, last);
    QFETCH(const QString, rest);
    QFETCH(const QString, member);
    QFETCH(const int, held);
    QFETCH(const QString, more);

    const ScratchFolder folder;
    makeOne(folder, "  for (var i = 0; i < 20000; ++i) {\n" + statement + "\n  }");
    const Program program(folder.path());
    const ProgramRun json = program.run(words(QStringLiteral("resolve plant --json")));
    COMPARE_RUN(json, 0, json.output, QString());
    const QJsonArray messages = object(json)
                                    .value(QLatin1String("runs"))
                                    .toArray()
                                    .at(0)
                                    .toObject()
                                    .value(member)
                                    .toArray();
    QCOMPARE(messages.size(), held);
    if (!more.isEmpty()) {
        const QJsonValue end = messages.last();
        QCOMPARE(end.isString() ? end.toString()
                                : end.toObject().value(QLatin1String("text")).toString(),
                 more);
    }

    const ProgramRun text = program.run(words(QStringLiteral("resolve plant")));
    QCOMPARE(text.errors, QString());
    QCOMPARE(text.exitCode, 0);
    const QString indentation(9, QLatin1Char(' '));
    const QStringList lines = text.output.split(QLatin1Char('\n'));
    QCOMPARE(lines.value(1), indentation + first);
    QCOMPARE(lines.value(100), indentation + last);
    QCOMPARE(lines.value(101), indentation + rest);
    QCOMPARE(lines.size(), 105); // heading, 100 and the rest; blank, summary, end
}

void ScriptLimitsTest::showsAndRefusesAHugeValue()
{
    const ScratchFolder folder;
    makeOne(folder,
            "  api.setPropertyExtern(url, \"speed\", \"a\".repeat(40 * 1024 * 1024));\n"
            "  api.setError(\"motor\", \"hot\", \"b\".repeat(40 * 1024 * 1024));");
    const Files before = folder.files();
    const QString shown =
        QString(999, QLatin1Char('a')) + QStringLiteral("… (41943042 characters)");
    COMPARE_RUN(Program(folder.path()).run(words(QStringLiteral("resolve plant --timeout 0"))), 1,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         reported: motor: [hot] value \"%2\n"
                               "\n"
                               "NOT WRITTEN configuration/pump.json\n"
                               "  <folder>/plant/configuration/pump.json: cannot be written: "
                               "expected at most 33554432 bytes, found 41943109\n"
                               "  speed  1200 -> \"%1\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n")
                    .arg(shown,
                         QString(shown)
                             .replace(QLatin1Char('a'), QLatin1Char('b'))
                             .replace(QLatin1String("chbrbcters"), QLatin1String("characters"))),
                QString());
    COMPARE_FILES(folder.files(), before);
}

TEST_CLASS(ScriptLimitsTest)

#include "ScriptLimitsTest.moc"
