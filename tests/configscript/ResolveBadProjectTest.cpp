#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QTest>

namespace {

const QStringList s_resolvePlant{QStringLiteral("resolve"), QStringLiteral("plant")};
const QStringList s_noCheck{QStringLiteral("--no-check")};
const QString s_manifest = QStringLiteral("plant/configuration/manifest.json");

/// What is said when the one script of "plant" has run.
const QString s_pumpReport = QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                                            "\n"
                                            "changed configuration/pump.json\n"
                                            "  speed  1200 -> 1500\n"
                                            "\n"
                                            "1 script run, 0 failed; 1 file changed, 1 value; "
                                            "# ms\n");

} // namespace

/// Projects whose own files cannot be used, or only in part.
class ResolveBadProjectTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void refusesWhatIsNoProject_data();
    void refusesWhatIsNoProject();
    void refusesMalformedProjectFiles_data();
    void refusesMalformedProjectFiles();
    void refusesMalformedManifests_data();
    void refusesMalformedManifests();
    void runsNothingForAnEmptyManifest_data();
    void runsNothingForAnEmptyManifest();
    void warnsOfAnInstanceThatIsListedTwice();
    void refusesEntriesThatNameNoInstance_data();
    void refusesEntriesThatNameNoInstance();
    void refusesAListedInstanceWithoutATree();
    void refusesNamesThatLeaveTheProject_data();
    void refusesNamesThatLeaveTheProject();
    void refusesTheManifestAsAnInstance();
};

void ResolveBadProjectTest::refusesWhatIsNoProject_data()
{
    QTest::addColumn<QString>("project");
    QTest::addColumn<QString>("removed");
    QTest::addColumn<QString>("message");

    QTest::newRow("missing folder")
        << QStringLiteral("plan") << QString() << QStringLiteral("plan: no such project folder");
    QTest::newRow("file") << QStringLiteral("plant/project.json") << QString()
                          << QStringLiteral("plant/project.json: expected a project folder, "
                                            "found a file");
    QTest::newRow("folder without project.json")
        << QStringLiteral("plant") << QStringLiteral("plant/project.json")
        << QStringLiteral("<folder>/plant: no project: expected a file project.json in it");
    QTest::newRow("no manifest")
        << QStringLiteral("plant") << s_manifest
        << QStringLiteral("<folder>/plant/configuration/manifest.json: no such file: expected the "
                          "project's manifest");
    QTest::newRow("no configuration folder")
        << QStringLiteral("plant") << QStringLiteral("plant/configuration")
        << QStringLiteral("<folder>/plant/configuration/manifest.json: no such file: expected the "
                          "project's manifest");
}

void ResolveBadProjectTest::refusesWhatIsNoProject()
{
    QFETCH(const QString, project);
    QFETCH(const QString, removed);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    if (!removed.isEmpty()) {
        folder.remove(removed);
    }
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run({QStringLiteral("resolve"), project}), 2, QString(),
                QStringLiteral("configscript: %1\n").arg(message));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadProjectTest::refusesMalformedProjectFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("message");

    const auto add = [](const char *file, const char *name, const QByteArray &content,
                        const char *message) {
        QTest::addRow("%s: %s", file, name)
            << QString::fromUtf8(file) << content << QString::fromUtf8(message);
    };
    add("project.json", "empty", "", ":1:1: expected a value, found the end of the file");
    add("project.json", "cut off", "{\n  \"moduleName\": \"pumps\",\n",
        ":3:1: expected a member's name in double quotes, found the end of the file");
    add("project.json", "array", "[]", ":1:1: expected an object, found an array");
    add("project.json", "text behind it", "{ \"moduleName\": \"pumps\", \"objectName\": \"p\" } x",
        ":1:46: expected nothing behind the outermost value, found 'x'");
    add("project.json", "invalid UTF-8",
        "{ \"moduleName\": \"\xc3\xbcnn\xfc\", \"objectName\": \"p\" }",
        ":1:21: expected UTF-8, found the byte 0xfc");
    add("project.json", "no module", "{ \"objectName\": \"plant\" }",
        ":1:1: expected a member \"moduleName\"");
    add("project.json", "no object", "{ \"moduleName\": \"pumps\" }",
        ":1:1: expected a member \"objectName\"");
    add("project.json", "module is a number",
        "{\n  \"moduleName\": 5,\n  \"objectName\": \"plant\"\n}",
        ":2:17: expected a string, found a number");
    add("project.json", "empty object name", "{ \"moduleName\": \"pumps\", \"objectName\": \"\" }",
        ":1:40: expected an object name, found an empty one");
    add("project.json", "language is null",
        "{ \"moduleName\": \"pumps\", \"objectName\": \"p\", \"language\": null }",
        ":1:57: expected a string, found null");
    add("project.json", "language is a path",
        "{ \"moduleName\": \"pumps\", \"objectName\": \"p\",\n  \"language\": \"../en\" }",
        ":2:15: expected a language such as \"en\", found a path");
    add("project.json", "other files are an array",
        "{ \"moduleName\": \"pumps\", \"objectName\": \"p\",\n  \"otherFiles\": [] }",
        ":2:17: expected an object, found an array");
    add("project.json", "another file is a number",
        "{ \"moduleName\": \"pumps\", \"objectName\": \"p\",\n  \"otherFiles\": { \"n\": 1 } }",
        ":2:24: expected a string, found a number");
    add("texts/en.json", "text is a number", "{ \"pump\": 1 }",
        ":1:11: expected a string, found a number");
    add("texts/en.json", "text twice", "{ \"pump\": \"a\",\n  \"pump\": \"b\" }",
        ":2:3: expected each member once, found a second \"pump\"");
    add("units.json", "unit is a text", "{ \"bar\": \"bar\" }",
        ":1:10: expected an object, found a string");
    add("providers.json", "provider is a text", "{ \"power\": \"cabinet\" }",
        ":1:12: expected an array of strings, found a string");
}

void ResolveBadProjectTest::refusesMalformedProjectFiles()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/") + file, content);
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 2, QString(),
                QStringLiteral("configscript: <folder>/plant/%1%2\n").arg(file, message));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadProjectTest::refusesMalformedManifests_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("message");

    const auto add = [](const char *name, const char *manifest, const char *message) {
        QTest::newRow(name) << QByteArray(manifest) << QString::fromUtf8(message);
    };
    add("empty", "", "1:1: expected a value, found the end of the file");
    add("not JSON", "pump\n", "1:1: expected a value, found 'p'");
    add("object", "{ \"dependencyFileExtern\": [ { \"instanceName\": \"pump\" } ] }",
        "1:1: expected an array on top, found an object");
    add("list is an object", "[ { \"dependencyFileExtern\": { \"instanceName\": \"pump\" } } ]",
        "1:29: expected an array as \"dependencyFileExtern\", found an object");
    add("name twice in one entry",
        "[ { \"dependencyFileExtern\": [\n  { \"instanceName\": \"a\", \"instanceName\": \"b\" } ] "
        "} ]",
        "2:26: expected each member once, found a second \"instanceName\"");
}

void ResolveBadProjectTest::refusesMalformedManifests()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(s_manifest, manifest);
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 2, QString(),
                QStringLiteral("configscript: <folder>/plant/configuration/manifest.json:%1\n")
                    .arg(message));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadProjectTest::runsNothingForAnEmptyManifest_data()
{
    QTest::addColumn<QByteArray>("manifest");
    QTest::addColumn<QString>("warning");

    const QString missing = QStringLiteral("warning: configuration/manifest.json:1:1: expected an "
                                           "object with the member \"dependencyFileExtern\"\n");
    QTest::newRow("no instances") << QByteArray("[ { \"dependencyFileExtern\": [] } ]")
                                  << QString();
    QTest::newRow("null") << QByteArray("[ { \"dependencyFileExtern\": null } ]") << QString();
    QTest::newRow("empty") << QByteArray("[]") << missing;
    QTest::newRow("other members")
        << QByteArray("[ { \"dependencies\": [ { \"instanceName\": \"pump\" } ] } ]") << missing;
}

void ResolveBadProjectTest::runsNothingForAnEmptyManifest()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(const QString, warning);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(s_manifest, manifest);
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                warning
                    + QStringLiteral("\n"
                                     "0 scripts run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadProjectTest::warnsOfAnInstanceThatIsListedTwice()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("pump")});
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("warning: configuration/manifest.json:4:5: \"pump\" is listed "
                               "twice\n")
                    + s_pumpReport,
                QString());
}

void ResolveBadProjectTest::refusesEntriesThatNameNoInstance_data()
{
    QTest::addColumn<QByteArray>("entry");

    QTest::newRow("no name") << QByteArray("{ \"instance\": \"valve\" }");
    QTest::newRow("name is a number") << QByteArray("{ \"instanceName\": 5 }");
    QTest::newRow("name is null") << QByteArray("{ \"instanceName\": null }");
    QTest::newRow("entry is a text") << QByteArray("\"valve\"");
}

void ResolveBadProjectTest::refusesEntriesThatNameNoInstance()
{
    QFETCH(const QByteArray, entry);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(s_manifest,
                 "[ { \"dependencyFileExtern\": [\n  { \"instanceName\": \"pump\" },\n  " + entry
                     + "\n] } ]\n");
    const Files before = folder.files();
    const Program program(folder.path());
    const ProgramRun refused =
        refusal(QStringLiteral("configuration/manifest.json:3: error: expected an object with the "
                               "string \"instanceName\" [manifest-entry]"));
    COMPARE_RUN(program.run(s_resolvePlant), refused);
    COMPARE_RUN(program.run(s_resolvePlant + QStringList(QStringLiteral("pump"))), refused);
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck), 0,
                QStringLiteral("warning: configuration/manifest.json:3:3: expected an object with "
                               "the string \"instanceName\"\n")
                    + s_pumpReport,
                QString());
}

void ResolveBadProjectTest::refusesAListedInstanceWithoutATree()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant),
                refusal(QStringLiteral("configuration/manifest.json:4: error: \"valve\" is listed, "
                                       "but there is no configuration/valve.json [missing-tree]")));
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant + s_noCheck), 1,
                QStringLiteral("ok       pump   dependency/pump.js  # ms\n"
                               "NOT RUN  valve  configuration/valve.json: no such file\n"
                               "\n"
                               "changed configuration/pump.json\n"
                               "  speed  1200 -> 1500\n"
                               "\n"
                               "1 script run, 0 failed, 1 not run; 1 file changed, 1 value; "
                               "# ms\n"),
                QString());
}

void ResolveBadProjectTest::refusesNamesThatLeaveTheProject_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("error");

    QTest::newRow("parent folder")
        << QStringLiteral("../outside") << QStringLiteral("holds the segment \"..\"");
    QTest::newRow("parent folder inside")
        << QStringLiteral("line/../../../outside") << QStringLiteral("holds the segment \"..\"");
    QTest::newRow("absolute path")
        << QStringLiteral("/outside") << QStringLiteral("holds an empty segment");
    QTest::newRow("same folder") << QStringLiteral("./pump")
                                 << QStringLiteral("holds the segment \".\"");
    QTest::newRow("slash at the end")
        << QStringLiteral("pump/") << QStringLiteral("holds an empty segment");
    QTest::newRow("two slashes") << QStringLiteral("line//pump")
                                 << QStringLiteral("holds an empty segment");
    QTest::newRow("backslash") << QStringLiteral("line\\pump")
                               << QStringLiteral("holds a backslash");
}

void ResolveBadProjectTest::refusesNamesThatLeaveTheProject()
{
    QFETCH(const QString, name);
    QFETCH(const QString, error);

    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QString(name).replace(QLatin1Char('\\'), QStringLiteral("\\\\"))});
    // Found if the name were taken as a path.
    const QByteArray tree = folder.files().value(QStringLiteral("plant/configuration/pump.json"));
    folder.write(QStringLiteral("plant/outside.json"), tree);
    folder.write(QStringLiteral("outside.json"), tree);
    folder.write(QStringLiteral("plant/configuration/line/pump.json"), tree);
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(program.run(s_resolvePlant),
                refusal(QStringLiteral("configuration/manifest.json:3: error: \"%1\": the instance "
                                       "name %2 [missing-tree]")
                            .arg(name, error)));
    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck),
                notRun(QStringLiteral("%1  the instance name %2").arg(name, error)));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadProjectTest::refusesTheManifestAsAnInstance()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QStringLiteral("manifest")});
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(
        program.run(s_resolvePlant),
        refusal(QStringLiteral("configuration/manifest.json:3: error: \"manifest\": this is "
                               "the name of the manifest [missing-tree]")));
    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck),
                notRun(QStringLiteral("manifest  this is the name of the manifest")));
    COMPARE_FILES(folder.files(), before);
}

TEST_CLASS(ResolveBadProjectTest)
#include "ResolveBadProjectTest.moc"
