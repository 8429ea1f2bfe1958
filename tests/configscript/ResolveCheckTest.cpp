#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QJsonDocument>
#include <QTest>

namespace {

const QStringList s_resolvePlant{QStringLiteral("resolve"), QStringLiteral("plant")};

const QString s_resolvedPump = QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                                              "\n"
                                              "changed configuration/pump.json\n"
                                              "  speed  1200 -> 1500\n"
                                              "\n"
                                              "1 script run, 0 failed; 1 file changed, 1 value; "
                                              "# ms\n");

/// The project "plant" with a second and a third instance, whose script does not compile.
void makeBrokenPlant(const ScratchFolder &folder)
{
    folder.makePlant();
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    folder.addInstance(QStringLiteral("valve2"), QStringLiteral("valve.js"));
    folder.writeScript(QStringLiteral("valve.js"), "function onSave() {\n  const x = ;\n}\n");
    folder.listInstances(
        {QStringLiteral("pump"), QStringLiteral("valve"), QStringLiteral("valve2")});
}

} // namespace

/// The check before "resolve" runs anything. What the single findings say, CheckCommandTest pins.
class ResolveCheckTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void refusesToStartOnErrors_data();
    void refusesToStartOnErrors();
    void showsAllErrors();
    void refusesAsJson();
    void looksAtWhatWouldRunOnly_data();
    void looksAtWhatWouldRunOnly();
    void startsDespiteWarnings();
    void checksEachScriptForItself();
    void refusesAScriptThatItCannotFind_data();
    void refusesAScriptThatItCannotFind();
    void showsTheScriptsConsoleOnce();
    void runsUnchecked();
};

void ResolveCheckTest::refusesToStartOnErrors_data()
{
    QTest::addColumn<QStringList>("options");

    QTest::newRow("all") << QStringList();
    QTest::newRow("the instance") << QStringList{QStringLiteral("valve")};
    QTest::newRow("a prefix") << QStringList{QStringLiteral("val")};
    QTest::newRow("dry run") << QStringList{QStringLiteral("--dry-run")};
    QTest::newRow("quietly") << QStringList{QStringLiteral("--quiet")};
}

void ResolveCheckTest::refusesToStartOnErrors()
{
    QFETCH(const QStringList, options);

    const ScratchFolder folder;
    makeBrokenPlant(folder);
    const Files before = folder.files();
    COMPARE_FILES(
        Program(folder.path()).run(s_resolvePlant + options).files(),
        refusal(QStringLiteral("dependency/valve.js:2: error: SyntaxError: Expected token "
                               "`numeric literal' [script-error]"))
            .files());
    COMPARE_FILES(folder.files(), before);
}

void ResolveCheckTest::showsAllErrors()
{
    const ScratchFolder folder;
    makeBrokenPlant(folder);
    folder.listInstances({QStringLiteral("valve"), QStringLiteral("tank"), QStringLiteral("pump"),
                          QStringLiteral("valve"), QStringLiteral("../tank")});
    folder.write(QStringLiteral("plant/configuration/pump.json"), "{ \"properties\": {} }");
    folder.writeScript(QStringLiteral("old.js"), ";"); // a warning; these are not shown
    const Files before = folder.files();
    COMPARE_RUN(
        Program(folder.path()).run(s_resolvePlant), 1,
        QStringLiteral(
            "configuration/manifest.json:4: error: \"tank\" is listed, but there is no "
            "configuration/tank.json [missing-tree]\n"
            "configuration/manifest.json:7: error: \"../tank\": the instance name holds the "
            "segment \"..\" [missing-tree]\n"
            "configuration/pump.json:1: error: the manifest lists \"pump\", but its tree has no "
            "property \"dependencyFileExtern\" with the name of a script [no-script]\n"
            "dependency/valve.js:2: error: SyntaxError: Expected token `numeric literal' "
            "[script-error]\n"
            "No script was run: 4 errors, 0 warnings. --no-check runs them all the same.\n"),
        QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveCheckTest::refusesAsJson()
{
    const ScratchFolder folder;
    makeBrokenPlant(folder);
    folder.writeScript(QStringLiteral("valve.js"), "var x;\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant + QStringList(QStringLiteral("--json"))),
                1,
                QString::fromUtf8(QJsonDocument::fromJson(R"({
                    "project": "<folder>/plant",
                    "succeeded": false,
                    "errors": 1,
                    "warnings": 0,
                    "findings": [
                        { "severity": "error", "name": "missing-function",
                          "file": "dependency/valve.js", "line": 0,
                          "message": "the script has no function onSave" }
                    ] })")
                                      .toJson()),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveCheckTest::looksAtWhatWouldRunOnly_data()
{
    QTest::addColumn<QString>("instance");

    QTest::newRow("the instance") << QStringLiteral("pump");
    QTest::newRow("a prefix") << QStringLiteral("p");
}

void ResolveCheckTest::looksAtWhatWouldRunOnly()
{
    QFETCH(const QString, instance);

    const ScratchFolder folder;
    makeBrokenPlant(folder);
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant + QStringList(instance)), 0,
                s_resolvedPump, QString());
}

void ResolveCheckTest::startsDespiteWarnings()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js")); // nobody lists it
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  if (!url) api.setProperty(\"config://pumps/nowhere/pump\", \"k\", 1);\n"
                       "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                       "}\n");
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0, s_resolvedPump, QString());
}

void ResolveCheckTest::checksEachScriptForItself()
{
    // What one script declares, the next one does not have, in whatever order they come.
    const ScratchFolder folder;
    makeBrokenPlant(folder);
    folder.writeScript(QStringLiteral("valve.js"), "onSave;\n");
    COMPARE_FILES(Program(folder.path()).run(s_resolvePlant).files(),
                  refusal(QStringLiteral("dependency/valve.js:1: error: ReferenceError: onSave is "
                                         "not defined [script-error]"))
                      .files());

    folder.writeScript(QStringLiteral("valve.js"), "var onValve = onSave = 0;\n");
    folder.writeScript(QStringLiteral("pump.js"), "function onSave() {}\n");
    COMPARE_FILES(Program(folder.path()).run(s_resolvePlant).files(),
                  refusal(QStringLiteral("dependency/valve.js: error: the script has no function "
                                         "onSave [missing-function]"))
                      .files());
}

void ResolveCheckTest::refusesAScriptThatItCannotFind_data()
{
    QTest::addColumn<QByteArray>("fileName");
    QTest::addColumn<QString>("message");

    QTest::newRow("no file") << QByteArray("valve.js")
                             << QStringLiteral("there is no script dependency/valve.js");
    QTest::newRow("no folder on the way")
        << QByteArray("old/../pump.js")
        << QStringLiteral("there is no script dependency/old/../pump.js");
    QTest::newRow("other case") << QByteArray("PUMP.js")
                                << QStringLiteral("there is no script dependency/PUMP.js");
    QTest::newRow("outside") << QByteArray("../pump.js")
                             << QStringLiteral("\"../pump.js\" leads out of the scripts' folder");
}

void ResolveCheckTest::refusesAScriptThatItCannotFind()
{
    QFETCH(const QByteArray, fileName);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/pump.js"), "function onSave() {}\n");
    folder.addInstance(QStringLiteral("pump"), QString::fromLatin1(fileName));
    COMPARE_FILES(
        Program(folder.path()).run(s_resolvePlant).files(),
        refusal(
            QStringLiteral("configuration/pump.json:1: error: %1 [missing-script]").arg(message))
            .files());
}

void ResolveCheckTest::showsTheScriptsConsoleOnce()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "console.log(\"loaded\");\n"
                       "function onSave() {}\n");
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js:1: loaded\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
}

void ResolveCheckTest::runsUnchecked()
{
    const ScratchFolder folder;
    makeBrokenPlant(folder);
    // Alone, so that no other script's function is there.
    const ProgramRun run =
        Program(folder.path())
            .run(s_resolvePlant
                 + QStringList{QStringLiteral("valve2"), QStringLiteral("--no-check")});
    COMPARE_RUN(run, 1,
                QStringLiteral("FAILED   valve2  dependency/valve.js  # ms\n"
                               "         dependency/valve.js:2: SyntaxError: Expected token "
                               "`numeric literal'\n"
                               "         dependency/valve.js: warning: The script is not "
                               "evaluated.\n"
                               "\n"
                               "1 script run, 1 failed; 0 files changed, 0 values; # ms\n"),
                QString());
}

TEST_CLASS(ResolveCheckTest)
#include "ResolveCheckTest.moc"
