#include "configscript/ChildProcess.h"
#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace {

const QString s_treeFile = QStringLiteral("plant/configuration/line1.json");

/// A line with a pump and, deeper, a motor that has a script, too.
const QByteArray s_tree("{\n"
                        "  \"properties\": {\n"
                        "    \"dependencyFileExtern\": \"line.js\",\n"
                        "    \"speed\": 1200\n"
                        "  },\n"
                        "  \"children\": {\n"
                        "    \"pump\": {\n"
                        "      \"properties\": {\n"
                        "        \"dependencyFileExtern\": \"pump.js\",\n"
                        "        \"speed\": 1200\n"
                        "      },\n"
                        "      \"children\": {\n"
                        "        \"motor\": {\n"
                        "          \"properties\": {\n"
                        "            \"dependencyFileExtern\": \"pump.js\",\n"
                        "            \"speed\": 1.20e3\n"
                        "          }\n"
                        "        }\n"
                        "      }\n"
                        "    }\n"
                        "  }\n"
                        "}\n");

const QString s_lineHunk = QStringLiteral("@@ -1,7 +1,7 @@\n"
                                          " {\n"
                                          "   \"properties\": {\n"
                                          "     \"dependencyFileExtern\": \"line.js\",\n"
                                          "-    \"speed\": 1200\n"
                                          "+    \"speed\": 1500\n"
                                          "   },\n"
                                          "   \"children\": {\n"
                                          "     \"pump\": {\n");
const QString s_pumpHunk = QStringLiteral("@@ -7,7 +7,8 @@\n"
                                          "     \"pump\": {\n"
                                          "       \"properties\": {\n"
                                          "         \"dependencyFileExtern\": \"pump.js\",\n"
                                          "-        \"speed\": 1200\n"
                                          "+        \"speed\": 1500,\n"
                                          "+        \"by\": \"config://pumps/plant/line1/pump\"\n"
                                          "       },\n"
                                          "       \"children\": {\n"
                                          "         \"motor\": {\n");
const QString s_motorHunk =
    QStringLiteral("@@ -13,7 +13,8 @@\n"
                   "         \"motor\": {\n"
                   "           \"properties\": {\n"
                   "             \"dependencyFileExtern\": \"pump.js\",\n"
                   "-            \"speed\": 1.20e3\n"
                   "+            \"speed\": 1500,\n"
                   "+            \"by\": \"config://pumps/plant/line1/pump/motor\"\n"
                   "           }\n"
                   "         }\n"
                   "       }\n");

const QString s_notWritten = QStringLiteral("Nothing was written; --write saves the changes.\n");

QString diffOf(const QString &file, const QString &hunks)
{
    return QStringLiteral("--- %1\n+++ %1\n").arg(file) + hunks;
}

QString ran(const QString &instance, const QString &script)
{
    return QStringLiteral("ok       %1  dependency/%2  # ms\n").arg(instance, script);
}

/// The project "plant" with a tree that holds several instances.
void makeLine(const ScratchFolder &folder, const QStringList &listed)
{
    folder.makePlant();
    folder.listInstances(listed);
    folder.write(s_treeFile, s_tree);
    folder.writeScript(QStringLiteral("line.js"),
                       "function onSave(api, url) {\n"
                       "  api.setProperty(\"\", \"speed\", 1500);\n"
                       "}\n");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                       "  api.setProperty(\"\", \"by\", url);\n"
                       "}\n");
}

QStringList inplace(const QString &tree, const QString &instance,
                    const QStringList &options = QStringList())
{
    return QStringList{QStringLiteral("resolve"), QStringLiteral("--in-place"), tree,
                       QStringLiteral("--instance"), instance}
    + options;
}

const QStringList s_write{QStringLiteral("--write")};
const QStringList s_json{QStringLiteral("--json")};

/// A project with one instance, "pump", in its own tree; its script is @p script.
void makePump(const ScratchFolder &folder, const QByteArray &script)
{
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), script);
}

const QString s_pumpFile = QStringLiteral("plant/configuration/pump.json");
const QString s_pumpDiff = QStringLiteral("--- configuration/pump.json\n"
                                          "+++ configuration/pump.json\n"
                                          "@@ -1,1 +1,1 @@\n"
                                          "-{ \"properties\": { \"dependencyFileExtern\": "
                                          "\"pump.js\", \"speed\": 1200 } }\n"
                                          "+{ \"properties\": { \"dependencyFileExtern\": "
                                          "\"pump.js\", \"speed\": 1500 } }\n");

} // namespace

class InplaceResolveTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void runsTheInstancesInsideOneTree_data();
    void runsTheInstancesInsideOneTree();
    void takesATreeElsewhereForTheInstanceItself_data();
    void takesATreeElsewhereForTheInstanceItself();
    void findsTheTreesPlaceHoweverItIsAddressed_data();
    void findsTheTreesPlaceHoweverItIsAddressed();
    void writesOnlyWhenAsked();
    void printsADiffThatApplies_data();
    void printsADiffThatApplies();
    void reportsThatNothingChanges();
    void reachesOtherObjectsInsideTheTreeOnly();
    void doesNothingForAnInstanceThatNobodyLists();
    void tellsWhyAnInstanceDidNotRun_data();
    void tellsWhyAnInstanceDidNotRun();
    void writesNothingWhenAScriptFailed_data();
    void writesNothingWhenAScriptFailed();
    void offersNoWritingWhenAScriptFailed();
    void doesNotRunAnotherScriptsFunctionUnnoticed();
    void reportsAFileThatCannotBeWritten();
    void reportsAsJson();
    void refusesWhatItCannotRead_data();
    void refusesWhatItCannotRead();
    void refusesArgumentsThatDoNotGoTogether_data();
    void refusesArgumentsThatDoNotGoTogether();
    void doesNotDependOnTheLocale();
};

void InplaceResolveTest::runsTheInstancesInsideOneTree_data()
{
    QTest::addColumn<QStringList>("listed");
    QTest::addColumn<QString>("instance");
    QTest::addColumn<QString>("runs");
    QTest::addColumn<QString>("hunks");

    const QString line = QStringLiteral("line1");
    const QString pump = QStringLiteral("line1/pump");
    const QString motor = QStringLiteral("line1/pump/motor");
    const QString lineJs = QStringLiteral("line.js");
    const QString pumpJs = QStringLiteral("pump.js");
    QTest::newRow("the root") << QStringList{line, pump} << line << ran(line, lineJs) << s_lineHunk;
    QTest::newRow("a child") << QStringList{line, pump} << pump << ran(pump, pumpJs) << s_pumpHunk;
    QTest::newRow("a grandchild") << QStringList{line, motor} << motor << ran(motor, pumpJs)
                                  << s_motorHunk;
    QTest::newRow("an unlisted child's listed parent")
        << QStringList{line, pump} << motor << ran(pump, pumpJs) << s_pumpHunk;
    QTest::newRow("an unknown child's listed parent")
        << QStringList{line, pump} << QStringLiteral("line1/valve") << ran(line, lineJs)
        << s_lineHunk;
    QTest::newRow("what begins with the name")
        << QStringList{pump, motor} << line
        << ran(pump.leftJustified(motor.size()), pumpJs) + ran(motor, pumpJs)
        << QString(s_pumpHunk).replace(QLatin1String("-7,7 +7,8"), QLatin1String("-7,13 +7,15"))
            + s_motorHunk.section(QLatin1Char('\n'), 2); // two hunks whose lines meet are one
    QTest::newRow("listed twice") << QStringList{pump, pump} << pump << ran(pump, pumpJs)
                                  << s_pumpHunk;
}

void InplaceResolveTest::runsTheInstancesInsideOneTree()
{
    QFETCH(const QStringList, listed);
    QFETCH(const QString, instance);
    QFETCH(const QString, runs);
    QFETCH(const QString, hunks);

    const ScratchFolder folder;
    makeLine(folder, listed);
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(inplace(s_treeFile, instance)), 0,
                runs + diffOf(QStringLiteral("configuration/line1.json"), hunks) + s_notWritten,
                QString());
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::takesATreeElsewhereForTheInstanceItself_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("name"); // in the diff
    QTest::addColumn<bool>("isInProject");

    QTest::newRow("in another folder of the project")
        << QStringLiteral("plant/drafts/line1.json") << QStringLiteral("drafts/line1.json") << true;
    QTest::newRow("without a suffix")
        << QStringLiteral("plant/draft") << QStringLiteral("draft") << true;
    QTest::newRow("with another suffix in the folder of the trees")
        << QStringLiteral("plant/configuration/line1.json~")
        << QStringLiteral("configuration/line1.json~") << true;
    QTest::newRow("outside the project")
        << QStringLiteral("drafts/tree.json") << QStringLiteral("../drafts/tree.json") << false;
}

void InplaceResolveTest::takesATreeElsewhereForTheInstanceItself()
{
    QFETCH(const QString, file);
    QFETCH(const QString, name);
    QFETCH(const bool, isInProject);

    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line9/line")});
    folder.write(file, s_tree);
    const Files before = folder.files();
    const QString diff = diffOf(name, s_lineHunk);
    const QString run = ran(QStringLiteral("line9/line"), QStringLiteral("line.js"));
    QStringList arguments = inplace(file, QStringLiteral("line9/line"));
    if (!isInProject) {
        COMPARE_RUN(Program(folder.path()).run(arguments), 2, QString(),
                    QStringLiteral("configscript: %1: no project.json in a folder above it; name "
                                   "the project\n")
                        .arg(file));
        arguments.insert(1, QStringLiteral("plant"));
    }
    COMPARE_RUN(Program(folder.path()).run(arguments), 0, run + diff + s_notWritten, QString());
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(Program(folder.path()).run(arguments + s_write), 0,
                run + diff + QStringLiteral("Written.\n"), QString());
    COMPARE_FILES(differingFiles(folder.files(), before),
                  (Files{{file,
                          QByteArray(s_tree).replace("    \"speed\": 1200\n  }",
                                                     "    \"speed\": 1500\n  }")}}));
}

void InplaceResolveTest::findsTheTreesPlaceHoweverItIsAddressed_data()
{
    QTest::addColumn<QString>("workingFolder");
    QTest::addColumn<QString>("project"); // empty to find it
    QTest::addColumn<QString>("tree");

    QTest::newRow("from above") << QString() << QString() << s_treeFile;
    QTest::newRow("from the project")
        << QStringLiteral("plant") << QString() << QStringLiteral("configuration/line1.json");
    QTest::newRow("from beside it")
        << QStringLiteral("plant/configuration") << QString() << QStringLiteral("line1.json");
    QTest::newRow("from another folder") << QStringLiteral("plant/dependency") << QString()
                                         << QStringLiteral("../configuration/line1.json");
    QTest::newRow("with a detour") << QString() << QString()
                                   << QStringLiteral("./plant//dependency/../configuration/"
                                                     "line1.json");
    QTest::newRow("through a link")
        << QString() << QString() << QStringLiteral("link/configuration/line1.json");
    QTest::newRow("project named") << QString() << QStringLiteral("plant/") << s_treeFile;
    QTest::newRow("tree through a link, project named")
        << QString() << QStringLiteral("plant") << QStringLiteral("link/configuration/line1.json");
    QTest::newRow("project through a link") << QString() << QStringLiteral("link") << s_treeFile;
}

void InplaceResolveTest::findsTheTreesPlaceHoweverItIsAddressed()
{
    QFETCH(const QString, workingFolder);
    QFETCH(const QString, project);
    QFETCH(const QString, tree);

    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line1/pump")});
    folder.link(QStringLiteral("link"), folder.path(QStringLiteral("plant")));
    QStringList arguments = inplace(tree, QStringLiteral("line1/pump"));
    if (!project.isEmpty()) {
        arguments.insert(1, project);
    }
    const ProgramRun run = Program(folder.path(workingFolder)).run(arguments);
    QCOMPARE(run.errors, QString());
    const QString heading = ran(QStringLiteral("line1/pump"), QStringLiteral("pump.js"));
    QVERIFY2(run.output.startsWith(heading), qPrintable(run.output));
    QVERIFY2(run.output.endsWith(s_pumpHunk + s_notWritten), qPrintable(run.output));
    QCOMPARE(run.exitCode, 0);
}

void InplaceResolveTest::writesOnlyWhenAsked()
{
    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line1"), QStringLiteral("line1/pump")});
    const Files before = folder.files();
    const QString report = ran(QStringLiteral("line1/pump"), QStringLiteral("pump.js"))
        + diffOf(QStringLiteral("configuration/line1.json"), s_pumpHunk);
    const QStringList arguments = inplace(s_treeFile, QStringLiteral("line1/pump"));
    COMPARE_RUN(Program(folder.path()).run(arguments), 0, report + s_notWritten, QString());
    COMPARE_FILES(folder.files(), before);

    COMPARE_RUN(Program(folder.path()).run(arguments + s_write), 0,
                report + QStringLiteral("Written.\n"), QString());
    COMPARE_FILES(differingFiles(folder.files(), before),
                  (Files{{s_treeFile,
                          QByteArray(s_tree).replace(
                              "        \"speed\": 1200\n",
                              "        \"speed\": 1500,\n"
                              "        \"by\": \"config://pumps/plant/line1/pump\"\n")}}));
}

void InplaceResolveTest::printsADiffThatApplies_data()
{
    QTest::addColumn<QByteArray>("tree");

    QTest::newRow("one line") << QByteArray(
        "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\" } }\n");
    QTest::newRow("no newline at the end")
        << QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\" } }");
    QTest::newRow("change in the last lines")
        << QByteArray("{\n  \"a\": 1,\n  \"b\": 2,\n  \"c\": 3,\n  \"properties\": {\n"
                      "    \"dependencyFileExtern\": \"pump.js\",\n    \"speed\": 1 }\n}\n");
    QTest::newRow("change in the first lines")
        << QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\" },\n\n\n\n\n"
                      "\"a\": 1\n\n\n}\n\n");
    QTest::newRow("carriage returns")
        << QByteArray("{\r\n  \"properties\": {\r\n    \"dependencyFileExtern\": \"pump.js\"\r\n"
                      "  }\r\n}\r\n");
}

void InplaceResolveTest::printsADiffThatApplies()
{
    QFETCH(const QByteArray, tree);

    const ScratchFolder folder;
    makePump(folder,
             "function onSave(api, url) { api.setPropertyExtern(url, \"speed\", 1500); }\n");
    folder.write(s_pumpFile, tree);
    const QStringList arguments = inplace(s_pumpFile, QStringLiteral("pump"));
    const ProgramRun run = Program(folder.path()).run(arguments + s_json);
    const QString diff = QJsonDocument::fromJson(run.output.toUtf8())
                             .object()
                             .value(QStringLiteral("diff"))
                             .toString();
    QVERIFY(!diff.isEmpty());

    folder.write(QStringLiteral("plant/diff"), diff.toUtf8());
    const ChildProcess patch =
        runChildProcess({QStringLiteral("patch"), QStringLiteral("--strip=0"),
                         QStringLiteral("--binary"), QStringLiteral("--fuzz=0"),
                         QStringLiteral("--input=diff"), QStringLiteral("--output=patched")},
                        folder.path(QStringLiteral("plant")));
    QVERIFY2(patch.exitCode == 0, (patch.output + patch.errors).constData());
    const QByteArray patched = folder.files().value(QStringLiteral("plant/patched"));

    QCOMPARE(Program(folder.path()).run(arguments + s_write).exitCode, 0);
    QCOMPARE(patched, folder.files().value(s_pumpFile));
    QVERIFY(patched != tree);
}

void InplaceResolveTest::reportsThatNothingChanges()
{
    const ScratchFolder folder;
    makePump(folder,
             "function onSave(api, url) {\n"
             "  console.log(\"läuft\");\n"
             "  api.setPropertyExtern(url, \"speed\", 1500);\n"
             "  api.setPropertyExtern(url, \"speed\", 1200);\n"
             "}\n");
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(inplace(s_pumpFile, QStringLiteral("pump"), s_write)), 0,
                ran(QStringLiteral("pump"), QStringLiteral("pump.js"))
                    + QStringLiteral("         dependency/pump.js:2: läuft\n"
                                     "The scripts change nothing.\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::reachesOtherObjectsInsideTheTreeOnly()
{
    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line1/pump")});
    // Scheme and object are not looked at; the tree is all there is.
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) {\n"
                       "  api.setPropertyExtern(\"process://pumps/other/line1/pump/motor\", "
                       "\"speed\", 1500);\n"
                       "  api.setPropertyExtern(\"config://pumps/plant/pump\", \"speed\", 1500);\n"
                       "}\n");
    const Files before = folder.files();
    const ProgramRun run =
        Program(folder.path()).run(inplace(s_treeFile, QStringLiteral("line1/pump"), s_write));
    COMPARE_RUN(run, 0,
                ran(QStringLiteral("line1/pump"), QStringLiteral("pump.js"))
                    + QStringLiteral("         dependency/pump.js: warning: Couldn't find "
                                     "\"config://pumps/plant/pump\" in \"line1\"\n"
                                     "         dependency/pump.js: warning: Root is null.\n")
                    + diffOf(QStringLiteral("configuration/line1.json"),
                             QStringLiteral("@@ -13,7 +13,7 @@\n"
                                            "         \"motor\": {\n"
                                            "           \"properties\": {\n"
                                            "             \"dependencyFileExtern\": \"pump.js\",\n"
                                            "-            \"speed\": 1.20e3\n"
                                            "+            \"speed\": 1500\n"
                                            "           }\n"
                                            "         }\n"
                                            "       }\n"))
                    + QStringLiteral("Written.\n"),
                QString());
    QCOMPARE(differingFiles(folder.files(), before).keys(), QStringList(s_treeFile));
}

void InplaceResolveTest::doesNothingForAnInstanceThatNobodyLists()
{
    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line1/pump")});
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(inplace(s_treeFile, QStringLiteral("line2"), s_write)),
                0,
                QStringLiteral("Nothing to do: the manifest lists no instance that \"line2\" "
                               "selects.\n"),
                QString());
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::tellsWhyAnInstanceDidNotRun_data()
{
    QTest::addColumn<QString>("listed");
    QTest::addColumn<QString>("removed"); // a script
    QTest::addColumn<QString>("output");

    const QString nothing = QStringLiteral("The scripts change nothing.\n");
    QTest::newRow("no node") << QStringLiteral("line1/valve") << QString()
                             << QStringLiteral(
                                    "NOT RUN  line1/valve  see the messages; the tree is that of "
                                    "\"line1\"\n"
                                    "warning: Couldn't find \"line1/valve\" in \"line1\"\n"
                                    "warning: Can not acquire root pointer of instance: "
                                    "\"line1/valve\"\n")
            + nothing;
    QTest::newRow("another tree")
        << QStringLiteral("pump") << QString()
        << QStringLiteral("NOT RUN  pump  see the messages; the tree is that of \"line1\", which "
                          "does not hold it\n"
                          "warning: Couldn't find \"pump\" in \"line1\"\n"
                          "warning: Can not acquire root pointer of instance: \"pump\"\n")
            + nothing;
    QTest::newRow("no script") << QStringLiteral("line1/pump")
                               << QStringLiteral("plant/dependency/pump.js")
                               << QStringLiteral(
                                      "NOT RUN  line1/pump  see the messages; the tree is that of "
                                      "\"line1\"\n"
                                      "warning: Can not open file: "
                                      "\"<folder>/plant/dependency/pump.js\"\n"
                                      "warning: The javascript file is empty for: "
                                      "\"line1/pump\"\n")
            + nothing;
}

void InplaceResolveTest::tellsWhyAnInstanceDidNotRun()
{
    QFETCH(const QString, listed);
    QFETCH(const QString, removed);
    QFETCH(const QString, output);

    const ScratchFolder folder;
    makeLine(folder, {listed});
    if (!removed.isEmpty()) {
        folder.remove(removed);
    }
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(inplace(s_treeFile, listed, s_write)), 1, output,
                QString());
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::writesNothingWhenAScriptFailed_data()
{
    QTest::addColumn<QByteArray>("end"); // of the function
    QTest::addColumn<QString>("details");

    QTest::newRow("exception") << QByteArray("  throw new Error(\"zu heiß\");")
                               << QStringLiteral("dependency/pump.js:3: Error: zu heiß");
    QTest::newRow("result false") << QByteArray("  return false;")
                                  << QStringLiteral("onSave returned false");
}

void InplaceResolveTest::writesNothingWhenAScriptFailed()
{
    QFETCH(const QByteArray, end);
    QFETCH(const QString, details);

    const ScratchFolder folder;
    makePump(folder,
             "function onSave(api, url) {\n"
             "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                 + end + "\n}\n");
    const Files before = folder.files();
    COMPARE_RUN(
        Program(folder.path()).run(inplace(s_pumpFile, QStringLiteral("pump"), s_write)), 1,
        QStringLiteral("FAILED   pump  dependency/pump.js  # ms\n         %1\n").arg(details)
            + s_pumpDiff + QStringLiteral("Nothing was written: a script failed.\n"),
        QString());
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::offersNoWritingWhenAScriptFailed()
{
    const ScratchFolder folder;
    makePump(folder,
             "function onSave(api, url) {\n"
             "  api.setPropertyExtern(url, \"speed\", 1500);\n"
             "  return false;\n"
             "}\n");
    const ProgramRun run = Program(folder.path()).run(inplace(s_pumpFile, QStringLiteral("pump")));
    QCOMPARE(run.exitCode, 1);
    QVERIFY2(!run.output.contains(QStringLiteral("--write")), qPrintable(run.output));
}

void InplaceResolveTest::doesNotRunAnotherScriptsFunctionUnnoticed()
{
    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line1/pump"), QStringLiteral("line1/pump/motor")});
    folder.write(
        s_treeFile,
        QByteArray(s_tree).replace("\"pump.js\",\n            ", "\"motor.js\",\n            "));
    folder.writeScript(QStringLiteral("motor.js"), "const onSave = () => {};\n");
    const Files before = folder.files();
    // The order of the two is another one in each process.
    bool hasRunForeign = false;
    for (int i = 0; i < 100 && !hasRunForeign; ++i) {
        const ProgramRun run =
            Program(folder.path()).run(inplace(s_treeFile, QStringLiteral("line1"), s_write));
        QCOMPARE(run.exitCode, 1);
        COMPARE_FILES(folder.files(), before);
        hasRunForeign = run.output.contains(
            QStringLiteral("FAILED   line1/pump/motor  dependency/motor.js  # ms\n"
                           "         onSave of dependency/pump.js ran instead: "
                           "dependency/motor.js defines none\n"));
        QVERIFY2(hasRunForeign
                     || run.output.contains(QStringLiteral(
                         "FAILED   line1/pump/motor  dependency/motor.js  # ms\n"
                         "         dependency/motor.js: warning: Property is no function: "
                         "\"onSave\"\n")),
                 qPrintable(run.output));
    }
    QVERIFY(hasRunForeign);
}

void InplaceResolveTest::reportsAFileThatCannotBeWritten()
{
    const ScratchFolder folder;
    makePump(folder,
             "function onSave(api, url) { api.setPropertyExtern(url, \"speed\", 1500); }\n");
    const Files before = folder.files();
    const Permissions permissions(folder.path(QStringLiteral("plant/configuration")),
                                  QFile::ReadOwner | QFile::ExeOwner);
    Program program(folder.path());
    program.runWithoutPrivilege();
    const QStringList arguments = inplace(s_pumpFile, QStringLiteral("pump"), s_write);
    COMPARE_RUN(program.run(arguments), 1,
                ran(QStringLiteral("pump"), QStringLiteral("pump.js")) + s_pumpDiff
                    + QStringLiteral("<folder>/plant/configuration/pump.json: cannot be written: "
                                     "Permission denied\n"),
                QString());

    const QVariantMap report =
        QJsonDocument::fromJson(program.run(arguments + s_json).output.toUtf8())
            .toVariant()
            .toMap();
    QCOMPARE(report.value(QStringLiteral("succeeded")), QVariant(false));
    QCOMPARE(report.value(QStringLiteral("written")), QVariant(false));
    const QVariantMap file = report.value(QStringLiteral("files")).toList().value(0).toMap();
    QCOMPARE(file.value(QStringLiteral("stored")), QVariant(false));
    QVERIFY(file.value(QStringLiteral("error"))
                .toString()
                .endsWith(QStringLiteral("cannot be written: Permission denied")));
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::reportsAsJson()
{
    const ScratchFolder folder;
    makeLine(folder, {QStringLiteral("line1"), QStringLiteral("line1/pump")});
    const QStringList arguments = inplace(s_treeFile, QStringLiteral("line1/pump"), s_json);
    QJsonObject expected = QJsonDocument::fromJson(R"({
        "project": "<folder>/plant",
        "dryRun": true,
        "succeeded": true,
        "written": false,
        "runs": [
            {
                "instance": "line1/pump",
                "script": "dependency/pump.js",
                "function": "onSave",
                "argument": "config://pumps/plant/line1/pump",
                "succeeded": true,
                "milliseconds": "#",
                "exceptions": [],
                "errors": [],
                "console": [],
                "warnings": [],
                "writes": [
                    { "instance": "line1", "kind": "configuration", "path": "pump",
                      "key": "speed", "old": 1200, "new": 1500 },
                    { "instance": "line1", "kind": "configuration", "path": "pump",
                      "key": "by", "new": "config://pumps/plant/line1/pump" }
                ],
                "unsaved": []
            }
        ],
        "notRun": [],
        "files": [
            {
                "file": "configuration/line1.json",
                "instance": "line1",
                "kind": "configuration",
                "stored": true,
                "changes": [
                    { "path": "pump", "key": "by", "new": "config://pumps/plant/line1/pump" },
                    { "path": "pump", "key": "speed", "old": 1200, "new": 1500 }
                ]
            }
        ],
        "announced": [],
        "projectWarnings": [],
        "warnings": [],
        "summary": { "scriptsRun": 1, "scriptsFailed": 0, "filesChanged": 1, "valuesChanged": 2,
                     "milliseconds": "#" }
    })")
                               .object();
    expected.insert(QStringLiteral("diff"),
                    diffOf(QStringLiteral("configuration/line1.json"), s_pumpHunk));
    COMPARE_RUN(Program(folder.path()).run(arguments), 0,
                QString::fromUtf8(QJsonDocument(expected).toJson()), QString());

    expected.insert(QStringLiteral("dryRun"), false);
    expected.insert(QStringLiteral("written"), true);
    COMPARE_RUN(Program(folder.path()).run(arguments + s_write), 0,
                QString::fromUtf8(QJsonDocument(expected).toJson()), QString());
}

void InplaceResolveTest::refusesWhatItCannotRead_data()
{
    QTest::addColumn<QString>("file"); // to change
    QTest::addColumn<QByteArray>("content"); // null removes it
    QTest::addColumn<QString>("message");

    QTest::newRow("no tree") << s_pumpFile << QByteArray()
                             << QStringLiteral("<folder>/plant/configuration/pump.json: no such "
                                               "file");
    QTest::newRow("malformed tree")
        << s_pumpFile << QByteArray("{ \"properties\": {\n ] }")
        << QStringLiteral("<folder>/plant/configuration/pump.json:2:2: expected a member's name in "
                          "double quotes, or '}', found ']'");
    QTest::newRow("script outside of the project")
        << s_pumpFile
        << QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"../../x.js\" } }")
        << QStringLiteral(
               "<folder>/plant/configuration/pump.json:1:43: \"../../x.js\" leads out of "
               "the scripts' folder");
    QTest::newRow("script is a folder")
        << s_pumpFile << QByteArray("{ \"properties\": { \"dependencyFileExtern\": \".\" } }")
        << QStringLiteral("<folder>/plant/dependency: cannot be read: it is no file");
    QTest::newRow("no project") << QStringLiteral("plant/project.json") << QByteArray()
                                << QStringLiteral("plant/configuration/pump.json: no project.json "
                                                  "in a folder above it; name the project");
    QTest::newRow("malformed project")
        << QStringLiteral("plant/project.json") << QByteArray("{}")
        << QStringLiteral("<folder>/plant/project.json:1:1: expected a member \"moduleName\"");
    QTest::newRow("no manifest")
        << QStringLiteral("plant/configuration/manifest.json") << QByteArray()
        << QStringLiteral("<folder>/plant/configuration/manifest.json: no such file: expected the "
                          "project's manifest");
    QTest::newRow("malformed manifest")
        << QStringLiteral("plant/configuration/manifest.json") << QByteArray("{}")
        << QStringLiteral("<folder>/plant/configuration/manifest.json:1:1: expected an array on "
                          "top, found an object");
}

void InplaceResolveTest::refusesWhatItCannotRead()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    makePump(folder, "function onSave() {}\n");
    if (content.isNull()) {
        folder.remove(file);
    } else {
        folder.write(file, content);
    }
    COMPARE_RUN(Program(folder.path()).run(inplace(s_pumpFile, QStringLiteral("pump"))), 2,
                QString(), QStringLiteral("configscript: %1\n").arg(message));
}

void InplaceResolveTest::refusesArgumentsThatDoNotGoTogether_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    const QStringList inplacePump = inplace(s_pumpFile, QStringLiteral("pump"));
    const auto excluding = [&](const char *name, const QStringList &options, const char *option) {
        QTest::newRow(name) << inplacePump + options
                            << QString::fromLatin1(option) + QStringLiteral(" excludes --in-place");
    };
    QTest::newRow("no instance") << QStringList(inplacePump.mid(0, 3))
                                 << QStringLiteral("--instance is required");
    QTest::newRow("empty instance")
        << inplace(s_pumpFile, QString()) << QStringLiteral("--instance is required");
    QTest::newRow("no tree, but an instance")
        << QStringList{QStringLiteral("resolve"), QStringLiteral("plant"),
                       QStringLiteral("--instance"), QStringLiteral("pump")}
        << QStringLiteral("--instance requires --in-place");
    QTest::newRow("no tree to write")
        << QStringList{QStringLiteral("resolve"), QStringLiteral("plant"),
                       QStringLiteral("--write")}
        << QStringLiteral("--write requires --in-place");
    excluding("another instance", {QStringLiteral("plant"), QStringLiteral("pump")}, "INSTANCE");
    excluding("dry run", {QStringLiteral("--write"), QStringLiteral("--dry-run")}, "--dry-run");
    excluding("quietly", {QStringLiteral("-q")}, "--quiet");
    excluding("unchecked", {QStringLiteral("--no-check")}, "--no-check");
}

void InplaceResolveTest::refusesArgumentsThatDoNotGoTogether()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    folder.makePlant();
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(arguments), 2, QString(),
                message
                    + QStringLiteral("\nRun with --help or --help-all for more information.\n"));
    COMPARE_FILES(folder.files(), before);
}

void InplaceResolveTest::doesNotDependOnTheLocale()
{
    const ScratchFolder folder;
    const QString tree = QStringLiteral("Pumpen Süd/configuration/Kühl 1.json");
    folder.write(QStringLiteral("Pumpen Süd/project.json"),
                 "{ \"moduleName\": \"pümps\", \"objectName\": \"plänt\" }");
    folder.write(QStringLiteral("Pumpen Süd/configuration/manifest.json"),
                 "[ { \"dependencyFileExtern\": [ { \"instanceName\": \"Kühl 1/Öl\" } ] } ]");
    folder.write(tree,
                 "{ \"children\": {\n"
                 "  \"Öl\": { \"properties\": {\n"
                 "    \"dependencyFileExtern\": \"Öl 1.js\",\n"
                 "    \"größe\": 0.5 } } } }\n");
    folder.write(
        QStringLiteral("Pumpen Süd/dependency/Öl 1.js"),
        "function onSave(api, url) { api.setPropertyExtern(url, \"größe\", \"0,5 µm\"); }\n");
    Program program(folder.path());
    program.setVariable(QStringLiteral("LANG"), QStringLiteral("C"));
    program.setVariable(QStringLiteral("LC_ALL"), QStringLiteral("C"));
    COMPARE_RUN(program.run(inplace(tree, QStringLiteral("Kühl 1/Öl"), s_write)), 0,
                QStringLiteral("ok       Kühl 1/Öl  dependency/Öl 1.js  # ms\n"
                               "--- configuration/Kühl 1.json\n"
                               "+++ configuration/Kühl 1.json\n"
                               "@@ -1,4 +1,4 @@\n"
                               " { \"children\": {\n"
                               "   \"Öl\": { \"properties\": {\n"
                               "     \"dependencyFileExtern\": \"Öl 1.js\",\n"
                               "-    \"größe\": 0.5 } } } }\n"
                               "+    \"größe\": \"0,5 µm\" } } } }\n"
                               "Written.\n"),
                QString());
    QVERIFY(folder.files().value(tree).contains("\"größe\": \"0,5 µm\""));
}

TEST_CLASS(InplaceResolveTest)
#include "InplaceResolveTest.moc"
