#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QRegularExpression>
#include <QTest>

namespace {

const ProgramRun s_resolvedPlant{
    0,
    QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                   "\n"
                   "changed configuration/pump.json\n"
                   "  speed  1200 -> 1500\n"
                   "\n"
                   "1 script run, 0 failed; 1 file changed, 1 value; # ms\n"),
    QString()};

QStringList resolve(const QString &arguments)
{
    return QStringList(QStringLiteral("resolve")) + arguments.split(QLatin1Char(' '));
}

/// A run and the files that it changed, as the golden folders hold them.
Files withChangedFiles(const QString &reportName, const ProgramRun &run, const Files &before,
                       const Files &after)
{
    Files files{{reportName, run.output.toUtf8()}};
    const Files changed = differingFiles(after, before);
    for (auto it = changed.cbegin(); it != changed.cend(); ++it) {
        files.insert(QStringLiteral("files/") + it.key(), it.value());
    }
    return files;
}

} // namespace

/// What the command does on projects that are as they should be: the example projects.
class ResolveCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void savesAndReportsWhatScriptsChange_data();
    void savesAndReportsWhatScriptsChange();
    void changesNothingTheSecondTime();
    void doesNotDependOnTheOrderOfScripts();
    void writesNothingInADryRun_data();
    void writesNothingInADryRun();
    void countsValuesInsideMapsAndLists();
    void runsNothingForAnInstanceThatTheManifestDoesNotList_data();
    void runsNothingForAnInstanceThatTheManifestDoesNotList();
    void refusesAnUnknownInstance();
    void findsTheProjectHoweverItIsAddressed_data();
    void findsTheProjectHoweverItIsAddressed();
    void colorsOnATerminal_data();
    void colorsOnATerminal();
    void leavesColorsOut_data();
    void leavesColorsOut();
    void showsProgressOnATerminal();
};

void ResolveCommandTest::savesAndReportsWhatScriptsChange_data()
{
    QTest::addColumn<QString>("golden");
    QTest::addColumn<QString>("arguments");

    QTest::newRow("all") << QStringLiteral("all") << QStringLiteral("pump-station");
    QTest::newRow("as JSON") << QStringLiteral("json")
                             << QStringLiteral("pump-station --json --dry-run");
    QTest::newRow("quietly") << QStringLiteral("quiet")
                             << QStringLiteral("pump-station --quiet --dry-run");
    QTest::newRow("a listed instance")
        << QStringLiteral("instance") << QStringLiteral("pump-station line1");
    QTest::newRow("a prefix") << QStringLiteral("prefix") << QStringLiteral("pump-station line1/t");
    QTest::newRow("the other project") << QStringLiteral("network") << QStringLiteral("network");
}

void ResolveCommandTest::savesAndReportsWhatScriptsChange()
{
    QFETCH(const QString, golden);
    QFETCH(const QString, arguments);

    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const ProgramRun run = Program(folder.path()).run(resolve(arguments));
    const Files after = folder.files();
    COMPARE_RUN(run, 0, run.output, QString());
    QCOMPARE(after.keys(), before.keys());
    const QString reportName = golden == QLatin1String("json") ? QStringLiteral("report.json")
                                                               : QStringLiteral("report.txt");
    COMPARE_GOLDEN(QStringLiteral("resolve-") + golden,
                   withChangedFiles(reportName, run, before, after));
}

void ResolveCommandTest::changesNothingTheSecondTime()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Program program(folder.path());
    QCOMPARE(program.run(resolve(QStringLiteral("pump-station"))).exitCode, 0);

    const Files before = folder.files();
    const ProgramRun again = program.run(resolve(QStringLiteral("pump-station")));
    COMPARE_RUN(again, 0, again.output, QString());
    COMPARE_GOLDEN(QStringLiteral("resolve-again"),
                   withChangedFiles(QStringLiteral("report.txt"), again, before, folder.files()));
}

void ResolveCommandTest::doesNotDependOnTheOrderOfScripts()
{
    // The order is another one in each process.
    Files firstRun;
    Files firstFiles;
    for (int i = 0; i < 5; ++i) {
        const ScratchFolder folder;
        folder.copyExamples();
        const Files run =
            Program(folder.path()).run(resolve(QStringLiteral("pump-station"))).files();
        if (i == 0) {
            firstRun = run;
            firstFiles = folder.files();
        }
        COMPARE_FILES(run, firstRun);
        COMPARE_FILES(folder.files(), firstFiles);
    }
}

void ResolveCommandTest::writesNothingInADryRun_data()
{
    QTest::addColumn<QString>("option");
    QTest::addColumn<QString>("otherOption");

    QTest::newRow("text") << QStringLiteral("-n") << QStringLiteral("--no-color");
    QTest::newRow("JSON") << QStringLiteral("--dry-run") << QStringLiteral("--json");
}

void ResolveCommandTest::writesNothingInADryRun()
{
    QFETCH(const QString, option);
    QFETCH(const QString, otherOption);

    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const Program program(folder.path());
    const QStringList arguments = resolve(QStringLiteral("pump-station ") + otherOption);
    const ProgramRun dryRun = program.run(arguments + QStringList(option));
    COMPARE_FILES(folder.files(), before);

    ProgramRun run = program.run(arguments);
    run.output.replace(QStringLiteral("\nchanged "), QStringLiteral("\nwould change "))
        .replace(QStringLiteral(" files changed,"), QStringLiteral(" files would change,"))
        .replace(QStringLiteral("\"dryRun\": false"), QStringLiteral("\"dryRun\": true"));
    COMPARE_FILES(dryRun.files(), run.files());
}

void ResolveCommandTest::countsValuesInsideMapsAndLists()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/configuration/pump.json"),
                 "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\",\n"
                 "    \"limits\": { \"max\": 5, \"min\": 0 }, \"stages\": [1, 2, 3] } }\n");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"limits\", { low: 2, max: 5, min: 1 });\n"
                       "  api.setPropertyExtern(url, \"stages\", [1, 9, 3, 4]);\n"
                       "  api.setPropertyExtern(url, \"range\", { max: 8, min: 7 });\n"
                       "}\n");
    const Program program(folder.path());
    COMPARE_RUN(program.run(resolve(QStringLiteral("plant --dry-run"))), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "\n"
                               "would change configuration/pump.json\n"
                               "  limits.low  new 2\n"
                               "  limits.min  0 -> 1\n"
                               "  range       new { \"max\": 8, \"min\": 7 }\n"
                               "  stages[1]   2 -> 9\n"
                               "  stages[3]   new 4\n"
                               "\n"
                               "1 script run, 0 failed; 1 file would change, 5 values; # ms\n"),
                QString());
    const QString report = program.run(resolve(QStringLiteral("plant --dry-run --json"))).output;
    QVERIFY2(report.contains(QStringLiteral("\"valuesChanged\": 5\n")), qPrintable(report));
}

void ResolveCommandTest::runsNothingForAnInstanceThatTheManifestDoesNotList_data()
{
    QTest::addColumn<QString>("instance");

    QTest::newRow("an instance") << QStringLiteral("site/generator");
    QTest::newRow("a prefix") << QStringLiteral("cabinet/fee");
}

void ResolveCommandTest::runsNothingForAnInstanceThatTheManifestDoesNotList()
{
    QFETCH(const QString, instance);

    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(program.run(resolve(QStringLiteral("pump-station ") + instance)), 0,
                QStringLiteral("no listed instance is \"%1\" or begins with it\n"
                               "\n"
                               "0 scripts run, 0 failed; 0 files changed, 0 values; # ms\n")
                    .arg(instance),
                QString());
    COMPARE_RUN(program.run(resolve(QStringLiteral("pump-station --quiet ") + instance)), 0,
                QString(), QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveCommandTest::refusesAnUnknownInstance()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(resolve(QStringLiteral("pump-station line4"))), 2,
                QString(),
                QStringLiteral("configscript: no instance is \"line4\" or begins with it\n"));
    COMPARE_FILES(folder.files(), before);
}

void ResolveCommandTest::findsTheProjectHoweverItIsAddressed_data()
{
    QTest::addColumn<QString>("path");

    QTest::newRow("absolute path") << QStringLiteral("$PWD/plant");
    QTest::newRow("slash at the end") << QStringLiteral("plant/");
    QTest::newRow("current folder") << QStringLiteral(".");
    QTest::newRow("detour") << QStringLiteral("plant/../plant/.");
    QTest::newRow("link") << QStringLiteral("link");
}

void ResolveCommandTest::findsTheProjectHoweverItIsAddressed()
{
    QFETCH(QString, path);

    const ScratchFolder folder;
    folder.makePlant();
    folder.link(QStringLiteral("link"), folder.path(QStringLiteral("plant")));
    path.replace(QStringLiteral("$PWD"), folder.path());
    const Program program(path == QLatin1String(".") ? folder.path(QStringLiteral("plant"))
                                                     : folder.path());
    COMPARE_RUN(program.run(resolve(path)), s_resolvedPlant);
}

void ResolveCommandTest::colorsOnATerminal_data()
{
    QTest::addColumn<bool>("hasEmptyVariable");

    QTest::newRow("NO_COLOR is not set") << false;
    QTest::newRow("NO_COLOR is empty") << true;
}

void ResolveCommandTest::colorsOnATerminal()
{
    QFETCH(const bool, hasEmptyVariable);

    const ScratchFolder folder;
    folder.makePlant();
    Program program(folder.path());
    if (hasEmptyVariable) {
        program.setVariable(QStringLiteral("NO_COLOR"), QStringLiteral(""));
    }
    program.runInTerminal();
    ProgramRun run = program.run(resolve(QStringLiteral("plant")));
    run.output = run.outputWithoutProgress();
    COMPARE_RUN(run, 0,
                QStringLiteral("\033[32mok     \033[0m  pump  dependency/pump.js  "
                               "\033[2m# ms\033[0m\r\n"
                               "\r\n"
                               "changed \033[1mconfiguration/pump.json\033[0m\r\n"
                               "  speed  \033[2m1200 -> \033[0m1500\r\n"
                               "\r\n"
                               "1 script run, 0 failed; 1 file changed, 1 value; # ms\r\n"),
                QString());
}

void ResolveCommandTest::leavesColorsOut_data()
{
    QTest::addColumn<QString>("options");
    QTest::addColumn<QString>("noColor");
    QTest::addColumn<bool>("isTerminal");

    QTest::newRow("in a pipe") << QString() << QString() << false;
    QTest::newRow("--no-color") << QStringLiteral(" --no-color") << QString() << true;
    QTest::newRow("NO_COLOR") << QString() << QStringLiteral("1") << true;
}

void ResolveCommandTest::leavesColorsOut()
{
    QFETCH(const QString, options);
    QFETCH(const QString, noColor);
    QFETCH(const bool, isTerminal);

    const ScratchFolder folder;
    folder.makePlant();
    Program program(folder.path());
    if (!noColor.isEmpty()) {
        program.setVariable(QStringLiteral("NO_COLOR"), noColor);
    }
    if (isTerminal) {
        program.runInTerminal();
    }
    ProgramRun run = program.run(resolve(QStringLiteral("plant") + options));
    run.output = run.outputWithoutProgress().replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    COMPARE_RUN(run, s_resolvedPlant);
}

void ResolveCommandTest::showsProgressOnATerminal()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("pump.js"));
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave() {\n"
                       "  const end = Date.now() + 450;\n"
                       "  while (Date.now() < end);\n"
                       "}\n");
    const QString report = QStringLiteral("ok       pump   dependency/pump.js  # ms\n"
                                          "ok       valve  dependency/pump.js  # ms\n"
                                          "\n"
                                          "2 scripts run, 0 failed; 0 files changed, 0 values; "
                                          "# ms\n");
    Program program(folder.path());
    COMPARE_RUN(program.run(resolve(QStringLiteral("plant --no-color"))), 0, report, QString());

    program.runInTerminal();
    ProgramRun run = program.run(resolve(QStringLiteral("plant --no-color")));
    run.output.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    // On a slow machine reading takes long enough to be told of, too.
    run.output.remove(QRegularExpression(QStringLiteral("\r\033\\[KReading instance [12]")));
    COMPARE_RUN(run, 0,
                QStringLiteral("\r\033[KRunning script 1 of 2\r\033[KRunning script 2 of 2"
                               "\r\033[K")
                    + report,
                QString());
}

TEST_CLASS(ResolveCommandTest)
#include "ResolveCommandTest.moc"
