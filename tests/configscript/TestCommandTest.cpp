#include "configscript/CommandTest.h"
#include "configscript/LimitSupport.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <QXmlStreamReader>

using LimitSupport::words;

namespace {

const QString s_test = QStringLiteral("plant/tests/pump.test.json");

/// The project "plant": the instances "pump" and "feeder". The dialog of the pump doubles the power
/// and refuses more than 90; its dependency script hands the power on to the feeder.
void makeProject(const ScratchFolder &folder)
{
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\" }\n");
    folder.write(QStringLiteral("plant/configuration/manifest.json"),
                 "[{ \"dependencyFileExtern\": [{ \"instanceName\": \"pump\" }] }]\n");
    folder.write(QStringLiteral("plant/configuration/pump.json"),
                 "{\n"
                 "  \"properties\": { \"scriptFile\": \"pump.js\", \"dependencyFileExtern\": "
                 "\"pump.js\", \"serial\": 7 },\n"
                 "  \"readOnly\": [\"serial\"],\n"
                 "  \"children\": { \"motor\": { \"properties\": { \"power\": 11, \"double\": 22 } "
                 "} }\n"
                 "}\n");
    folder.write(QStringLiteral("plant/configuration/feeder.json"),
                 "{ \"properties\": { \"load\": 11 } }\n");
    folder.write(QStringLiteral("plant/process/pump.json"),
                 "{ \"properties\": { \"max\": 11 } }\n");
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) {}\n"
                 "function onValueChange(api, url) {\n"
                 "  api.setProperty('motor', 'double', 2 * api.getProperty('motor', 'power'));\n"
                 "}\n"
                 "function onOk(api) {\n"
                 "  if (api.getProperty('motor', 'power') <= 90) {\n"
                 "    return true;\n"
                 "  }\n"
                 "  api.setError('motor', 'tooMuch', 90);\n"
                 "  return false;\n"
                 "}\n");
    folder.write(QStringLiteral("plant/dependency/pump.js"),
                 "function onSave(api, url) {\n"
                 "  const power = api.getProperty('motor', 'power');\n"
                 "  api.setPropertyExtern('config://pumps/plant/feeder', 'load', power);\n"
                 "  api.setPropertyExtern('process://pumps/plant/pump', 'max', power);\n"
                 "}\n");
}

/// A test of the pump with one step.
QByteArray oneStep(const QByteArray &step)
{
    return "{\n  \"instance\": \"pump\",\n  \"steps\": [\n    " + step + "\n  ]\n}\n";
}

/// The same test, with dialogs whose scripts reach the whole project.
QByteArray reachingTheProject(QByteArray test)
{
    return test.insert(1, " \"reach\": \"project\",");
}

ProgramRun runTests(const ScratchFolder &folder, const QString &options = QString())
{
    return Program(folder.path()).run(words(QStringLiteral("test plant ") + options));
}

/// What is printed for one test that passes.
QString passed(const QString &state, int steps)
{
    return QStringLiteral("%1  tests/pump.test.json  %2 %3, # ms\n\n1 test, 0 failed; # ms\n")
        .arg(state)
        .arg(steps)
        .arg(steps == 1 ? QStringLiteral("step") : QStringLiteral("steps"));
}

/// What is printed for one test that could not run, or whose one step failed.
QString failed(const QString &reason)
{
    return QStringLiteral("FAILED   tests/pump.test.json\n%1\n1 test, 1 failed; # ms\n")
        .arg(reason);
}

/// Whether no more time has passed. What slows the whole program down does not count.
bool isQuick(const QElapsedTimer &timer, int seconds)
{
    return timer.elapsed() < 1000 * seconds || LimitSupport::noMemoryLimit() != nullptr;
}

/// A reason without a step.
QString refused(const QString &place)
{
    return failed(QStringLiteral("         tests/pump.test.json") + place + QLatin1Char('\n'));
}

} // namespace

class TestCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void passesWhenAllIsAsExpected();
    void passesInTheExamples_data();
    void passesInTheExamples();
    void showsWhatDiffers();
    void failsForWhatIsNotExpected_data();
    void failsForWhatIsNotExpected();
    void comparesNumbersByValue_data();
    void comparesNumbersByValue();
    void acceptsEverySpellingOfAUrl();
    void setsValuesAsIfTheFilesHeldThem();
    void savesTheDialogBeforeItResolves();
    void savesNothingOfARefusedDialog();
    void tellsWhyNothingWasResolved();
    void tellsPathsFromTheProject();
    void startsEachTestAfresh();
    void refusesABadFile_data();
    void refusesABadFile();
    void updatesExpectations();
    void keepsTheLayoutOfWhatWasExpected();
    void updatesNoBadFile();
    void followsNoLinkOutOfTheProject();
    void needsTests();
    void runsTheTestsThatAreChosen_data();
    void runsTheTestsThatAreChosen();
    void writesAReportInXml();
    void writesAReportInJson();
    void tellsWhenItCannotWriteTheReport();
    void stopsScriptsThatDoNotEnd();
    void limitsLongDifferences();
    void showsNoControlCharacters();
    void runsManyTestsQuickly();
    void recordsASessionThatPasses_data();
    void recordsASessionThatPasses();
    void recordsWhatASessionDoes();
    void recordsNoReadOfAValueThatIsWrittenAgain();
    void recordsToANewFileAlone_data();
    void recordsToANewFileAlone();
};

void TestCommandTest::passesWhenAllIsAsExpected()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test,
                 "{\n"
                 "  \"description\": \"The double follows\",\n"
                 "  \"instance\": \"pump\",\n"
                 "  \"steps\": [\n"
                 "    { \"event\": \"onOpen\" },\n"
                 "    { \"set\": { \"motor\": { \"power\": 15 } }, \"event\": \"onValueChange\",\n"
                 "      \"argument\": \"motor\",\n"
                 "      \"expect\": { \"writes\": { \"motor\": { \"double\": 30 } } } },\n"
                 "    { \"event\": \"onOk\", \"expect\": { \"result\": true, \"errors\": [] } }\n"
                 "  ]\n"
                 "}\n");
    const Files before = folder.files();
    COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 3), QString());
    COMPARE_FILES(folder.files(), before);
}

void TestCommandTest::passesInTheExamples_data()
{
    QTest::addColumn<QString>("project");
    QTest::newRow("pump station") << QStringLiteral("pump-station");
    QTest::newRow("network") << QStringLiteral("network");
}

void TestCommandTest::passesInTheExamples()
{
    QFETCH(const QString, project);
    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path()).run({QStringLiteral("test"), project});
    QVERIFY2(run.exitCode == 0, qPrintable(run.output + run.errors));
    COMPARE_FILES(folder.files(), before);
    // Nor do they rest on values that are still to be resolved.
    QCOMPARE(Program(folder.path()).run({QStringLiteral("resolve"), project}).exitCode, 0);
    const ProgramRun again = Program(folder.path()).run({QStringLiteral("test"), project});
    QVERIFY2(again.exitCode == 0, qPrintable(again.output));
    // Every script is tested.
    const QStringList names = before.keys();
    for (const QString &name : names) {
        if (name.startsWith(project + QLatin1Char('/')) && name.endsWith(QLatin1String(".js"))) {
            folder.write(name,
                         "function onOpen(api) { throw new Error('broken'); }\n"
                         "function onValueChange(api) { throw new Error('broken'); }\n"
                         "function onOk(api) { throw new Error('broken'); }\n"
                         "function onSave(api) { throw new Error('broken'); }\n");
            const ProgramRun broken = Program(folder.path()).run({QStringLiteral("test"), project});
            QVERIFY2(broken.exitCode == 1 && broken.output.contains(QLatin1String("broken")),
                     qPrintable(name));
            folder.write(name, before.value(name));
        }
    }
}

void TestCommandTest::showsWhatDiffers()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test,
                 "{\n"
                 "  \"description\": \"The double follows\",\n"
                 "  \"instance\": \"pump\",\n"
                 "  \"steps\": [\n"
                 "    {\n"
                 "      \"set\": { \"motor\": { \"power\": 100 } },\n"
                 "      \"event\": \"onValueChange\",\n"
                 "      \"argument\": \"motor\",\n"
                 "      \"expect\": { \"writes\": { \"motor\": { \"double\": 201 } } }\n"
                 "    },\n"
                 "    { \"event\": \"onOk\", \"expect\": { \"warnings\": [] } }\n"
                 "  ]\n"
                 "}\n");
    const Files before = folder.files();
    COMPARE_RUN(runTests(folder), 1,
                QStringLiteral(
                    "FAILED   tests/pump.test.json: The double follows\n"
                    "         tests/pump.test.json:5: step 1, onValueChange motor\n"
                    "         --- expected\n"
                    "         +++ found\n"
                    "         @@ -1,6 +1,6 @@\n"
                    "          {\n"
                    "            \"result\": true\n"
                    "            \"writes\": {\n"
                    "         -    \"motor\": { \"double\": 201 }\n"
                    "         +    \"motor\": { \"double\": 200 }\n"
                    "            }\n"
                    "          }\n"
                    "         tests/pump.test.json:11: step 2, onOk\n"
                    "         --- expected\n"
                    "         +++ found\n"
                    "         @@ -1,3 +1,6 @@\n"
                    "          {\n"
                    "         -  \"result\": true\n"
                    "         +  \"result\": false\n"
                    "         +  \"errors\": [\n"
                    "         +    { \"url\": \"motor\", \"textId\": \"tooMuch\", \"value\": 90 }\n"
                    "         +  ]\n"
                    "          }\n"
                    "\n"
                    "1 test, 1 failed; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);

    Program terminal(folder.path());
    terminal.runInTerminal();
    const QString coloured = terminal.run(words(QStringLiteral("test plant"))).output;
    QVERIFY2(
        coloured.contains(QLatin1String("\033[1;31m-    \"motor\": { \"double\": 201 }\033[0m"))
            && coloured.contains(
                QLatin1String("\033[32m+    \"motor\": { \"double\": 200 }\033[0m")),
        qPrintable(coloured));
    QVERIFY(!terminal.run(words(QStringLiteral("test plant --no-color")))
                 .output.contains(QLatin1Char('\033')));
}

void TestCommandTest::failsForWhatIsNotExpected_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QByteArray>("step");
    QTest::addColumn<QByteArray>("expected"); ///< makes the step pass; empty if none is needed
    const auto add = [](const char *name, const QByteArray &body, const char *expected) {
        QTest::newRow(name) << QByteArray("function onOpen(api) { " + body + " }\n")
                            << QByteArray("\"event\": \"onOpen\"") << QByteArray(expected);
    };
    add("write", "api.setProperty('motor', 'double', 5);",
        "\"writes\": { \"motor\": { \"double\": 5 } }");
    add("added property", "api.setProperty('', 'new', null);",
        "\"writes\": { \"\": { \"new\": null } }");
    add("write of an equal value", "api.setProperty('motor', 'double', 22);", "");
    add("value written back",
        "api.setProperty('motor', 'double', 5); api.setProperty('motor', 'double', 22);", "");
    add("last of two writes",
        "api.setProperty('motor', 'double', 5); api.setProperty('motor', 'double', [6]);",
        "\"writes\": { \"motor\": { \"double\": [6] } }");
    add("external write", "api.setPropertyExtern('config://pumps/plant/feeder', 'load', 5);",
        "\"writes\": { \"config://pumps/plant/feeder\": { \"load\": 5 } }");
    add("write of process data", "api.setPropertyExtern('process://pumps/plant/pump', 'max', 5);",
        "\"writes\": { \"process://pumps/plant/pump\": { \"max\": 5 } }");
    add("result", "return false;", "\"result\": false");
    add("error", "api.setError('', 'wrong');",
        "\"errors\": [{ \"url\": \"\", \"textId\": \"wrong\" }]");
    add("value of an error", "api.setError('a', 'wrong', { b: 1 });",
        "\"errors\": [{ \"url\": \"a\", \"textId\": \"wrong\", \"value\": { \"b\": 1 } }]");
    add("exception", "throw new Error('x');",
        "\"result\": false, \"exceptions\": [\"scripts/pump.js:1: Error: x\"]");
    add("warning", "api.getProperty('none', 'value');",
        "\"warnings\": [\"Leaf for url \\\"none\\\" is null.\"]");
    add("warning with a path", "api.getPropertyExtern('config://pumps/plant/none', 'value');",
        "\"warnings\": [\"Unable to find url \\\"config://pumps/plant/none\\\" in project "
        "\\\".\\\"\", "
        "\"Root is null.\"]");
    add("two trees of one file",
        "api.setProperty('motor', 'double', 5); "
        "api.setPropertyExtern('config://pumps/plant/pump#motor', 'power', 6);",
        "\"writes\": { \"motor\": { \"double\": 5, \"power\": 6 } }, \"problems\": [\"the script "
        "wrote "
        "its own instance by relative URL and, as another tree, by the absolute URL "
        "config://pumps/plant/pump\"]");
    add("console", "console.log('hello');", "");
    add("read", "api.getProperty('motor', 'power');", "");

    const auto addSave = [](const char *name, const QByteArray &body, const char *expected) {
        QTest::newRow(name) << QByteArray("function onSave(api, url) { " + body + " }\n")
                            << QByteArray("\"resolve\": \"pump\"") << QByteArray(expected);
    };
    addSave("announced", "api.setPropertyExtern('process://pumps/plant/pump', 'max', 5);",
            "\"writes\": { \"process://pumps/plant/pump\": { \"max\": 5 } }, \"announced\": "
            "[\"pump\"]");
    addSave("own tree by absolute URL", "api.setPropertyExtern(url + '#motor', 'double', 5);",
            "\"writes\": { \"motor\": { \"double\": 5 } }");
    addSave("write that nobody saves", "api.setProperty('motor', 'double', 5);",
            "\"unsaved\": { \"motor\": { \"double\": 5 } }");
    addSave("error of a resolve", "api.setError('motor', 'wrong', 1);",
            "\"errors\": [{ \"url\": \"motor\", \"textId\": \"wrong\", \"value\": 1 }]");
    addSave("exception of a resolve", "throw new Error('x');",
            "\"result\": false, \"exceptions\": [\"dependency/pump.js:1: Error: x\"]");
    QTest::newRow("error of another instance")
        << QByteArray("function onSave(api, url) { api.setError('', 'wrong'); return false; }\n")
        << QByteArray("\"resolve\": \"\"")
        << QByteArray("\"result\": false, \"errors\": [{ \"instance\": \"pump\", \"url\": \"\", "
                      "\"textId\": \"wrong\" }]");
}

void TestCommandTest::failsForWhatIsNotExpected()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QByteArray, step);
    QFETCH(const QByteArray, expected);
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(step.contains("resolve") ? QStringLiteral("plant/dependency/pump.js")
                                          : QStringLiteral("plant/scripts/pump.js"),
                 script);
    const auto write = [&folder](const QByteArray &text) {
        folder.write(s_test, reachingTheProject(oneStep("{ " + text + " }")));
    };
    write(step);
    QCOMPARE(runTests(folder).exitCode, expected.isEmpty() ? 0 : 1);
    write(step + ", \"expect\": { " + expected + " }");
    COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 1), QString());
    write(step + ", \"expect\": { \"console\": [\"x\"]" + (expected.isEmpty() ? "" : ", ")
          + expected + " }");
    QCOMPARE(runTests(folder).exitCode, 1);
}

void TestCommandTest::comparesNumbersByValue_data()
{
    QTest::addColumn<QByteArray>("written");
    QTest::addColumn<QByteArray>("expected");
    QTest::addColumn<int>("exitCode");
    const auto add = [](const char *written, const char *expected, int exitCode) {
        QTest::addRow("%s, %s", written, expected)
            << QByteArray(written) << QByteArray(expected) << exitCode;
    };
    add("5", "5.0", 0);
    add("5", "0.5e1", 0);
    add("5.5", "55e-1", 0);
    add("-0", "0", 0);
    add("5", "5.0000001", 1);
    add("5", "\\u0022", 1);
    add("'5'", "5", 1);
    add("'5'", "\"\\u0035\"", 0);
    add("{ b: 1, a: [2] }", "{ \"a\": [2.0], \"b\": 1 }", 0);
    add("{ b: 1 }", "{ \"a\": [2.0], \"b\": 1 }", 1);
    add("null", "false", 1);
}

void TestCommandTest::comparesNumbersByValue()
{
    QFETCH(const QByteArray, written);
    QFETCH(const QByteArray, expected);
    QFETCH(const int, exitCode);
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) { api.setProperty('', 'a', " + written + "); }\n");
    folder.write(s_test,
                 oneStep("{ \"event\": \"onOpen\", \"expect\": { \"writes\": { \"\": { \"a\": "
                         + expected + " } } } }"));
    QCOMPARE(runTests(folder).exitCode, exitCode);
}

void TestCommandTest::acceptsEverySpellingOfAUrl()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/providers.json"), "{ \"power\": [\"cabinet\"] }\n");
    for (const char *url : {"config://pumps/cabinet/feeder", "config:///plant/feeder",
                            "config://pumps/plant/%66eeder"}) {
        folder.write(s_test,
                     oneStep(QByteArray("{ \"resolve\": \"pump\", \"expect\": {\n"
                                        "      \"writes\": { \"")
                             + url + "\": { \"load\": 11 } } } }")
                         .replace("\"steps\"",
                                  QByteArray("\"set\": { \"") + url
                                      + "\": { \"load\": 5 } },\n  \"steps\""));
        COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 1), QString());
    }
}

void TestCommandTest::setsValuesAsIfTheFilesHeldThem()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) {\n"
                 "  api.setProperty('motor', 'seen', [api.getProperty('', 'serial'),\n"
                 "    api.getProperty('motor', 'power'), api.getProperty('motor', 'new'),\n"
                 "    api.getPropertyExtern('config://pumps/plant/feeder', 'load'),\n"
                 "    api.getPropertyExtern('process://pumps/plant/pump', 'max')]);\n"
                 "}\n");
    folder.write(s_test,
                 "{ \"instance\": \"pump\", \"reach\": \"project\",\n"
                 "  \"set\": {\n"
                 "    \"\": { \"serial\": 8 },\n"
                 "    \"motor\": { \"power\": 1, \"new\": \"2\" },\n"
                 "    \"config://pumps/plant/feeder\": { \"load\": 3 },\n"
                 "    \"process://pumps/plant/pump\": { \"max\": 4 }\n"
                 "  },\n"
                 "  \"steps\": [{ \"event\": \"onOpen\", \"expect\": { \"writes\": {\n"
                 "    \"motor\": { \"seen\": [8, 1, \"2\", 3, 4] } } } }]\n"
                 "}\n");
    COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 1), QString());
}

void TestCommandTest::savesTheDialogBeforeItResolves()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(
        s_test,
        "{ \"instance\": \"pump\", \"steps\": [\n"
        "  { \"set\": { \"motor\": { \"power\": 15 } }, \"event\": \"onOk\" },\n"
        "  { \"resolve\": \"pump\", \"expect\": { \"announced\": [\"pump\"], \"writes\": {\n"
        "    \"config://pumps/plant/feeder\": { \"load\": 15 },\n"
        "    \"process://pumps/plant/pump\": { \"max\": 15 } } } },\n"
        "  { \"resolve\": \"\" },\n"
        // another dialog, which sees what the first one saved
        "  { \"event\": \"onOk\", \"expect\": {\n"
        "    \"reads\": { \"motor\": { \"power\": 15 } } } }\n"
        "] }\n");
    COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 4), QString());
}

void TestCommandTest::savesNothingOfARefusedDialog()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(
        s_test,
        "{ \"instance\": \"pump\",\n"
        "  \"set\": { \"motor\": { \"power\": 12 } },\n"
        "  \"steps\": [\n"
        "  { \"set\": { \"motor\": { \"power\": 91 } }, \"event\": \"onOk\",\n"
        "    \"expect\": { \"result\": false, \"errors\": [\n"
        "      { \"url\": \"motor\", \"textId\": \"tooMuch\", \"value\": 90 }] } },\n"
        "  { \"resolve\": \"pump\", \"expect\": { \"announced\": [\"pump\"], \"writes\": {\n"
        "    \"config://pumps/plant/feeder\": { \"load\": 12 },\n"
        "    \"process://pumps/plant/pump\": { \"max\": 12 } } } }\n"
        "] }\n");
    COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 2), QString());
}

void TestCommandTest::tellsWhyNothingWasResolved()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/dependency/pump.js"), "function onSave(\n");
    folder.write(s_test, oneStep("{ \"resolve\": \"pump\" }"));
    COMPARE_RUN(runTests(folder), 1,
                failed(QStringLiteral(
                    "         tests/pump.test.json:4: step 1, resolve pump\n"
                    "         --- expected\n"
                    "         +++ found\n"
                    "         @@ -1,3 +1,6 @@\n"
                    "          {\n"
                    "         -  \"result\": true\n"
                    "         +  \"result\": false\n"
                    "         +  \"problems\": [\n"
                    "         +    \"dependency/pump.js:2: error: SyntaxError: Expected token "
                    "`)' [script-error]\"\n"
                    "         +  ]\n"
                    "          }\n")),
                QString());
    folder.remove(QStringLiteral("plant/configuration/manifest.json"));
    COMPARE_RUN(runTests(folder), 1,
                failed(QStringLiteral("         configuration/manifest.json: no such file: "
                                      "expected the project's manifest\n")),
                QString());
}

void TestCommandTest::tellsPathsFromTheProject()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\",\n"
                 "  \"otherFiles\": { \"network\": \"../network\" } }\n");
    folder.write(QStringLiteral("plant/configuration/broken.json"), "{");
    folder.write(QStringLiteral("network/configuration/broken.json"), "{");
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) {\n"
                 "  api.getPropertyExtern('config://pumps/plant/broken', 'a');\n"
                 "  api.getPropertyExtern('config://pumps/network/broken', 'a');\n"
                 "}\n");
    folder.write(s_test, reachingTheProject(oneStep("{ \"event\": \"onOpen\" }")));
    QCOMPARE(runTests(folder, QStringLiteral("--update")).exitCode, 0);
    const QByteArray text = folder.files().value(s_test);
    QVERIFY2(text.contains("\"configuration/broken.json:1:2: expected")
                 && text.contains("\"../network/configuration/broken.json:1:2: expected"),
             text.constData());
    QCOMPARE(runTests(folder).exitCode, 0);
}

void TestCommandTest::startsEachTestAfresh()
{
    const ScratchFolder folder;
    makeProject(folder);
    const QByteArray test =
        "{ \"instance\": \"pump\", \"steps\": [\n"
        "  { \"set\": { \"motor\": { \"power\": 15 } }, \"event\": \"onOk\",\n"
        "    \"expect\": { \"reads\": { \"motor\": { \"power\": 15 } } } },\n"
        "  { \"resolve\": \"\", \"expect\": { \"announced\": [\"pump\"], \"writes\": {\n"
        "    \"config://pumps/plant/feeder\": { \"load\": 15 },\n"
        "    \"process://pumps/plant/pump\": { \"max\": 15 } } } },\n"
        "  { \"event\": \"onOpen\" } ] }\n";
    folder.write(QStringLiteral("plant/tests/a/1.test.json"), test);
    folder.write(QStringLiteral("plant/tests/b.test.json"), test);
    folder.write(
        QStringLiteral("plant/tests/c.test.json"),
        oneStep("{ \"event\": \"onOk\", \"expect\": { \"reads\": { \"motor\": { \"power\": "
                "11 } } } }"));
    folder.write(QStringLiteral("plant/tests/d.json"), "no test");
    COMPARE_RUN(runTests(folder), 0,
                QStringLiteral("ok       tests/a/1.test.json  3 steps, # ms\n"
                               "ok       tests/b.test.json  3 steps, # ms\n"
                               "ok       tests/c.test.json  1 step, # ms\n"
                               "\n"
                               "3 tests, 0 failed; # ms\n"),
                QString());
}

void TestCommandTest::refusesABadFile_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("place");
    const auto add = [](const char *name, const QByteArray &text, const char *place) {
        QTest::newRow(name) << text << QString::fromUtf8(place);
    };
    const auto addStep = [](const char *name, const QByteArray &step, const char *place) {
        QTest::newRow(name) << oneStep(step) << QString::fromUtf8(place);
    };
    add("no JSON", "{ \"steps\": [{ }, ] }", ":1:18: expected a value, found ']'");
    add("empty file", "", ":1:1: expected a value, found the end of the file");
    add("no object", "[]", ":1:1: expected an object, found an array");
    add("unknown member", "{ \"step\": [] }",
        ":1:3: expected \"description\", \"instance\", \"reach\", \"set\" or \"steps\", found "
        "\"step\"");
    add("no steps", "{ \"instance\": \"pump\" }", ":1:1: expected a member \"steps\"");
    add("steps of another type", "{ \"steps\": {} }",
        ":1:12: expected an array of steps, found an object");
    add("empty steps", "{ \"steps\": [] }", ":1:12: expected at least one step");
    add("description of another type", "{ \"description\": 5 }",
        ":1:18: expected a string, found a number");
    add("no instance", "{ \"steps\": [{ \"event\": \"onOpen\" }] }",
        ":1:13: expected an \"instance\" for the event");
    add("no instance for a URL",
        "{ \"set\": { \"a\": { \"b\": 1 } }, \"steps\": [{ \"resolve\": \"\" }] }",
        ":1:17: expected an \"instance\" for the relative URL \"a\"");
    add("unknown instance", "{ \"instance\": \"pmp\", \"steps\": [{ \"event\": \"onOpen\" }] }",
        ":1:15: no instance \"pmp\"");
    add("instance that leads out",
        "{ \"instance\": \"../pump\", \"steps\": [{ \"event\": \"onOpen\" }] }",
        ":1:15: no instance \"../pump\"");
    add("instance without a script",
        "{ \"instance\": \"feeder\", \"steps\": [{ \"event\": \"onOpen\" }] }",
        ":1:15: configuration/feeder.json:1:1: expected the property \"scriptFile\", the name of a "
        "user-interface script");
    addStep("no object as step", "5", ":4:5: expected an object, found a number");
    addStep("neither event nor resolve", "{ \"expect\": {} }",
            ":4:5: expected either \"event\" or \"resolve\"");
    addStep("event and resolve", "{ \"event\": \"onOpen\", \"resolve\": \"pump\" }",
            ":4:5: expected either \"event\" or \"resolve\"");
    addStep(
        "unknown event", "{ \"event\": \"onClose\" }",
        ":4:16: expected an event, \"onOpen\", \"onValueChange\", \"onOk\" or \"onSave\", found "
        "\"onClose\"");
    addStep("unknown member of a step", "{ \"event\": \"onOpen\", \"sets\": {} }",
            ":4:26: expected \"set\", \"event\", \"argument\", \"resolve\" or \"expect\", found "
            "\"sets\"");
    addStep("argument of another type", "{ \"event\": \"onOpen\", \"argument\": null }",
            ":4:38: expected a string, found null");
    addStep("argument of a resolve", "{ \"resolve\": \"pump\", \"argument\": \"x\" }",
            ":4:38: expected nothing but \"expect\" beside \"resolve\"");
    addStep("edit of a resolve", "{ \"resolve\": \"pump\", \"set\": {} }",
            ":4:33: expected nothing but \"expect\" beside \"resolve\"");
    addStep("instance that is not listed", "{ \"resolve\": \"feeder\" }",
            ":4:5: no listed instance is \"feeder\" or begins with it");
    addStep("edit of an absolute URL",
            "{ \"event\": \"onOk\", \"set\": { \"config://pumps/plant/pump\": { \"a\": 1 } } }",
            ":4:62: expected a relative URL, since the user edits the instance alone, found "
            "\"config://pumps/plant/pump\"");
    addStep("edit of no node", "{ \"event\": \"onOk\", \"set\": { \"moter\": { \"power\": 1 } } }",
            ":4:33: no node \"moter\" in pump");
    addStep("edit of a read-only property",
            "{ \"event\": \"onOk\", \"set\": { \"\": { \"serial\": 1 } } }",
            ":4:33: the user cannot edit \"serial\": it is read-only");
    addStep("edit of another type", "{ \"event\": \"onOk\", \"set\": { \"motor\": 5 } }",
            ":4:42: expected an object, found a number");
    addStep("unknown expectation", "{ \"event\": \"onOk\", \"expect\": { \"announced\": [] } }",
            ":4:36: expected \"result\", \"writes\", \"errors\", \"exceptions\", \"warnings\", "
            "\"problems\", \"console\" or \"reads\", found \"announced\"");
    addStep("unknown expectation of a resolve",
            "{ \"resolve\": \"\", \"expect\": { \"reads\": {} } }",
            ":4:34: expected \"result\", \"writes\", \"unsaved\", \"errors\", \"announced\", "
            "\"exceptions\", \"warnings\", \"problems\" or \"console\", found \"reads\"");
    addStep("result of another type", "{ \"event\": \"onOk\", \"expect\": { \"result\": 1 } }",
            ":4:46: expected true or false, found a number");
    addStep("writes of another type", "{ \"event\": \"onOk\", \"expect\": { \"writes\": [] } }",
            ":4:46: expected an object, found an array");
    addStep("write without a key",
            "{ \"event\": \"onOk\", \"expect\": { \"writes\": { \"a\": 1 } } }",
            ":4:53: expected an object, found a number");
    addStep("errors of another type",
            "{ \"event\": \"onOk\", \"expect\": { \"errors\": [\"a\"] } }",
            ":4:47: expected an object, found a string");
    addStep("unknown member of an error",
            "{ \"event\": \"onOk\", \"expect\": { \"errors\": [{ \"text\": \"a\" }] } }",
            ":4:49: expected \"url\", \"textId\" or \"value\", found \"text\"");
    addStep("texts of another type", "{ \"event\": \"onOk\", \"expect\": { \"warnings\": [1] } }",
            ":4:49: expected a string, found a number");
    const auto addSet = [](const char *name, const QByteArray &url, const char *place) {
        QTest::newRow(name) << QByteArray(
            "{ \"instance\": \"pump\", \"set\": { \"" + url
            + "\": { \"a\": 1 } },\n  \"steps\": [{ \"event\": \"onOpen\" }] }")
                            << QStringLiteral(":1:32: ") + QString::fromUtf8(place);
    };
    addSet("set of no node", "moter", "no node \"moter\" in pump");
    addSet("set of no URL", "config://pumps",
           "expected a URL such as config://pumps/plant/INSTANCE#NODE");
    addSet("set of another module", "config://pump/plant/pump",
           "expected the module \"pumps\", found \"pump\"");
    addSet("set of another object", "config://pumps/plants/pump",
           "expected an object of this project, found \"plants\"");
    addSet("set of another instance", "process://pumps/plant/feeder", "no instance \"feeder\"");
    addSet("set outside the project", "config://pumps/plant/../pump",
           "the instance name holds the segment \"..\"");
}

void TestCommandTest::refusesABadFile()
{
    QFETCH(const QByteArray, text);
    QFETCH(const QString, place);
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test, text);
    COMPARE_RUN(runTests(folder), 1, refused(place), QString());
    // The others run.
    folder.write(QStringLiteral("plant/tests/a.test.json"), oneStep("{ \"event\": \"onOpen\" }"));
    const ProgramRun run = runTests(folder);
    QVERIFY2(run.output.startsWith(QLatin1String("ok       tests/a.test.json  1 step, # ms\n"))
                 && run.output.endsWith(QLatin1String("\n2 tests, 1 failed; # ms\n")),
             qPrintable(run.output));
}

void TestCommandTest::updatesExpectations()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test,
                 "\xef\xbb\xbf{ \"instance\" : \"pump\",\n"
                 "\n"
                 "  \"steps\": [\n"
                 "    { \"event\": \"onOpen\",   \"expect\": { \"writes\":{} } },\n"
                 "    {\n"
                 "      \"set\": { \"motor\": { \"power\": 1.50e2 } },\n"
                 "      \"event\": \"onValueChange\"\n"
                 "    },\n"
                 "    { \"event\": \"onOk\", \"expect\": { \"result\": true } },\n"
                 "    { \"event\": \"onOk\", \"expect\": { } }\n"
                 "  ]}");
    const Files before = folder.files();
    COMPARE_RUN(runTests(folder, QStringLiteral("--update")), 0,
                passed(QStringLiteral("UPDATED"), 4), QString());
    Files expected = before;
    expected[s_test] = "\xef\xbb\xbf{ \"instance\" : \"pump\",\n"
                       "\n"
                       "  \"steps\": [\n"
                       "    { \"event\": \"onOpen\",   \"expect\": { \"writes\":{} } },\n"
                       "    {\n"
                       "      \"set\": { \"motor\": { \"power\": 1.50e2 } },\n"
                       "      \"event\": \"onValueChange\",\n"
                       "      \"expect\": {\n"
                       "        \"writes\": {\n"
                       "          \"motor\": { \"double\": 300 }\n"
                       "        }\n"
                       "      }\n"
                       "    },\n"
                       "    { \"event\": \"onOk\", \"expect\": {\n"
                       "      \"result\": false,\n"
                       "      \"errors\": [\n"
                       "        { \"url\": \"motor\", \"textId\": \"tooMuch\", \"value\": 90 }\n"
                       "      ]\n"
                       "    } },\n"
                       "    { \"event\": \"onOk\", \"expect\": {\n"
                       "      \"result\": false,\n"
                       "      \"errors\": [\n"
                       "        { \"url\": \"motor\", \"textId\": \"tooMuch\", \"value\": 90 }\n"
                       "      ]\n"
                       "    } }\n"
                       "  ]}";
    COMPARE_FILES(LimitSupport::withoutLock(folder.files()), expected);
    COMPARE_RUN(runTests(folder), 0, passed(QStringLiteral("ok     "), 4), QString());
    // Nothing is left to do.
    COMPARE_RUN(runTests(folder, QStringLiteral("--update")), 0,
                passed(QStringLiteral("ok     "), 4), QString());
    COMPARE_FILES(LimitSupport::withoutLock(folder.files()), expected);
}

void TestCommandTest::keepsTheLayoutOfWhatWasExpected()
{
    const ScratchFolder folder;
    makeProject(folder);
    const QByteArray text("{ \"argument\": \"motor\", \"event\": \"onValueChange\",\n"
                          "      \"set\": { \"motor\": { \"power\": 15 } },\n"
                          "      \"expect\": { \"reads\":   { \"motor\": {\"power\": %1} },\n"
                          "        \"errors\": [ ],\n"
                          "        \"writes\": { \"motor\":  { \"double\": %2 } } } }");
    folder.write(s_test, oneStep(QByteArray(text).replace("%1", "1.50e1").replace("%2", "31")));
    COMPARE_RUN(runTests(folder, QStringLiteral("--update")), 0,
                passed(QStringLiteral("UPDATED"), 1), QString());
    QCOMPARE(folder.files().value(s_test),
             oneStep(QByteArray(text).replace("%1", "1.50e1").replace("%2", "30")));
}

void TestCommandTest::updatesNoBadFile()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test, "{ \"steps\": [] }");
    folder.write(QStringLiteral("plant/tests/a.test.json"),
                 oneStep("{ \"event\": \"onOpen\", \"expect\": { \"result\": false } }"));
    const ProgramRun run = runTests(folder, QStringLiteral("--update"));
    COMPARE_RUN(run, 1,
                QStringLiteral("UPDATED  tests/a.test.json  1 step, # ms\n"
                               "FAILED   tests/pump.test.json\n"
                               "         tests/pump.test.json:1:12: expected at least one step\n"
                               "\n"
                               "2 tests, 1 failed; # ms\n"),
                QString());
    QCOMPARE(folder.files().value(s_test), QByteArray("{ \"steps\": [] }"));
}

void TestCommandTest::followsNoLinkOutOfTheProject()
{
    const ScratchFolder folder;
    makeProject(folder);
    const QByteArray outside =
        oneStep("{ \"event\": \"onOpen\", \"expect\": { \"result\": false } }");
    folder.write(QStringLiteral("outside/a.test.json"), outside);
    folder.link(QStringLiteral("plant/tests/pump.test.json"),
                QStringLiteral("../../outside/a.test.json"));
    folder.link(QStringLiteral("plant/tests/folder"), QStringLiteral("../../outside"));
    const QString refusal = refused(QStringLiteral(": a link leads out of the project folder"));
    COMPARE_RUN(runTests(folder, QStringLiteral("--update")), 1, refusal, QString());

    folder.remove(QStringLiteral("plant/tests"));
    folder.link(QStringLiteral("plant/tests"), QStringLiteral("../outside"));
    COMPARE_RUN(runTests(folder, QStringLiteral("--update")), 2, QString(),
                QStringLiteral("configscript: <folder>/plant/tests: a link leads out of the "
                               "project folder\n"));
    QCOMPARE(folder.files().value(QStringLiteral("outside/a.test.json")), outside);

    // Inside, links are followed.
    QFile::remove(folder.path(QStringLiteral("plant/tests")));
    folder.write(QStringLiteral("plant/real/pump.test.json"), outside);
    folder.link(QStringLiteral("plant/tests"), QStringLiteral("real"));
    COMPARE_RUN(runTests(folder, QStringLiteral("--update")), 0,
                passed(QStringLiteral("UPDATED"), 1), QString());
}

void TestCommandTest::needsTests()
{
    const ScratchFolder folder;
    makeProject(folder);
    COMPARE_RUN(runTests(folder), 2, QString(),
                QStringLiteral("configscript: <folder>/plant: no tests: expected files "
                               "tests/*.test.json\n"));
    COMPARE_RUN(Program(folder.path()).run(words(QStringLiteral("test plants"))), 2, QString(),
                QStringLiteral("configscript: plants: no such project folder\n"));
    const ProgramRun help = Program(folder.path()).run(words(QStringLiteral("test")));
    QCOMPARE(help.exitCode, 2);
    QVERIFY2(help.errors.startsWith(QLatin1String("PROJECT is required\n")),
             qPrintable(help.errors));
}

void TestCommandTest::runsTheTestsThatAreChosen_data()
{
    QTest::addColumn<QString>("filter");
    QTest::addColumn<QString>("files"); ///< empty for none
    const auto add = [](const char *filter, const char *files) {
        QTest::newRow(filter) << QString::fromLatin1(filter) << QString::fromLatin1(files);
    };
    add("pump", "tests/line/pump.test.json tests/pump.test.json");
    add("line/", "tests/line/pump.test.json tests/line/valve.test.json");
    add("tests/pump", "tests/pump.test.json");
    add("tests/*", "tests/pump.test.json");
    add("tests/*/*", "tests/line/pump.test.json tests/line/valve.test.json");
    add("tests/line/?ump.test.json", "tests/line/pump.test.json");
    add("tests/line/[uv]alve*", "tests/line/valve.test.json");
    add("Pump", "");
    add("pump*", "");
    add(".", "tests/line/pump.test.json tests/line/valve.test.json tests/pump.test.json");
}

void TestCommandTest::runsTheTestsThatAreChosen()
{
    QFETCH(const QString, filter);
    QFETCH(const QString, files);
    const ScratchFolder folder;
    makeProject(folder);
    const QByteArray test = oneStep("{ \"event\": \"onOpen\" }");
    for (const char *name : {"pump", "line/pump", "line/valve"}) {
        folder.write(QStringLiteral("plant/tests/%1.test.json").arg(QLatin1String(name)), test);
    }
    const ProgramRun run = runTests(folder, QStringLiteral("--filter ") + filter);
    if (files.isEmpty()) {
        COMPARE_RUN(run, 2, QString(),
                    QStringLiteral("configscript: no test matches \"%1\"\n").arg(filter));
        return;
    }
    QString expected;
    const QStringList names = words(files);
    for (const QString &name : names) {
        expected += QStringLiteral("ok       %1  1 step, # ms\n").arg(name);
    }
    expected += QStringLiteral("\n%1, 0 failed; # ms\n")
                    .arg(names.size() == 1 ? QStringLiteral("1 test")
                                           : QStringLiteral("%1 tests").arg(names.size()));
    COMPARE_RUN(run, 0, expected, QString());
}

void TestCommandTest::writesAReportInXml()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) { throw new Error('<\\u0001&\\uffff\\ud800>'); }\n"
                 "function onOk(api) {}\n");
    folder.write(QStringLiteral("plant/tests/bad.test.json"), "{ \"steps\": 1 }");
    folder.write(QStringLiteral("plant/tests/a/ok.test.json"), oneStep("{ \"event\": \"onOk\" }"));
    folder.write(s_test,
                 "{ \"description\": \"<\\u0007>\\u0000\\ud800\\uffff\", \"instance\": \"pump\",\n"
                 "  \"steps\": [{ \"event\": \"onOk\" },\n    { \"event\": \"onOpen\" }] }\n");
    QCOMPARE(runTests(folder, QStringLiteral("--junit reports/junit.xml")).exitCode, 1);

    QXmlStreamReader xml(folder.files().value(QStringLiteral("reports/junit.xml")));
    QStringList elements;
    QString text;
    while (!xml.atEnd()) {
        xml.readNext();
        if (xml.isStartElement()) {
            QString element = xml.name().toString();
            for (const char *name : {"name", "classname", "file", "tests", "failures", "errors",
                                     "skipped", "message"}) {
                const QString value = xml.attributes().value(QLatin1String(name)).toString();
                element += value.isEmpty()
                    ? QString()
                    : QStringLiteral(" %1=%2").arg(QLatin1String(name), value);
            }
            if (xml.attributes().hasAttribute(QStringLiteral("time"))) {
                bool isNumber = false;
                QVERIFY(xml.attributes().value(QStringLiteral("time")).toDouble(&isNumber) >= 0);
                QVERIFY(isNumber);
            }
            elements.append(element);
        }
        text += xml.isCharacters() ? xml.text().toString() : QString();
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QCOMPARE(
        elements,
        (QStringList{QStringLiteral("testsuites tests=3 failures=1 errors=1"),
                     QStringLiteral("testsuite name=plant tests=3 failures=1 errors=1 skipped=0"),
                     QStringLiteral("testcase name=ok.test.json classname=plant.tests.a "
                                    "file=tests/a/ok.test.json"),
                     QStringLiteral("testcase name=bad.test.json classname=plant.tests "
                                    "file=tests/bad.test.json"),
                     QStringLiteral("error message=tests/bad.test.json:1:12: expected an array of "
                                    "steps, found a number"),
                     QStringLiteral("testcase name=pump.test.json classname=plant.tests "
                                    "file=tests/pump.test.json"),
                     QString::fromUtf8("failure message=<\\x07>\\x00?\xef\xbf\xbd")}));
    QVERIFY2(text.contains(QLatin1String("tests/pump.test.json:3: step 2, onOpen\n--- expected\n"))
                 && text.contains(QLatin1String("\n+  \"result\": false\n"))
                 && text.contains(QLatin1String("scripts/pump.js:1: Error: <")),
             qPrintable(text));
}

void TestCommandTest::writesAReportInJson()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/tests/bad.test.json"), "{ \"steps\": 1 }");
    folder.write(s_test, oneStep("{ \"event\": \"onOpen\", \"expect\": { \"result\": false } }"));
    const ProgramRun run = runTests(folder, QStringLiteral("--json"));
    COMPARE_RUN(
        run, 1,
        QStringLiteral(
            "{\n"
            "    \"project\": \"<folder>/plant\",\n"
            "    \"succeeded\": false,\n"
            "    \"summary\": {\n"
            "        \"failed\": 2,\n"
            "        \"milliseconds\": \"#\",\n"
            "        \"tests\": 2\n"
            "    },\n"
            "    \"tests\": [\n"
            "        {\n"
            "            \"description\": \"\",\n"
            "            \"error\": \"tests/bad.test.json:1:12: expected an array of steps, "
            "found a number\",\n"
            "            \"file\": \"tests/bad.test.json\",\n"
            "            \"milliseconds\": \"#\",\n"
            "            \"steps\": [\n"
            "            ],\n"
            "            \"succeeded\": false,\n"
            "            \"updated\": false\n"
            "        },\n"
            "        {\n"
            "            \"description\": \"\",\n"
            "            \"file\": \"tests/pump.test.json\",\n"
            "            \"milliseconds\": \"#\",\n"
            "            \"steps\": [\n"
            "                {\n"
            "                    \"expected\": {\n"
            "                        \"result\": false\n"
            "                    },\n"
            "                    \"found\": {\n"
            "                        \"result\": true\n"
            "                    },\n"
            "                    \"line\": 4,\n"
            "                    \"succeeded\": false,\n"
            "                    \"title\": \"onOpen\"\n"
            "                }\n"
            "            ],\n"
            "            \"succeeded\": false,\n"
            "            \"updated\": false\n"
            "        }\n"
            "    ]\n"
            "}\n"),
        QString());
}

void TestCommandTest::tellsWhenItCannotWriteTheReport()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test, oneStep("{ \"event\": \"onOpen\" }"));
    const ProgramRun run = runTests(folder, QStringLiteral("--junit plant/project.json/junit.xml"));
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.output, passed(QStringLiteral("ok     "), 1));
    QVERIFY2(run.errors.startsWith(QLatin1String("configscript: plant/project.json")),
             qPrintable(run.errors));
}

void TestCommandTest::stopsScriptsThatDoNotEnd()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) { while (true) { } }\nfunction onOk(api) {}\n");
    folder.write(QStringLiteral("plant/tests/a.test.json"), oneStep("{ \"event\": \"onOpen\" }"));
    folder.write(s_test, oneStep("{ \"event\": \"onOk\" }"));
    COMPARE_RUN(runTests(folder, QStringLiteral("--timeout 1")), 1,
                QStringLiteral("FAILED   tests/a.test.json\n"
                               "         tests/a.test.json:4: step 1, onOpen\n"
                               "         --- expected\n"
                               "         +++ found\n"
                               "         @@ -1,3 +1,6 @@\n"
                               "          {\n"
                               "         -  \"result\": true\n"
                               "         +  \"result\": false\n"
                               "         +  \"exceptions\": [\n"
                               "         +    \"scripts/pump.js: stopped: onOpen took longer than "
                               "1 s (--timeout); no API call\"\n"
                               "         +  ]\n"
                               "          }\n"
                               "ok       tests/pump.test.json  1 step, # ms\n"
                               "\n"
                               "2 tests, 1 failed; # ms\n"),
                QString());
}

void TestCommandTest::limitsLongDifferences()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function onOpen(api) {\n"
                 "  for (let i = 0; i < 5000; ++i) {\n"
                 "    api.setError('motor', 'e' + i, 'x'.repeat(3000));\n"
                 "  }\n"
                 "}\n");
    folder.write(s_test, oneStep("{ \"event\": \"onOpen\" }"));
    QElapsedTimer timer;
    timer.start();
    const ProgramRun run = runTests(folder);
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.output.size() < 300 * 1100, qPrintable(QString::number(run.output.size())));
    QVERIFY(run.output.contains(QLatin1String("lines more; --json shows them)")));
    QVERIFY(run.output.contains(QString::fromUtf8("… (30")));
    QVERIFY2(isQuick(timer, 60), qPrintable(QString::number(timer.elapsed())));
}

void TestCommandTest::showsNoControlCharacters()
{
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(s_test,
                 "{ \"description\": \"\\u001b[2J\", \"instance\": \"pump\", \"steps\": [\n"
                 "  { \"event\": \"onOpen\", \"argument\": \"\\u001b\", \"expect\": {\n"
                 "    \"console\": [\"\\u009b2J\"] } }] }\n");
    folder.write(QStringLiteral("plant/tests/b.test.json"),
                 "{ \"steps\": [{ \"event\": \"\\u001b\" }] }\n");
    const ProgramRun run = runTests(folder);
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(!run.output.contains(QChar(0x1b)) && !run.output.contains(QChar(0x9b)),
             qPrintable(run.output));
    QVERIFY2(run.output.contains(QLatin1String("tests/pump.test.json: \\x1b[2J\n")),
             qPrintable(run.output));
}

void TestCommandTest::runsManyTestsQuickly()
{
    const ScratchFolder folder;
    makeProject(folder);
    for (int i = 0; i < 500; ++i) {
        folder.write(QStringLiteral("plant/tests/%1.test.json").arg(i),
                     oneStep("{ \"set\": { \"motor\": { \"power\": " + QByteArray::number(12 + i)
                             + " } }, \"event\": \"onValueChange\",\n"
                               "      \"expect\": { \"writes\": { \"motor\": { \"double\": "
                             + QByteArray::number(2 * (12 + i)) + " } } } }"));
    }
    QElapsedTimer timer;
    timer.start();
    const ProgramRun run = runTests(folder);
    QCOMPARE(run.exitCode, 0);
    QVERIFY(run.output.endsWith(QLatin1String("\n500 tests, 0 failed; # ms\n")));
    QVERIFY2(isQuick(timer, 30), qPrintable(QString::number(timer.elapsed())));
}

void TestCommandTest::recordsASessionThatPasses_data()
{
    QTest::addColumn<QByteArray>("script"); ///< empty for the project's own
    QTest::addColumn<QString>("events");
    QTest::addColumn<int>("exitCode"); ///< of the session
    const auto add = [](const char *name, const char *script, const char *events, int exitCode) {
        QTest::newRow(name) << QByteArray(script) << QString::fromLatin1(events) << exitCode;
    };
    add("edits", "", "--set motor:power=15 --set motor:power=16 --event onOk", 0);
    add("refused", "", "onOpen --set motor:power=91 --event onOk --event onOk", 1);
    add("edit of the root", "", "--set title=a\"b --event onOpen", 0);
    add("function that is missing", "", "onSave", 1);
    add("exception",
        "function onOpen(api) { api.setProperty('', 'a', 1); throw new Error('x\\ny'); }", "onOpen",
        1);
    add("script that does not compile", "function onOpen(", "onOpen", 1);
    add("exception of the evaluation", "var a = b;\nfunction onOpen(api) {}",
        "onOpen --event onOpen", 1);
    add("external writes",
        "function onOk(api) {\n"
        "  const load = api.getPropertyExtern('config://pumps/plant/feeder', 'load');\n"
        "  api.setPropertyExtern('config://pumps/plant/feeder', 'load', load + 1);\n"
        "  api.setPropertyExtern('process://pumps/plant/pump', 'max', load);\n"
        "}",
        "onOk --event onOk --reach project", 0);
    add("two trees of one file",
        "function onOk(api) {\n"
        "  api.setProperty('motor', 'power', 1);\n"
        "  api.setPropertyExtern('config://pumps/plant/pump#motor', 'power', 2);\n"
        "}",
        "onOk --reach project", 1);
    add("missing property", "function onOpen(api) { api.getProperty('motor', 'none'); }", "onOpen",
        0);
    add("write before a read",
        "function onOpen(api) {\n"
        "  api.setProperty('motor', 'power', 1); api.getProperty('motor', 'power');\n"
        "}",
        "onOpen --event onOpen", 0);
    add("values without JSON form",
        "function onOpen(api) {\n"
        "  api.setProperty('motor', 'power', NaN); api.setProperty('motor', 'power', undefined);\n"
        "  api.setProperty('motor', 'power', new Date(0)); api.setProperty('motor', 'f', () => "
        "1);\n"
        "  for (const value of [NaN, -Infinity, Infinity, undefined, null, new Date(0), () => 1,\n"
        "                       { a: NaN, b: [Infinity] }, Symbol(), /x/]) {\n"
        "    api.setError('motor', 'e', value);\n"
        "  }\n"
        "}",
        "onOpen", 0);
    add("warnings with paths",
        "function onOpen(api) {\n"
        "  api.getPropertyExtern('config://pumps/plant/none', 'a');\n"
        "  console.log(api.getHostTypeName());\n"
        "}",
        "onOpen --reach project", 0);
    add("absolute URLs that lead nowhere",
        "function onOpen(api) {\n"
        "  api.setProperty('', 'seen', api.getPropertyExtern('config://pumps/plant/feeder', "
        "'load') !== undefined);\n"
        "}",
        "onOpen", 0);
    add("argument", "function onValueChange(api, url) { api.setError(url, url); }",
        "onValueChange a\"\\b", 0);
}

void TestCommandTest::recordsASessionThatPasses()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, events);
    QFETCH(const int, exitCode);
    const ScratchFolder folder;
    makeProject(folder);
    if (!script.isEmpty()) {
        folder.write(QStringLiteral("plant/scripts/pump.js"), script);
    }
    const Files before = folder.files();
    const Program program(folder.path());
    const ProgramRun run = program.run(
        words(QStringLiteral("run plant pump --record plant/tests/pump.test.json ") + events));
    QCOMPARE(run.exitCode, exitCode);
    const Files added = differingFiles(folder.files(), before);
    QCOMPARE(QStringList(added.keys()), QStringList{s_test});
    const ProgramRun replay = runTests(folder);
    QVERIFY2(replay.exitCode == 0,
             qPrintable(replay.output + QString::fromUtf8(added.value(s_test))));

    // It tells when the script does something else.
    folder.write(QStringLiteral("plant/scripts/pump.js"),
                 "function other(api) { api.setProperty('motor', 'other', 5); return true; }\n"
                 "function onOpen(api) { return other(api); }\n"
                 "function onValueChange(api) { return other(api); }\n"
                 "function onSave(api) { return other(api); }\n"
                 "function onOk(api) { return other(api); }\n");
    QCOMPARE(runTests(folder).exitCode, 1);
}

void TestCommandTest::recordsWhatASessionDoes()
{
    const ScratchFolder folder;
    makeProject(folder);
    const Program program(folder.path());
    const ProgramRun plain =
        program.run(words(QStringLiteral("run plant pump onOk --set motor:power=91")));
    const ProgramRun run = program.run(words(QStringLiteral(
        "run plant pump onOk --set motor:power=91 --record plant/tests/pump.test.json")));
    COMPARE_RUN(run, plain.exitCode, plain.output, plain.errors);
    QCOMPARE(
        QString::fromUtf8(folder.files().value(s_test)),
        QStringLiteral("{\n"
                       "  \"instance\": \"pump\",\n"
                       "  \"steps\": [\n"
                       "    {\n"
                       "      \"set\": { \"motor\": { \"power\": 91 } },\n"
                       "      \"event\": \"onValueChange\",\n"
                       "      \"argument\": \"motor\",\n"
                       "      \"expect\": {\n"
                       "        \"writes\": {\n"
                       "          \"motor\": { \"double\": 182 }\n"
                       "        },\n"
                       "        \"reads\": {\n"
                       "          \"motor\": { \"power\": 91 }\n"
                       "        }\n"
                       "      }\n"
                       "    },\n"
                       "    {\n"
                       "      \"event\": \"onOk\",\n"
                       "      \"expect\": {\n"
                       "        \"result\": false,\n"
                       "        \"errors\": [\n"
                       "          { \"url\": \"motor\", \"textId\": \"tooMuch\", \"value\": 90 }\n"
                       "        ],\n"
                       "        \"reads\": {\n"
                       "          \"motor\": { \"power\": 91 }\n"
                       "        }\n"
                       "      }\n"
                       "    }\n"
                       "  ]\n"
                       "}\n"));
    // What was read counts.
    const QString scriptFile = QStringLiteral("plant/scripts/pump.js");
    QByteArray script = folder.files().value(scriptFile);
    script.replace("function onOk(api) {\n",
                   "function onOk(api) {\n  api.getProperty('', 'serial');\n");
    folder.write(scriptFile, script);
    QCOMPARE(runTests(folder).exitCode, 1);
}

void TestCommandTest::recordsNoReadOfAValueThatIsWrittenAgain()
{
    const ScratchFolder folder;
    makeProject(folder);
    Program(folder.path())
        .run(words(QStringLiteral(
            "run plant pump onValueChange motor --record plant/tests/pump.test.json")));
    QCOMPARE(QString::fromUtf8(folder.files().value(s_test)),
             QStringLiteral("{\n"
                            "  \"instance\": \"pump\",\n"
                            "  \"steps\": [\n"
                            "    {\n"
                            "      \"event\": \"onValueChange\",\n"
                            "      \"argument\": \"motor\",\n"
                            "      \"expect\": {\n"
                            "        \"reads\": {\n"
                            "          \"motor\": { \"power\": 11 }\n"
                            "        }\n"
                            "      }\n"
                            "    }\n"
                            "  ]\n"
                            "}\n"));
}

void TestCommandTest::recordsToANewFileAlone_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("message"); ///< a part of it
    QTest::addColumn<int>("exitCode");
    QTest::newRow("file that exists")
        << QStringLiteral("--record plant/tests/there.test.json")
        << QStringLiteral("configscript: plant/tests/there.test.json: exists already, and is left "
                          "as it is\n")
        << 2;
    QTest::newRow("link to nowhere")
        << QStringLiteral("--record plant/tests/link.test.json")
        << QStringLiteral("configscript: plant/tests/link.test.json: exists already, and is left "
                          "as it is\n")
        << 2;
    QTest::newRow("no name of a test")
        << QStringLiteral("--record plant/tests/pump.json")
        << QStringLiteral("configscript: plant/tests/pump.json: expected a file name that ends in "
                          ".test.json\n")
        << 2;
    QTest::newRow("with --write") << QStringLiteral("--write --record a.test.json")
                                  << QStringLiteral("--write excludes --record\n") << 2;
    QTest::newRow("file as a folder") << QStringLiteral("--record plant/project.json/a.test.json")
                                      << QStringLiteral("configscript: plant/project.json") << 1;
}

void TestCommandTest::recordsToANewFileAlone()
{
    QFETCH(const QString, options);
    QFETCH(const QString, message);
    QFETCH(const int, exitCode);
    const ScratchFolder folder;
    makeProject(folder);
    folder.write(QStringLiteral("plant/tests/there.test.json"), "mine");
    const Files before = folder.files();
    folder.link(QStringLiteral("plant/tests/link.test.json"), QStringLiteral("nowhere"));
    const ProgramRun run =
        Program(folder.path()).run(words(QStringLiteral("run plant pump onOk ") + options));
    QCOMPARE(run.exitCode, exitCode);
    QVERIFY2(run.errors.startsWith(message), qPrintable(run.errors));
    folder.remove(QStringLiteral("plant/tests/link.test.json"));
    COMPARE_FILES(folder.files(), before);
}

TEST_CLASS(TestCommandTest)
#include "TestCommandTest.moc"
