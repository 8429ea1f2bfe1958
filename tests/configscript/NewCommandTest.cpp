#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <unistd.h>

namespace {

QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '));
}

QString line(const char *text)
{
    return QLatin1String(text) + QLatin1Char('\n');
}

const QString s_types = QStringLiteral("plant/types/JavaScriptApi.d.ts");

/// What a new script says when it is the first one of "plant".
QString firstScript(const QString &file, const QString &use)
{
    return QStringLiteral("wrote %1\n"
                          "wrote jsconfig.json\n"
                          "wrote types/JavaScriptApi.d.ts\n"
                          "\n"
                          "It runs for each instance whose root has %2\n")
        .arg(file, use);
}

} // namespace

class NewCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void writesAProjectThatRuns();
    void namesTheObjectAfterTheFolder_data();
    void namesTheObjectAfterTheFolder();
    void leavesWhatStandsInTheProjectsPlace_data();
    void leavesWhatStandsInTheProjectsPlace();
    void writesAScriptThatRuns_data();
    void writesAScriptThatRuns();
    void findsTheProjectAroundTheFolder();
    void leadsFromTheScriptToTheTypes_data();
    void leadsFromTheScriptToTheTypes();
    void replacesNoFile_data();
    void replacesNoFile();
    void tellsThatTheTypesAreNotItsOwn();
    void refusesNames_data();
    void refusesNames();
    void refusesLinksThatLeadOut();
    void refusesWrongArguments_data();
    void refusesWrongArguments();
    void leavesNothingBehindWhenItCannotWrite();
    void tellsWhenItCannotWriteTheTypes();
    void waitsForOtherWriters();
};

void NewCommandTest::writesAProjectThatRuns()
{
    const ScratchFolder folder;
    const Program program(folder.path());
    COMPARE_RUN(program.run(words(QStringLiteral("new project plant"))), 0,
                line("wrote the project plant"), QString());
    QCOMPARE(QStringList(folder.files().keys()),
             words(QStringLiteral(
                 "plant/configuration/feeder.json plant/configuration/manifest.json "
                 "plant/configuration/pump.json plant/dependency/pump.js plant/jsconfig.json "
                 "plant/process/pump.json plant/project.json plant/scripts/pump.js "
                 "plant/tests/dependency/pump.test.json plant/tests/scripts/pump.test.json "
                 "plant/texts/en.json plant/types/JavaScriptApi.d.ts plant/units.json")));

    COMPARE_RUN(program.run(words(QStringLiteral("check plant"))), 0, line("0 errors, 0 warnings"),
                QString());
    COMPARE_RUN(program.run(words(QStringLiteral("test plant"))), 0,
                QStringLiteral("ok       tests/dependency/pump.test.json  1 step, # ms\n"
                               "ok       tests/scripts/pump.test.json  4 steps, # ms\n"
                               "\n"
                               "2 tests, 0 failed; # ms\n"),
                QString());
    const ProgramRun list = program.run(words(QStringLiteral("list plant")));
    QCOMPARE(list.exitCode, 0);
    QCOMPARE(list.errors, QString());
    QCOMPARE(list.output.count(QLatin1Char('\n')), 3);
    COMPARE_RUN(program.run(words(QStringLiteral("resolve plant"))), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "\n"
                               "changed configuration/feeder.json\n"
                               "  protection:value  0 -> 20.8\n"
                               "\n"
                               "changed process/pump.json\n"
                               "  power:range.max  0 -> 13.2\n"
                               "\n"
                               "Process data changed: pump\n"
                               "\n"
                               "1 script run, 0 failed; 2 files changed, 2 values; # ms\n"),
                QString());
    COMPARE_RUN(
        program.run(words(QStringLiteral(
            "run plant pump --event onOpen --set motor/ratedPower:value=15 --event onOk --write"))),
        0,
        QStringLiteral("ok       onValueChange motor/ratedPower  scripts/pump.js  # ms\n"
                       "         motor/ratedCurrent:value  20.8 -> 28.3\n"
                       "ok       onOpen  scripts/pump.js  # ms\n"
                       "ok       onOk  scripts/pump.js  # ms\n"
                       "\n"
                       "changed configuration/pump.json\n"
                       "  motor/ratedPower:value    11 -> 15\n"
                       "  motor/ratedCurrent:value  20.8 -> 28.3\n"),
        QString());
    COMPARE_RUN(program.run(words(QStringLiteral("run plant pump --set "
                                                 "motor/ratedPower:value=200 onOk"))),
                1,
                QStringLiteral("ok       onValueChange motor/ratedPower  scripts/pump.js  # ms\n"
                               "         reported: motor/ratedPower: The value is outside its "
                               "limits. [error.outOfLimits] value 90\n"
                               "FAILED   onOk  scripts/pump.js  # ms\n"
                               "         onOk returned false\n"
                               "         reported: motor/ratedPower: The value is outside its "
                               "limits. [error.outOfLimits] value 90\n"
                               "\n"
                               "Nothing is saved: an event failed, or onOk reported an error.\n"),
                QString());
}

void NewCommandTest::namesTheObjectAfterTheFolder_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("folderName");
    QTest::newRow("folders on the way")
        << QStringLiteral("a/b/station") << QStringLiteral("a/b/station");
    QTest::newRow("slash at the end") << QStringLiteral("station/") << QStringLiteral("station");
    QTest::newRow("upwards") << QStringLiteral("a/../b") << QStringLiteral("b");
    QTest::newRow("reserved characters")
        << QStringLiteral("1 \"%#?\\plant") << QStringLiteral("1 \"%#?\\plant");
    QTest::newRow("beyond ASCII") << QString::fromUtf8("größe") << QString::fromUtf8("größe");
}

void NewCommandTest::namesTheObjectAfterTheFolder()
{
    QFETCH(const QString, name);
    QFETCH(const QString, folderName);

    const ScratchFolder folder;
    const Program program(folder.path());
    COMPARE_RUN(program.run({QStringLiteral("new"), QStringLiteral("project"), name}), 0,
                QStringLiteral("wrote the project %1\n").arg(name), QString());
    COMPARE_RUN(program.run({QStringLiteral("check"), folderName}), 0, line("0 errors, 0 warnings"),
                QString());
    QCOMPARE(program.run({QStringLiteral("test"), folderName}).exitCode, 0);
    const ProgramRun resolve = program.run({QStringLiteral("resolve"), folderName});
    QCOMPARE(resolve.exitCode, 0);
    QVERIFY2(resolve.output.contains(
                 QLatin1String("1 script run, 0 failed; 2 files changed, 2 values; ")),
             qPrintable(resolve.output));
}

void NewCommandTest::leavesWhatStandsInTheProjectsPlace_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a project") << QStringLiteral("plant");
    QTest::newRow("a file") << QStringLiteral("plant/project.json");
    QTest::newRow("an empty folder") << QStringLiteral("empty");
    QTest::newRow("a link to nowhere") << QStringLiteral("link");
    QTest::newRow("the current folder") << QStringLiteral(".");
}

void NewCommandTest::leavesWhatStandsInTheProjectsPlace()
{
    QFETCH(const QString, name);

    const ScratchFolder folder;
    folder.makePlant();
    QDir(folder.path()).mkdir(QStringLiteral("empty"));
    const Files before = folder.files();
    folder.link(QStringLiteral("link"), QStringLiteral("nowhere"));
    COMPARE_RUN(
        Program(folder.path()).run({QStringLiteral("new"), QStringLiteral("project"), name}), 1,
        QString(),
        QStringLiteral("configscript: %1: exists already, and is left as it is\n")
            .arg(QDir::cleanPath(QStringLiteral("<folder>/") + name)));
    folder.remove(QStringLiteral("link"));
    COMPARE_FILES(folder.files(), before);
}

void NewCommandTest::writesAScriptThatRuns_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("use");
    QTest::newRow("user interface")
        << QStringLiteral("new script user-interface valve --project plant")
        << QStringLiteral("scripts/valve.js") << QStringLiteral("\"scriptFile\": \"valve.js\".");
    QTest::newRow("user interface, with .js")
        << QStringLiteral("new script --project plant user-interface valve.js --no-color")
        << QStringLiteral("scripts/valve.js") << QStringLiteral("\"scriptFile\": \"valve.js\".");
    QTest::newRow("dependency") << QStringLiteral("new script dependency valve --project plant")
                                << QStringLiteral("dependency/valve.js")
                                << QStringLiteral("\"dependencyFileExtern\": \"valve.js\",\n"
                                                  "and that configuration/manifest.json lists.");
}

void NewCommandTest::writesAScriptThatRuns()
{
    QFETCH(const QString, arguments);
    QFETCH(const QString, file);
    QFETCH(const QString, use);

    const ScratchFolder folder;
    folder.makePlant();
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(program.run(words(arguments)), 0, firstScript(file, use), QString());
    QStringList added{QStringLiteral("plant/") + file, QStringLiteral("plant/jsconfig.json"),
                      s_types};
    added.sort();
    QCOMPARE(QStringList(differingFiles(folder.files(), before).keys()), added);

    folder.write(QStringLiteral("plant/configuration/valve.json"),
                 "{ \"properties\": { \"scriptFile\": \"valve.js\" } }\n");
    if (file.startsWith(QLatin1String("scripts"))) {
        COMPARE_RUN(program.run(words(QStringLiteral("check plant"))), 0,
                    line("0 errors, 0 warnings"), QString());
        COMPARE_RUN(program.run(words(QStringLiteral("run plant valve --event onOpen --event "
                                                     "onValueChange=a --event onValueChange "
                                                     "--event onOk"))),
                    0,
                    QStringLiteral("ok       onOpen  scripts/valve.js  # ms\n"
                                   "ok       onValueChange a  scripts/valve.js  # ms\n"
                                   "ok       onValueChange  scripts/valve.js  # ms\n"
                                   "ok       onOk  scripts/valve.js  # ms\n"),
                    QString());
    } else {
        folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
        folder.listInstances({QStringLiteral("valve")});
        COMPARE_RUN(program.run(words(QStringLiteral("resolve plant"))), 0,
                    QStringLiteral("ok       valve  dependency/valve.js  # ms\n"
                                   "\n"
                                   "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                    QString());
    }
}

void NewCommandTest::findsTheProjectAroundTheFolder()
{
    const ScratchFolder folder;
    folder.makePlant();
    const Files before = folder.files();
    const QStringList arguments = words(QStringLiteral("new script dependency valve"));
    COMPARE_RUN(Program(folder.path()).run(arguments), 2, QString(),
                line("configscript: project.json: no project.json in a folder above it; name the "
                     "project"));
    COMPARE_FILES(folder.files(), before);
    for (const char *place : {"plant", "plant/configuration"}) {
        folder.remove(QStringLiteral("plant"));
        folder.makePlant();
        QCOMPARE(Program(folder.path(QLatin1String(place))).run(arguments).exitCode, 0);
        QVERIFY(folder.files().contains(QStringLiteral("plant/dependency/valve.js")));
    }
}

void NewCommandTest::leadsFromTheScriptToTheTypes_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("reference");
    QTest::newRow("in the folder") << QStringLiteral("valve") << QStringLiteral("valve.js")
                                   << QStringLiteral("../types/JavaScriptApi.d.ts");
    QTest::newRow("below it") << QStringLiteral("a/b/valve") << QStringLiteral("a/b/valve.js")
                              << QStringLiteral("../../../types/JavaScriptApi.d.ts");
    QTest::newRow("on a way around")
        << QStringLiteral("a/../b//valve") << QStringLiteral("b/valve.js")
        << QStringLiteral("../../types/JavaScriptApi.d.ts");
}

void NewCommandTest::leadsFromTheScriptToTheTypes()
{
    QFETCH(const QString, name);
    QFETCH(const QString, file);
    QFETCH(const QString, reference);

    const QVector<QStringList> kinds{{QStringLiteral("user-interface"), QStringLiteral("scripts")},
                                     {QStringLiteral("dependency"), QStringLiteral("dependency")}};
    for (const QStringList &kind : kinds) {
        const ScratchFolder folder;
        folder.makePlant();
        QCOMPARE(Program(folder.path(QStringLiteral("plant")))
                     .run({QStringLiteral("new"), QStringLiteral("script"), kind.first(), name})
                     .exitCode,
                 0);
        const QString path = QStringLiteral("plant/%1/%2").arg(kind.last(), file);
        const QByteArray firstLine = folder.files().value(path).split('\n').first();
        QCOMPARE(firstLine, "/// <reference path=\"" + reference.toUtf8() + "\" />");
        const QDir place(QFileInfo(folder.path(path)).path());
        QCOMPARE(QDir::cleanPath(place.filePath(reference)), folder.path(s_types));
    }
}

void NewCommandTest::replacesNoFile_data()
{
    QTest::addColumn<QString>("file");
    QTest::newRow("script") << QStringLiteral("plant/scripts/valve.js");
    QTest::newRow("types") << s_types;
    QTest::newRow("editor settings") << QStringLiteral("plant/jsconfig.json");
}

void NewCommandTest::replacesNoFile()
{
    QFETCH(const QString, file);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(file, "// mine\n");
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path(QStringLiteral("plant")))
                               .run(words(QStringLiteral("new script user-interface valve")));
    QCOMPARE(folder.files().value(file), QByteArray("// mine\n"));
    if (file.endsWith(QLatin1String("valve.js"))) {
        COMPARE_RUN(run, 1, QString(),
                    line("configscript: <folder>/scripts/valve.js: exists already, and is left as "
                         "it is"));
        COMPARE_FILES(folder.files(), before);
    } else {
        QCOMPARE(run.exitCode, 0);
    }
}

void NewCommandTest::tellsThatTheTypesAreNotItsOwn()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(s_types, "// older\n");
    folder.write(QStringLiteral("plant/jsconfig.json"), "{}\n");
    const Program program(folder.path(QStringLiteral("plant")));
    const QString use = QStringLiteral("It runs for each instance whose root has \"scriptFile\": ");
    COMPARE_RUN(program.run(words(QStringLiteral("new script user-interface a"))), 0,
                QStringLiteral("wrote scripts/a.js\n"
                               "types/JavaScriptApi.d.ts is not this version's: remove it, and the "
                               "next new script brings the present one\n"
                               "\n")
                    + use + line("\"a.js\"."),
                QString());
    folder.remove(s_types);
    COMPARE_RUN(program.run(words(QStringLiteral("new script user-interface b"))), 0,
                QStringLiteral("wrote scripts/b.js\n"
                               "wrote types/JavaScriptApi.d.ts\n"
                               "\n")
                    + use + line("\"b.js\"."),
                QString());
    COMPARE_RUN(program.run(words(QStringLiteral("new script user-interface c"))), 0,
                QStringLiteral("wrote scripts/c.js\n"
                               "\n")
                    + use + line("\"c.js\"."),
                QString());
}

void NewCommandTest::refusesNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    const QString out = QStringLiteral("\"%1.js\" leads out of the scripts' folder");
    const QString none = QStringLiteral("\"%1\" names no file");
    QTest::newRow("upwards") << QStringLiteral("../valve") << out.arg(QLatin1String("../valve"));
    QTest::newRow("down and upwards")
        << QStringLiteral("a/../../valve") << out.arg(QLatin1String("../valve"));
    QTest::newRow("absolute") << QStringLiteral("/tmp/valve")
                              << out.arg(QLatin1String("/tmp/valve"));
    QTest::newRow("control characters")
        << QStringLiteral("../\x1b[1m") << out.arg(QStringLiteral("../\\x1b[1m"));
    for (const char *name : {"", ".", "..", ".js", "a/", "a/.js", "a/..", "/"}) {
        QTest::addRow("\"%s\"", name) << QString::fromLatin1(name) << none.arg(QLatin1String(name));
    }
}

void NewCommandTest::refusesNames()
{
    QFETCH(const QString, name);
    QFETCH(const QString, reason);

    const ScratchFolder folder;
    folder.makePlant();
    const Files before = folder.files();
    for (const char *kind : {"user-interface", "dependency"}) {
        COMPARE_RUN(
            Program(folder.path(QStringLiteral("plant")))
                .run({QStringLiteral("new"), QStringLiteral("script"), QLatin1String(kind), name}),
            2, QString(), QStringLiteral("configscript: %1\n").arg(reason));
    }
    COMPARE_FILES(folder.files(), before);
}

void NewCommandTest::refusesLinksThatLeadOut()
{
    const ScratchFolder folder;
    folder.makePlant();
    QDir(folder.path()).mkdir(QStringLiteral("outside"));
    folder.link(QStringLiteral("plant/scripts"), QStringLiteral("../outside"));
    folder.link(QStringLiteral("plant/dependency/inside"), QStringLiteral("../configuration"));
    const Files before = folder.files();
    const Program program(folder.path(QStringLiteral("plant")));
    COMPARE_RUN(program.run(words(QStringLiteral("new script user-interface a/valve"))), 2,
                QString(),
                line("configscript: \"a/valve.js\": a link leads out of the project folder"));
    COMPARE_FILES(folder.files(), before);

    folder.link(QStringLiteral("plant/types"), QStringLiteral("../outside"));
    COMPARE_RUN(program.run(words(QStringLiteral("new script dependency a"))), 1,
                line("wrote dependency/a.js\nwrote jsconfig.json"),
                line("configscript: <folder>/types/JavaScriptApi.d.ts: a link leads out of the "
                     "project folder"));
    QCOMPARE(QDir(folder.path(QStringLiteral("outside"))).count(), 2U); // . and ..

    QVERIFY(QFile::remove(folder.path(QStringLiteral("plant/types"))));
    QCOMPARE(program.run(words(QStringLiteral("new script dependency inside/valve"))).exitCode, 0);
    QVERIFY(folder.files().contains(QStringLiteral("plant/configuration/valve.js")));
}

void NewCommandTest::refusesWrongArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("errors");
    const QString hint = QStringLiteral("Run with --help or --help-all for more information.\n");
    QTest::newRow("nothing") << words(QStringLiteral("new"))
                             << line("A subcommand is required") + hint;
    QTest::newRow("unknown thing")
        << words(QStringLiteral("new text a")) << line("A subcommand is required") + hint;
    QTest::newRow("no kind") << words(QStringLiteral("new script"))
                             << line("KIND is required") + hint;
    QTest::newRow("unknown kind") << words(QStringLiteral("new script dialog a"))
                                  << line("KIND: dialog not in {user-interface,dependency}") + hint;
    QTest::newRow("no name") << words(QStringLiteral("new script dependency"))
                             << line("NAME is required") + hint;
    QTest::newRow("no project name")
        << words(QStringLiteral("new project")) << line("NAME is required") + hint;
    QTest::newRow("empty project name")
        << QStringList{QStringLiteral("new"), QStringLiteral("project"), QString()}
        << line("configscript: NAME: expected a project folder, found an empty name");
    QTest::newRow("no project") << words(QStringLiteral("new script dependency a --project b"))
                                << line("configscript: b: no such project folder");
}

void NewCommandTest::refusesWrongArguments()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, errors);

    const ScratchFolder folder;
    COMPARE_RUN(Program(folder.path()).run(arguments), 2, QString(), errors);
    QCOMPARE(folder.files().size(), 0);
}

void NewCommandTest::leavesNothingBehindWhenItCannotWrite()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("file"), "");
    const Files before = folder.files();
    COMPARE_RUN(
        Program(folder.path()).run(words(QStringLiteral("new project file/plant"))), 1, QString(),
        line("configscript: <folder>/file/plant/configuration/feeder.json: cannot be written: "
             "no folder <folder>/file/plant/configuration"));

    // The project's folder can be made, and nothing in it.
    Program helpless(folder.path());
    const QString withoutPrivilege =
        QStringLiteral("setpriv --bounding-set=-dac_override,-dac_read_search "
                       "--inh-caps=-dac_override,-dac_read_search ");
    helpless.setShellCommand(QStringLiteral("umask 222; exec %1\"$@\"")
                                 .arg(geteuid() == 0 ? withoutPrivilege : QString()));
    COMPARE_RUN(helpless.run(words(QStringLiteral("new project small"))), 1, QString(),
                line("configscript: <folder>/small/configuration/feeder.json: cannot be written: "
                     "no folder <folder>/small/configuration"));
    QVERIFY(!QDir(folder.path(QStringLiteral("small"))).exists());
    COMPARE_FILES(folder.files(), before);

    folder.write(QStringLiteral("plant/scripts"), "a file\n");
    const Files withFile = folder.files();
    COMPARE_RUN(Program(folder.path())
                    .run(words(QStringLiteral("new script user-interface a --project plant"))),
                1, QString(),
                line("configscript: <folder>/plant/scripts/a.js: cannot be written: no folder "
                     "<folder>/plant/scripts"));
    COMPARE_FILES(folder.files(), withFile);
}

void NewCommandTest::tellsWhenItCannotWriteTheTypes()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/types"), "a file\n");
    COMPARE_RUN(
        Program(folder.path())
            .run(words(QStringLiteral("new script dependency a --project plant"))),
        1, QStringLiteral("wrote dependency/a.js\nwrote jsconfig.json\n"),
        line("configscript: <folder>/plant/types/JavaScriptApi.d.ts: cannot be written: no folder "
             "<folder>/plant/types"));
}

void NewCommandTest::waitsForOtherWriters()
{
    const ScratchFolder folder;
    folder.makePlant();
    Program program(folder.path());
    program.setShellCommand(
        QStringLiteral("exec 9>plant/.configscript-lock; flock 9; \"$@\" 9>&-"));
    const ProgramRun run =
        program.run(words(QStringLiteral("new script dependency a --project plant")));
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.errors.contains(QLatin1String("is being written by")), qPrintable(run.errors));
    QVERIFY(!folder.files().contains(QStringLiteral("plant/dependency/a.js")));
}

TEST_CLASS(NewCommandTest)
#include "NewCommandTest.moc"
