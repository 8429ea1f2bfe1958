#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

namespace {

QStringList explain(const QStringList &arguments)
{
    return QStringList(QStringLiteral("explain")) + arguments;
}

/// The plant with the instances and scripts "a" and "b", and their settings "x" and "y".
void makePair(const ScratchFolder &folder, const QByteArray &a, const QByteArray &b)
{
    folder.makePlant();
    folder.remove(QStringLiteral("plant/configuration/pump.json"));
    folder.remove(QStringLiteral("plant/dependency/pump.js"));
    folder.listInstances({QStringLiteral("a"), QStringLiteral("b")});
    for (const char *name : {"a", "b"}) {
        const QByteArray script = name[0] == 'a' ? a : b;
        folder.write(QStringLiteral("plant/configuration/%1.json").arg(QLatin1String(name)),
                     QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"") + name
                         + ".js\", \"x\": 1, \"y\": 2 } }\n");
        folder.writeScript(QLatin1String(name) + QStringLiteral(".js"),
                           "function onSave(api, url) {\n"
                           "  const a = \"config://pumps/plant/a\";\n"
                           "  const b = \"config://pumps/plant/b\";\n"
                               + script + "}\n");
    }
}

} // namespace

class ExplainCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhereValuesComeFromAndGo_data();
    void tellsWhereValuesComeFromAndGo();
    void explainsAPlantInWhichNothingChanges();
    void followsValuesThroughSeveralScripts();
    void stopsAtTheDepthAskedFor();
    void cutsCircles();
    void showsAllWritersInTheirOrder();
    void tellsWhatIsNotSeenByRelativeUrl();
    void explainsWhatNoScriptTouches();
    void understandsEachFormOfUrl_data();
    void understandsEachFormOfUrl();
    void refusesWhatDoesNotExist_data();
    void refusesWhatDoesNotExist();
    void reportsScriptsThatFail();
    void runsNothingWhenTheCheckFindsErrors();
    void writesNoFile();
};

void ExplainCommandTest::tellsWhereValuesComeFromAndGo_data()
{
    QTest::addColumn<QString>("golden");
    QTest::addColumn<QString>("arguments");

    const auto add = [](const char *golden, const char *arguments) {
        QTest::newRow(golden) << QString(QLatin1String(golden))
                              << QString(QLatin1String(arguments));
    };
    add("changed", "line1/tank1/level#alarms/limits:thresholds");
    add("node", "line1/pump1#display");
    add("many-reads", "site/alarms#lists/emergency:alarms");
    add("all-reads", "site/alarms#lists/emergency:alarms --all");
    add("affects", "line1/tank1#geometry/height:value --affects");
    add("json", "line1/tank1#geometry/volume:value --json");
    add("affects-json", "line1/tank1#geometry/height:value --affects --json");
}

void ExplainCommandTest::tellsWhereValuesComeFromAndGo()
{
    QFETCH(const QString, golden);
    QFETCH(const QString, arguments);

    const ScratchFolder folder;
    folder.copyExamples();
    ProgramRun run = Program(folder.path())
                         .run(explain(QStringList(QStringLiteral("pump-station"))
                                      + arguments.split(QLatin1Char(' '))));
    COMPARE_RUN(run, 0, run.output, QString());
    if (golden.endsWith(QLatin1String("json"))) {
        // Steps are numbered in the order in which the scripts ran, another one each time.
        static const QRegularExpression step(QStringLiteral("\"(step|source)\": \\d+"));
        run.output.replace(step, QStringLiteral("\"\\1\": \"#\""));
    }
    COMPARE_GOLDEN(QStringLiteral("explain-") + golden,
                   (Files{{QStringLiteral("report.txt"), run.output.toUtf8()}}));
}

void ExplainCommandTest::explainsAPlantInWhichNothingChanges()
{
    const ScratchFolder folder;
    makePair(folder, "  api.setPropertyExtern(b, \"x\", api.getPropertyExtern(a, \"x\"));\n",
             "  api.setPropertyExtern(b, \"y\", 1 + api.getPropertyExtern(b, \"x\"));\n");
    // Whichever of the two scripts ran first.
    for (int i = 0; i < 5; ++i) {
        COMPARE_RUN(
            Program(folder.path()).run(explain({QStringLiteral("plant"), QStringLiteral("b:y")})),
            0,
            QStringLiteral("b:y  2\n"
                           "  confirmed by b (dependency/b.js), having read\n"
                           "    b:x  1\n"
                           "      confirmed by a (dependency/a.js), having read\n"
                           "        a:x  1\n"),
            QString());
    }
}

void ExplainCommandTest::followsValuesThroughSeveralScripts()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"flow\", "
                       "api.getPropertyExtern(url, \"speed\") / 10);\n"
                       "  api.setPropertyExtern(url, \"range\", { min: 0, "
                       "max: api.getPropertyExtern(url, \"flow\") });\n"
                       "  api.setPropertyExtern(url, \"range\", { min: 0, max: 150 });\n"
                       "}\n");
    const Program program(folder.path());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("pump:range")})), 0,
                QStringLiteral("pump:range  new { \"max\": 150, \"min\": 0 }\n"
                               "  first written by pump (dependency/pump.js): "
                               "new { \"max\": 120, \"min\": 0 }, having read\n"
                               "    pump:flow   new 120\n"
                               "      written by pump (dependency/pump.js), having read\n"
                               "        pump:speed  1200\n"
                               "    pump:speed  1200\n"
                               "  then written by pump (dependency/pump.js): .max 120 -> 150, "
                               "having read the same as above\n"),
                QString());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("pump:speed"),
                                     QStringLiteral("--affects")})),
                0,
                QStringLiteral("pump:speed  1200\n"
                               "  read by pump (dependency/pump.js), which then wrote\n"
                               "    pump:flow   new 120\n"
                               "    pump:range  .max 120 -> 150\n"),
                QString());
}

void ExplainCommandTest::stopsAtTheDepthAskedFor()
{
    const ScratchFolder folder;
    makePair(folder, "  api.setPropertyExtern(b, \"x\", api.getPropertyExtern(a, \"x\"));\n",
             "  api.setPropertyExtern(b, \"y\", 1 + api.getPropertyExtern(b, \"x\"));\n");
    const Program program(folder.path());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("b:y"),
                                     QStringLiteral("--depth"), QStringLiteral("1")})),
                0,
                QStringLiteral("b:y  2\n"
                               "  confirmed by b (dependency/b.js), having read\n"
                               "    b:x  1\n"
                               "      confirmed by a (dependency/a.js), having read 1 property\n"),
                QString());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("a:x"),
                                     QStringLiteral("--affects"), QStringLiteral("--depth"),
                                     QStringLiteral("0")})),
                0,
                QStringLiteral("a:x  1\n"
                               "  read by a (dependency/a.js), which then wrote 1 property\n"),
                QString());
    const QString json =
        program
            .run(explain({QStringLiteral("plant"), QStringLiteral("b:y"), QStringLiteral("--depth"),
                          QStringLiteral("0"), QStringLiteral("--json")}))
            .output;
    QCOMPARE(QJsonDocument::fromJson(json.toUtf8())
                 .object()
                 .value(QStringLiteral("properties"))
                 .toArray()
                 .size(),
             1);
}

void ExplainCommandTest::cutsCircles()
{
    const ScratchFolder folder;
    makePair(folder, "  api.setPropertyExtern(b, \"x\", api.getPropertyExtern(a, \"x\"));\n",
             "  api.setPropertyExtern(a, \"x\", api.getPropertyExtern(b, \"x\"));\n");
    const Program program(folder.path());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("a:x")})), 0,
                QStringLiteral("a:x  1\n"
                               "  confirmed by b (dependency/b.js), having read\n"
                               "    b:x  1\n"
                               "      confirmed by a (dependency/a.js), having read\n"
                               "        a:x  1\n"
                               "          confirmed by b (dependency/b.js), see above: a circle\n"),
                QString());
    COMPARE_RUN(program.run(explain(
                    {QStringLiteral("plant"), QStringLiteral("a:x"), QStringLiteral("--affects")})),
                0,
                QStringLiteral("a:x  1\n"
                               "  read by a (dependency/a.js), which then wrote\n"
                               "    b:x  1\n"
                               "      read by b (dependency/b.js), which then wrote\n"
                               "        a:x  1  see above: a circle\n"),
                QString());
}

void ExplainCommandTest::showsAllWritersInTheirOrder()
{
    const ScratchFolder folder;
    makePair(folder, "  api.setPropertyExtern(a, \"x\", 5);\n",
             "  api.setPropertyExtern(a, \"x\", 6);\n");
    const ProgramRun run =
        Program(folder.path()).run(explain({QStringLiteral("plant"), QStringLiteral("a:x")}));
    const ProgramRun aFirst{0,
                            QStringLiteral("a:x  1 -> 6\n"
                                           "  first written by a (dependency/a.js): 1 -> 5, "
                                           "having read nothing\n"
                                           "  then written by b (dependency/b.js): 5 -> 6, "
                                           "having read nothing\n"),
                            QString()};
    const ProgramRun bFirst{0,
                            QStringLiteral("a:x  1 -> 5\n"
                                           "  first written by b (dependency/b.js): 1 -> 6, "
                                           "having read nothing\n"
                                           "  then written by a (dependency/a.js): 6 -> 5, "
                                           "having read nothing\n"),
                            QString()};
    COMPARE_RUN(run, run.output == aFirst.output ? aFirst : bFirst);
}

void ExplainCommandTest::tellsWhatIsNotSeenByRelativeUrl()
{
    const ScratchFolder folder;
    makePair(folder, "  api.setProperty(\"\", \"y\", 9);\n",
             "  api.setPropertyExtern(b, \"x\", 7);\n"
             "  api.setPropertyExtern(b, \"y\", api.getProperty(\"\", \"x\"));\n");
    const Program program(folder.path());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("b:y")})), 0,
                QStringLiteral("b:y  2 -> 1\n"
                               "  written by b (dependency/b.js), having read\n"
                               "    b:x  1\n"
                               "      as in its file; b (dependency/b.js) wrote 7 before, which "
                               "is not seen by relative URL\n"),
                QString());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("a:y")})), 0,
                QStringLiteral("a:y  2\n"
                               "  written by a (dependency/a.js) by relative URL, which nobody "
                               "saves, having read nothing\n"),
                QString());
}

void ExplainCommandTest::explainsWhatNoScriptTouches()
{
    const ScratchFolder folder;
    makePair(folder, "  api.getPropertyExtern(a, \"x\");\n", "");
    const Program program(folder.path());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("b:y")})), 0,
                QStringLiteral("b:y  2\n"
                               "  no script reads or writes it\n"),
                QString());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("b")})), 0,
                QStringLiteral("b: no script wrote a property of this node\n"), QString());
    COMPARE_RUN(program.run(explain(
                    {QStringLiteral("plant"), QStringLiteral("b"), QStringLiteral("--affects")})),
                0, QStringLiteral("b: no script read a property of this node\n"), QString());
    COMPARE_RUN(program.run(explain({QStringLiteral("plant"), QStringLiteral("a:x")})), 0,
                QStringLiteral("a:x  1\n"
                               "  written by no script; read by a (dependency/a.js)\n"),
                QString());
    COMPARE_RUN(program.run(explain(
                    {QStringLiteral("plant"), QStringLiteral("a:x"), QStringLiteral("--affects")})),
                0,
                QStringLiteral("a:x  1\n"
                               "  read by a (dependency/a.js), which then wrote nothing\n"),
                QString());
}

void ExplainCommandTest::understandsEachFormOfUrl_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("firstLine");

    const auto add = [](const char *url, const char *firstLine) {
        QTest::newRow(url) << QString(QLatin1String(url)) << QString(QLatin1String(firstLine));
    };
    add("line1#pipe/velocity:value", "line1#pipe/velocity:value  1.36");
    add("config://pumps/station/line1#pipe/velocity:value", "line1#pipe/velocity:value  1.36");
    add("process:site#origin:hostType", "process:site#origin:hostType  ");
    add("process://pumps/station/site#origin:hostType", "process:site#origin:hostType  ");
    add("config://pumps/switchCabinet/cabinet/feeder3#consumer:tag",
        "cabinet/feeder3#consumer:tag  ");
    add("config://pumps/network/bus3#participants:list",
        "config://pumps/network/bus3#participants:list  [1].address 35 -> 36");
    add("line1:dependencyFileExtern", "line1:dependencyFileExtern  \"line.js\"");
    add("line1#:dependencyFileExtern", "line1:dependencyFileExtern  \"line.js\"");
    add("config://pumps/station/line1:dependencyFileExtern",
        "line1:dependencyFileExtern  \"line.js\"");
    add("process:line1#measurements/flow", "process:line1#measurements/flow:range  ");
    add("config://pumps/station/line1#pipe/velocity", "line1#pipe/velocity:value  1.36");
}

void ExplainCommandTest::understandsEachFormOfUrl()
{
    QFETCH(const QString, url);
    QFETCH(const QString, firstLine);

    const ScratchFolder folder;
    folder.copyExamples();
    const ProgramRun run =
        Program(folder.path()).run(explain({QStringLiteral("pump-station"), url}));
    COMPARE_RUN(run, 0, run.output, QString());
    QCOMPARE(run.output.section(QLatin1Char('\n'), 0, 0).left(firstLine.size()), firstLine);
}

void ExplainCommandTest::refusesWhatDoesNotExist_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("error");

    const auto add = [](const char *url, const char *error) {
        QTest::newRow(url) << QString(QLatin1String(url)) << QString(QLatin1String(error));
    };
    add("line9#pipe:value", "no instance \"line9\"; configscript list shows all");
    add("process:cabinet/feeder1",
        "<folder>/pump-station/process/cabinet/feeder1.json: no such file");
    add("line1#pip:value", "line1 has no node \"pip\"");
    add("line1#pipe/velocity:valu",
        "line1#pipe/velocity has no property \"valu\"; its properties: labelTextId, unit, value");
    add("", "\"\": expected a URL such as line1/pump1#motor/ratedPower:value");
    add("#pipe:value",
        "\"#pipe:value\": expected a URL such as line1/pump1#motor/ratedPower:value");
    add("line1//pump1", "\"line1//pump1\": the instance name holds an empty segment");
    add("http://pumps/station/line1:x",
        "\"http://pumps/station/line1:x\": expected config://module/object/instance#path:key or "
        "process://module/object/instance#path:key");
    add("config://plant/station/line1:x",
        "\"config://plant/station/line1:x\": expected the module \"pumps\"");
    add("config://pumps/plant/line1:x",
        "\"config://pumps/plant/line1:x\": expected one of the objects network, station, "
        "switchCabinet");
}

void ExplainCommandTest::refusesWhatDoesNotExist()
{
    QFETCH(const QString, url);
    QFETCH(const QString, error);

    const ScratchFolder folder;
    folder.copyExamples();
    COMPARE_RUN(Program(folder.path()).run(explain({QStringLiteral("pump-station"), url})), 2,
                QString(), QStringLiteral("configscript: ") + error + QLatin1Char('\n'));
}

void ExplainCommandTest::reportsScriptsThatFail()
{
    const ScratchFolder folder;
    makePair(folder,
             "  api.setPropertyExtern(a, \"x\", 5);\n"
             "  throw new Error(\"no\");\n",
             "  return false;\n");
    COMPARE_RUN(
        Program(folder.path()).run(explain({QStringLiteral("plant"), QStringLiteral("a:x")})), 1,
        QStringLiteral("a:x  1 -> 5\n"
                       "  written by a (dependency/a.js), having read nothing\n"),
        QStringLiteral("configscript: a: dependency/a.js failed: dependency/a.js:5: "
                       "Error: no\n"
                       "configscript: b: dependency/b.js failed: onSave returned false\n"));
}

void ExplainCommandTest::runsNothingWhenTheCheckFindsErrors()
{
    const ScratchFolder folder;
    makePair(folder, "", "");
    folder.listInstances({QStringLiteral("a"), QStringLiteral("c")});
    const QString finding =
        QStringLiteral("configuration/manifest.json:4: error: \"c\" is listed, but there is no "
                       "configuration/c.json [missing-tree]\n");
    for (const QStringList &arguments :
         {explain({QStringLiteral("plant"), QStringLiteral("a:x")}),
          QStringList({QStringLiteral("graph"), QStringLiteral("plant")})}) {
        const Program program(folder.path());
        COMPARE_RUN(program.run(arguments), 1,
                    finding + QStringLiteral("No script was run: 1 error, 0 warnings.\n"),
                    QString());
        const ProgramRun json = program.run(arguments + QStringList(QStringLiteral("--json")));
        COMPARE_RUN(json, 1, json.output, QString());
        const QJsonObject object = QJsonDocument::fromJson(json.output.toUtf8()).object();
        QCOMPARE(object.value(QStringLiteral("succeeded")), QJsonValue(false));
        QCOMPARE(object.value(QStringLiteral("errors")), QJsonValue(1));
    }
}

void ExplainCommandTest::writesNoFile()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    QCOMPARE(Program(folder.path())
                 .run(explain({QStringLiteral("pump-station"), QStringLiteral("line1#pipe")}))
                 .exitCode,
             0);
    COMPARE_FILES(folder.files(), before);
}

TEST_CLASS(ExplainCommandTest)
#include "ExplainCommandTest.moc"
