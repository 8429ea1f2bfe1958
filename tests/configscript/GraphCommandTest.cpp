#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace {

QStringList graph(const QString &arguments)
{
    return QStringList(QStringLiteral("graph")) + arguments.split(QLatin1Char(' '));
}

/// Puts a program named "dot" in front of all others: a shell script.
void useDot(const ScratchFolder &folder, Program &program, const QByteArray &script)
{
    const QString path = folder.path(QStringLiteral("bin/dot"));
    folder.write(QStringLiteral("bin/dot"), "#!/bin/bash\n" + script);
    if (!QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner)) {
        qFatal("cannot make %s a program", qPrintable(path));
    }
    program.setVariable(QStringLiteral("PATH"),
                        folder.path(QStringLiteral("bin")) + QLatin1Char(':')
                            + qEnvironmentVariable("PATH"));
}

/// The plant with @p count instances, all with a script that reads the next one.
void makeRing(const ScratchFolder &folder, int count)
{
    folder.makePlant();
    QStringList instances;
    for (int i = 0; i < count; ++i) {
        instances.append(QStringLiteral("line%1/pump%2").arg(i / 10).arg(i % 10));
    }
    folder.listInstances(instances);
    for (int i = 0; i < count; ++i) {
        folder.addInstance(instances.at(i), QStringLiteral("pump.js"));
    }
    folder.remove(QStringLiteral("plant/configuration/pump.json"));
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  const number = url.match(/line(\\d+).pump(\\d)/);\n"
                       "  const next = (10 * Number(number[1]) + Number(number[2]) + 1) % "
                           + QByteArray::number(count)
                           + ";\n"
                             "  api.getPropertyExtern(\"config://pumps/plant/line\" + "
                             "Math.floor(next / 10) + \"/pump\" + next % 10, \"speed\");\n"
                             "}\n");
}

} // namespace

class GraphCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void printsTheGraph_data();
    void printsTheGraph();
    void isTheSameForASettledPlant();
    void drawsManyInstancesByLine();
    void escapesNames();
    void marksScriptsThatFail();
    void drawsWithGraphviz();
    void replacesNoFileWhenDrawingFails_data();
    void replacesNoFileWhenDrawingFails();
    void refusesToDrawWithoutGraphviz();
    void tellsThatThePictureCannotBeWritten();
    void refusesAnUnknownInstance();
};

void GraphCommandTest::printsTheGraph_data()
{
    QTest::addColumn<QString>("golden");
    QTest::addColumn<QString>("arguments");

    const auto add = [](const char *golden, const char *arguments) {
        QTest::newRow(golden) << QString(QLatin1String(golden))
                              << QString(QLatin1String(arguments));
    };
    add("all", "pump-station");
    add("line", "pump-station --level line");
    add("instance", "pump-station line1/tank1");
    add("prefix", "pump-station cabinet");
    add("json", "pump-station site --json");
}

void GraphCommandTest::printsTheGraph()
{
    QFETCH(const QString, golden);
    QFETCH(const QString, arguments);

    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path()).run(graph(arguments));
    COMPARE_RUN(run, 0, run.output, QString());
    COMPARE_GOLDEN(QStringLiteral("graph-") + golden,
                   (Files{{QStringLiteral("graph.txt"), run.output.toUtf8()}}));
    COMPARE_FILES(folder.files(), before);
}

void GraphCommandTest::isTheSameForASettledPlant()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Program program(folder.path());
    const ProgramRun before = program.run(graph(QStringLiteral("pump-station")));
    QCOMPARE(program.run({QStringLiteral("resolve"), QStringLiteral("pump-station")}).exitCode, 0);
    COMPARE_RUN(program.run(graph(QStringLiteral("pump-station"))), before);
}

void GraphCommandTest::drawsManyInstancesByLine()
{
    const ScratchFolder folder;
    makeRing(folder, 90);
    Program program(folder.path());
    const QString byLine = program.run(graph(QStringLiteral("plant --level line"))).output;
    const QString byInstance = program.run(graph(QStringLiteral("plant --level instance"))).output;
    COMPARE_RUN(program.run(graph(QStringLiteral("plant"))), 0, byLine, QString());
    QVERIFY2(byLine.contains(QStringLiteral("\"line0\" -> \"line8\" [label=\"1\"")),
             qPrintable(byLine));
    QVERIFY2(byLine.contains(QStringLiteral("10 instances<br/>10 scripts<br/>9 arrows inside")),
             qPrintable(byLine));
    QVERIFY2(byInstance.contains(QStringLiteral("splines=line")), qPrintable(byInstance));
    QVERIFY2(byInstance.contains(QStringLiteral("\"line0/pump1\" -> \"line0/pump0\" [color=")),
             qPrintable(byInstance));

    useDot(folder, program, "cat\n");
    COMPARE_RUN(program.run(graph(QStringLiteral("plant --svg graph.svg"))), 0,
                QStringLiteral("drawn: graph.svg, each line as one; an INSTANCE shows its "
                               "surroundings, --level instance all\n"),
                QString());
}

void GraphCommandTest::escapesNames()
{
    const ScratchFolder folder;
    folder.makePlant();
    const QString name = QStringLiteral("a\"<b>&%1 Pümpe\n#");
    folder.write(QStringLiteral("plant/configuration/%1.json").arg(name),
                 "{ \"properties\": { \"\\\\k\\\"\": 1 } }\n");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.getPropertyExtern(\"config://pumps/plant/"
                       "a%22%3Cb%3E&%251%20P\u00fcmpe%0A%23\", \"\\\\k\\\"\");\n"
                       "}\n");
    const ProgramRun run = Program(folder.path()).run(graph(QStringLiteral("plant")));
    COMPARE_RUN(run, 0, run.output, QString());
    for (const char *line :
         {"  \"config://pumps/plant/a%22%3Cb%3E&%251%20Pümpe%0A%23\" "
          "[label=<<font color=\"#35404A\" point-size=\"11\">"
          "a&quot;&lt;b&gt;&amp;%1 Pümpe\\x0a#</font>>, ",
          "tooltip=\"pump reads from config://pumps/plant/a%22%3Cb%3E&%251%20Pümpe%0A%23:"
          "\\n:\\\\k\\\"\""}) {
        QVERIFY2(run.output.contains(QString::fromUtf8(line)), qPrintable(run.output));
    }
}

void GraphCommandTest::marksScriptsThatFail()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), "function onSave(api, url) { return false; }\n");
    const Program program(folder.path());
    const QString error =
        QStringLiteral("configscript: pump: dependency/pump.js failed: onSave returned false\n");
    for (const char *level : {"instance", "line"}) {
        const ProgramRun run =
            program.run(graph(QStringLiteral("plant --level ") + QLatin1String(level)));
        COMPARE_RUN(run, 1, run.output, error);
        QVERIFY2(run.output.contains(QStringLiteral("fillcolor=\"#F9DAD7\", color=\"#C0271C\"")),
                 qPrintable(run.output));
    }
    const ProgramRun json = program.run(graph(QStringLiteral("plant --json")));
    COMPARE_RUN(json, 1, json.output, error);
    const QJsonObject object = QJsonDocument::fromJson(json.output.toUtf8()).object();
    QCOMPARE(object.value(QStringLiteral("succeeded")), QJsonValue(false));
    QCOMPARE(object.value(QStringLiteral("nodes"))
                 .toArray()
                 .at(0)
                 .toObject()
                 .value(QStringLiteral("succeeded")),
             QJsonValue(false));
}

void GraphCommandTest::drawsWithGraphviz()
{
    const ScratchFolder folder;
    folder.makePlant();
    Program program(folder.path());
    const QByteArray dot = program.run(graph(QStringLiteral("plant"))).output.toUtf8();
    useDot(folder, program, "echo \"$@\"\ncat\necho odd >&2\n");
    COMPARE_RUN(program.run(graph(QStringLiteral("plant --svg a.svg --png new/b.png"))), 0,
                QStringLiteral("drawn: a.svg\ndrawn: new/b.png\n"),
                QStringLiteral("configscript: <folder>/bin/dot: odd\n"
                               "configscript: <folder>/bin/dot: odd\n"));
    QCOMPARE(folder.files().value(QStringLiteral("a.svg")), "-Tsvg\n" + dot);
    QCOMPARE(folder.files().value(QStringLiteral("new/b.png")), "-Tpng\n" + dot);
}

void GraphCommandTest::replacesNoFileWhenDrawingFails_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("errors");

    QTest::newRow("exit code") << QByteArray("cat\nexit 3\n") << QStringLiteral("exit code 3");
    QTest::newRow("crash") << QByteArray("cat\nkill -9 $$\n") << QStringLiteral("Process crashed");
    QTest::newRow("nothing drawn")
        << QByteArray("cat > /dev/null\n") << QStringLiteral("it drew nothing");
}

void GraphCommandTest::replacesNoFileWhenDrawingFails()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, errors);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("a.svg"), "old");
    Program program(folder.path());
    useDot(folder, program, script);
    COMPARE_RUN(program.run(graph(QStringLiteral("plant --svg a.svg"))), 1, QString(),
                QStringLiteral("configscript: a.svg: not written: <folder>/bin/dot failed: %1\n")
                    .arg(errors));
    QCOMPARE(folder.files().value(QStringLiteral("a.svg")), QByteArray("old"));
}

void GraphCommandTest::refusesToDrawWithoutGraphviz()
{
    const ScratchFolder folder;
    folder.makePlant();
    Program program(folder.path());
    program.setVariable(QStringLiteral("PATH"), folder.path());
    COMPARE_RUN(program.run(graph(QStringLiteral("plant --svg a.svg"))), 1, QString(),
                QStringLiteral("configscript: the program dot, which draws, is not in PATH; "
                               "install the Debian package graphviz\n"));
    QVERIFY(!folder.files().contains(QStringLiteral("a.svg")));
}

void GraphCommandTest::tellsThatThePictureCannotBeWritten()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("a.svg/file"), "");
    Program program(folder.path());
    useDot(folder, program, "cat\n");
    const ProgramRun run = program.run(graph(QStringLiteral("plant --svg a.svg")));
    COMPARE_RUN(run, 1, QString(), run.errors);
    QVERIFY2(run.errors.startsWith(QStringLiteral("configscript: a.svg: cannot be written: ")),
             qPrintable(run.errors));
}

void GraphCommandTest::refusesAnUnknownInstance()
{
    const ScratchFolder folder;
    folder.makePlant();
    COMPARE_RUN(Program(folder.path()).run(graph(QStringLiteral("plant valve"))), 2, QString(),
                QStringLiteral("configscript: no instance is \"valve\" or begins with it\n"));
}

TEST_CLASS(GraphCommandTest)
#include "GraphCommandTest.moc"
