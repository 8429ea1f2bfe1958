#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ScratchFolder.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QTest>

#include <sys/stat.h>

namespace {

const QString s_plant = QStringLiteral("plant");
const QString s_network = QStringLiteral("network");
const QString s_pumpName = QStringLiteral("plant/configuration/pump.json");
const QString s_busName = QStringLiteral("network/configuration/bus.json");

const QByteArray s_newPump("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
                           "\"speed\": 1500 } }\n");
const QByteArray s_oldBus("{ \"properties\": { \"participants\": 1 } }\n");
const QByteArray s_newBus("{ \"properties\": { \"participants\": 2 } }\n");

const QString s_finished =
    QStringLiteral(": a run was interrupted while it saved; all its files are saved now\n");
const QString s_undone =
    QStringLiteral(": a run was interrupted before all was saved; none of its files is changed\n");

QStringList words(const QString &text)
{
    return text.split(QLatin1Char(' '));
}

/// The projects "plant", whose script changes both, and "network".
void makeProjects(const ScratchFolder &folder)
{
    folder.makePlant();
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\",\n"
                 "  \"otherFiles\": { \"network\": \"../network\" } }\n");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                       "  api.setPropertyExtern(\"config://pumps/network/bus\", \"participants\",\n"
                       "                        2);\n"
                       "}\n");
    folder.write(QStringLiteral("network/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"network\" }\n");
    folder.write(QStringLiteral("network/configuration/manifest.json"),
                 "[ { \"dependencyFileExtern\": [] } ]\n");
    folder.write(s_busName, s_oldBus);
}

/// What a run leaves that is ended when all is saved, and one of the old files is forgotten; or
/// when it has replaced the plant's file, and not the network's.
void interrupt(const ScratchFolder &folder, bool isSaved)
{
    const QByteArray journal("{\"number\":\"5\"}\n"
                             "{\"file\":\"configuration/pump.json\"}\n"
                             "{\"alsoIn\":\"../network\"}\n"
                             "{\"file\":\"../network/configuration/bus.json\"}\n");
    folder.write(QStringLiteral("plant/.configscript-journal"),
                 journal + (isSaved ? "{\"state\":\"saved\"}\n" : "{\"state\":\"sav"));
    folder.write(QStringLiteral("network/.configscript-journal"), "{\"belongsTo\":\"../plant\"}\n");
    const QString oldBus = QStringLiteral("network/configuration/.configscript-6.old");
    QFile::copy(folder.path(s_busName), folder.path(oldBus));
    if (isSaved) {
        folder.write(s_busName, s_newBus);
    } else {
        folder.write(QStringLiteral("network/configuration/.configscript-6.new"), s_newBus);
        QFile::rename(folder.path(s_pumpName),
                      folder.path(QStringLiteral("plant/configuration/.configscript-5.old")));
    }
    folder.write(s_pumpName, s_newPump);
}

Files withNewContents(Files files)
{
    files.insert(s_pumpName, s_newPump);
    files.insert(s_busName, s_newBus);
    return files;
}

/// Has the script work for some time before it writes.
void slowDown(const ScratchFolder &folder, int milliseconds)
{
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  const end = Date.now() + "
                           + QByteArray::number(milliseconds)
                           + ";\n"
                             "  while (Date.now() < end) {}\n"
                             "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                             "}\n");
}

int modeOf(const ScratchFolder &folder, const QString &name)
{
    struct stat status;
    return stat(QFile::encodeName(folder.path(name)).constData(), &status) == 0
        ? int(status.st_mode & 07777)
        : -1;
}

} // namespace

/// What becomes of files when a command saves, and of what another one left.
class SavingTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void recovers_data();
    void recovers();
    void recoversInATreesProject();
    void recoversThroughALink();
    void recoversProjectsThatScriptsReach();
    void recoversACopyOfOneProject_data();
    void recoversACopyOfOneProject();
    void refusesWhatItCannotRecover();
    void waitsForAnotherCommand();
    void givesUpWaiting();
    void readsWhileAnotherCommandRuns();
    void waitsForTheOwnerOfTheBatch();
    void waitsForTheNextOwnerOfTheBatch();
    void recoversWhatItsOwnRunForgot();
    void goesOnAfterADeadProcess();
    void savesTwoProjects();
    void savesNothingWhenOneFileCannotBeSaved();
    void keepsModesAndLinks();
    void readsAReadOnlyProject_data();
    void readsAReadOnlyProject();
};

void SavingTest::recovers_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<QString>("project");
    QTest::addColumn<bool>("isSaved");
    for (const char *command : {"list", "check", "resolve -n", "resolve -n --json"}) {
        for (const QString &project : {s_plant, s_network}) {
            for (const bool isSaved : {false, true}) {
                QTest::newRow(qPrintable(
                    QStringLiteral("%1 %2, %3")
                        .arg(QLatin1String(command), project,
                             isSaved ? QStringLiteral("saved") : QStringLiteral("saving"))))
                    << QString::fromLatin1(command) << project << isSaved;
            }
        }
    }
    QTest::newRow("run") << QStringLiteral("run --set :speed=7") << s_plant << true;
}

void SavingTest::recovers()
{
    QFETCH(QString, command);
    QFETCH(QString, project);
    QFETCH(bool, isSaved);
    const ScratchFolder folder;
    makeProjects(folder);
    folder.write(QStringLiteral("plant/scripts/pump.js"), "function onValueChange() {}\n");
    const Files before = folder.files();
    const Program program(folder.path());
    interrupt(folder, isSaved);
    QStringList arguments = words(command) + QStringList{project};
    if (arguments.first() == QLatin1String("run")) {
        arguments.append(QStringLiteral("pump"));
        arguments.append(QStringLiteral("onOpen"));
    }
    const ProgramRun first = program.run(arguments);
    QCOMPARE(first.errors.section(QLatin1Char('\n'), 0, 0) + QLatin1Char('\n'),
             QStringLiteral("configscript: <folder>/") + project
                 + (isSaved ? s_finished : s_undone));
    COMPARE_FILES(folder.files(), isSaved ? withNewContents(before) : before);
    const ProgramRun second = program.run(arguments);
    QCOMPARE(second.exitCode, first.exitCode);
    QCOMPARE(second.output, first.output);
    QCOMPARE(second.errors, first.errors.section(QLatin1Char('\n'), 1));
    COMPARE_FILES(folder.files(), isSaved ? withNewContents(before) : before);
}

void SavingTest::recoversInATreesProject()
{
    const ScratchFolder folder;
    makeProjects(folder);
    const Files before = folder.files();
    interrupt(folder, true);
    const ProgramRun run = Program(folder.path())
                               .run(words(QStringLiteral("resolve --in-place "
                                                         "plant/configuration/pump.json "
                                                         "--instance pump")));
    QCOMPARE(run.exitCode, 0);
    QCOMPARE(run.errors, QStringLiteral("configscript: <folder>/plant") + s_finished);
    QVERIFY2(run.output.endsWith(QLatin1String("The scripts change nothing.\n")),
             qPrintable(run.output));
    COMPARE_FILES(folder.files(), withNewContents(before));
}

// The network lies beside the real folder, and another one beside the link.
void SavingTest::recoversThroughALink()
{
    for (const QString &project : {s_plant, s_network}) {
        const ScratchFolder folder;
        makeProjects(folder);
        const Files before = folder.files();
        interrupt(folder, true);
        const ScratchFolder elsewhere;
        makeProjects(elsewhere);
        elsewhere.remove(project);
        const Files untouched = elsewhere.files();
        elsewhere.link(project, folder.path(project));
        const ProgramRun run = Program(elsewhere.path()).run({QStringLiteral("list"), project});
        QVERIFY(QFile::remove(elsewhere.path(project))); // the link
        QCOMPARE(run.errors, QStringLiteral("configscript: <folder>/") + project + s_finished);
        QCOMPARE(run.exitCode, 0);
        COMPARE_FILES(folder.files(), withNewContents(before));
        COMPARE_FILES(elsewhere.files(), untouched);
    }
}

// The network's own run was interrupted; the plant's scripts must not see, nor change, what is half
// saved.
void SavingTest::recoversProjectsThatScriptsReach()
{
    const ScratchFolder folder;
    makeProjects(folder);
    const Files before = folder.files();
    folder.write(QStringLiteral("network/.configscript-journal"),
                 "{\"file\":\"configuration/bus.json\"}\n");
    folder.write(QStringLiteral("network/configuration/.configscript-0.old"),
                 "{ \"properties\": { \"participants\": 7 } }\n");
    const ProgramRun run = Program(folder.path()).run({QStringLiteral("resolve"), s_plant});
    QVERIFY2(run.output.contains(QLatin1String("participants  7 -> 2")), qPrintable(run.output));
    QCOMPARE(run.exitCode, 0);
    COMPARE_FILES(folder.files(), withNewContents(before));
}

void SavingTest::recoversACopyOfOneProject_data()
{
    QTest::addColumn<QString>("copied");
    QTest::addColumn<QString>("missing");
    QTest::newRow("the plant") << s_plant << s_network;
    QTest::newRow("the network") << s_network << s_plant;
}

// Its own files are whole; nothing is known of the other one's.
void SavingTest::recoversACopyOfOneProject()
{
    QFETCH(QString, copied);
    QFETCH(QString, missing);
    const ScratchFolder folder;
    makeProjects(folder);
    interrupt(folder, true);
    folder.remove(missing);
    const ProgramRun run = Program(folder.path()).run({QStringLiteral("list"), copied});
    QCOMPARE(run.errors.count(QLatin1Char('\n')), 1);
    QCOMPARE(run.exitCode, 0);
    const QStringList left = folder.files().keys().filter(QStringLiteral(".configscript"));
    QCOMPARE(left, QStringList());
}

void SavingTest::refusesWhatItCannotRecover()
{
    const ScratchFolder folder;
    makeProjects(folder);
    folder.write(QStringLiteral("plant/.configscript-journal"), "{\"file\":\"a.json\"}\nfile\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run({QStringLiteral("list"), s_plant}), 2, QString(),
                QStringLiteral("configscript: <folder>/plant/.configscript-journal:2: expected an "
                               "object with one member in each line\n"));
    COMPARE_FILES(folder.files(), before);
}

void SavingTest::waitsForAnotherCommand()
{
    const ScratchFolder folder;
    makeProjects(folder);
    slowDown(folder, 500);
    Program program(folder.path());
    program.setShellCommand(QStringLiteral("\"$@\" > first.txt & "
                                           "until [ -e plant/.configscript-lock ]; do :; done; "
                                           "\"$@\"; code=$?; wait $!; exit $((10 * $? + code))"));
    const ProgramRun run = program.run({QStringLiteral("resolve"), s_plant});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.contains(QLatin1String("0 files changed")), qPrintable(run.output));
    QCOMPARE(folder.files().value(s_pumpName), s_newPump);
}

void SavingTest::givesUpWaiting()
{
    const ScratchFolder folder;
    makeProjects(folder);
    slowDown(folder, 4000);
    Program program(folder.path());
    program.setShellCommand(
        QStringLiteral("\"$@\" > first.txt & "
                       "until [ -s plant/.configscript-lock ]; do :; done; "
                       "\"$@\" 2> second.txt; code=$?; wait $!; exit $((10 * $? + code))"));
    const ProgramRun run = program.run({QStringLiteral("resolve"), s_plant});
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.output, QString());
    const Files files = folder.files();
    static const QRegularExpression message(
        QStringLiteral("^configscript: /[^\n]*/plant: is being written by configscript, process "
                       "\\d+ on [^\n]+; try again when it is done\n$"));
    QVERIFY2(QString::fromUtf8(files.value(QStringLiteral("second.txt"))).contains(message),
             files.value(QStringLiteral("second.txt")).constData());
    QCOMPARE(files.value(s_pumpName), s_newPump);
    QVERIFY(files.keys().filter(QStringLiteral(".configscript")).isEmpty());
}

void SavingTest::readsWhileAnotherCommandRuns()
{
    const ScratchFolder folder;
    makeProjects(folder);
    slowDown(folder, 1000);
    Program program(folder.path());
    program.setShellCommand(
        QStringLiteral("\"$@\" > first.txt & "
                       "until [ -e plant/.configscript-lock ]; do :; done; "
                       "\"${@:1:$#-2}\" list plant; code=$?; ls -A plant; wait $!; "
                       "exit $((10 * $? + code))"));
    const ProgramRun run = program.run({QStringLiteral("resolve"), s_plant});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.contains(QLatin1String(".configscript-lock")), qPrintable(run.output));
}

// The network takes part in a batch of the plant, whose process still lives.
void SavingTest::waitsForTheOwnerOfTheBatch()
{
    const ScratchFolder folder;
    makeProjects(folder);
    slowDown(folder, 4000);
    folder.write(QStringLiteral("network/configuration/.configscript-0.new"), "at work");
    Program program(folder.path());
    program.setShellCommand(
        QStringLiteral("\"$@\" > first.txt & "
                       "until [ -s plant/.configscript-lock ]; do :; done; "
                       "sleep 1; " // in which it looks for batches of others
                       "echo '{\"belongsTo\":\"../plant\"}' > network/.configscript-journal; "
                       "\"${@:1:$#-2}\" list network; code=$?; "
                       "cat network/.configscript-journal; wait $!; exit $((10 * $? + code))"));
    const ProgramRun run = program.run({QStringLiteral("resolve"), s_plant});
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.errors.startsWith(QLatin1String(
                 "configscript: <folder>/plant: is being written by configscript, process ")),
             qPrintable(run.errors));
    QCOMPARE(run.output, QStringLiteral("{\"belongsTo\":\"../plant\"}\n"));
}

// While it waits for one process, that one ends, and the network takes part in the batch of
// another.
void SavingTest::waitsForTheNextOwnerOfTheBatch()
{
    const ScratchFolder folder;
    makeProjects(folder);
    folder.write(QStringLiteral("third/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"third\" }\n");
    Program program(folder.path());
    program.setShellCommand(QStringLiteral(
        "echo '{\"belongsTo\":\"../plant\"}' > network/.configscript-journal; "
        "echo '{\"belongsTo\":\"../third\"}' > next; "
        "flock plant/.configscript-lock sleep 1 & flock third/.configscript-lock sleep 6 & "
        "(sleep 0.5; mv next network/.configscript-journal) & "
        "until [ -e third/.configscript-lock ] && [ -e plant/.configscript-lock ]; do :; done; "
        "sleep 0.1; \"$@\"; code=$?; cat network/.configscript-journal; exit $code"));
    const ProgramRun run = program.run({QStringLiteral("list"), s_network});
    QCOMPARE(run.errors,
             QStringLiteral("configscript: <folder>/third: is being written by another process; "
                            "try again when it is done\n"));
    QCOMPARE(run.exitCode, 2);
    QCOMPARE(run.output, QStringLiteral("{\"belongsTo\":\"../third\"}\n"));
}

// The plant is the network's owner, and locked by the same command.
void SavingTest::recoversWhatItsOwnRunForgot()
{
    const ScratchFolder folder;
    makeProjects(folder);
    const Files before = folder.files();
    folder.write(QStringLiteral("network/.configscript-journal"), "{\"belongsTo\":\"../plant\"}\n");
    folder.write(QStringLiteral("network/configuration/.configscript-7.new"), s_newBus);
    const ProgramRun run = Program(folder.path()).run({QStringLiteral("resolve"), s_plant});
    QCOMPARE(run.errors,
             QStringLiteral("configscript: <folder>/network: a run of another project was "
                            "interrupted, which does not know of it any more; each file is as it "
                            "was, or saved\n"));
    QCOMPARE(run.exitCode, 0);
    COMPARE_FILES(folder.files(), withNewContents(before));
}

void SavingTest::goesOnAfterADeadProcess()
{
    const ScratchFolder folder;
    makeProjects(folder);
    slowDown(folder, 300);
    Program program(folder.path());
    program.setShellCommand(QStringLiteral("\"$@\" > first.txt & "
                                           "until [ -s plant/.configscript-lock ]; do :; done; "
                                           "kill -KILL $!; wait $! 2> killed.txt; "
                                           "ls -A plant | head -n 1; \"$@\""));
    const ProgramRun run = program.run({QStringLiteral("resolve"), s_plant});
    QCOMPARE(run.exitCode, 0);
    QVERIFY2(run.output.startsWith(QLatin1String(".configscript-lock\n")), qPrintable(run.output));
    const Files files = folder.files();
    QCOMPARE(files.value(s_pumpName), s_newPump);
    QVERIFY(files.keys().filter(QStringLiteral(".configscript")).isEmpty());
}

void SavingTest::savesTwoProjects()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    const Program program(folder.path());
    const ProgramRun run = program.run({QStringLiteral("resolve"), QStringLiteral("pump-station")});
    QCOMPARE(run.errors, QString());
    QCOMPARE(run.exitCode, 0);
    const Files after = folder.files();
    QCOMPARE(after.keys(), before.keys());
    QCOMPARE(differingFiles(after, before).size(), 12);
    QVERIFY(after.value(QStringLiteral("network/configuration/bus3.json"))
            != before.value(QStringLiteral("network/configuration/bus3.json")));
}

// It would be the only one of twelve.
void SavingTest::savesNothingWhenOneFileCannotBeSaved()
{
    const ScratchFolder folder;
    folder.copyExamples();
    const Files before = folder.files();
    Program program(folder.path());
    program.runWithoutPrivilege();
    const QString bus = QStringLiteral("network/configuration/bus3.json");
    ProgramRun run;
    {
        const Permissions readOnly(folder.path(bus), QFile::ReadOwner);
        run = program.run({QStringLiteral("resolve"), QStringLiteral("pump-station")});
    }
    QCOMPARE(run.exitCode, 1);
    QCOMPARE(run.output.count(QLatin1String("NOT WRITTEN ")), 12);
    QCOMPARE(run.output.count(QStringLiteral("<folder>/") + bus
                              + QStringLiteral(": cannot be written: the file is read-only")),
             12);
    QVERIFY2(run.output.contains(QLatin1String("0 files changed, 0 values")),
             qPrintable(run.output));
    COMPARE_FILES(folder.files(), before);
}

void SavingTest::keepsModesAndLinks()
{
    for (const QString &mask : {QStringLiteral("077"), QStringLiteral("000")}) {
        const ScratchFolder folder;
        makeProjects(folder);
        QVERIFY(QFile::rename(folder.path(s_pumpName),
                              folder.path(QStringLiteral("plant/shared.json"))));
        folder.link(s_pumpName, QStringLiteral("../shared.json"));
        QVERIFY(QFile::setPermissions(folder.path(QStringLiteral("plant/shared.json")),
                                      QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup
                                          | QFile::ReadOther));
        QVERIFY(
            QFile::setPermissions(folder.path(s_busName), QFile::ReadOwner | QFile::WriteOwner));
        Program program(folder.path());
        program.setShellCommand(QStringLiteral("umask %1; \"$@\"").arg(mask));
        QCOMPARE(program.run({QStringLiteral("resolve"), s_plant}).exitCode, 0);
        QCOMPARE(folder.files().value(QStringLiteral("plant/shared.json")), s_newPump);
        QVERIFY(QFileInfo(folder.path(s_pumpName)).isSymLink());
        QCOMPARE(modeOf(folder, QStringLiteral("plant/shared.json")), 0644);
        QCOMPARE(modeOf(folder, s_busName), 0600);
        QCOMPARE(folder.files().value(s_busName), s_newBus);
    }
}

void SavingTest::readsAReadOnlyProject_data()
{
    QTest::addColumn<QString>("command");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("list") << QStringLiteral("list") << 0;
    QTest::newRow("check") << QStringLiteral("check") << 0;
    QTest::newRow("resolve -n") << QStringLiteral("resolve -n") << 0;
    QTest::newRow("resolve") << QStringLiteral("resolve") << 2;
}

void SavingTest::readsAReadOnlyProject()
{
    QFETCH(QString, command);
    QFETCH(int, exitCode);
    const ScratchFolder folder;
    makeProjects(folder);
    const Files before = folder.files();
    Program program(folder.path());
    program.runWithoutPrivilege();
    ProgramRun run;
    {
        const Permissions readOnly(folder.path(s_plant), QFile::ReadOwner | QFile::ExeOwner);
        run = program.run(words(command) + QStringList{s_plant});
    }
    QCOMPARE(run.errors.section(QStringLiteral(": "), 0, 2),
             exitCode == 0 ? QString()
                           : QStringLiteral("configscript: <folder>/plant: cannot be locked"));
    QCOMPARE(run.exitCode, exitCode);
    COMPARE_FILES(folder.files(), before);
}

TEST_CLASS(SavingTest)

#include "SavingTest.moc"
