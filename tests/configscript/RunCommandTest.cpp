#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QJsonDocument>
#include <QTest>

namespace {

const QString s_treeFile = QStringLiteral("plant/configuration/line1/pump.json");

const QString s_notWritten = QStringLiteral("\nNothing was written; --write saves the changes.\n");
const QString s_notSaved =
    QStringLiteral("\nNothing is saved: an event failed, or onOk reported an error.\n");

/// The project "plant" with the instance "line1/pump", whose user-interface script is @p script.
void makePlant(const ScratchFolder &folder, const QByteArray &script)
{
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\", \"language\": \"de\",\n"
                 "  \"otherFiles\": { \"network\": \"../network\" } }\n");
    folder.write(QStringLiteral("plant/texts/de.json"),
                 "{ \"tooFast\": \"Die Pumpe läuft zu schnell.\" }\n");
    folder.write(QStringLiteral("plant/texts/en.json"),
                 "{ \"tooFast\": \"The pump runs too fast.\" }\n");
    folder.write(s_treeFile,
                 "{\n"
                 "  \"properties\": {\n"
                 "    \"scriptFile\": \"pump.js\",\n"
                 "    \"serial\": \"A-1\",\n"
                 "    \"speed\": 1200\n"
                 "  },\n"
                 "  \"readOnly\": [\"serial\"],\n"
                 "  \"children\": {\n"
                 "    \"motor\": {\n"
                 "      \"properties\": { \"power\": 11.0, \"unit\": \"kW\" },\n"
                 "      \"children\": { \"bearing\": {} }\n"
                 "    }\n"
                 "  }\n"
                 "}\n");
    folder.write(QStringLiteral("plant/scripts/pump.js"), script);
}

/// Another project, whose object "plant" knows as "network".
void makeNetwork(const ScratchFolder &folder)
{
    folder.write(QStringLiteral("network/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"network\" }\n");
    folder.write(QStringLiteral("network/configuration/bus1.json"),
                 "{ \"properties\": { \"rate\": 19200, \"nodes\": [1, 2] } }\n");
}

QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// Runs events of "line1/pump" of the project in the folder.
ProgramRun runPump(const ScratchFolder &folder, const QStringList &arguments)
{
    return Program(folder.path()).run(words(QStringLiteral("run plant line1/pump")) + arguments);
}

QString normalizedJson(const QByteArray &text)
{
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    return document.isNull() ? error.errorString() : QString::fromUtf8(document.toJson());
}

} // namespace

class RunCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void firesAnEvent_data();
    void firesAnEvent();
    void firesEventsInOrder();
    void showsWhatScriptsWrite();
    void showsTheConsole();
    void showsReportedErrorsInTheProjectsLanguage();
    void showsWarnings();
    void editsBeforeTheEvents_data();
    void editsBeforeTheEvents();
    void firesOnValueChangeForEachEdit();
    void refusesAnEditBeforeAnythingRuns_data();
    void refusesAnEditBeforeAnythingRuns();
    void refusesWrongEvents_data();
    void refusesWrongEvents();
    void tellsWhereAScriptFailed_data();
    void tellsWhereAScriptFailed();
    void refusesAnInstanceThatCannotRun_data();
    void refusesAnInstanceThatCannotRun();
    void refusesAnUnknownInstance_data();
    void refusesAnUnknownInstance();
    void readsAndWritesOtherInstances();
    void savesOnlyWhenAsked();
    void savesNoValueThatIsAsBefore();
    void savesDespiteErrorsOfOtherEvents();
    void savesNothingWhenAnEventFailed_data();
    void savesNothingWhenAnEventFailed();
    void reportsAFileThatCannotBeWritten();
    void refusesToSaveOneInstanceTwice_data();
    void refusesToSaveOneInstanceTwice();
    void reportsAsJson();
    void tellsInJsonThatNothingIsSaved();
    void runsAnExampleDialog();
    void doesNotDependOnTheLocale();
};

void RunCommandTest::firesAnEvent_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("heading");
    QTest::addColumn<QString>("console");

    const auto add = [](const char *name, const QString &arguments, const QString &heading,
                        const QString &console) {
        QTest::newRow(name) << words(arguments) << heading << console;
    };
    const QString own = QStringLiteral("config://pumps/plant/line1/pump");
    add("onOpen", QStringLiteral("onOpen"), QStringLiteral("onOpen"),
        QStringLiteral("1: onOpen 0"));
    add("onValueChange of a node", QStringLiteral("onValueChange motor/bearing"),
        QStringLiteral("onValueChange motor/bearing"),
        QStringLiteral("3: onValueChange 1 motor/bearing"));
    add("onValueChange of the root", QStringLiteral("onValueChange"),
        QStringLiteral("onValueChange"), QStringLiteral("3: onValueChange 0"));
    add("onOk", QStringLiteral("onOk"), QStringLiteral("onOk"), QStringLiteral("4: onOk 0"));
    add("onSave", QStringLiteral("onSave"), QStringLiteral("onSave ") + own,
        QStringLiteral("6: onSave 1 ") + own);
    add("onSave of another URL", QStringLiteral("onSave config://pumps/plant/line2#motor"),
        QStringLiteral("onSave config://pumps/plant/line2#motor"),
        QStringLiteral("6: onSave 1 config://pumps/plant/line2#motor"));
    add("as an option", QStringLiteral("--event onOpen"), QStringLiteral("onOpen"),
        QStringLiteral("1: onOpen 0"));
    add("as an option with an argument", QStringLiteral("--event=onValueChange=a=b:c"),
        QStringLiteral("onValueChange a=b:c"), QStringLiteral("3: onValueChange 1 a=b:c"));
}

void RunCommandTest::firesAnEvent()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, heading);
    QFETCH(const QString, console);

    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(...args) { console.log(\"onOpen\", args.length - 1); }\n"
              "function onValueChange(...args) {\n"
              "  console.log(\"onValueChange\", args.length - 1, ...args.slice(1)); }\n"
              "function onOk(...args) { console.log(\"onOk\", args.length - 1); }\n"
              "function onSave(...args) {\n"
              "  console.log(\"onSave\", args.length - 1, ...args.slice(1)); }\n");
    const Files before = folder.files();
    COMPARE_RUN(runPump(folder, arguments), 0,
                QStringLiteral("ok       %1  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:%2\n")
                    .arg(heading, console),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::firesEventsInOrder()
{
    const ScratchFolder folder;
    makePlant(folder,
              "let calls = 0;\n"
              "function onOpen() { console.log(++calls); }\n"
              "function onValueChange() { console.log(++calls); }\n"
              "function onOk() { console.log(++calls); }\n");
    COMPARE_RUN(runPump(folder,
                        words(QStringLiteral("onOpen --event onValueChange=motor "
                                             "--event onValueChange --event onOk --event onOpen "
                                             "--set speed=1300"))),
                0,
                QStringLiteral("ok       onValueChange  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:3: 1\n"
                               "ok       onOpen  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:2: 2\n"
                               "ok       onValueChange motor  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:3: 3\n"
                               "ok       onValueChange  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:3: 4\n"
                               "ok       onOk  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:4: 5\n"
                               "ok       onOpen  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:2: 6\n"
                               "\n"
                               "would change configuration/line1/pump.json\n"
                               "  speed  1200 -> 1300\n")
                    + s_notWritten,
                QString());
}

void RunCommandTest::showsWhatScriptsWrite()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(api) {\n"
              "  api.setProperty(\"\", \"speed\", 1500);\n"
              "  api.setProperty(\"motor\", \"power\", 11);\n"
              "  api.setProperty(\"motor\", \"power\", 12.5);\n"
              "  api.setProperty(\"motor\", \"power\", 13);\n"
              "  api.setProperty(\"motor/bearing\", \"limits\", { max: [90, \"heiß\"] });\n"
              "}\n"
              "function onOk(api) {\n"
              "  api.setProperty(\"\", \"speed\", 1200);\n"
              "  api.setProperty(\"motor\", \"unit\", null);\n"
              "}\n");
    const Files before = folder.files();
    // The values are those that were there before; the tree shows what remains of them.
    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOpen --event onOk"))), 0,
                QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                               "         speed                 1200 -> 1500\n"
                               "         motor:power           11 -> 12.5\n"
                               "         motor:power           12.5 -> 13\n"
                               "         motor/bearing:limits  new { \"max\": [90, \"heiß\"] }\n"
                               "ok       onOk  scripts/pump.js  # ms\n"
                               "         speed       1500 -> 1200\n"
                               "         motor:unit  \"kW\" -> null\n"
                               "\n"
                               "would change configuration/line1/pump.json\n"
                               "  motor:power           11 -> 13\n"
                               "  motor/bearing:limits  new { \"max\": [90, \"heiß\"] }\n"
                               "  motor:unit            \"kW\" -> null\n")
                    + s_notWritten,
                QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::showsTheConsole()
{
    const ScratchFolder folder;
    makePlant(folder,
              "console.log(\"loaded\");\n"
              "function onOpen() {\n"
              "  console.debug(\"debug\");\n"
              "  console.info(\"info\", 1, [2, 3]);\n"
              "  console.warn(\"Vorsicht, heiß\");\n"
              "\n"
              "  helper();\n"
              "}\n"
              "function helper() { console.error(\"two\\nlines\"); }\n");
    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOpen --event onOpen"))), 0,
                QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:1: loaded\n"
                               "         scripts/pump.js:3: debug\n"
                               "         scripts/pump.js:4: info 1 [2,3]\n"
                               "         scripts/pump.js:5: warn: Vorsicht, heiß\n"
                               "         scripts/pump.js:9: error: two\n"
                               "           lines\n"
                               "ok       onOpen  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:3: debug\n"
                               "         scripts/pump.js:4: info 1 [2,3]\n"
                               "         scripts/pump.js:5: warn: Vorsicht, heiß\n"
                               "         scripts/pump.js:9: error: two\n"
                               "           lines\n"),
                QString());
}

void RunCommandTest::showsReportedErrorsInTheProjectsLanguage()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onValueChange(api) {\n"
              "  api.setError(\"motor\", \"tooFast\");\n"
              "  api.setError(\"\", \"tooFast\", 3000);\n"
              "  api.setError(\"no/such/node\", \"unknown\", { max: 3000 });\n"
              "}\n"
              "function onOpen() {}\n");
    // Each event has errors of its own.
    COMPARE_RUN(
        runPump(folder, words(QStringLiteral("onValueChange --event onOpen"))), 0,
        QStringLiteral("ok       onValueChange  scripts/pump.js  # ms\n"
                       "         reported: motor: Die Pumpe läuft zu schnell. [tooFast]\n"
                       "         reported: Die Pumpe läuft zu schnell. [tooFast] value 3000\n"
                       "         reported: no/such/node: [unknown] value { \"max\": 3000 }\n"
                       "ok       onOpen  scripts/pump.js  # ms\n"),
        QString());
}

void RunCommandTest::showsWarnings()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(api) {\n"
              "  api.setProperty(\"\", \"serial\", \"B-2\");\n"
              "  api.getProperty(\"pipe\", \"length\");\n"
              "  api.getProperty(\"pipe\", \"length\");\n"
              "}\n"
              "function onOk() {}\n");
    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOpen --event onOk"))), 0,
                QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                               "         scripts/pump.js: warning: Can not set value: "
                               "QVariant(QString, \"B-2\") to: \"\" \"serial\"\n"
                               "         scripts/pump.js: warning: Leaf for url \"pipe\" is null. "
                               "(2 times)\n"
                               "ok       onOk  scripts/pump.js  # ms\n"),
                QString());
}

void RunCommandTest::editsBeforeTheEvents_data()
{
    QTest::addColumn<QString>("edit");
    QTest::addColumn<QString>("node");
    QTest::addColumn<QString>("seen"); // by the script: speed, power, unit, temperature
    QTest::addColumn<QString>("change");

    const auto addOfMotor = [](const char *name, const char *unit, const char *seen,
                               const char *change) {
        QTest::newRow(name) << QStringLiteral("motor:unit=") + QString::fromUtf8(unit)
                            << QStringLiteral(" motor")
                            << QStringLiteral("[null,11,%1,null]").arg(QString::fromUtf8(seen))
                            << QStringLiteral("motor:unit  \"kW\" -> ") + QString::fromUtf8(change);
    };
    addOfMotor("number", "12.5", "12.5", "12.5");
    addOfMotor("text", "PS", "\"PS\"", "\"PS\"");
    addOfMotor("text with blanks, colon and equals sign", "a: b=c", "\"a: b=c\"", "\"a: b=c\"");
    addOfMotor("text that is nearly JSON", "{ a: 1 }", "\"{ a: 1 }\"", "\"{ a: 1 }\"");
    addOfMotor("text in quotes", "\"12\"", "\"12\"", "\"12\"");
    addOfMotor("empty text", "", "\"\"", "\"\"");
    addOfMotor("null", "null", "null", "null");
    addOfMotor("boolean", "true", "true", "true");
    addOfMotor("object", "{ \"de\": [1] }", "{\"de\":[1]}", "{ \"de\": [1] }");
    QTest::newRow("added key") << QStringLiteral("motor/bearing:temperature=80")
                               << QStringLiteral(" motor/bearing")
                               << QStringLiteral("[null,null,null,80]")
                               << QStringLiteral("motor/bearing:temperature  new 80");
    QTest::newRow("root") << QStringLiteral(":speed=1300") << QString()
                          << QStringLiteral("[1300,null,null,null]")
                          << QStringLiteral("speed  1200 -> 1300");
    QTest::newRow("root without a colon")
        << QStringLiteral("speed=1300") << QString() << QStringLiteral("[1300,null,null,null]")
        << QStringLiteral("speed  1200 -> 1300");
    QTest::newRow("value as before") << QStringLiteral("motor:power=11") << QStringLiteral(" motor")
                                     << QStringLiteral("[null,11,\"kW\",null]") << QString();
}

void RunCommandTest::editsBeforeTheEvents()
{
    QFETCH(const QString, edit);
    QFETCH(const QString, node);
    QFETCH(const QString, seen);
    QFETCH(const QString, change);

    const ScratchFolder folder;
    makePlant(folder,
              "function onValueChange(api, url = \"\") {\n"
              "  console.log(JSON.stringify([\"speed\", \"power\", \"unit\", \"temperature\"]\n"
              "    .map((key) => api.getProperty(url, key))));\n"
              "}\n");
    const Files before = folder.files();
    const QString trees = change.isEmpty()
        ? QString()
        : QStringLiteral("\nwould change configuration/line1/pump.json\n  %1\n").arg(change)
            + s_notWritten;
    COMPARE_RUN(runPump(folder, {QStringLiteral("--set"), edit}), 0,
                QStringLiteral("ok       onValueChange%1  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:2: %2\n")
                        .arg(node, seen)
                    + trees,
                QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::firesOnValueChangeForEachEdit()
{
    const ScratchFolder folder;
    makePlant(
        folder,
        "function onValueChange(api) {\n"
        "  console.log(api.getProperty(\"\", \"speed\"), api.getProperty(\"motor\", \"power\"));\n"
        "}\n");
    COMPARE_RUN(runPump(folder,
                        words(QStringLiteral("--set speed=1300 --set motor:power=12 "
                                             "--set=speed=1400"))),
                0,
                QStringLiteral("ok       onValueChange  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:2: 1300 11\n"
                               "ok       onValueChange motor  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:2: 1300 12\n"
                               "ok       onValueChange  scripts/pump.js  # ms\n"
                               "         scripts/pump.js:2: 1400 12\n"
                               "\n"
                               "would change configuration/line1/pump.json\n"
                               "  speed        1200 -> 1400\n"
                               "  motor:power  11 -> 12\n")
                    + s_notWritten,
                QString());
}

void RunCommandTest::refusesAnEditBeforeAnythingRuns_data()
{
    QTest::addColumn<QString>("edit");
    QTest::addColumn<QString>("message");

    const auto add = [](const char *name, const char *edit, const QString &message) {
        QTest::newRow(name) << QString::fromUtf8(edit) << message;
    };
    const auto malformed = [](const char *found) {
        return QStringLiteral("run: expected --set URL:KEY=VALUE, found \"%1\"")
            .arg(QString::fromUtf8(found));
    };
    add("no value", "motor:power", malformed("motor:power"));
    add("no key", "motor:=1", malformed("motor:=1"));
    add("nothing but a value", "=1", malformed("=1"));
    add("empty", "", malformed(""));
    add("unknown node", "pipe/end:length=1",
        QStringLiteral("cannot set \"length\": no node \"pipe/end\" in line1/pump"));
    add("read-only property", "serial=B-2",
        QStringLiteral("<folder>/plant/configuration/line1/pump.json:4:15: \"serial\" is "
                       "read-only"));
}

void RunCommandTest::refusesAnEditBeforeAnythingRuns()
{
    QFETCH(const QString, edit);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    makePlant(folder, "console.log(\"loaded\");\nfunction onValueChange() {}\n");
    const Files before = folder.files();
    COMPARE_RUN(runPump(folder,
                        {QStringLiteral("--set"), QStringLiteral("speed=1"),
                         QStringLiteral("--set"), edit, QStringLiteral("--write")}),
                2, QString(), QStringLiteral("configscript: %1\n").arg(message));
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::refusesWrongEvents_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("message");

    const auto unknown = [](const QString &found) {
        return QStringLiteral("configscript: run: expected one of the events onOpen, "
                              "onValueChange, onOk, onSave, found \"%1\"\n")
            .arg(found);
    };
    QTest::newRow("none") << QString()
                          << QStringLiteral("configscript: run: expected an event or --set; see "
                                            "configscript run --help\n");
    QTest::newRow("unknown") << QStringLiteral("onClose") << unknown(QStringLiteral("onClose"));
    QTest::newRow("other case") << QStringLiteral("onopen") << unknown(QStringLiteral("onopen"));
    QTest::newRow("unknown behind a right one")
        << QStringLiteral("onOpen --event onClose=motor") << unknown(QStringLiteral("onClose"));
    QTest::newRow("argument alone") << QStringLiteral("--event =motor") << unknown(QString());
    QTest::newRow("an argument too many")
        << QStringLiteral("onValueChange motor pipe")
        << QStringLiteral("The following argument was not expected: pipe\n"
                          "Run with --help or --help-all for more information.\n");
}

void RunCommandTest::refusesWrongEvents()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    makePlant(folder, "console.log(\"loaded\");\nfunction onOpen() {}\n");
    COMPARE_RUN(runPump(folder, words(arguments)), 2, QString(), message);
}

void RunCommandTest::tellsWhereAScriptFailed_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("details");

    const auto add = [](const char *name, const char *script, const QString &details) {
        QTest::newRow(name) << QByteArray(script) << details;
    };
    const QString notEvaluated =
        QStringLiteral("\n         scripts/pump.js: warning: The script is not evaluated.");
    const QString noFunction =
        QStringLiteral("scripts/pump.js: warning: Property is no function: \"onOpen\"");
    add("exception",
        "function onOpen(api) {\n"
        "\n"
        "  api.getProperty(\"\", \"motor\").power = 1;\n"
        "}\n",
        QStringLiteral("scripts/pump.js:3: TypeError: Value is undefined and could not be "
                       "converted to an object"));
    add("exception in another function",
        "function onOpen() { check(); }\n"
        "function check() {\n"
        "  throw new RangeError(\"zu groß\");\n"
        "}\n",
        QStringLiteral("scripts/pump.js:3: RangeError: zu groß"));
    add("operation of the API misused", "function onOpen(api) { api.setProperty(\"\"); }\n",
        QStringLiteral("scripts/pump.js:1: Error: Insufficient arguments"));
    add("result false", "function onOpen() { return false; }\n",
        QStringLiteral("onOpen returned false"));
    add("missing function", "function onOk() {}\n", noFunction);
    add("hidden function", "const onOpen = () => {};\n", noFunction);
    add("no function", "var onOpen = 5;\n", noFunction);
    add("syntax error", "function onOpen() {\n  const x = ;\n}\n",
        QStringLiteral("scripts/pump.js:2: SyntaxError: Expected token `numeric literal'")
            + notEvaluated);
    add("exception while the text is evaluated",
        "function onOpen() {}\nthrow new Error(\"not now\");\n",
        QStringLiteral("scripts/pump.js:2: Error: not now") + notEvaluated);
}

void RunCommandTest::tellsWhereAScriptFailed()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, details);

    const ScratchFolder folder;
    makePlant(folder, script);
    const Files before = folder.files();
    COMPARE_RUN(runPump(folder, {QStringLiteral("onOpen")}), 1,
                QStringLiteral("FAILED   onOpen  scripts/pump.js  # ms\n"
                               "         %1\n")
                        .arg(details)
                    + s_notSaved,
                QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::refusesAnInstanceThatCannotRun_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content"); // null removes the file
    QTest::addColumn<QString>("message");

    const QString tree = s_treeFile;
    const QString script = QStringLiteral("plant/scripts/pump.js");
    const QString treePath = QStringLiteral("<folder>/plant/configuration/line1/pump.json");
    const QString scriptExpected = QStringLiteral(": expected the property \"scriptFile\", the "
                                                  "name of a user-interface script");
    QTest::newRow("no scriptFile")
        << tree << QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\" } }")
        << treePath + QStringLiteral(":1:1") + scriptExpected;
    QTest::newRow("empty scriptFile")
        << tree << QByteArray("{ \"properties\": {\n  \"scriptFile\": \"\" } }")
        << treePath + QStringLiteral(":2:17") + scriptExpected;
    QTest::newRow("scriptFile leads out")
        << tree << QByteArray("{ \"properties\": { \"scriptFile\": \"../../pump.js\" } }")
        << treePath + QStringLiteral(":1:33: \"../../pump.js\" leads out of the scripts' folder");
    QTest::newRow("scriptFile is absolute")
        << tree << QByteArray("{ \"properties\": { \"scriptFile\": \"/pump.js\" } }")
        << treePath + QStringLiteral(":1:33: \"/pump.js\" leads out of the scripts' folder");
    QTest::newRow("scriptFile is a folder")
        << tree << QByteArray("{ \"properties\": { \"scriptFile\": \".\" } }")
        << QStringLiteral("<folder>/plant/scripts/.: cannot be read: it is no file");
    QTest::newRow("malformed tree")
        << tree << QByteArray("{ \"properties\": {\n  \"scriptFile\": \"pump.js\", } }")
        << treePath + QStringLiteral(":2:28: expected a member's name in double quotes, found '}'");
    QTest::newRow("no tree") << tree << QByteArray()
                             << QStringLiteral("no instance \"line1/pump\"; configscript list "
                                               "shows all");
    QTest::newRow("no script") << script << QByteArray()
                               << QStringLiteral("<folder>/plant/scripts/pump.js: no such file");
    QTest::newRow("empty script") << script << QByteArray("")
                                  << QStringLiteral(
                                         "<folder>/plant/scripts/pump.js: the file is empty");
    QTest::newRow("malformed texts") << QStringLiteral("plant/texts/de.json") << QByteArray("[]")
                                     << QStringLiteral("<folder>/plant/texts/de.json:1:1: expected "
                                                       "an object, found an array");
    QTest::newRow("no project") << QStringLiteral("plant/project.json") << QByteArray()
                                << QStringLiteral("<folder>/plant: no project: expected a file "
                                                  "project.json in it");
}

void RunCommandTest::refusesAnInstanceThatCannotRun()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    makePlant(folder, "function onOpen() {}\n");
    folder.write(QStringLiteral("pump.js"), "function onOpen() {}\n");
    if (content.isNull()) {
        folder.remove(file);
    } else {
        folder.write(file, content);
    }
    COMPARE_RUN(runPump(folder, {QStringLiteral("onOpen")}), 2, QString(),
                QStringLiteral("configscript: %1\n").arg(message));
}

void RunCommandTest::refusesAnUnknownInstance_data()
{
    QTest::addColumn<QString>("instance");

    QTest::newRow("unknown") << QStringLiteral("line2/pump");
    QTest::newRow("folder") << QStringLiteral("line1");
    QTest::newRow("empty") << QString();
    QTest::newRow("outside") << QStringLiteral("../plant/configuration/line1/pump");
    QTest::newRow("file name") << QStringLiteral("line1/pump.json");
    QTest::newRow("link out of the project") << QStringLiteral("link");
}

void RunCommandTest::refusesAnUnknownInstance()
{
    QFETCH(const QString, instance);

    const ScratchFolder folder;
    makePlant(folder, "function onOpen() {}\n");
    folder.write(QStringLiteral("outside.json"),
                 "{ \"properties\": { \"scriptFile\": \"pump.js\" } }");
    folder.link(QStringLiteral("plant/configuration/link.json"),
                folder.path(QStringLiteral("outside.json")));
    COMPARE_RUN(Program(folder.path())
                    .run({QStringLiteral("run"), QStringLiteral("plant"), instance,
                          QStringLiteral("onOpen")}),
                2, QString(),
                QStringLiteral("configscript: no instance \"%1\"; configscript list shows all\n")
                    .arg(instance));
}

void RunCommandTest::readsAndWritesOtherInstances()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(api) {\n"
              "  const bus = \"config://pumps/network/bus1\";\n"
              "  const nodes = api.getPropertyExtern(bus, \"nodes\");\n"
              "  api.setPropertyExtern(bus, \"nodes\", nodes.concat(3));\n"
              "  api.setPropertyExtern(\"process://pumps/plant/line1/pump#state\", \"on\", true);\n"
              "  api.setPropertyExtern(\"config://pumps/cabinet/fuse\", \"rating\", 16);\n"
              "}\n");
    makeNetwork(folder);
    folder.write(QStringLiteral("plant/providers.json"), "{ \"power\": [\"cabinet\"] }\n");
    folder.write(QStringLiteral("plant/configuration/fuse.json"),
                 "{ \"properties\": { \"rating\": 10 } }\n");
    folder.write(QStringLiteral("plant/process/line1/pump.json"),
                 "{ \"children\": { \"state\": { \"properties\": { \"on\": false } } } }\n");
    const QString events =
        QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                       "         ../network/configuration/bus1.json#:nodes[2]  new 3\n"
                       "         process/line1/pump.json#state:on              false -> true\n"
                       "         configuration/fuse.json#:rating               10 -> 16\n");
    const QString trees = QStringLiteral("\n"
                                         "%1 ../network/configuration/bus1.json\n"
                                         "  nodes[2]  new 3\n"
                                         "\n"
                                         "%1 process/line1/pump.json\n"
                                         "  state:on  false -> true\n"
                                         "\n"
                                         "%1 configuration/fuse.json\n"
                                         "  rating  10 -> 16\n");
    const Files before = folder.files();
    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOpen --reach project"))), 0,
                events + trees.arg(QStringLiteral("would change")) + s_notWritten, QString());
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOpen --reach project --write"))), 0,
                events + trees.arg(QStringLiteral("changed")), QString());
    const Files expected{
        {QStringLiteral("network/configuration/bus1.json"),
         "{ \"properties\": { \"rate\": 19200, \"nodes\": [1, 2, 3] } }\n"},
        {QStringLiteral("plant/configuration/fuse.json"),
         "{ \"properties\": { \"rating\": 16 } }\n"},
        {QStringLiteral("plant/process/line1/pump.json"),
         "{ \"children\": { \"state\": { \"properties\": { \"on\": true } } } }\n"}};
    COMPARE_FILES(differingFiles(folder.files(), before), expected);
}

void RunCommandTest::savesOnlyWhenAsked()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onValueChange(api) {\n"
              "  api.setProperty(\"motor\", \"load\", api.getProperty(\"\", \"speed\") / 30);\n"
              "}\n");
    const Files before = folder.files();
    const QString report = QStringLiteral("ok       onValueChange  scripts/pump.js  # ms\n"
                                          "         motor:load  new 50\n"
                                          "\n"
                                          "%1 configuration/line1/pump.json\n"
                                          "  speed       1200 -> 1500\n"
                                          "  motor:load  new 50\n");
    const QStringList edit = words(QStringLiteral("--set speed=1500"));
    COMPARE_RUN(runPump(folder, edit), 0, report.arg(QStringLiteral("would change")) + s_notWritten,
                QString());
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(runPump(folder, edit + QStringList(QStringLiteral("--write"))), 0,
                report.arg(QStringLiteral("changed")), QString());
    Files expected{{s_treeFile, before.value(s_treeFile)}};
    expected[s_treeFile]
        .replace("\"speed\": 1200", "\"speed\": 1500")
        .replace("\"unit\": \"kW\" }", "\"unit\": \"kW\", \"load\": 50 }");
    COMPARE_FILES(differingFiles(folder.files(), before), expected);
}

void RunCommandTest::savesNoValueThatIsAsBefore()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(api) {\n"
              "  api.setProperty(\"\", \"speed\", 1500);\n"
              "  api.setProperty(\"\", \"speed\", 1200);\n"
              "  api.setProperty(\"motor\", \"power\", 11);\n"
              "}\n");
    const Files before = folder.files();
    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOpen --write"))), 0,
                QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                               "         speed  1200 -> 1500\n"
                               "         speed  1500 -> 1200\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::savesDespiteErrorsOfOtherEvents()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onValueChange(api) { api.setError(\"\", \"tooFast\"); }\n"
              "function onOk() { return true; }\n");
    COMPARE_RUN(runPump(folder, words(QStringLiteral("onOk --set speed=1500 --write"))), 0,
                QStringLiteral("ok       onValueChange  scripts/pump.js  # ms\n"
                               "         reported: Die Pumpe läuft zu schnell. [tooFast]\n"
                               "ok       onOk  scripts/pump.js  # ms\n"
                               "\n"
                               "changed configuration/line1/pump.json\n"
                               "  speed  1200 -> 1500\n"),
                QString());
    QVERIFY(folder.files().value(s_treeFile).contains("\"speed\": 1500\n"));
}

void RunCommandTest::savesNothingWhenAnEventFailed_data()
{
    QTest::addColumn<QByteArray>("onOk");
    QTest::addColumn<QString>("report");

    const auto add = [](const char *name, const char *onOk, const QString &report) {
        QTest::newRow(name) << QByteArray(onOk) << report;
    };
    add("exception", "function onOk() { throw new Error(\"no\"); }",
        QStringLiteral("FAILED   onOk  scripts/pump.js  # ms\n"
                       "         scripts/pump.js:1: Error: no\n"));
    add("result false", "function onOk() { return false; }",
        QStringLiteral("FAILED   onOk  scripts/pump.js  # ms\n"
                       "         onOk returned false\n"));
    add("no function", "",
        QStringLiteral("FAILED   onOk  scripts/pump.js  # ms\n"
                       "         scripts/pump.js: warning: Property is no function: \"onOk\"\n"));
    add("onOk reported an error", "function onOk(api) { api.setError(\"\", \"tooFast\"); }",
        QStringLiteral("ok       onOk  scripts/pump.js  # ms\n"
                       "         reported: Die Pumpe läuft zu schnell. [tooFast]\n"));
}

void RunCommandTest::savesNothingWhenAnEventFailed()
{
    QFETCH(const QByteArray, onOk);
    QFETCH(const QString, report);

    const ScratchFolder folder;
    makePlant(folder,
              onOk
                  + "\nfunction onOpen(api) {\n"
                    "  api.setProperty(\"\", \"speed\", 1500);\n"
                    "  api.setPropertyExtern(\"config://pumps/network/bus1\", \"rate\", 9600);\n"
                    "}\n");
    makeNetwork(folder);
    const Files before = folder.files();
    const QString events =
        QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                       "         speed                                     1200 -> 1500\n"
                       "         ../network/configuration/bus1.json#:rate  19200 -> 9600\n");
    COMPARE_RUN(
        runPump(
            folder,
            words(QStringLiteral("onOpen --event onOk --event onOpen --reach project --write"))),
        1,
        events + report + QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n") + s_notSaved,
        QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::reportsAFileThatCannotBeWritten()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(api) {\n"
              "  api.setProperty(\"\", \"speed\", 1500);\n"
              "  api.setPropertyExtern(\"config://pumps/network/bus1\", \"rate\", 9600);\n"
              "}\n");
    makeNetwork(folder);
    const Files before = folder.files();
    const Permissions permissions(folder.path(QStringLiteral("plant/configuration/line1")),
                                  QFile::ReadOwner | QFile::ExeOwner);
    Program program(folder.path());
    program.runWithoutPrivilege();
    const ProgramRun run =
        program.run(words(QStringLiteral("run plant line1/pump onOpen --reach project --write")));
    COMPARE_RUN(run, 1,
                QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                               "         speed                                     1200 -> 1500\n"
                               "         ../network/configuration/bus1.json#:rate  19200 -> 9600\n"
                               "\n"
                               "NOT WRITTEN configuration/line1/pump.json\n"
                               "  <folder>/plant/configuration/line1/pump.json: cannot be written: "
                               "Permission denied\n"
                               "  speed  1200 -> 1500\n"
                               "\n"
                               "NOT WRITTEN ../network/configuration/bus1.json\n"
                               "  <folder>/plant/configuration/line1/pump.json: cannot be written: "
                               "Permission denied\n"
                               "  rate  19200 -> 9600\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::refusesToSaveOneInstanceTwice_data()
{
    QTest::addColumn<QString>("options");

    QTest::newRow("without writing") << QStringLiteral("onOpen");
    QTest::newRow("writing") << QStringLiteral("onOpen --write");
}

void RunCommandTest::refusesToSaveOneInstanceTwice()
{
    QFETCH(const QString, options);

    // What is written by absolute URL is another copy of the tree; saving both would lose one.
    const ScratchFolder folder;
    makePlant(folder,
              "function onOpen(api) {\n"
              "  api.setProperty(\"motor\", \"power\", 12);\n"
              "  api.setPropertyExtern(\"config://pumps/plant/line1/pump\", \"speed\", 1500);\n"
              "}\n");
    const Files before = folder.files();
    const ProgramRun run = runPump(folder, words(options + QStringLiteral(" --reach project")));
    QCOMPARE(run.errors,
             QStringLiteral("configscript: nothing is saved: the script wrote its own instance by "
                            "relative URL and, as another tree, by the absolute URL "
                            "config://pumps/plant/line1/pump\n"));
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(run.output.startsWith(QStringLiteral("ok       onOpen  scripts/pump.js  # ms\n"
                                                  "         motor:power  11 -> 12\n"
                                                  "         speed        1200 -> 1500\n")),
             qPrintable(run.output));
    COMPARE_FILES(folder.files(), before);
}

void RunCommandTest::reportsAsJson()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onValueChange(api, url) {\n"
              "  console.warn(\"geändert\");\n"
              "  api.setProperty(url, \"load\", { share: [0.5, null] });\n"
              "  api.setError(url, \"tooFast\", 3000);\n"
              "  api.getProperty(\"pipe\", \"length\");\n"
              "}\n"
              "function onOpen(api) {\n"
              "  api.setPropertyExtern(\"config://pumps/network/bus1\", \"rate\", 9600);\n"
              "  return true;\n"
              "}\n");
    makeNetwork(folder);
    const QString expected = normalizedJson(R"({
        "project": "<folder>/plant",
        "dryRun": true,
        "succeeded": true,
        "edits": [ { "path": "motor", "key": "power", "new": 12.5 } ],
        "runs": [
            {
                "instance": "line1/pump",
                "script": "scripts/pump.js",
                "function": "onValueChange",
                "argument": "motor",
                "succeeded": true,
                "milliseconds": "#",
                "exceptions": [],
                "errors": [ { "url": "motor", "textId": "tooFast",
                              "text": "Die Pumpe läuft zu schnell.", "value": 3000 } ],
                "console": [ { "level": "warning", "line": 2, "text": "geändert" } ],
                "warnings": [ "Leaf for url \"pipe\" is null." ],
                "writes": [ { "instance": "line1/pump", "kind": "configuration", "path": "motor",
                              "key": "load", "new": { "share": [0.5, null] } } ],
                "unsaved": []
            },
            {
                "instance": "line1/pump",
                "script": "scripts/pump.js",
                "function": "onOpen",
                "argument": "",
                "succeeded": true,
                "milliseconds": "#",
                "exceptions": [],
                "errors": [],
                "console": [],
                "warnings": [],
                "writes": [ { "instance": "bus1", "kind": "configuration", "path": "",
                              "key": "rate", "old": 19200, "new": 9600 } ],
                "unsaved": []
            }
        ],
        "notRun": [],
        "files": [
            {
                "file": "configuration/line1/pump.json",
                "instance": "line1/pump",
                "kind": "configuration",
                "stored": true,
                "changes": [
                    { "path": "motor", "key": "power", "old": 11, "new": 12.5 },
                    { "path": "motor", "key": "load", "new": { "share": [0.5, null] } }
                ]
            },
            {
                "file": "../network/configuration/bus1.json",
                "instance": "bus1",
                "kind": "configuration",
                "stored": true,
                "changes": [ { "path": "", "key": "rate", "old": 19200, "new": 9600 } ]
            }
        ],
        "announced": [],
        "projectWarnings": [],
        "warnings": [],
        "summary": { "scriptsRun": 2, "scriptsFailed": 0, "filesChanged": 2, "valuesChanged": 3,
                     "milliseconds": "#" }
    })");
    const Files before = folder.files();
    COMPARE_RUN(
        runPump(folder,
                words(QStringLiteral("onOpen --set motor:power=12.5 --reach project --json"))),
        0, expected, QString());
    COMPARE_FILES(folder.files(), before);
    COMPARE_RUN(runPump(folder,
                        words(QStringLiteral(
                            "onOpen --set motor:power=12.5 --reach project --json --write"))),
                0,
                QString(expected).replace(QLatin1String("\"dryRun\": true"),
                                          QLatin1String("\"dryRun\": false")),
                QString());
    QCOMPARE(differingFiles(folder.files(), before).keys(),
             (QStringList{QStringLiteral("network/configuration/bus1.json"), s_treeFile}));
}

void RunCommandTest::tellsInJsonThatNothingIsSaved()
{
    const ScratchFolder folder;
    makePlant(folder,
              "function onValueChange() { throw new Error(\"no\"); }\n"
              "function onOk(api) { api.setError(\"\", \"unknown\"); }\n");
    const auto report = [&folder](const QString &arguments, int exitCode) {
        const ProgramRun run = runPump(folder, words(arguments));
        return run.exitCode == exitCode && run.errors.isEmpty()
            ? QJsonDocument::fromJson(run.output.toUtf8()).toVariant().toMap()
            : QVariantMap();
    };
    const QVariantMap failed = report(QStringLiteral("--set speed=1500 --json --write"), 1);
    QCOMPARE(failed.value(QStringLiteral("succeeded")), QVariant(false));
    QCOMPARE(failed.value(QStringLiteral("files")), QVariant(QVariantList()));

    const QVariantMap refused = report(QStringLiteral("onOk --json --write"), 1);
    QCOMPARE(refused.value(QStringLiteral("succeeded")), QVariant(false));
    QCOMPARE(refused.value(QStringLiteral("files")), QVariant(QVariantList()));
}

void RunCommandTest::runsAnExampleDialog()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(
        program.run(words(QStringLiteral("run pump-station line1/pump1 --event onOpen "
                                         "--event onOk --set motor/ratedPower:value=200 --write"))),
        1,
        QStringLiteral("ok       onValueChange motor/ratedPower  scripts/pump.js  # ms\n"
                       "         reported: motor/ratedPower: The value is above the maximum. "
                       "[error.aboveMaximum] value 90\n"
                       "         motor/inputPower:value  12.04 -> 218.82\n"
                       "ok       onOpen  scripts/pump.js  # ms\n"
                       "FAILED   onOk  scripts/pump.js  # ms\n"
                       "         onOk returned false\n"
                       "         reported: motor/ratedPower: The value is above the maximum. "
                       "[error.aboveMaximum] value 90\n")
            + s_notSaved,
        QString());
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(program.run(words(QStringLiteral("run pump-station line1/pump1 onOk "
                                                 "--set motor/ratedPower:value=15 --write"))),
                0,
                QStringLiteral("ok       onValueChange motor/ratedPower  scripts/pump.js  # ms\n"
                               "         motor/inputPower:value  12.04 -> 16.41\n"
                               "ok       onOk  scripts/pump.js  # ms\n"
                               "\n"
                               "changed configuration/line1/pump1.json\n"
                               "  motor/ratedPower:value  11 -> 15\n"
                               "  motor/inputPower:value  12.04 -> 16.41\n"),
                QString());
    const QString tree = QStringLiteral("pump-station/configuration/line1/pump1.json");
    Files expected{{tree, before.value(tree)}};
    expected[tree]
        .replace("\"value\": 11,\n            \"unit\": \"kW\"",
                 "\"value\": 15,\n            \"unit\": \"kW\"")
        .replace("\"value\": 12.04,", "\"value\": 16.41,");
    COMPARE_FILES(differingFiles(folder.files(), before), expected);
}

void RunCommandTest::doesNotDependOnTheLocale()
{
    const ScratchFolder folder;
    const QString project = QStringLiteral("Pumpen Süd");
    const QString instance = QStringLiteral("Straße 1/Kühlung");
    const QString tree = project + QStringLiteral("/configuration/%1.json").arg(instance);
    folder.write(project + QStringLiteral("/project.json"),
                 "{ \"moduleName\": \"pümps\", \"objectName\": \"plänt\", \"language\": \"de\" }");
    folder.write(project + QStringLiteral("/texts/de.json"), "{ \"heiß\": \"Zu heiß: 25 °C\" }");
    folder.write(tree,
                 "{ \"properties\": { \"scriptFile\": \"Kühlung.js\" },\n"
                 "  \"children\": { \"Lüfter 1\": { \"properties\": { \"größe\": 0.5 } } } }\n");
    folder.write(project + QStringLiteral("/scripts/Kühlung.js"),
                 "function onValueChange(api, url) {\n"
                 "  console.log(url, api.getProperty(url, \"größe\"));\n"
                 "  api.setError(url, \"heiß\", \"25 °C\");\n"
                 "}\n"
                 "function onSave(api, url) { console.log(url); }\n");
    Program program(folder.path());
    program.setVariable(QStringLiteral("LANG"), QStringLiteral("C"));
    program.setVariable(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    const ProgramRun run =
        program.run({QStringLiteral("run"), project, instance, QStringLiteral("--set"),
                     QStringLiteral("Lüfter 1:größe=\"0,5 µm\""), QStringLiteral("--event"),
                     QStringLiteral("onSave"), QStringLiteral("--write")});
    const QString url = QStringLiteral("config://pümps/plänt/Straße%201/Kühlung");
    COMPARE_RUN(run, 0,
                QStringLiteral("ok       onValueChange Lüfter 1  scripts/Kühlung.js  # ms\n"
                               "         scripts/Kühlung.js:2: Lüfter 1 0,5 µm\n"
                               "         reported: Lüfter 1: Zu heiß: 25 °C [heiß] value "
                               "\"25 °C\"\n"
                               "ok       onSave ")
                    + url
                    + QStringLiteral("  scripts/Kühlung.js  # ms\n"
                                     "         scripts/Kühlung.js:5: ")
                    + url
                    + QStringLiteral("\n\n"
                                     "changed configuration/Straße 1/Kühlung.json\n"
                                     "  Lüfter 1:größe  0.5 -> \"0,5 µm\"\n"),
                QString());
    QCOMPARE(folder.files().value(tree),
             QByteArray("{ \"properties\": { \"scriptFile\": \"Kühlung.js\" },\n"
                        "  \"children\": { \"Lüfter 1\": { \"properties\": { \"größe\": "
                        "\"0,5 µm\" } } } }\n"));
}

TEST_CLASS(RunCommandTest)
#include "RunCommandTest.moc"
