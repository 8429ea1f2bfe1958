#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QFile>
#include <QTest>

#include <sys/stat.h>

namespace {

const QStringList s_resolvePlant{QStringLiteral("resolve"), QStringLiteral("plant")};
const QStringList s_noCheck{QStringLiteral("--no-check")};

} // namespace

/// Scripts that fail, cannot run, or do what has no effect.
class ResolveBadScriptTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void refusesAnInstanceWithoutAScript_data();
    void refusesAnInstanceWithoutAScript();
    void readsNoScriptOutsideOfTheProject_data();
    void readsNoScriptOutsideOfTheProject();
    void refusesAScriptThatCannotRun_data();
    void refusesAScriptThatCannotRun();
    void tellsWhereAScriptFailed_data();
    void tellsWhereAScriptFailed();
    void showsWhatAScriptDidInVain_data();
    void showsWhatAScriptDidInVain();
    void reportsWritesByRelativeUrl();
    void savesWhatAFailedScriptWroteBefore();
    void takesAnUnknownSchemeForAConfiguration();
    void tellsThatAnotherScriptsFunctionRan_data();
    void tellsThatAnotherScriptsFunctionRan();
    void doesNotBlameAScriptForWhatAnothersFunctionReturned();
    void showsControlCharactersOfScripts_data();
    void showsControlCharactersOfScripts();
    void keepsControlCharactersFromTheTerminal_data();
    void keepsControlCharactersFromTheTerminal();
    void reportsTroubleAsJson();

private:
    void compareBothOrders(const ScratchFolder &folder, const ProgramRun &one,
                           const ProgramRun &other) const;
    static ProgramRun failure(const QString &details);
};

/// What is said of one script that failed.
ProgramRun ResolveBadScriptTest::failure(const QString &details)
{
    return {1,
            QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                           "         %1\n"
                           "\n"
                           "1 script run, 1 failed; 0 files changed, 0 values; # ms\n")
                .arg(details),
            QString()};
}

void ResolveBadScriptTest::refusesAnInstanceWithoutAScript_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content"); // null removes the file
    QTest::addColumn<QString>("finding");
    QTest::addColumn<QString>("reason");

    const QString script = QStringLiteral("dependency/pump.js");
    const QString tree = QStringLiteral("configuration/pump.json");
    const auto addUnnamed = [&tree](const char *name, const char *content) {
        QTest::newRow(name) << tree << QByteArray(content)
                            << QStringLiteral("configuration/pump.json:1: error: the manifest "
                                              "lists \"pump\", but its tree has no property "
                                              "\"dependencyFileExtern\" with the name of a "
                                              "script [no-script]")
                            << QStringLiteral("configuration/pump.json: expected the property "
                                              "\"dependencyFileExtern\", the name of a script");
    };
    QTest::newRow("no script") << script << QByteArray()
                               << QStringLiteral("configuration/pump.json:1: error: there is no "
                                                 "script dependency/pump.js [missing-script]")
                               << QStringLiteral("dependency/pump.js: no such file");
    QTest::newRow("empty script") << script << QByteArray("")
                                  << QStringLiteral("dependency/pump.js: error: the script is "
                                                    "empty [empty-script]")
                                  << QStringLiteral("dependency/pump.js: the file is empty");
    QTest::newRow("property names no file")
        << tree << QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"valve.js\" } }")
        << QStringLiteral("configuration/pump.json:1: error: there is no script "
                          "dependency/valve.js [missing-script]")
        << QStringLiteral("dependency/valve.js: no such file");
    addUnnamed("no dependency property", "{ \"properties\": { \"speed\": 1200 } }");
    addUnnamed("no properties", "{}");
    addUnnamed("empty property", "{ \"properties\": { \"dependencyFileExtern\": \"\" } }");
    addUnnamed("property is an array",
               "{ \"properties\": { \"dependencyFileExtern\": [ \"pump.js\" ] } }");
}

void ResolveBadScriptTest::refusesAnInstanceWithoutAScript()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, finding);
    QFETCH(const QString, reason);

    const ScratchFolder folder;
    folder.makePlant();
    if (content.isNull()) {
        folder.remove(QStringLiteral("plant/") + file);
    } else {
        folder.write(QStringLiteral("plant/") + file, content);
    }
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(program.run(s_resolvePlant), refusal(finding));
    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck), notRun(QStringLiteral("pump  ") + reason));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadScriptTest::readsNoScriptOutsideOfTheProject_data()
{
    QTest::addColumn<QString>("script");
    QTest::addColumn<QString>("finding");

    const QString place = QStringLiteral("configuration/pump.json:1: error: ");
    const QString outside =
        QStringLiteral("\"%1\" leads out of the scripts' folder [missing-script]");
    const QString link =
        QStringLiteral("\"%1\": a link leads out of the project folder [missing-script]");
    QTest::newRow("parent folder") << QStringLiteral("../../outside/valve.js")
                                   << place + outside.arg(QStringLiteral("../../outside/valve.js"));
    QTest::newRow("absolute path")
        << QStringLiteral("/etc/passwd") << place + outside.arg(QStringLiteral("/etc/passwd"));
    QTest::newRow("link") << QStringLiteral("link.js")
                          << place + link.arg(QStringLiteral("link.js"));
    QTest::newRow("folder of a link")
        << QStringLiteral("folder/valve.js") << place + link.arg(QStringLiteral("folder/valve.js"));
    QTest::newRow("pipe")
        << QStringLiteral("pipe.js")
        << QStringLiteral(
               "dependency/pipe.js: error: cannot be read: it is no file [missing-script]");
}

void ResolveBadScriptTest::readsNoScriptOutsideOfTheProject()
{
    QFETCH(const QString, script);
    QFETCH(const QString, finding);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("outside/valve.js"), "function onSave() {}\n");
    folder.link(QStringLiteral("plant/dependency/link.js"),
                QStringLiteral("../../outside/valve.js"));
    folder.link(QStringLiteral("plant/dependency/folder"), QStringLiteral("../../outside"));
    const QString pipe = folder.path(QStringLiteral("plant/dependency/pipe.js"));
    QVERIFY(mkfifo(QFile::encodeName(pipe), 0600) == 0);
    folder.addInstance(QStringLiteral("pump"), script);
    const Program program(folder.path());
    COMPARE_RUN(program.run(s_resolvePlant), refusal(finding));
    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck), 1,
                finding + QStringLiteral("\nNo script was run: 1 error, 0 warnings.\n"), QString());
}

void ResolveBadScriptTest::refusesAScriptThatCannotRun_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("finding");
    QTest::addColumn<QString>("details");

    const auto add = [](const char *name, const char *script, const char *finding,
                        const QByteArray &details) {
        QTest::newRow(name) << QByteArray(script) << QString::fromUtf8(finding)
                            << QString::fromUtf8(details);
    };
    const char *notEvaluated = "dependency/pump.js: warning: The script is not evaluated.";
    const QByteArray noFunction("dependency/pump.js: warning: Property is no function: \"onSave\"");
    const char *missing =
        "dependency/pump.js: error: the script has no function onSave [missing-function]";
    const char *hidden = "dependency/pump.js:2: error: onSave is invisible to the host: declare it "
                         "with \"function onSave\", not with const, let or class [hidden-function]";
    const QByteArray indentation("         ");
    const QByteArray syntaxError("dependency/pump.js:2: SyntaxError: Unexpected token `numeric "
                                 "literal'\n");
    const QByteArray otherError("dependency/pump.js:2: ReferenceError: plant is not defined\n");

    add("syntax error", "function onSave(api, url) {\n  api.setProperty(\"\", \"speed\" 5);\n}\n",
        "dependency/pump.js:2: error: SyntaxError: Unexpected token `numeric literal' "
        "[script-error]",
        syntaxError + indentation + notEvaluated);
    add("error outside of functions", "\nplant.start();\nfunction onSave() {}\n",
        "dependency/pump.js:2: error: ReferenceError: plant is not defined [script-error]",
        otherError + indentation + notEvaluated);
    add("nothing but blanks", "  \n", missing, noFunction);
    add("no onSave", "function onOpen() {}\n", missing, noFunction);
    add("no onSave, but messages", "console.log(\"loaded\");\nconsole.error(\"hot\");\n", missing,
        noFunction + "\n" + indentation + "dependency/pump.js:1: loaded\n" + indentation
            + "dependency/pump.js:2: error: hot");
    add("onSave is a number", "var onSave = 5;\n", missing, noFunction);
    add("onSave is a constant", "\nconst onSave = (api, url) => {};\n", hidden, noFunction);
    add("onSave is declared with let", "\nlet onSave = (api, url) => {};\n", hidden, noFunction);
}

void ResolveBadScriptTest::refusesAScriptThatCannotRun()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, finding);
    QFETCH(const QString, details);

    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), script);
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(program.run(s_resolvePlant), refusal(finding));
    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck), failure(details));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadScriptTest::tellsWhereAScriptFailed_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("details");

    const auto add = [](const char *name, const QByteArray &statement, const char *details) {
        QTest::newRow(name) << "function onSave(api, url) {\n  " + statement + "\n}\n"
                            << QString::fromUtf8(details);
    };
    add("throws an Error", "throw new Error(\"no pump\");", "dependency/pump.js:2: Error: no pump");
    add("returns an Error", "return new Error(\"no pump\");",
        "dependency/pump.js:2: Error: no pump");
    add("reads from null", "null.speed;",
        "dependency/pump.js:2: TypeError: Cannot read property 'speed' of null");
    add("returns false", "return false;", "onSave returned false");
    add("endless recursion", "onSave(api, url);",
        "dependency/pump.js: RangeError: Maximum call stack size exceeded.");
    add("missing argument", "api.setPropertyExtern(url, \"speed\");",
        "dependency/pump.js:2: Error: Insufficient arguments");
    add("missing argument of setError", "api.setError(\"speed\");",
        "dependency/pump.js:2: Error: Unable to determine callable overload.  "
        "Candidates are:\n"
        "               setError(QString,QString)\n"
        "               setError(QString,QString,QVariant)");
    add("throws a text of two lines", "throw new Error(\"no pump\\nno motor\");",
        "dependency/pump.js:2: Error: no pump\n"
        "           no motor");
}

void ResolveBadScriptTest::tellsWhereAScriptFailed()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, details);

    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), script);
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), failure(details));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadScriptTest::showsWhatAScriptDidInVain_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("details");

    const auto addOnly = [](const char *name, const char *script, const char *details) {
        QTest::newRow(name) << QByteArray(script) << QString::fromUtf8(details);
    };
    const auto add = [](const char *name, const QByteArray &statement,
                        const QStringList &warnings) {
        QString details;
        for (const QString &text : warnings) {
            details += QStringLiteral("         dependency/pump.js: warning: %1\n").arg(text);
        }
        QTest::newRow(name) << "function onSave(api, url) {\n  " + statement + "\n}\n" << details;
    };
    const QString noRoot = QStringLiteral("Root is null.");
    const auto write = [](const QByteArray &url) {
        return "api.setPropertyExtern(\"" + url + "\", \"speed\", 5);";
    };
    const auto read = [](const QByteArray &url) {
        return "api.getPropertyExtern(\"" + url + "\", \"speed\");";
    };
    // The engine does not tell a thrown text from a returned one.
    addOnly("throws a text", "function onSave() { throw \"no pump\"; }\n", "");
    add("writes to what is no URL", write("pump"),
        {QStringLiteral("The following url ist not valid: \"pump\"")});
    add("reads from what is no URL", read("pump"),
        {QStringLiteral("The following url ist not valid: \"pump\"")});
    add("writes to another module", write("config://valves/plant/pump"),
        {QStringLiteral("setPropertyExtern: \"valves\"")});
    add("reads from another module", read("config://valves/plant/pump"),
        {QStringLiteral("getPropertyExtern: \"valves\"")});
    add("lists nodes of another module",
        "api.getListOfNodeInstancesWithText(\"config://valves/plant/pump\", true);",
        {QStringLiteral("Can't handle URL in another module: \"valves\"")});
    add("writes to an unknown object", write("config://pumps/cabinet/pump"),
        {QStringLiteral("Couldn't find object \"cabinet\" in otherfiles mapping!"), noRoot});
    add("reads with an unknown scheme", read("setup://pumps/plant/pump"),
        {QStringLiteral("Scheme in url ist not valid: \"setup\"")});
    add("writes to an unknown instance", write("config://pumps/plant/valve"),
        {QStringLiteral("Unable to find url \"config://pumps/plant/valve\" in project "
                        "\"<folder>/plant\""),
         noRoot});
    add("writes to missing process data", write("process://pumps/plant/pump"),
        {QStringLiteral("Unable to find url \"process://pumps/plant/pump\" in project "
                        "\"<folder>/plant\""),
         noRoot});
    add("writes outside of the project", write("config://pumps/plant/../pump"),
        {QStringLiteral("Can not read instance: \"../pump\" the instance name holds the segment "
                        "\"..\""),
         QStringLiteral("Unable to find url \"config://pumps/plant/../pump\" in project "
                        "\"<folder>/plant\""),
         noRoot});
    add("writes to a missing node", write("config://pumps/plant/pump#motor"),
        {QStringLiteral("Leaf for url \"motor\" is null.")});
    add("writes what no file can hold", "api.setPropertyExtern(url, \"speed\", undefined);",
        {QStringLiteral("Can not set value: QVariant(Invalid) to: \"\" \"speed\"")});
    addOnly("writes to the console",
            "console.log(\"loaded\");\n"
            "function onSave() { console.warn(\"slow\"); console.error(\"hot\"); }\n",
            "         dependency/pump.js:1: loaded\n"
            "         dependency/pump.js:2: warn: slow\n"
            "         dependency/pump.js:2: error: hot\n");
    addOnly("writes two lines to the console",
            "function onSave() { console.log(\"slow\\nand\\thot\"); }\n",
            "         dependency/pump.js:1: slow\n"
            "           and\thot\n");
    addOnly("reports errors",
            "function onSave(api) {\n"
            "  api.setError(\"\", \"error.hot\");\n"
            "  api.setError(\"motor\", \"error.fast\", { speed: 1200 });\n"
            "}\n",
            "         reported: The pump is too hot. [error.hot]\n"
            "         reported: motor: [error.fast] value { \"speed\": 1200 }\n");
}

void ResolveBadScriptTest::showsWhatAScriptDidInVain()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, details);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/texts/en.json"),
                 "{ \"error.hot\": \"The pump is too hot.\" }");
    folder.writeScript(QStringLiteral("pump.js"), script);
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n") + details
                    + QStringLiteral("\n"
                                     "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadScriptTest::reportsWritesByRelativeUrl()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/configuration/pump.json"),
                 "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"speed\": 1200 },\n"
                 "  \"children\": { \"motor\": {} } }\n");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) {\n"
                       "  api.setProperty(\"\", \"speed\", 1500);\n"
                       "  api.setProperty(\"motor\", \"limits\", { min: 0, max: 5 });\n"
                       "}\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         not saved: written by relative URL, which nobody saves; "
                               "write to config://pumps/plant/pump instead\n"
                               "           speed         1200 -> 1500\n"
                               "           motor:limits  new { \"max\": 5, \"min\": 0 }\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadScriptTest::savesWhatAFailedScriptWroteBefore()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                       "  throw new Error(\"no motor\");\n"
                       "}\n");
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 1,
                QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js:3: Error: no motor\n"
                               "\n"
                               "changed configuration/pump.json\n"
                               "  speed  1200 -> 1500\n"
                               "\n"
                               "1 script run, 1 failed; 1 file changed, 1 value; # ms\n"),
                QString());
    QCOMPARE(folder.files().value(QStringLiteral("plant/configuration/pump.json")),
             QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
                        "\"speed\": 1500 } }\n"));
}

void ResolveBadScriptTest::takesAnUnknownSchemeForAConfiguration()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) {\n"
                       "  api.setPropertyExtern(\"setup://pumps/plant/pump\", \"speed\", 1500);\n"
                       "}\n");
    // The library says so when it looks the tree up, and when it notes the change.
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: warning: Scheme in url ist not valid: "
                               "\"setup\" (2 times)\n"
                               "\n"
                               "changed configuration/pump.json\n"
                               "  speed  1200 -> 1500\n"
                               "\n"
                               "1 script run, 0 failed; 1 file changed, 1 value; # ms\n"),
                QString());
}

void ResolveBadScriptTest::tellsThatAnotherScriptsFunctionRan_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("alone"); // what is said when it runs first
    QTest::addColumn<QString>("behindAnother");

    const QString foreign = QStringLiteral("         onSave of dependency/pump.js ran instead: "
                                           "dependency/valve.js defines none\n");
    const QString noFunction = QStringLiteral("         dependency/valve.js: warning: Property is "
                                              "no function: \"onSave\"\n");
    const QString syntaxError =
        QStringLiteral("         dependency/valve.js:2: SyntaxError: Expected token `}'\n");
    QTest::newRow("does not compile")
        << QByteArray("function onSave( {\n")
        << syntaxError
            + QStringLiteral(
                "         dependency/valve.js: warning: The script is not evaluated.\n")
        << syntaxError + foreign;
    QTest::newRow("lacks onSave") << QByteArray("function onOpen() {}\n") << noFunction << foreign;
    QTest::newRow("constant onSave")
        << QByteArray("const onSave = () => {};\n") << noFunction << foreign;
}

void ResolveBadScriptTest::tellsThatAnotherScriptsFunctionRan()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, alone);
    QFETCH(const QString, behindAnother);

    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    folder.writeScript(QStringLiteral("valve.js"), script);
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});

    const QString runs = QStringLiteral("ok       pump   dependency/pump.js   # ms\n"
                                        "FAILED   valve  dependency/valve.js  # ms\n");
    const QString pumpChange = QStringLiteral("\n"
                                              "would change configuration/pump.json\n"
                                              "  speed  1200 -> 1500\n");
    const QString valveChange = QStringLiteral("\n"
                                               "would change configuration/valve.json\n"
                                               "  speed  1200 -> 1500\n");
    const QString summary = QStringLiteral("\n"
                                           "2 scripts run, 1 failed; %1 would change, %2; # ms\n");
    const ProgramRun valveFirst{
        1,
        runs + alone + pumpChange
            + summary.arg(QStringLiteral("1 file"), QStringLiteral("1 value")),
        QString()};
    const ProgramRun pumpFirst{
        1,
        runs + behindAnother + pumpChange + valveChange
            + summary.arg(QStringLiteral("2 files"), QStringLiteral("2 values")),
        QString()};

    compareBothOrders(folder, valveFirst, pumpFirst);
}

void ResolveBadScriptTest::doesNotBlameAScriptForWhatAnothersFunctionReturned()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    folder.writeScript(QStringLiteral("pump.js"), "function onSave() { return false; }\n");
    folder.writeScript(QStringLiteral("valve.js"), "function onOpen() {}\n");
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    const QString report =
        QStringLiteral("FAILED   pump   dependency/pump.js   # ms\n"
                       "         onSave returned false\n"
                       "FAILED   valve  dependency/valve.js  # ms\n"
                       "         %1\n"
                       "\n"
                       "2 scripts run, 2 failed; 0 files would change, 0 values; # ms\n");
    compareBothOrders(folder,
                      {1,
                       report.arg(QStringLiteral("onSave of dependency/pump.js ran instead: "
                                                 "dependency/valve.js defines none")),
                       QString()},
                      {1,
                       report.arg(QStringLiteral("dependency/valve.js: warning: Property is no "
                                                 "function: \"onSave\"")),
                       QString()});
}

/// The order of scripts is another one in each process: both runs must come about, and no other.
void ResolveBadScriptTest::compareBothOrders(const ScratchFolder &folder, const ProgramRun &one,
                                             const ProgramRun &other) const
{
    bool hasRunOne = false;
    bool hasRunOther = false;
    for (int i = 0; i < 100 && !(hasRunOne && hasRunOther); ++i) {
        const Files run =
            Program(folder.path())
                .run(s_resolvePlant + s_noCheck + QStringList(QStringLiteral("--dry-run")))
                .files();
        if (run == one.files()) {
            hasRunOne = true;
        } else {
            COMPARE_FILES(run, other.files());
            hasRunOther = true;
        }
    }
    QVERIFY(hasRunOne);
    QVERIFY(hasRunOther);
}

void ResolveBadScriptTest::showsControlCharactersOfScripts_data()
{
    QTest::addColumn<QByteArray>("statement");
    QTest::addColumn<QString>("shown");

    const auto add = [](const char *name, const char *statement, const char *shown) {
        QTest::newRow(name) << QByteArray(statement) << QString::fromLatin1(shown);
    };
    add("exception", "throw new Error(\"no\\x1b[31m pump\\r\\x07\\x7f\\x9b\");",
        "         dependency/pump.js:2: Error: no\\x1b[31m pump\\x0d\\x07\\x7f\\x9b\n");
    add("console", "console.log(\"no\\x1b[31m pump\");",
        "         dependency/pump.js:2: no\\x1b[31m pump\n");
    add("reported text", "api.setError(\"\", \"no\\x1b[31m pump\");",
        "         reported: [no\\x1b[31m pump]\n");
    add("reported node", "api.setError(\"motor\\x1b[31m\", \"hot\");",
        "         reported: motor\\x1b[31m: [hot]\n");
    add("reported value", "api.setError(\"\", \"hot\", \"no\\x1b[31m pump\");",
        "         reported: [hot] value \"no\\u001b[31m pump\"\n");
    add("written key", "api.setPropertyExtern(url, \"no\\x1b[31m\", \"pump\\x1b[31m\");",
        "  no\\x1b[31m  new \"pump\\u001b[31m\"\n");
}

void ResolveBadScriptTest::showsControlCharactersOfScripts()
{
    QFETCH(const QByteArray, statement);
    QFETCH(const QString, shown);

    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n  " + statement + "\n}\n");
    const QString report = Program(folder.path()).run(s_resolvePlant).output;
    QVERIFY2(report.contains(QLatin1Char('\n') + shown), qPrintable(report));
}

void ResolveBadScriptTest::keepsControlCharactersFromTheTerminal_data()
{
    QTest::addColumn<QByteArray>("script");

    const auto add = [](const char *name, const QByteArray &statement) {
        QTest::newRow(name) << "function onSave(api, url) {\n  " + statement + "\n}\n";
    };
    const QByteArray text("\"\\r\\x07\\x1b[31m\\x7f\\x9b\"");
    QTest::newRow("exception outside of functions") << "throw new Error(" + text + ");\n";
    add("exception", "throw new Error(" + text + ");");
    add("console", "console.log(" + text + ");");
    add("reported text", "api.setError(\"\", " + text + ");");
    add("reported node", "api.setError(" + text + ", \"hot\");");
    add("reported value", "api.setError(\"\", \"hot\", " + text + ");");
    add("warning", "api.getPropertyExtern(" + text + ", \"speed\");");
    add("written key", "api.setPropertyExtern(url, " + text + ", 1);");
    add("written value", "api.setPropertyExtern(url, \"speed\", " + text + ");");
    add("unsaved value", "api.setProperty(\"\", \"speed\", " + text + ");");
}

void ResolveBadScriptTest::keepsControlCharactersFromTheTerminal()
{
    QFETCH(const QByteArray, script);

    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), script);
    const ProgramRun run = Program(folder.path()).run(s_resolvePlant);
    QVERIFY2(run.output.contains(QStringLiteral("[31m")), qPrintable(run.output));
    COMPARE_RUN(run, run.exitCode, run.output, QString());
    for (const QChar character : run.output) {
        QVERIFY2(character == QLatin1Char('\n') || character.category() != QChar::Other_Control,
                 qPrintable(QStringLiteral("U+%1 in: %2")
                                .arg(character.unicode(), 4, 16, QLatin1Char('0'))
                                .arg(run.output)));
    }
}

void ResolveBadScriptTest::reportsTroubleAsJson()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("pump"), QStringLiteral("valve")});
    folder.write(QStringLiteral("plant/texts/en.json"),
                 "{ \"error.hot\": \"The pump is too hot.\" }");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  console.warn(\"slow\");\n"
                       "  api.setError(\"motor\", \"error.hot\", 80);\n"
                       "  api.setProperty(\"\", \"speed\", 1500);\n"
                       "  api.getProperty(\"motor\", \"speed\");\n"
                       "  throw new Error(\"no motor\");\n"
                       "}\n");
    const Files before = folder.files();
    const QStringList json{QStringLiteral("--json")};
    const Program program(folder.path());
    const ProgramRun refused = program.run(s_resolvePlant + json);
    const ProgramRun run = program.run(s_resolvePlant + s_noCheck + json);
    COMPARE_RUN(refused, 1, refused.output, QString());
    COMPARE_RUN(run, 1, run.output, QString());
    COMPARE_FILES(folder.files(), before);
    COMPARE_GOLDEN(QStringLiteral("resolve-trouble"),
                   (Files{{QStringLiteral("refused.json"), refused.output.toUtf8()},
                          {QStringLiteral("report.json"), run.output.toUtf8()}}));
}

TEST_CLASS(ResolveBadScriptTest)
#include "ResolveBadScriptTest.moc"
