#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <algorithm>

#include <sys/stat.h>

namespace {

const QStringList s_resolvePlant{QStringLiteral("resolve"), QStringLiteral("plant")};
const QStringList s_noCheck{QStringLiteral("--no-check")};

const QFile::Permissions s_readOnly = QFile::ReadOwner | QFile::ExeOwner;

} // namespace

/// Trees that cannot be read or written.
class ResolveBadTreeTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void leavesABadTreeAlone_data();
    void leavesABadTreeAlone();
    void runsTheOtherInstancesUnchecked();
    void warnsOfABadTreeThatAScriptReads();
    void followsNoLinkOutOfTheProject_data();
    void followsNoLinkOutOfTheProject();
    void writesNothingThroughALinkOutOfTheProject();
    void keepsALinkInsideTheProject();
    void refusesToWriteReadOnlyProperties();
    void tellsWhichFileCouldNotBeWritten_data();
    void tellsWhichFileCouldNotBeWritten();
    void tellsWhichFileCouldNotBeRead_data();
    void tellsWhichFileCouldNotBeRead();
    void refusesAFolderThatItMayNotRead();
    void savesNothingWhenAFileHasTwoNames_data();
    void savesNothingWhenAFileHasTwoNames();
};

void ResolveBadTreeTest::leavesABadTreeAlone_data()
{
    QTest::addColumn<QByteArray>("tree");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("column");
    QTest::addColumn<QString>("message");

    const auto add = [](const char *name, const QByteArray &tree, const char *line,
                        const char *column, const char *message) {
        QTest::newRow(name) << tree << QString::fromUtf8(line) << QString::fromUtf8(column)
                            << QString::fromUtf8(message);
    };
    add("empty", "", ":1", ":1", "expected a value, found the end of the file");
    add("cut off",
        "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\",\n    \"speed\": ", ":2", ":14",
        "expected a value, found the end of the file");
    add("cut off in a string", "{ \"properties\": {\n  \"dependencyFileExtern\": \"pump", ":2",
        ":27",
        "expected '\"' at the end of the string that begins here, found the end of the "
        "file");
    add("array", "[]", ":1", ":1", "expected a node: an object, found an array");
    add("properties are an array", "{ \"properties\": [] }", ":1", ":17",
        "expected an object as \"properties\", found an array");
    add("child is a number", "{ \"children\": { \"motor\": 5 } }", ":1", ":26",
        "expected a node: an object, found a number");
    add("child without a name", "{ \"children\": { \"\": {} } }", ":1", ":17",
        "expected a child's name: not empty, without \"/\"");
    add("nested 10,000 deep",
        QByteArray("{ \"children\": { \"c\":\n").repeated(10000) + "{}"
            + QByteArray(" } }").repeated(10000),
        ":257", ":1", "expected no nesting deeper than 512 levels");
    add("duplicate property",
        "{ \"properties\": {\n  \"dependencyFileExtern\": \"pump.js\",\n  \"speed\": 1,\n"
        "  \"speed\": 2 } }",
        ":4", ":3", "expected each member once, found a second \"speed\"");
    add("duplicate child", "{ \"children\": { \"motor\": {}, \"motor\": {} } }", ":1", ":30",
        "expected each member once, found a second \"motor\"");
    add("invalid UTF-8", "{ \"properties\": { \"h\xc3\xb6he\": 1,\n  \"l\xe4nge\": 2 } }", ":2",
        ":5", "expected UTF-8, found the byte 0xe4");
    add("byte order mark inside", "{ \"properties\": {\n  \xef\xbb\xbf\"speed\": 1 } }", ":2", ":3",
        "expected a member's name in double quotes, or '}', found the character U+FEFF");
    add("number too large", "{ \"properties\": { \"speed\": 1e999 } }", ":1", ":28",
        "expected a number that a double can hold, found 1e999");
    add("50 MB large",
        "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\" } }" + QByteArray(50000000, ' '),
        "", "", "expected at most 33554432 bytes, found 50000055");
}

void ResolveBadTreeTest::leavesABadTreeAlone()
{
    QFETCH(const QByteArray, tree);
    QFETCH(const QString, line);
    QFETCH(const QString, column);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/configuration/pump.json"), tree);
    const Files before = folder.files();
    const Program program(folder.path());
    COMPARE_RUN(program.run(s_resolvePlant),
                refusal(QStringLiteral("configuration/pump.json%1: error: %2 [malformed-tree]")
                            .arg(line, message)));
    COMPARE_RUN(
        program.run(s_resolvePlant + s_noCheck),
        notRun(QStringLiteral("pump  configuration/pump.json%1%2: %3").arg(line, column, message)));
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadTreeTest::runsTheOtherInstancesUnchecked()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("tank"), QStringLiteral("pump.js"));
    folder.write(QStringLiteral("plant/configuration/pump.json"), "{");
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("tank")});
    COMPARE_RUN(
        Program(folder.path()).run(s_resolvePlant + s_noCheck), 1,
        QStringLiteral("ok       tank  dependency/pump.js  # ms\n"
                       "NOT RUN  pump  configuration/pump.json:1:2: expected a member's name in "
                       "double quotes, or '}', found the end of the file\n"
                       "\n"
                       "changed configuration/tank.json\n"
                       "  speed  1200 -> 1500\n"
                       "\n"
                       "1 script run, 0 failed, 1 not run; 1 file changed, 1 value; "
                       "# ms\n"),
        QString());
}

void ResolveBadTreeTest::warnsOfABadTreeThatAScriptReads()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/process/pump.json"), "{ \"properties\": { \"range\" } }");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) {\n"
                       "  api.getPropertyExtern(\"process://pumps/plant/pump\", \"range\");\n"
                       "}\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: warning: "
                               "<folder>/plant/process/pump.json:1:27: expected ':' after the "
                               "member's name, found '}'\n"
                               "         dependency/pump.js: warning: Unable to find url "
                               "\"process://pumps/plant/pump\" in project \"<folder>/plant\"\n"
                               "         dependency/pump.js: warning: Root is null.\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadTreeTest::followsNoLinkOutOfTheProject_data()
{
    QTest::addColumn<QString>("link");
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("instance");

    QTest::newRow("file") << QStringLiteral("configuration/valve.json")
                          << QStringLiteral("outside/valve.json") << QStringLiteral("valve");
    QTest::newRow("folder") << QStringLiteral("configuration/line") << QStringLiteral("outside")
                            << QStringLiteral("line/valve");
    QTest::newRow("to nowhere") << QStringLiteral("configuration/valve.json")
                                << QStringLiteral("outside/nowhere.json")
                                << QStringLiteral("valve");
}

void ResolveBadTreeTest::followsNoLinkOutOfTheProject()
{
    QFETCH(const QString, link);
    QFETCH(const QString, target);
    QFETCH(const QString, instance);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("outside/valve.json"),
                 folder.files().value(QStringLiteral("plant/configuration/pump.json")));
    folder.link(QStringLiteral("plant/") + link, folder.path(target));
    folder.listInstances({instance});
    const Files before = readFiles(folder.path(QStringLiteral("outside")));
    const Program program(folder.path());
    COMPARE_RUN(program.run(s_resolvePlant),
                refusal(QStringLiteral("configuration/manifest.json:3: error: \"%1\": a link leads "
                                       "out of the project folder: configuration/%1.json "
                                       "[missing-tree]")
                            .arg(instance)));
    COMPARE_RUN(program.run(s_resolvePlant + s_noCheck),
                notRun(QStringLiteral("%1  a link leads out of the project folder: "
                                      "configuration/%1.json")
                           .arg(instance)));
    COMPARE_FILES(readFiles(folder.path(QStringLiteral("outside"))), before);
}

void ResolveBadTreeTest::writesNothingThroughALinkOutOfTheProject()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("outside/pump.json"), "{ \"properties\": { \"range\": 1 } }");
    folder.link(QStringLiteral("plant/process"), folder.path(QStringLiteral("outside")));
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) {\n"
                       "  api.setPropertyExtern(\"process://pumps/plant/pump\", \"range\", 2);\n"
                       "}\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: warning: Can not read instance: "
                               "\"pump\" a link leads out of the project folder: "
                               "<folder>/plant/process/pump.json\n"
                               "         dependency/pump.js: warning: Unable to find url "
                               "\"process://pumps/plant/pump\" in project \"<folder>/plant\"\n"
                               "         dependency/pump.js: warning: Root is null.\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadTreeTest::keepsALinkInsideTheProject()
{
    const ScratchFolder folder;
    folder.makePlant();
    const QString linkName = QStringLiteral("plant/configuration/pump.json");
    const QString targetName = QStringLiteral("plant/common/pump.json");
    folder.write(targetName, folder.files().value(linkName));
    folder.remove(linkName);
    folder.link(linkName, QStringLiteral("../common/pump.json"));
    QCOMPARE(Program(folder.path()).run(s_resolvePlant).exitCode, 0);
    QVERIFY(QFileInfo(folder.path(linkName)).isSymLink());
    QVERIFY(folder.files().value(targetName).contains("\"speed\": 1500"));
}

void ResolveBadTreeTest::refusesToWriteReadOnlyProperties()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/configuration/pump.json"),
                 "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"speed\": 1200 },\n"
                 "  \"readOnly\": [ \"speed\" ] }");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "         dependency/pump.js: warning: Can not set value: "
                               "QVariant(int, 1500) to: \"\" \"speed\"\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadTreeTest::tellsWhichFileCouldNotBeWritten_data()
{
    QTest::addColumn<QString>("readOnly");
    QTest::addColumn<QString>("reason");

    QTest::newRow("folder") << QStringLiteral("plant/configuration")
                            << QStringLiteral("Permission denied");
    QTest::newRow("file") << QStringLiteral("plant/configuration/pump.json")
                          << QStringLiteral("the file is read-only");
}

void ResolveBadTreeTest::tellsWhichFileCouldNotBeWritten()
{
    QFETCH(const QString, readOnly);
    QFETCH(const QString, reason);

    const ScratchFolder folder;
    folder.makePlant();
    const Files before = folder.files();
    const Permissions permissions(folder.path(readOnly), s_readOnly);
    Program program(folder.path());
    program.runWithoutPrivilege();
    const QString tree =
        QStringLiteral("\n"
                       "NOT WRITTEN configuration/pump.json\n"
                       "  <folder>/plant/configuration/pump.json: cannot be written: %1\n"
                       "  speed  1200 -> 1500\n")
            .arg(reason);
    COMPARE_RUN(program.run(s_resolvePlant), 1,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n") + tree
                    + QStringLiteral("\n"
                                     "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
    COMPARE_RUN(program.run(s_resolvePlant + QStringList(QStringLiteral("--quiet"))), 1, tree,
                QString());
    COMPARE_FILES(folder.files(), before);
}

void ResolveBadTreeTest::tellsWhichFileCouldNotBeRead_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("obstacle");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("output");
    QTest::addColumn<QString>("errors");

    const auto add = [](const char *file, const char *findingName) {
        for (const char *obstacle : {"forbidden", "folder", "pipe"}) {
            const QString error = QStringLiteral("cannot be read: ")
                + (qstrcmp(obstacle, "forbidden") == 0 ? QStringLiteral("Permission denied")
                                                       : QStringLiteral("it is no file"));
            const ProgramRun run = findingName
                ? refusal(QStringLiteral("%1: error: %2 [%3]")
                              .arg(QLatin1String(file), error, QLatin1String(findingName)))
                : ProgramRun{2, QString(),
                             QStringLiteral("configscript: <folder>/plant/%1: %2\n")
                                 .arg(QLatin1String(file), error)};
            QTest::addRow("%s: %s", file, obstacle)
                << QString::fromLatin1(file) << QByteArray(obstacle) << run.exitCode << run.output
                << run.errors;
        }
    };
    add("configuration/pump.json", "malformed-tree");
    add("dependency/pump.js", "missing-script");
    add("project.json", nullptr);
    add("texts/en.json", nullptr);
    add("configuration/manifest.json", nullptr);
}

void ResolveBadTreeTest::tellsWhichFileCouldNotBeRead()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, obstacle);
    QFETCH(const int, exitCode);
    QFETCH(const QString, output);
    QFETCH(const QString, errors);

    const ScratchFolder folder;
    folder.makePlant();
    const QString name = QStringLiteral("plant/") + file;
    const QString path = folder.path(name);
    folder.write(QStringLiteral("plant/texts/en.json"), "{}");
    if (obstacle != "forbidden") {
        folder.remove(name);
        QVERIFY(obstacle == "pipe" ? mkfifo(QFile::encodeName(path).constData(), 0600) == 0
                                   : QDir().mkdir(path));
    }
    const Permissions permissions(
        path, obstacle == "forbidden" ? QFile::Permissions() : QFile::permissions(path));
    Program program(folder.path());
    program.runWithoutPrivilege();
    COMPARE_RUN(program.run(s_resolvePlant), exitCode, output, errors);
}

void ResolveBadTreeTest::refusesAFolderThatItMayNotRead()
{
    const ScratchFolder folder;
    folder.makePlant();
    const Permissions permissions(folder.path(QStringLiteral("plant")), {});
    Program program(folder.path());
    program.runWithoutPrivilege();
    COMPARE_RUN(program.run(s_resolvePlant), 2, QString(),
                QStringLiteral("configscript: <folder>/plant/project.json: cannot be read: "
                               "Permission denied\n"));
}

void ResolveBadTreeTest::savesNothingWhenAFileHasTwoNames_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<QString>("file");
    QTest::addColumn<bool>("isDryRun");

    const QString pump = QStringLiteral("configuration/pump.json");
    const auto add = [](const char *name, const char *url, const QString &file) {
        QTest::addRow("%s", name) << QString::fromLatin1(url) << file << false;
        QTest::addRow("%s, dry run", name) << QString::fromLatin1(url) << file << true;
    };
    add("provider of system information", "config://pumps/cabinet/pump", pump);
    add("other object in the same folder", "config://pumps/twin/pump", pump);
    add("other object in a link to the folder", "config://pumps/link/pump",
        QStringLiteral("../link/configuration/pump.json"));
    add("link to the tree", "config://pumps/plant/pump2",
        QStringLiteral("configuration/pump2.json"));
}

void ResolveBadTreeTest::savesNothingWhenAFileHasTwoNames()
{
    QFETCH(const QString, url);
    QFETCH(const QString, file);
    QFETCH(const bool, isDryRun);

    const ScratchFolder folder;
    folder.makePlant();
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\",\n"
                 "  \"otherFiles\": { \"twin\": \"../plant\", \"link\": \"../link\" } }\n");
    folder.write(QStringLiteral("plant/providers.json"), "{ \"power\": [ \"cabinet\" ] }\n");
    folder.link(QStringLiteral("link"), QStringLiteral("plant"));
    folder.link(QStringLiteral("plant/configuration/pump2.json"), QStringLiteral("pump.json"));
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    folder.writeScript(QStringLiteral("valve.js"),
                       "function onSave(api) {\n"
                       "  api.setPropertyExtern(\""
                           + url.toUtf8()
                           + "\", \"speed\", 1600);\n"
                             "}\n");
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    const Files expected = folder.files();

    const ProgramRun run =
        Program(folder.path())
            .run(isDryRun ? s_resolvePlant + QStringList(QStringLiteral("-n")) : s_resolvePlant);
    // Which of the two is saved first, and which one refused, is not the same in each process.
    const QString pump = QStringLiteral("configuration/pump.json");
    const auto errorOf = [](const QString &refused) {
        return QStringLiteral("  <folder>/%1: cannot be written: the file has changed since it was "
                              "read\n")
            .arg(QDir::cleanPath(QStringLiteral("plant/") + refused));
    };
    const QString error = errorOf(run.output.contains(errorOf(pump)) ? pump : file);
    const QString notWritten = QStringLiteral("NOT WRITTEN %1\n%2  speed  1200 -> %3");
    QStringList blocks{
        QStringLiteral("ok       pump   dependency/pump.js   # ms\n"
                       "ok       valve  dependency/valve.js  # ms"),
        notWritten.arg(pump, error).arg(1500), notWritten.arg(file, error).arg(1600),
        QStringLiteral("2 scripts run, 0 failed; 0 files %1, 0 values; # ms\n")
            .arg(isDryRun ? QStringLiteral("would change") : QStringLiteral("changed"))};
    QStringList actualBlocks = run.output.split(QStringLiteral("\n\n"));
    std::sort(blocks.begin(), blocks.end());
    std::sort(actualBlocks.begin(), actualBlocks.end());
    const QString separator = QStringLiteral("\n\n");
    COMPARE_RUN((ProgramRun{run.exitCode, actualBlocks.join(separator), run.errors}), 1,
                blocks.join(separator), QString());

    COMPARE_FILES(folder.files(), expected);
}

TEST_CLASS(ResolveBadTreeTest)
#include "ResolveBadTreeTest.moc"
