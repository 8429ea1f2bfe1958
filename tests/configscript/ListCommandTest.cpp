#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QJsonDocument>
#include <QTest>

namespace {

const QStringList s_listPlant{QStringLiteral("list"), QStringLiteral("plant")};
const QStringList s_json{QStringLiteral("--json")};

const QString s_heading =
    QStringLiteral("INSTANCE  LISTED  DEPENDENCY  SCRIPT  PROCESS  NODES  PROPERTIES  BYTES\n");
const QString s_pump =
    QStringLiteral("pump      yes     pump.js     -       -            1           2     71\n");

} // namespace

class ListCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void listsTheInstances();
    void listsTheInstancesAsJson();
    void listsAProjectWithoutInstances();
    void tellsWhyATreeCannotBeRead();
    void leavesOutWhatIsNoInstance();
    void listsWithoutAReadableManifest_data();
    void listsWithoutAReadableManifest();
    void refusesWhatIsNoProject_data();
    void refusesWhatIsNoProject();
    void hasNoColors();
    void doesNotDependOnTheLocale();
};

void ListCommandTest::listsTheInstances()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/process/pump.json"), "{}");
    folder.write(QStringLiteral("plant/configuration/line1/long-valve.json"),
                 "{ \"properties\": { \"scriptFile\": \"ui/valve.js\" },\n"
                 "  \"readOnly\": [\"serial\"],\n"
                 "  \"children\": {\n"
                 "    \"a\": { \"properties\": { \"k\": { \"x\": 1, \"y\": 2 }, \"l\": [] } },\n"
                 "    \"b\": { \"children\": { \"c\": {} } } } }\n");
    folder.write(QStringLiteral("plant/configuration/line1.json"), "{}");
    folder.listInstances(
        {QStringLiteral("pump"), QStringLiteral("line1"), QStringLiteral("no/such/tree")});
    const Files before = folder.files();
    const QString table = QStringLiteral(
        R"(INSTANCE          LISTED  DEPENDENCY  SCRIPT       PROCESS  NODES  PROPERTIES  BYTES
line1             yes     -           -            -            1           0      2
line1/long-valve  -       -           ui/valve.js  -            4           3    197
pump              yes     pump.js     -            yes          1           2     71
)");
    COMPARE_RUN(Program(folder.path()).run(s_listPlant), 0, table, QString());
    COMPARE_FILES(folder.files(), before);
}

void ListCommandTest::listsTheInstancesAsJson()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(
        QStringLiteral("plant/configuration/valve.json"),
        "{ \"properties\": { \"scriptFile\": \"valve.js\" }, \"children\": { \"a\": {} } }");
    folder.write(QStringLiteral("plant/process/valve.json"), "{}");
    folder.write(QStringLiteral("plant/configuration/b.json"), "5\n");
    COMPARE_RUN(Program(folder.path()).run(s_listPlant + s_json), 0,
                QString::fromUtf8(QJsonDocument::fromJson(R"({
                    "project": "<folder>/plant",
                    "instances": [
                        { "instance": "b", "listed": false, "dependencyScript": "",
                          "userInterfaceScript": "", "process": false, "nodes": 0, "properties": 0,
                          "bytes": 2, "error":
                          "configuration/b.json:1:1: expected a node: an object, found a number" },
                        { "instance": "pump", "listed": true, "dependencyScript": "pump.js",
                          "userInterfaceScript": "", "process": false, "nodes": 1, "properties": 2,
                          "bytes": 71 },
                        { "instance": "valve", "listed": false, "dependencyScript": "",
                          "userInterfaceScript": "valve.js", "process": true, "nodes": 2,
                          "properties": 1, "bytes": 71 }
                    ] })")
                                      .toJson()),
                QString());
}

void ListCommandTest::listsAProjectWithoutInstances()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.remove(QStringLiteral("plant/configuration/pump.json"));
    COMPARE_RUN(Program(folder.path()).run(s_listPlant), 0, s_heading, QString());
    COMPARE_RUN(Program(folder.path()).run(s_listPlant + s_json), 0,
                QString::fromUtf8(
                    QJsonDocument::fromJson(R"({ "project": "<folder>/plant", "instances": [] })")
                        .toJson()),
                QString());
}

void ListCommandTest::tellsWhyATreeCannotBeRead()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/configuration/broken.json"),
                 "{ \"properties\": {},\n  \"children\": 5 }");
    folder.write(QStringLiteral("plant/configuration/secret.json"), "{}");
    const Permissions permissions(folder.path(QStringLiteral("plant/configuration/secret.json")),
                                  {});
    Program program(folder.path());
    program.runWithoutPrivilege();
    COMPARE_RUN(program.run(s_listPlant), 0,
                s_heading
                    + QStringLiteral("broken    configuration/broken.json:2:15: expected an object "
                                     "as \"children\", found a number\n")
                    + s_pump
                    + QStringLiteral("secret    configuration/secret.json: cannot be read: "
                                     "Permission denied\n"),
                QString());
}

void ListCommandTest::leavesOutWhatIsNoInstance()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/configuration/readme.txt"), "no tree");
    folder.write(QStringLiteral("plant/configuration/pump.JSON"), "no tree");
    folder.write(QStringLiteral("plant/process/valve.json"), "{}");
    folder.write(QStringLiteral("outside.json"), "{}");
    folder.link(QStringLiteral("plant/configuration/link.json"),
                folder.path(QStringLiteral("outside.json")));
    COMPARE_RUN(Program(folder.path()).run(s_listPlant), 0, s_heading + s_pump, QString());
}

void ListCommandTest::listsWithoutAReadableManifest_data()
{
    QTest::addColumn<QByteArray>("manifest"); // null for none
    QTest::addColumn<QString>("message");

    QTest::newRow("none") << QByteArray()
                          << QStringLiteral(": no such file: expected the project's manifest");
    QTest::newRow("malformed") << QByteArray("[\n")
                               << QStringLiteral(":2:1: expected a value, found the end of "
                                                 "the file");
    QTest::newRow("no list") << QByteArray("[ { \"dependencyFileExtern\": \"pump\" } ]")
                             << QStringLiteral(":1:29: expected an array as "
                                               "\"dependencyFileExtern\", found a string");
}

void ListCommandTest::listsWithoutAReadableManifest()
{
    QFETCH(const QByteArray, manifest);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    if (manifest.isNull()) {
        folder.remove(QStringLiteral("plant/configuration/manifest.json"));
    } else {
        folder.write(QStringLiteral("plant/configuration/manifest.json"), manifest);
    }
    COMPARE_RUN(Program(folder.path()).run(s_listPlant), 2,
                s_heading + QString(s_pump).replace(QLatin1String("yes"), QLatin1String("-  ")),
                QStringLiteral("configscript: <folder>/plant/configuration/manifest.json%1\n")
                    .arg(message));
}

void ListCommandTest::refusesWhatIsNoProject_data()
{
    QTest::addColumn<QString>("argument");
    QTest::addColumn<QString>("message");

    QTest::newRow("nothing") << QStringLiteral("plnt")
                             << QStringLiteral("plnt: no such project folder");
    QTest::newRow("a file") << QStringLiteral("plant/project.json")
                            << QStringLiteral("plant/project.json: expected a project folder, "
                                              "found a file");
    QTest::newRow("another folder")
        << QStringLiteral("plant/configuration")
        << QStringLiteral("<folder>/plant/configuration: no project: expected a file project.json "
                          "in it");
}

void ListCommandTest::refusesWhatIsNoProject()
{
    QFETCH(const QString, argument);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    COMPARE_RUN(Program(folder.path()).run({QStringLiteral("list"), argument}), 2, QString(),
                QStringLiteral("configscript: %1\n").arg(message));
}

void ListCommandTest::hasNoColors()
{
    const ScratchFolder folder;
    folder.makePlant();
    COMPARE_RUN(Program(folder.path()).run(s_listPlant + QStringList(QStringLiteral("--no-color"))),
                0, s_heading + s_pump, QString());
    Program program(folder.path());
    program.runInTerminal();
    QCOMPARE(program.run(s_listPlant).output.remove(QLatin1Char('\r')), s_heading + s_pump);
}

void ListCommandTest::doesNotDependOnTheLocale()
{
    const ScratchFolder folder;
    folder.write(QStringLiteral("Pumpen Süd/project.json"),
                 "{ \"moduleName\": \"pümps\", \"objectName\": \"plänt\" }");
    folder.write(QStringLiteral("Pumpen Süd/configuration/manifest.json"),
                 "[ { \"dependencyFileExtern\": [ { \"instanceName\": \"Kühl/Straße 1\" } ] } ]");
    folder.write(QStringLiteral("Pumpen Süd/configuration/Kühl/Straße 1.json"),
                 "{ \"properties\": { \"scriptFile\": \"Öl.js\" } }");
    folder.write(QStringLiteral("Pumpen Süd/configuration/pump.json"), "{}");
    Program program(folder.path());
    program.setVariable(QStringLiteral("LANG"), QStringLiteral("C"));
    program.setVariable(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    COMPARE_RUN(
        program.run({QStringLiteral("list"), QStringLiteral("Pumpen Süd/")}), 0,
        QStringLiteral(
            "INSTANCE       LISTED  DEPENDENCY  SCRIPT  PROCESS  NODES  PROPERTIES  BYTES\n"
            "Kühl/Straße 1  yes     -           Öl.js   -            1           1     44\n"
            "pump           -       -           -       -            1           0      2\n"),
        QString());
}

TEST_CLASS(ListCommandTest)
#include "ListCommandTest.moc"
