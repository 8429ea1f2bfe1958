#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QJsonDocument>
#include <QTest>

namespace {

const QStringList s_checkPlant{QStringLiteral("check"), QStringLiteral("plant")};

QString counted(int count, const QString &noun)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(noun,
                                                    count == 1 ? QString() : QStringLiteral("s"));
}

/// What the command says of a project with these findings, each a line.
ProgramRun found(int errors, int warnings, const QStringList &findings = {})
{
    QString output;
    for (const QString &finding : findings) {
        output += finding + QLatin1Char('\n');
    }
    return {errors > 0 ? 1 : 0,
            output + counted(errors, QStringLiteral("error")) + QStringLiteral(", ")
                + counted(warnings, QStringLiteral("warning")) + QLatin1Char('\n'),
            QString()};
}

/// Writes files of "plant"; a null content removes one.
void change(const ScratchFolder &folder, const Files &files)
{
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        if (it.value().isNull()) {
            folder.remove(QStringLiteral("plant/") + it.key());
        } else {
            folder.write(QStringLiteral("plant/") + it.key(), it.value());
        }
    }
}

const QString s_tree = QStringLiteral("configuration/pump.json");
const QString s_script = QStringLiteral("dependency/pump.js");
const QString s_dialog = QStringLiteral("scripts/pump.js");
const QString s_manifest = QStringLiteral("configuration/manifest.json");

} // namespace

/// The project "plant" has no findings, before a test changes it.
class CheckCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void acceptsTheExamples_data();
    void acceptsTheExamples();
    void findsMistakesInTheManifest_data();
    void findsMistakesInTheManifest();
    void findsMistakesInTrees_data();
    void findsMistakesInTrees();
    void findsAScriptThatCannotRun_data();
    void findsAScriptThatCannotRun();
    void findsMissingFunctionsOfADialog_data();
    void findsMissingFunctionsOfADialog();
    void findsUrlsThatLeadNowhere_data();
    void findsUrlsThatLeadNowhere();
    void findsRelativeWritesOfDependencyScriptsOnly();
    void findsMissingTexts();
    void findsMissingUnits();
    void findsMalformedTexts();
    void findsScriptsThatNobodyUses();
    void compilesScriptsThatNobodyUses();
    void saysOfAScriptOnlyOnceWhatIsWrong();
    void findsNothingWrong_data();
    void findsNothingWrong();
    void sortsByFileAndLine();
    void keepsTheScriptsConsoleToItself();
    void reportsAsJson();
    void refusesWhatIsNoProject_data();
    void refusesWhatIsNoProject();
    void reportsATreeThatItMayNotRead();
    void colorsOnATerminal();
    void doesNotDependOnTheLocale();

private:
    void compareFindings(const Files &changes, int errors, int warnings,
                         const QStringList &findings);
};

void CheckCommandTest::compareFindings(const Files &changes, int errors, int warnings,
                                       const QStringList &findings)
{
    const ScratchFolder folder;
    folder.makePlant();
    change(folder, changes);
    const Files before = folder.files();
    COMPARE_FILES(Program(folder.path()).run(s_checkPlant).files(),
                  found(errors, warnings, findings).files());
    COMPARE_FILES(folder.files(), before);
}

void CheckCommandTest::acceptsTheExamples_data()
{
    QTest::addColumn<QString>("project");

    QTest::newRow("pump-station") << QStringLiteral("pump-station");
    QTest::newRow("network") << QStringLiteral("network");
}

void CheckCommandTest::acceptsTheExamples()
{
    QFETCH(const QString, project);

    const ScratchFolder folder;
    folder.copyExamples();
    COMPARE_FILES(Program(folder.path()).run({QStringLiteral("check"), project}).files(),
                  found(0, 0).files());
}

void CheckCommandTest::findsMistakesInTheManifest_data()
{
    QTest::addColumn<QByteArray>("manifest"); // null for none
    QTest::addColumn<QStringList>("findings");
    QTest::addColumn<int>("errors");
    QTest::addColumn<bool>("isPumpListed");

    const auto add = [](const char *name, const QByteArray &manifest, const QString &finding,
                        bool isError, bool isPumpListed) {
        QTest::newRow(name) << manifest
                            << QStringList{QStringLiteral("configuration/manifest.json") + finding}
                            << (isError ? 1 : 0) << isPumpListed;
    };
    const QByteArray pump("{ \"instanceName\": \"pump\" }");
    const auto listing = [&pump](const QByteArray &entry) {
        return "[ { \"dependencyFileExtern\": [\n  " + pump + ",\n  " + entry + "\n] } ]";
    };
    add("no manifest", QByteArray(),
        QStringLiteral(": error: no such file: expected the project's manifest [manifest]"), true,
        false);
    add("malformed", "[\n  {]",
        QStringLiteral(":2: error: expected a member's name in double quotes, or '}', found ']' "
                       "[manifest]"),
        true, false);
    add("no array", "{}",
        QStringLiteral(":1: error: expected an array on top, found an object [manifest]"), true,
        false);
    add("no list", "[\n  {\n    \"dependencyFileExtern\": 5 } ]",
        QStringLiteral(":3: error: expected an array as \"dependencyFileExtern\", found a number "
                       "[manifest]"),
        true, false);
    add("nothing listed", "[ {} ]",
        QStringLiteral(":1: warning: expected an object with the member \"dependencyFileExtern\" "
                       "[manifest-entry]"),
        false, false);
    add("entry without a name", listing("{ \"name\": \"pump\" }"),
        QStringLiteral(":3: error: expected an object with the string \"instanceName\" "
                       "[manifest-entry]"),
        true, true);
    add("entry is a string", listing("\"pump\""),
        QStringLiteral(":3: error: expected an object with the string \"instanceName\" "
                       "[manifest-entry]"),
        true, true);
    add("listed twice", listing(pump),
        QStringLiteral(":3: warning: \"pump\" is listed twice [manifest-entry]"), false, true);
    add("no tree", listing("{ \"instanceName\": \"line1/valve\" }"),
        QStringLiteral(":3: error: \"line1/valve\" is listed, but there is no "
                       "configuration/line1/valve.json [missing-tree]"),
        true, true);
    add("name leads out", listing("{ \"instanceName\": \"../pump\" }"),
        QStringLiteral(":3: error: \"../pump\": the instance name holds the segment \"..\" "
                       "[missing-tree]"),
        true, true);
}

void CheckCommandTest::findsMistakesInTheManifest()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(QStringList, findings);
    QFETCH(const int, errors);
    QFETCH(const bool, isPumpListed);

    if (!isPumpListed) {
        findings.append(QStringLiteral("configuration/pump.json:1: warning: \"pump\" names a "
                                       "dependency script, but the manifest does not list it: the "
                                       "script never runs [not-listed]"));
    }
    compareFindings({{s_manifest, manifest}}, errors, findings.size() - errors, findings);
}

void CheckCommandTest::findsMistakesInTrees_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("tree");
    QTest::addColumn<QStringList>("findings"); // the first one is the error, if there is one
    QTest::addColumn<int>("errors");

    const auto add = [](const char *name, const QString &file, const QByteArray &tree,
                        const QStringList &findings, int errors) {
        QTest::newRow(name) << file << tree << findings << errors;
    };
    const QString place = s_tree + QLatin1Char(':');
    const QString unused =
        QStringLiteral("dependency/pump.js: warning: no tree names this script [unused-script]");
    const QString noScript =
        QStringLiteral("error: the manifest lists \"pump\", but its tree has no property "
                       "\"dependencyFileExtern\" with the name of a script [no-script]");
    add("malformed", s_tree, "{ \"properties\": {\n  \"dependencyFileExtern\": pump.js } }",
        {place + QStringLiteral("2: error: expected a value, found 'p' [malformed-tree]")}, 1);
    add("no tree of this host", s_tree, "{\n  \"properties\": [] }",
        {place
         + QStringLiteral("2: error: expected an object as \"properties\", found an array "
                          "[malformed-tree]")},
        1);
    add("malformed process description", QStringLiteral("process/line1/pump.json"), "[]",
        {QStringLiteral("process/line1/pump.json:1: error: expected a node: an object, found an "
                        "array [malformed-tree]")},
        1);
    add("no script", s_tree, "{ \"properties\": { \"speed\": 1200 } }",
        {place + QStringLiteral("1: ") + noScript, unused}, 1);
    add("empty name of a script", s_tree,
        "{ \"properties\": {\n  \"dependencyFileExtern\": \"\" } }",
        {place + QStringLiteral("2: ") + noScript, unused}, 1);
    add("unknown script", s_tree,
        "{ \"properties\": {\n  \"dependencyFileExtern\": \"valve.js\" } }",
        {place
             + QStringLiteral("2: error: there is no script dependency/valve.js [missing-script]"),
         unused},
        1);
    add("script leads out", s_tree,
        "{ \"properties\": {\n  \"dependencyFileExtern\": \"../scripts/pump.js\" } }",
        {place
             + QStringLiteral("2: error: \"../scripts/pump.js\" leads out of the scripts' folder "
                              "[missing-script]"),
         unused},
        1);
    add("unknown dialog", s_tree,
        "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\",\n"
        "  \"scriptFile\": \"pump.js\" } }",
        {place + QStringLiteral("2: error: there is no script scripts/pump.js [missing-script]")},
        1);
    add("not listed", QStringLiteral("configuration/line1/valve.json"),
        "{ \"properties\": {\n  \"dependencyFileExtern\": \"pump.js\" } }",
        {QStringLiteral("configuration/line1/valve.json:2: warning: \"line1/valve\" names a "
                        "dependency script, but the manifest does not list it: the script never "
                        "runs [not-listed]")},
        0);
}

void CheckCommandTest::findsMistakesInTrees()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, tree);
    QFETCH(const QStringList, findings);
    QFETCH(const int, errors);

    compareFindings({{file, tree}}, errors, findings.size() - errors, findings);
}

void CheckCommandTest::findsAScriptThatCannotRun_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("finding");

    const auto add = [](const char *name, const char *script, const char *finding) {
        QTest::newRow(name) << QByteArray(script) << s_script + QString::fromUtf8(finding);
    };
    const char *invisible = "error: onSave is invisible to the host: declare it with \"function "
                            "onSave\", not with const, let or class [hidden-function]";
    const auto addHidden = [invisible](const char *name, const char *script, int line) {
        QTest::newRow(name)
            << QByteArray(script)
            << QStringLiteral("%1:%2: %3").arg(s_script).arg(line).arg(QLatin1String(invisible));
    };
    add("empty", "", ": error: the script is empty [empty-script]");
    add("syntax error", "function onSave() {\n  const x = ;\n}\n",
        ":2: error: SyntaxError: Expected token `numeric literal' [script-error]");
    add("not closed", "function onSave() {\n\n",
        ":3: error: SyntaxError: Expected token `}' [script-error]");
    add("newer syntax", "\nfunction onSave(api) { return api?.x; }\n",
        ":2: error: SyntaxError: Unexpected token `.' [script-error]");
    add("exception while it is evaluated", "function onSave() {}\n\nhelp();\n",
        ":3: error: ReferenceError: help is not defined [script-error]");
    add("missing function", "function onOpen() {}\nfunction onsave() {}\n",
        ": error: the script has no function onSave [missing-function]");
    add("function in a comment", "// function onSave() {}\n",
        ": error: the script has no function onSave [missing-function]");
    add("function inside another one", "function save() { function onSave() {} }\n",
        ": error: the script has no function onSave [missing-function]");
    add("function inside a block", "{ function onSave() {} }\n",
        ": error: the script has no function onSave [missing-function]");
    add("no function", "var onSave = 5;\n",
        ": error: the script has no function onSave [missing-function]");
    add("hidden value", "const onSave = 5;\n",
        ": error: the script has no function onSave [missing-function]");
    addHidden("hidden by const", "// onSave\nconst onSave = (api, url) => {};\n", 2);
    addHidden("hidden by let", "let onSave = function () {};\n", 1);
    addHidden("hidden by class", "\n\nclass onSave {}\n", 3);
}

void CheckCommandTest::findsAScriptThatCannotRun()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, finding);

    compareFindings({{s_script, script}}, 1, 0, {finding});
}

void CheckCommandTest::findsMissingFunctionsOfADialog_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("findings");
    QTest::addColumn<int>("errors");

    const auto missing = [](const char *function) {
        return QStringLiteral("scripts/pump.js: warning: the script has no function ")
            + QString::fromLatin1(function) + QStringLiteral(" [missing-function]");
    };
    QTest::newRow("none") << QByteArray(
        "var x;\n") << QStringList{missing("onOpen"), missing("onValueChange"), missing("onOk")}
                          << 0;
    QTest::newRow("one") << QByteArray("function onOpen() {}\nfunction onOk() {}\n")
                         << QStringList{missing("onValueChange")} << 0;
    QTest::newRow("hidden") << QByteArray("function onOpen() {}\nfunction onOk() {}\n"
                                          "const onValueChange = () => {};\n")
                            << QStringList{QStringLiteral(
                                   "scripts/pump.js:3: error: onValueChange is invisible to the "
                                   "host: declare it with \"function onValueChange\", not with "
                                   "const, let or class [hidden-function]")}
                            << 1;
    QTest::newRow("empty script")
        << QByteArray("")
        << QStringList{QStringLiteral(
               "scripts/pump.js: warning: the script is empty [empty-script]")}
        << 0;
    QTest::newRow("onSave is hidden, but not needed")
        << QByteArray("function onOpen() {}\nfunction onOk() {}\nfunction onValueChange() {}\n"
                      "const onSave = () => {};\n")
        << QStringList() << 0;
}

void CheckCommandTest::findsMissingFunctionsOfADialog()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QStringList, findings);
    QFETCH(const int, errors);

    compareFindings({{s_tree,
                      "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
                      "\"scriptFile\": \"pump.js\" } }"},
                     {s_dialog, script}},
                    errors, findings.size() - errors, findings);
}

void CheckCommandTest::findsUrlsThatLeadNowhere_data()
{
    QTest::addColumn<QByteArray>("url"); // as the script spells it
    QTest::addColumn<QString>("finding");

    const auto add = [](const char *name, const char *url, const QString &finding) {
        QTest::newRow(name) << QByteArray(url) << finding;
    };
    const auto module = [](const char *name) {
        return QStringLiteral("the URL names the module \"%1\"; scripts reach only \"pumps\" "
                              "[other-module]")
            .arg(QString::fromUtf8(name));
    };
    const auto object = [](const char *name) {
        return QStringLiteral("the URL names the object \"%1\", which project.json and "
                              "providers.json do not know [unknown-object]")
            .arg(QString::fromUtf8(name));
    };
    const auto instance = [](const char *name) {
        return QStringLiteral("the URL names the instance \"%1\", which has no tree there "
                              "[unknown-instance]")
            .arg(QString::fromUtf8(name));
    };
    add("other module", "\"config://pomps/plant/pump\"", module("pomps"));
    add("no module", "'config:///plant/pump#motor'", module(""));
    add("unknown object", "\"config://pumps/plnt/pump\"", object("plnt"));
    add("unknown object, encoded", "\"process://pumps/pl%C3%A4nt/pump\"", object("plänt"));
    add("unknown object, concatenated", "\"config://pumps/plnt/\" + name", object("plnt"));
    add("unknown object in a template", "`config://pumps/plnt/${name}#motor`", object("plnt"));
    add("unknown instance", "\"config://pumps/plant/pomp#motor\"", instance("pomp"));
    add("unknown instance of another object", "\"config://pumps/network/bus2\"", instance("bus2"));
    add("unknown instance of a provider", "\"config://pumps/cabinet/fuse\"", instance("fuse"));
    add("no process description", "\"process://pumps/plant/pump\"", instance("pump"));
    add("instance that leads out", "\"config://pumps/plant/../pump\"", instance("../pump"));
}

void CheckCommandTest::findsUrlsThatLeadNowhere()
{
    QFETCH(const QByteArray, url);
    QFETCH(const QString, finding);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("network/configuration/bus1.json"), "{}");
    change(folder,
           {{QStringLiteral("project.json"),
             "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\",\n"
             "  \"otherFiles\": { \"network\": \"../network\" } }"},
            {QStringLiteral("providers.json"), "{ \"power\": [\"cabinet\"] }"},
            {s_script,
             "function onSave(api, name) {\n"
             "  api.setPropertyExtern(\n    "
                 + url + ", \"speed\", 1);\n}\n"}});
    COMPARE_FILES(
        Program(folder.path()).run(s_checkPlant).files(),
        found(0, 1, {QStringLiteral("dependency/pump.js:3: warning: ") + finding}).files());
}

void CheckCommandTest::findsRelativeWritesOfDependencyScriptsOnly()
{
    const QByteArray write("  api.setProperty(\"\", \"speed\", 1);\n");
    compareFindings(
        {{s_tree,
          "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
          "\"scriptFile\": \"pump.js\" } }"},
         {s_script,
          "function onSave(api) {\n" + write + "}\nfunction help(api) {\n" + write + "}\n"},
         {s_dialog,
          "function onOpen(api) {\n" + write
              + "}\nfunction onValueChange() {}\n"
                "function onOk() {}\n"}},
        0, 2,
        {QStringLiteral("dependency/pump.js:2: warning: setProperty writes by relative URL, which "
                        "nobody saves after onSave: use setPropertyExtern [unsaved-write]"),
         QStringLiteral("dependency/pump.js:5: warning: setProperty writes by relative URL, which "
                        "nobody saves after onSave: use setPropertyExtern [unsaved-write]")});
}

void CheckCommandTest::findsMissingTexts()
{
    // An identifier that was found missing is not searched for again.
    compareFindings(
        {{QStringLiteral("texts/en.json"), "{ \"pump\": \"Pump\", \"hot\": \"Hot\" }"},
         {QStringLiteral("texts/de.json"), "{ \"pump\": \"Pumpe\" }"},
         {s_tree,
          "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"labelTextId\": \"pump\" "
          "},\n"
          "  \"children\": { \"motor\": { \"properties\": {\n"
          "    \"labelTextId\": \"motor\",\n"
          "    \"helpTextId\": \"motor.help\",\n"
          "    \"otherTextId\": 5,\n"
          "    \"title\": \"not a text\" } } } }"},
         {QStringLiteral("process/pump.json"),
          "{ \"properties\": {\n  \"labelTextId\": \"motor\" } }"},
         {s_script,
          "function onSave(api, url) {\n"
          "  api.setError(\"motor\", \"hot\");\n"
          "  api.setError(api.getProperty(\"a\", \"b\"), 'cold', 5);\n"
          "}\n"}},
        0, 4,
        {QStringLiteral("configuration/pump.json:3: warning: the text \"motor\" is missing in "
                        "texts/de.json, texts/en.json [missing-text]"),
         QStringLiteral("configuration/pump.json:4: warning: the text \"motor.help\" is missing in "
                        "texts/de.json, texts/en.json [missing-text]"),
         QStringLiteral("dependency/pump.js:2: warning: the text \"hot\" is missing in "
                        "texts/de.json [missing-text]"),
         QStringLiteral("dependency/pump.js:3: warning: the text \"cold\" is missing in "
                        "texts/de.json, texts/en.json [missing-text]")});
}

void CheckCommandTest::findsMissingUnits()
{
    compareFindings(
        {{QStringLiteral("units.json"), "{ \"kW\": { \"en\": \"kW\" } }"},
         {s_tree,
          "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"unit\": \"kW\" },\n"
          "  \"children\": { \"motor\": { \"properties\": {\n"
          "    \"unit\": \"°C\",\n"
          "    \"units\": \"nothing\" } } } }"},
         {QStringLiteral("process/pump.json"), "{ \"properties\": {\n  \"unit\": \"bar\" } }"},
         {s_script,
          "function onSave(api, url) {\n"
          "  api.getAllUnitTexts(\"kW\");\n"
          "  api.getAllUnitTexts(\"psi\");\n"
          "  api.getAllUnitTexts(\"°C\");\n"
          "}\n"}},
        0, 3,
        {QStringLiteral("configuration/pump.json:3: warning: the unit \"°C\" is missing in "
                        "units.json [missing-unit]"),
         QStringLiteral("dependency/pump.js:3: warning: the unit \"psi\" is missing in units.json "
                        "[missing-unit]"),
         QStringLiteral("process/pump.json:2: warning: the unit \"bar\" is missing in units.json "
                        "[missing-unit]")});
}

void CheckCommandTest::findsMalformedTexts()
{
    compareFindings({{QStringLiteral("texts/en.json"), "{ \"pump\": \"Pump\" }"},
                     {QStringLiteral("texts/de.json"), "{\n  \"pump\": 5 }"}},
                    1, 0,
                    {QStringLiteral("texts/de.json:2: error: expected a string, found a number "
                                    "[texts]")});
}

void CheckCommandTest::findsScriptsThatNobodyUses()
{
    // "scripts/pump.js" is no dependency script, and nobody names it.
    compareFindings({{QStringLiteral("dependency/old/pump.js"), ";"},
                     {QStringLiteral("dependency/readme.txt"), "no script"},
                     {s_dialog, ";"}},
                    0, 2,
                    {QStringLiteral("dependency/old/pump.js: warning: no tree names this script "
                                    "[unused-script]"),
                     QStringLiteral("scripts/pump.js: warning: no tree names this script "
                                    "[unused-script]")});
}

void CheckCommandTest::compilesScriptsThatNobodyUses()
{
    compareFindings({{QStringLiteral("dependency/old.js"), "function onSave() {}\nvar 1;"}}, 1, 1,
                    {QStringLiteral("dependency/old.js: warning: no tree names this script "
                                    "[unused-script]"),
                     QStringLiteral("dependency/old.js:2: error: SyntaxError: Expected token "
                                    "`identifier' [script-error]")});
}

void CheckCommandTest::saysOfAScriptOnlyOnceWhatIsWrong()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("pump.js"));
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    folder.writeScript(QStringLiteral("pump.js"), "function onSave() {\n  let x = ;\n}\n");
    COMPARE_FILES(Program(folder.path()).run(s_checkPlant).files(),
                  found(1, 0,
                        {QStringLiteral("dependency/pump.js:2: error: SyntaxError: Expected token "
                                        "`numeric literal' [script-error]")})
                      .files());
}

void CheckCommandTest::findsNothingWrong_data()
{
    QTest::addColumn<QByteArray>("script");

    const auto add = [](const char *name, const QByteArray &script) {
        QTest::newRow(name) << script;
    };
    const auto addBody = [](const char *name, const QByteArray &body) {
        QTest::newRow(name) << "function onSave(api, url) {\n" + body + "\n}\n";
    };
    add("function", "function onSave() {}");
    add("variable with a function", "\"use strict\"; var onSave = (api, url) => {};");
    add("function assigned to the global object", "this.onSave = function () {};");
    addBody("comments",
            "// config://pumps/nowhere/pump api.setProperty(\"\", \"k\", 1)\n"
            "/* \"config://pumps/nowhere/pump\"\n * api.setError(\"\", \"missing\") */");
    addBody("URLs in texts",
            "console.log(\"see config://pumps/nowhere/pump\", 'api.setProperty(\"\")');");
    addBody("calls in texts", "console.log(\"api.setError('', 'missing')\", `.setProperty(`);");
    addBody("regular expressions",
            "const a = /\"config:\\/\\/pumps/, b = [/.setProperty(\"/];\n"
            "return /['\"`]/.test(url) ? 4 / 2 / 1 : a;");
    addBody("other schemes", "console.log(\"http://pumps/nowhere/pump\", \"configs://a/b/c\");");
    addBody(
        "own URLs",
        "api.setPropertyExtern(\"config://pumps/plant/pump#motor/limits\", \"k\", 1);\n"
        "api.setPropertyExtern('config://pumps/plant/pump', 'k', `config://pumps/plant/pump`);");
    addBody("URL of another object",
            "api.getPropertyExtern(\"config://pumps/network/bus1\", \"k\");");
    addBody("URL of a provider", "api.getPropertyExtern(\"config://pumps/cabinet/pump\", \"k\");");
    addBody("concatenated URLs",
            "api.getPropertyExtern(\"config://pumps/plant/\" + url, \"k\");\n"
            "api.getPropertyExtern(\"config://pumps/plant/line\" + 1 + \"/pump\", \"k\");\n"
            "api.getPropertyExtern(\"config://\" + url + \"/plant/pump\", \"k\");\n"
            "api.getPropertyExtern(\"config://pumps/\" + url + \"/pump\", \"k\");\n"
            "api.getPropertyExtern(\"config://pumps/plant/pump#\" + url, \"k\");");
    addBody("templates",
            "api.getPropertyExtern(`config://pumps/plant/${url}/pump`, \"k\");\n"
            "api.getPropertyExtern(`config://pumps/plant/line${url}`, \"k\");\n"
            "api.getPropertyExtern(`config://pumps/${url}/pump`, \"k\");\n"
            "api.getPropertyExtern(`config://${url}/plant/pump`, \"k\");");
    addBody("beginning of a URL, to be continued",
            "const line = \"config://pumps/plant/line1/\";\n"
            "api.getPropertyExtern(line + url, \"k\");");
    addBody("URL without a slash, to be continued",
            "const line = \"config://pumps/plant/line\";\n"
            "api.getPropertyExtern(line + url, \"k\");\n"
            "api.getPropertyExtern(\"config://pumps/plant/line\".concat(url), \"k\");");
    addBody("other functions of these names",
            "const setProperty = () => {}; const setError = setProperty;\n"
            "setProperty(\"\", \"k\"); setError(\"\", \"missing\"); api.setProperty;");
    addBody("computed texts",
            "api.setError(\"\", url); api.setError(\"\", url ? \"missing\" : \"lacking\");\n"
            "api.setError(\"\", \"missing.\" + url); api.setError(\"\", [\"missing\"][0]);");
    addBody("computed units", "api.getAllUnitTexts(url); api.getAllUnitTexts(\"k\" + url);");
}

void CheckCommandTest::findsNothingWrong()
{
    QFETCH(const QByteArray, script);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("network/configuration/bus1.json"), "{}");
    change(folder,
           {{QStringLiteral("project.json"),
             "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\",\n"
             "  \"otherFiles\": { \"network\": \"../network\" } }"},
            {QStringLiteral("providers.json"), "{ \"power\": [\"cabinet\"] }"},
            {QStringLiteral("texts/en.json"), "{}"},
            {s_script, script}});
    COMPARE_FILES(Program(folder.path()).run(s_checkPlant).files(), found(0, 0).files());
}

void CheckCommandTest::sortsByFileAndLine()
{
    QByteArray script("function onSave(api) {\n");
    for (int i = 0; i < 9; ++i) {
        script += "  api.getAllUnitTexts(\"unit" + QByteArray::number(9 - i) + "\");\n";
    }
    QStringList findings{
        QStringLiteral("configuration/manifest.json:2: error: \"valve\" is listed, but there is "
                       "no configuration/valve.json [missing-tree]")};
    for (int i = 0; i < 9; ++i) {
        findings.append(QStringLiteral("dependency/pump.js:%1: warning: the unit \"unit%2\" is "
                                       "missing in units.json [missing-unit]")
                            .arg(i + 2)
                            .arg(9 - i));
    }
    findings.append(
        QStringLiteral("process/a.json:1: error: expected a node: an object, found an array "
                       "[malformed-tree]"));
    compareFindings({{s_manifest,
                      "[ { \"dependencyFileExtern\": [ { \"instanceName\": \"pump\" },\n"
                      "  { \"instanceName\": \"valve\" } ] } ]"},
                     {s_script, script + "}\n"},
                     {QStringLiteral("process/a.json"), "[]"}},
                    2, 9, findings);
}

void CheckCommandTest::keepsTheScriptsConsoleToItself()
{
    compareFindings({{s_script,
                      "console.log(\"loaded\");\nconsole.error(\"oh\");\n"
                      "function onSave() {}\n"}},
                    0, 0, {});
}

void CheckCommandTest::reportsAsJson()
{
    const ScratchFolder folder;
    folder.makePlant();
    const QStringList arguments = s_checkPlant + QStringList(QStringLiteral("--json"));
    const auto normalized = [](const char *text) {
        return QString::fromUtf8(QJsonDocument::fromJson(text).toJson());
    };
    COMPARE_RUN(Program(folder.path()).run(arguments), 0,
                normalized(R"({ "project": "<folder>/plant", "errors": 0, "warnings": 0,
                                "findings": [] })"),
                QString());

    folder.writeScript(QStringLiteral("old.js"), ";");
    COMPARE_RUN(Program(folder.path()).run(arguments), 0,
                normalized(R"({ "project": "<folder>/plant", "errors": 0, "warnings": 1,
                                "findings": [
                    { "severity": "warning", "name": "unused-script", "file": "dependency/old.js",
                      "line": 0, "message": "no tree names this script" } ] })"),
                QString());

    folder.writeScript(QStringLiteral("pump.js"), "\nthrow new Error(\"größe\");\n");
    COMPARE_RUN(Program(folder.path()).run(arguments), 1,
                normalized(R"({ "project": "<folder>/plant", "errors": 1, "warnings": 1,
                                "findings": [
                    { "severity": "warning", "name": "unused-script", "file": "dependency/old.js",
                      "line": 0, "message": "no tree names this script" },
                    { "severity": "error", "name": "script-error", "file": "dependency/pump.js",
                      "line": 2, "message": "Error: größe" } ] })"),
                QString());
}

void CheckCommandTest::refusesWhatIsNoProject_data()
{
    QTest::addColumn<Files>("changes");
    QTest::addColumn<QString>("message");

    const QString project = QStringLiteral("project.json");
    QTest::newRow("no project.json") << Files{{project, QByteArray()}}
                                     << QStringLiteral("<folder>/plant: no project: expected a "
                                                       "file project.json in it");
    QTest::newRow("malformed project.json")
        << Files{{project, "{ \"moduleName\": \"pumps\" }"}}
        << QStringLiteral("<folder>/plant/project.json:1:1: expected a member \"objectName\"");
    QTest::newRow("malformed units")
        << Files{{QStringLiteral("units.json"), "{ \"kW\": 1 }"}}
        << QStringLiteral("<folder>/plant/units.json:1:9: expected an object, found a number");
    QTest::newRow("malformed texts of the project's language")
        << Files{{QStringLiteral("texts/en.json"), "{,}"}}
        << QStringLiteral("<folder>/plant/texts/en.json:1:2: expected a member's name in double "
                          "quotes, or '}', found ','");
}

void CheckCommandTest::refusesWhatIsNoProject()
{
    QFETCH(const Files, changes);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    change(folder, changes);
    COMPARE_RUN(Program(folder.path()).run(s_checkPlant), 2, QString(),
                QStringLiteral("configscript: %1\n").arg(message));
}

void CheckCommandTest::reportsATreeThatItMayNotRead()
{
    const ScratchFolder folder;
    folder.makePlant();
    change(folder, {{QStringLiteral("process/pump.json"), "{}"}});
    const Permissions permissions(folder.path(QStringLiteral("plant/process/pump.json")), {});
    Program program(folder.path());
    program.runWithoutPrivilege();
    COMPARE_FILES(program.run(s_checkPlant).files(),
                  found(1, 0,
                        {QStringLiteral("process/pump.json: error: cannot be read: Permission "
                                        "denied [malformed-tree]")})
                      .files());
}

void CheckCommandTest::colorsOnATerminal()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("old.js"), ";");
    folder.writeScript(QStringLiteral("pump.js"), "");
    Program program(folder.path());
    program.runInTerminal();
    const QString report =
        QStringLiteral("\x1b[33mdependency/old.js: warning: no tree names this script "
                       "[unused-script]\x1b[0m\r\n"
                       "\x1b[1;31mdependency/pump.js: error: the script is empty "
                       "[empty-script]\x1b[0m\r\n"
                       "1 error, 1 warning\r\n");
    QCOMPARE(program.run(s_checkPlant).outputWithoutProgress(), report);
    QCOMPARE(program.run(s_checkPlant + QStringList(QStringLiteral("--no-color")))
                 .outputWithoutProgress(),
             QString(report)
                 .remove(QStringLiteral("\x1b[33m"))
                 .remove(QStringLiteral("\x1b[1;31m"))
                 .remove(QStringLiteral("\x1b[0m")));
}

void CheckCommandTest::doesNotDependOnTheLocale()
{
    const ScratchFolder folder;
    const QString project = QStringLiteral("Pumpen Süd/");
    folder.write(project + QStringLiteral("project.json"),
                 "{ \"moduleName\": \"pümps\", \"objectName\": \"plänt\", \"language\": \"de\" }");
    folder.write(project + s_manifest,
                 "[ { \"dependencyFileExtern\": [ { \"instanceName\": \"Kühl 1\" } ] } ]");
    folder.write(project + QStringLiteral("configuration/Kühl 1.json"),
                 "{ \"properties\": { \"dependencyFileExtern\": \"Kühl 1.js\" } }");
    folder.write(project + QStringLiteral("dependency/Kühl 1.js"),
                 "function onSave(api) {\n"
                 "  api.getPropertyExtern(\"config://pümps/plänt/Kühl%201\", \"k\");\n"
                 "  api.getPropertyExtern(\"config://pümps/plänt/Straße 2\", \"k\");\n"
                 "}\n");
    folder.write(project + QStringLiteral("dependency/Ölung.js"), ";");
    Program program(folder.path());
    program.setVariable(QStringLiteral("LANG"), QStringLiteral("C"));
    program.setVariable(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    COMPARE_FILES(
        program.run({QStringLiteral("check"), QStringLiteral("Pumpen Süd")}).files(),
        found(0, 2,
              {QStringLiteral("dependency/Kühl 1.js:3: warning: the URL names the instance "
                              "\"Straße 2\", which has no tree there [unknown-instance]"),
               QStringLiteral("dependency/Ölung.js: warning: no tree names this script "
                              "[unused-script]")})
            .files());
}

TEST_CLASS(CheckCommandTest)
#include "CheckCommandTest.moc"
