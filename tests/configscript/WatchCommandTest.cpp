#include "configscript/CommandTest.h"
#include "configscript/LimitSupport.h"
#include "configscript/ScratchFolder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace {

constexpr int s_patience = 60'000; ///< milliseconds

/// The program while it watches the project "plant" of a scratch folder.
class Watching
{
public:
    explicit Watching(const ScratchFolder &folder, const QStringList &options = {},
                      const QString &shellCommand = QString())
        : m_folder(QFileInfo(folder.path()).canonicalFilePath())
    {
        Program program(m_folder);
        if (!shellCommand.isEmpty()) {
            program.setShellCommand(shellCommand);
        }
        m_process =
            program.start(QStringList{QStringLiteral("watch"), QStringLiteral("plant")} + options);
    }

    RunningProcess &process() { return *m_process; }

    /// What it prints next, as much as @p expected; or all that came in time.
    QString next(const QString &expected)
    {
        QElapsedTimer timer;
        timer.start();
        while (fresh().size() < expected.size() && !timer.hasExpired(s_patience)
               && m_process->readMore(s_patience)) { }
        const QString text = fresh().left(expected.size());
        m_taken += text.size();
        return text;
    }

    /// The next line, which is JSON.
    QJsonObject nextObject()
    {
        while (!fresh().contains(QLatin1Char('\n')) && m_process->readMore(s_patience)) { }
        const QString line = fresh().section(QLatin1Char('\n'), 0, 0);
        m_taken += line.size() + 1;
        return QJsonDocument::fromJson(line.toUtf8()).object();
    }

    /// What it says on standard error, when that has come in time.
    QString errors(const QString &expected)
    {
        while (m_process->errors().size() < expected.size() && m_process->readMore(s_patience)) { }
        return withoutFolder(m_process->errors());
    }

    /// Ends it. @return exit code -2 when it printed something else before
    ProgramRun end(int signal = SIGINT)
    {
        m_process->signal(signal);
        const ChildProcess ending = m_process->waitForEnd();
        return {ending.exitCode, fresh(), withoutFolder(ending.errors)};
    }

private:
    QString withoutFolder(const QByteArray &bytes) const
    {
        return QString::fromUtf8(bytes).replace(m_folder, QLatin1String("<folder>"));
    }

    QString fresh() const
    {
        static const QRegularExpression duration(QStringLiteral("\\d+\\.\\d ms"));
        static const QRegularExpression time(QStringLiteral("(^|\n)\\d\\d:\\d\\d:\\d\\d  "));
        const QByteArray whole = m_process->output();
        return withoutFolder(whole.left(whole.lastIndexOf('\n') + 1))
            .replace(duration, QStringLiteral("# ms"))
            .replace(time, QStringLiteral("\\1TIME  "))
            .mid(m_taken);
    }

    QString m_folder;
    std::unique_ptr<RunningProcess> m_process;
    int m_taken = 0; ///< of the output, in the form that is compared
};

/// What comes next must be just this.
#define EXPECT_NEXT(watching, text) \
    do { \
        const QString expected = QString::fromUtf8(text); \
        const QString actual = (watching).next(expected); \
        COMPARE_FILES((Files{{QStringLiteral("output"), actual.toUtf8()}}), \
                      (Files{{QStringLiteral("output"), expected.toUtf8()}})); \
    } while (false)

/// It ends well, and has printed nothing more.
#define EXPECT_END(watching) COMPARE_RUN((watching).end(), 0, QString(), QString())

const char s_start[] = "\n"
                       "would change configuration/pump.json\n"
                       "  speed  1200 -> 1500\n"
                       "\n"
                       "Watching plant: 1 instance, 1 script. Ctrl+C ends.\n";

/// Replaces a file as editors do: by another one that takes its name.
void replace(const ScratchFolder &folder, const QString &name, const QByteArray &content)
{
    folder.write(QStringLiteral("new"), content);
    QFile::remove(folder.path(name));
    QVERIFY(QFile::rename(folder.path(QStringLiteral("new")), folder.path(name)));
}

QByteArray setSpeed(int speed)
{
    return "function onSave(api, url) { api.setPropertyExtern(url, \"speed\", "
        + QByteArray::number(speed) + "); }\n";
}

/// A script that says so whenever it runs.
QByteArray loud(const QByteArray &name)
{
    return "function onSave(api, url) { console.log(\"" + name + " runs \" + Math.random()); }\n";
}

/// What a loud script says, with the random number taken away.
QString withoutRandom(QString text)
{
    static const QRegularExpression number(QStringLiteral("runs 0\\.[-e\\d]+"));
    return text.replace(number, QStringLiteral("runs"));
}

} // namespace

class WatchCommandTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void beginsWithAllThatIsKnown();
    void tellsABrokenScriptOnceAndThatItIsMended();
    void tellsAScriptThatFailsAndWorksAgain();
    void tellsValuesThatChangeOtherwiseOrNotAtAll();
    void tellsErrorsThatAreReportedAndWithdrawn();
    void runsOnlyTheInstancesOfAChangedScript();
    void runsTheInstancesThatReadAChangedTree();
    void runsEverythingWhenWhatAllShareChanges();
    void onlyChecksForAUserInterfaceScript();
    void survivesAHalfWrittenTree();
    void survivesAHalfWrittenManifest();
    void survivesAManifestThatVanishes();
    void keepsTheLastGoodProject();
    void survivesFoldersThatAreRemovedAndMadeAgain();
    void watchesFilesThatAreReplaced();
    void findsNewFilesInNewFolders();
    void watchesOtherProjects();
    void stopsAScriptThatDoesNotEnd();
    void savesWhatScriptsChange();
    void runsWhatItsOwnWritesTouch();
    void givesUpOnScriptsThatNeverSettle();
    void waitsForAnotherWriter();
    void printsALineOfJsonForEachRound();
    void endsWithSuccess_data();
    void endsWithSuccess();
    void endsWhenNobodyReads();
    void pollsWhereTheSystemCannotWatch();
    void refusesWhatIsNoProject();
};

void WatchCommandTest::beginsWithAllThatIsKnown()
{
    const ScratchFolder folder;
    LimitSupport::makeTwo(folder, "function onSave(api) { throw new Error(\"no\"); }\n");
    folder.writeScript(QStringLiteral("old.js"), setSpeed(1));
    Watching watching(folder);
    EXPECT_NEXT(watching,
                "+ dependency/old.js: warning: no tree names this script [unused-script]\n"
                "FAILED   pump  dependency/pump.js  # ms\n"
                "         dependency/pump.js:1: Error: no\n"
                "\n"
                "would change configuration/valve.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "Watching plant: 2 instances, 3 scripts. Ctrl+C ends.\n");
    EXPECT_END(watching);
}

void WatchCommandTest::tellsABrokenScriptOnceAndThatItIsMended()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.writeScript(QStringLiteral("pump.js"), "let;\n");
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "+ dependency/pump.js:1: error: SyntaxError: Expected token `identifier' "
                "[script-error]\n");
    folder.writeScript(QStringLiteral("pump.js"), "let;\n\n");
    EXPECT_NEXT(watching, "\nTIME  dependency/pump.js\nno difference\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1500));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "fixed: dependency/pump.js:1: error: SyntaxError: Expected token `identifier' "
                "[script-error]\n");
    EXPECT_END(watching);
}

void WatchCommandTest::tellsAScriptThatFailsAndWorksAgain()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.writeScript(QStringLiteral("pump.js"), "function onSave() { return false; }\n");
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "FAILED   pump  dependency/pump.js  # ms\n"
                "         onSave returned false\n"
                "\n"
                "would no longer change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1500));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "works again: pump\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    EXPECT_END(watching);
}

void WatchCommandTest::tellsValuesThatChangeOtherwiseOrNotAtAll()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1800\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1200));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "\n"
                "would no longer change configuration/pump.json\n"
                "  speed  1200 -> 1800\n");
    EXPECT_END(watching);
}

void WatchCommandTest::tellsErrorsThatAreReportedAndWithdrawn()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) { api.setError(\"motor\", \"a\", 5); "
                       "api.setError(\"\", \"b\"); }\n");
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "ok       pump  dependency/pump.js  # ms\n"
                "         reported: motor: [a] value 5\n"
                "         reported: [b]\n"
                "\n"
                "would no longer change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) { api.setError(\"motor\", \"a\", 6); "
                       "api.setError(\"\", \"b\"); }\n");
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "ok       pump  dependency/pump.js  # ms\n"
                "         reported: motor: [a] value 6\n"
                "withdrawn: pump: motor: [a] value 5\n");
    EXPECT_END(watching);
}

void WatchCommandTest::runsOnlyTheInstancesOfAChangedScript()
{
    const ScratchFolder folder;
    LimitSupport::makeTwo(folder, setSpeed(1500));
    folder.writeScript(QStringLiteral("valve.js"), loud("valve"));
    folder.addInstance(QStringLiteral("valve2"), QStringLiteral("valve.js"));
    folder.addInstance(QStringLiteral("pump2"), QStringLiteral("pump.js"));
    // A name that begins like another one, which is listed as well.
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("pump2"), QStringLiteral("valve"),
                          QStringLiteral("valve2")});
    Watching watching(folder, {QStringLiteral("--json")});
    QCOMPARE(watching.nextObject().value(QStringLiteral("runs")).toArray().size(), 2);

    const auto instances = [](const QJsonObject &round) {
        QStringList names;
        for (const QJsonValue &run : round.value(QStringLiteral("runs")).toArray()) {
            names.append(run.toObject().value(QStringLiteral("instance")).toString());
        }
        return names;
    };
    folder.writeScript(QStringLiteral("pump.js"), loud("pump"));
    QCOMPARE(instances(watching.nextObject()),
             (QStringList{QStringLiteral("pump"), QStringLiteral("pump2")}));
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    QCOMPARE(instances(watching.nextObject()), QStringList{QStringLiteral("valve")});
    EXPECT_END(watching);
}

void WatchCommandTest::runsTheInstancesThatReadAChangedTree()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("valve.js"),
                       "function onSave(api, url) {\n"
                       "  const pump = \"config://pumps/plant/pump\";\n"
                       "  api.setPropertyExtern(url, \"speed\", "
                       "api.getPropertyExtern(pump, \"speed\"));\n"
                       "}\n");
    folder.addInstance(QStringLiteral("valve"), QStringLiteral("valve.js"));
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("valve")});
    Watching watching(folder);
    // In a dry run, the valve sees the pump's file, not what its script would write to it.
    EXPECT_NEXT(watching,
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "Watching plant: 2 instances, 2 scripts. Ctrl+C ends.\n");
    replace(folder, QStringLiteral("plant/configuration/pump.json"),
            "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"speed\": 1300 } }\n");
    EXPECT_NEXT(watching,
                "\nTIME  configuration/pump.json\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1300 -> 1500\n"
                "\n"
                "would change configuration/valve.json\n"
                "  speed  1200 -> 1300\n");
    EXPECT_END(watching);
}

void WatchCommandTest::runsEverythingWhenWhatAllShareChanges()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), loud("pump"));
    folder.write(QStringLiteral("plant/texts/en.json"), "{}\n");
    folder.write(QStringLiteral("plant/units.json"), "{}\n");
    folder.write(QStringLiteral("plant/providers.json"), "{}\n");
    Watching watching(folder, {QStringLiteral("--json")});
    const Files files = folder.files();
    watching.nextObject();
    for (const char *name : {"texts/en.json", "units.json", "providers.json", "project.json",
                             "configuration/manifest.json"}) {
        const QString file = QStringLiteral("plant/") + QLatin1String(name);
        folder.write(file, files.value(file) + " ");
        const QJsonObject round = watching.nextObject();
        QCOMPARE(round.value(QStringLiteral("changed")).toArray(), QJsonArray{QLatin1String(name)});
        QCOMPARE(round.value(QStringLiteral("runs")).toArray().size(), 1);
    }
    EXPECT_END(watching);
}

void WatchCommandTest::onlyChecksForAUserInterfaceScript()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"), loud("pump"));
    folder.write(QStringLiteral("plant/scripts/pump.js"), "let a;\n");
    Watching watching(folder);
    const QString start = watching.next(
        QStringLiteral("+ scripts/pump.js: warning: no tree names this script [unused-script]\n"));
    QVERIFY(start.startsWith(QLatin1String("+ scripts")));
    QString text;
    while (!text.contains(QLatin1String("ends.\n")) && !QTest::currentTestFailed()) {
        text += watching.next(QStringLiteral("x"));
    }
    QCOMPARE(withoutRandom(text),
             QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                            "         dependency/pump.js:1: pump runs\n"
                            "\n"
                            "Watching plant: 1 instance, 1 script. Ctrl+C ends.\n"));
    folder.write(QStringLiteral("plant/scripts/pump.js"), "let;\n");
    EXPECT_NEXT(
        watching,
        "\nTIME  scripts/pump.js\n"
        "+ scripts/pump.js:1: error: SyntaxError: Expected token `identifier' [script-error]\n");
    folder.write(QStringLiteral("plant/scripts/pump.js"), "let b;\n");
    EXPECT_NEXT(watching,
                "\nTIME  scripts/pump.js\n"
                "fixed: scripts/pump.js:1: error: SyntaxError: Expected token `identifier' "
                "[script-error]\n");
    EXPECT_END(watching);
}

void WatchCommandTest::survivesAHalfWrittenTree()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    const QString file = QStringLiteral("plant/configuration/pump.json");
    const QByteArray content = folder.files().value(file);
    folder.write(file, content.left(20));
    EXPECT_NEXT(
        watching,
        "\nTIME  configuration/pump.json\n"
        "+ configuration/pump.json:1:19: error: expected '\"' at the end of the string that "
        "begins here, found the end of the file [malformed-tree]\n");
    folder.write(file, content);
    EXPECT_NEXT(
        watching,
        "\nTIME  configuration/pump.json\n"
        "fixed: configuration/pump.json:1:19: error: expected '\"' at the end of the string "
        "that begins here, found the end of the file [malformed-tree]\n");
    EXPECT_END(watching);
}

void WatchCommandTest::survivesAHalfWrittenManifest()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.write(QStringLiteral("plant/configuration/manifest.json"), "[\n");
    EXPECT_NEXT(watching,
                "\nTIME  configuration/manifest.json\n"
                "+ configuration/manifest.json:2:1: error: expected a value, found the end "
                "of the file [manifest]\n");
    folder.listInstances({});
    EXPECT_NEXT(watching,
                "\nTIME  configuration/manifest.json\n"
                "fixed: configuration/manifest.json:2:1: error: expected a value, found "
                "the end of the file [manifest]\n"
                "+ configuration/pump.json:1:43: warning: \"pump\" names a dependency script, but "
                "the manifest does not list it: the script never runs [not-listed]\n"
                "\n"
                "would no longer change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    EXPECT_END(watching);
}

void WatchCommandTest::survivesAManifestThatVanishes()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.remove(QStringLiteral("plant/configuration/manifest.json"));
    EXPECT_NEXT(watching,
                "\nTIME  configuration/manifest.json\n"
                "+ configuration/manifest.json: error: no such file: expected the project's "
                "manifest [manifest]\n");
    folder.listInstances({QStringLiteral("pump")});
    EXPECT_NEXT(watching,
                "\nTIME  configuration/manifest.json\n"
                "fixed: configuration/manifest.json: error: no such file: expected the project's "
                "manifest [manifest]\n");
    EXPECT_END(watching);
}

void WatchCommandTest::keepsTheLastGoodProject()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    const QString file = QStringLiteral("plant/project.json");
    const QByteArray content = folder.files().value(file);
    folder.write(file, "{");
    EXPECT_NEXT(watching,
                "\nTIME  project.json\n"
                "+ project.json:1:2: error: expected a member's name in double quotes, or '}', "
                "found the end of the file [project]\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1800\n");
    folder.remove(file);
    EXPECT_NEXT(watching,
                "\nTIME  project.json\n"
                "fixed: project.json:1:2: error: expected a member's name in double quotes, or "
                "'}', found the end of the file [project]\n"
                "+ <folder>/plant: error: no project: expected a file project.json in it "
                "[project]\n");
    folder.write(file, content);
    EXPECT_NEXT(watching,
                "\nTIME  project.json\n"
                "fixed: <folder>/plant: error: no project: expected a file project.json in it "
                "[project]\n");
    EXPECT_END(watching);
}

void WatchCommandTest::survivesFoldersThatAreRemovedAndMadeAgain()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.remove(QStringLiteral("plant/dependency"));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "+ configuration/pump.json:1:43: error: there is no script dependency/pump.js "
                "[missing-script]\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "fixed: configuration/pump.json:1:43: error: there is no script "
                "dependency/pump.js [missing-script]\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1800\n");
    folder.remove(QStringLiteral("plant"));
    EXPECT_NEXT(watching,
                "\nTIME  configuration/manifest.json, configuration/pump.json, "
                "dependency/pump.js and 1 more\n"
                "+ <folder>/plant: error: no such project folder [project]\n"
                "+ configuration/manifest.json: error: no such file: expected the project's "
                "manifest [manifest]\n");
    folder.makePlant();
    EXPECT_NEXT(watching,
                "\nTIME  configuration/manifest.json, configuration/pump.json, "
                "dependency/pump.js and 1 more\n"
                "fixed: <folder>/plant: error: no such project folder [project]\n"
                "fixed: configuration/manifest.json: error: no such file: expected the project's "
                "manifest [manifest]\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1800\n");
    EXPECT_END(watching);
}

void WatchCommandTest::watchesFilesThatAreReplaced()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    for (const int speed : {1600, 1700, 1800}) {
        replace(folder, QStringLiteral("plant/dependency/pump.js"), setSpeed(speed));
        EXPECT_NEXT(watching,
                    "\nTIME  dependency/pump.js\n"
                    "\n"
                    "would change configuration/pump.json\n"
                    "  speed  1200 -> "
                        + QByteArray::number(speed) + "\n");
    }
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1900)); // the file itself
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1900\n");
    EXPECT_END(watching);
}

void WatchCommandTest::findsNewFilesInNewFolders()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.listInstances({QStringLiteral("pump"), QStringLiteral("a/b/valve")});
    Watching watching(folder);
    EXPECT_NEXT(watching,
                "+ configuration/manifest.json:4:5: error: \"a/b/valve\" is listed, but there is "
                "no configuration/a/b/valve.json [missing-tree]\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "Watching plant: 1 instance, 1 script. Ctrl+C ends.\n");
    folder.addInstance(QStringLiteral("a/b/valve"), QStringLiteral("pump.js"));
    EXPECT_NEXT(watching,
                "\nTIME  configuration/a/b/valve.json\n"
                "fixed: configuration/manifest.json:4:5: error: \"a/b/valve\" is listed, but there "
                "is no configuration/a/b/valve.json [missing-tree]\n"
                "\n"
                "would change configuration/a/b/valve.json\n"
                "  speed  1200 -> 1500\n");
    // It is watched from now on; hidden files and backups never are.
    folder.write(QStringLiteral("plant/configuration/a/b/.valve.json"), "{");
    folder.write(QStringLiteral("plant/dependency/pump.js~"), "{");
    folder.write(QStringLiteral("plant/configuration/a/b/valve.json"),
                 "{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"speed\": 1 } }\n");
    EXPECT_NEXT(watching,
                "\nTIME  configuration/a/b/valve.json\n"
                "\n"
                "would change configuration/a/b/valve.json\n"
                "  speed  1 -> 1500\n");
    EXPECT_END(watching);
}

void WatchCommandTest::watchesOtherProjects()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", "
                       "api.getPropertyExtern(\"config://pumps/net/bus\", \"speed\"));\n"
                       "}\n");
    folder.write(QStringLiteral("net/configuration/bus.json"),
                 "{ \"properties\": { \"speed\": 1500 } }\n");
    const QByteArray project = "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\", "
                               "\"otherFiles\": { \"net\": \"../net\" } }\n";
    folder.write(QStringLiteral("plant/project.json"), project);
    Watching watching(folder);
    EXPECT_NEXT(watching, s_start);
    folder.write(QStringLiteral("net/configuration/bus.json"), "{");
    EXPECT_NEXT(watching,
                "\nTIME  ../net/configuration/bus.json\n"
                "+ ../net/configuration/bus.json:1:2: error: expected a member's name in double "
                "quotes, or '}', found the end of the file [malformed-tree]\n");
    folder.write(QStringLiteral("net/configuration/bus.json"),
                 "{ \"properties\": { \"speed\": 1800 } }\n");
    EXPECT_NEXT(watching,
                "\nTIME  ../net/configuration/bus.json\n"
                "fixed: ../net/configuration/bus.json:1:2: error: expected a member's name in "
                "double quotes, or '}', found the end of the file [malformed-tree]\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1800\n");
    // Another project takes its place.
    folder.write(QStringLiteral("net2/configuration/bus.json"),
                 "{ \"properties\": { \"speed\": 1900 } }\n");
    folder.write(QStringLiteral("plant/project.json"),
                 QByteArray(project).replace("../net", "../net2"));
    EXPECT_NEXT(watching,
                "\nTIME  project.json\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1900\n");
    folder.write(QStringLiteral("net/configuration/bus.json"), "{");
    folder.write(QStringLiteral("net2/configuration/bus.json"),
                 "{ \"properties\": { \"speed\": 2000 } }\n");
    EXPECT_NEXT(watching,
                "\nTIME  ../net2/configuration/bus.json\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 2000\n");
    EXPECT_END(watching);
}

void WatchCommandTest::stopsAScriptThatDoesNotEnd()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder, {QStringLiteral("--timeout"), QStringLiteral("0.5")});
    EXPECT_NEXT(watching, s_start);
    folder.writeScript(QStringLiteral("pump.js"), "function onSave() { for (;;) { } }\n");
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "FAILED   pump  dependency/pump.js  # ms\n"
                "         dependency/pump.js: stopped: onSave took longer than 0.5 s "
                "(--timeout); no API call\n"
                "\n"
                "would no longer change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1500));
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "works again: pump\n"
                "\n"
                "would change configuration/pump.json\n"
                "  speed  1200 -> 1500\n");
    EXPECT_END(watching);
}

void WatchCommandTest::savesWhatScriptsChange()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder, {QStringLiteral("--write")});
    EXPECT_NEXT(watching,
                "\n"
                "changed configuration/pump.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "Watching plant: 1 instance, 1 script. Ctrl+C ends.\n");
    QCOMPARE(folder.files().value(QStringLiteral("plant/configuration/pump.json")),
             QByteArray("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", \"speed\": "
                        "1500 } }\n"));
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800));
    // What it wrote is no round of its own.
    EXPECT_NEXT(watching,
                "\nTIME  dependency/pump.js\n"
                "\n"
                "changed configuration/pump.json\n"
                "  speed  1500 -> 1800\n");
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800) + "\n");
    EXPECT_NEXT(watching, "\nTIME  dependency/pump.js\nno difference\n");
    EXPECT_END(watching);
    QVERIFY(!folder.files().contains(QStringLiteral("plant/.configscript-lock")));
}

void WatchCommandTest::runsWhatItsOwnWritesTouch()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.addInstance(QStringLiteral("a"), QStringLiteral("a.js"));
    folder.addInstance(QStringLiteral("b"), QStringLiteral("b.js"));
    const auto follow = [&folder](const QString &script, const QByteArray &instance) {
        folder.writeScript(script,
                           "function onSave(api, url) { api.setPropertyExtern(url, \"speed\", "
                           "api.getPropertyExtern(\"config://pumps/plant/"
                               + instance + "\", \"speed\")); }\n");
    };
    follow(QStringLiteral("a.js"), "b"); // runs before the one that it follows
    follow(QStringLiteral("b.js"), "pump");
    folder.listInstances({QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("pump")});
    Watching watching(folder, {QStringLiteral("--write")});
    EXPECT_NEXT(watching,
                "\n"
                "changed configuration/pump.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "changed configuration/b.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "changed configuration/a.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "Watching plant: 3 instances, 3 scripts. Ctrl+C ends.\n");
    EXPECT_END(watching);
}

void WatchCommandTest::givesUpOnScriptsThatNeverSettle()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder, {QStringLiteral("--write"), QStringLiteral("--json")});
    watching.nextObject();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) { api.setPropertyExtern(url, \"speed\", "
                       "api.getPropertyExtern(url, \"speed\") + 1); }\n");
    const QJsonObject round = watching.nextObject();
    QCOMPARE(round.value(QStringLiteral("unsettled")).toArray(),
             QJsonArray{QStringLiteral("configuration/pump.json")});
    QCOMPARE(round.value(QStringLiteral("saved")).toArray().size(), 5);
    // No round follows before something else changes.
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1505));
    const QJsonObject next = watching.nextObject();
    QCOMPARE(next.value(QStringLiteral("changed")).toArray(),
             QJsonArray{QStringLiteral("dependency/pump.js")});
    QCOMPARE(next.value(QStringLiteral("saved")).toArray(), QJsonArray());
    EXPECT_END(watching);
}

void WatchCommandTest::waitsForAnotherWriter()
{
    const ScratchFolder folder;
    folder.makePlant();
    const QByteArray lockFile = folder.path(QStringLiteral("plant/.configscript-lock")).toUtf8();
    const int lock = open(lockFile.constData(), O_CREAT | O_RDWR | O_CLOEXEC, 0666);
    QVERIFY(flock(lock, LOCK_EX) == 0);
    Watching watching(folder, {QStringLiteral("--write")});
    const QString expected = QStringLiteral("configscript: waiting: <folder>/plant: is being "
                                            "written by ");
    QVERIFY(watching.errors(expected).startsWith(expected));
    QVERIFY(watching.process().output().isEmpty());
    close(lock);
    EXPECT_NEXT(watching,
                "\n"
                "changed configuration/pump.json\n"
                "  speed  1200 -> 1500\n"
                "\n"
                "Watching plant: 1 instance, 1 script. Ctrl+C ends.\n");
    const ProgramRun end = watching.end();
    QCOMPARE(end.exitCode, 0);
    QCOMPARE(end.errors.count(QLatin1Char('\n')), 1); // it said so once
}

void WatchCommandTest::printsALineOfJsonForEachRound()
{
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder, {QStringLiteral("--json")});
    const QJsonObject first = watching.nextObject();
    QCOMPARE(
        first.keys(),
        (QStringList{QStringLiteral("changed"), QStringLiteral("dryRun"), QStringLiteral("files"),
                     QStringLiteral("fixedFindings"), QStringLiteral("newFindings"),
                     QStringLiteral("noLongerChanged"), QStringLiteral("notRun"),
                     QStringLiteral("project"), QStringLiteral("runs"), QStringLiteral("saved"),
                     QStringLiteral("time"), QStringLiteral("unsettled"),
                     QStringLiteral("withdrawn"), QStringLiteral("worksAgain")}));
    QCOMPARE(first.value(QStringLiteral("files")).toArray().at(0).toObject(),
             (QJsonObject{{QStringLiteral("file"), QStringLiteral("configuration/pump.json")},
                          {QStringLiteral("instance"), QStringLiteral("pump")},
                          {QStringLiteral("kind"), QStringLiteral("configuration")},
                          {QStringLiteral("stored"), true},
                          {QStringLiteral("changes"),
                           QJsonArray{QJsonObject{{QStringLiteral("path"), QString()},
                                                  {QStringLiteral("key"), QStringLiteral("speed")},
                                                  {QStringLiteral("old"), 1200},
                                                  {QStringLiteral("new"), 1500}}}}}));
    folder.writeScript(QStringLiteral("pump.js"), "}");
    const QJsonObject broken = watching.nextObject();
    QCOMPARE(broken.value(QStringLiteral("newFindings")).toArray().size(), 1);
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api) { api.setError(\"\", \"a\"); return false; }");
    const QJsonObject failing = watching.nextObject();
    QCOMPARE(failing.value(QStringLiteral("fixedFindings")),
             broken.value(QStringLiteral("newFindings")));
    QCOMPARE(failing.value(QStringLiteral("runs")).toArray().size(), 1);
    QCOMPARE(failing.value(QStringLiteral("noLongerChanged")),
             first.value(QStringLiteral("files")));
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1500));
    const QJsonObject working = watching.nextObject();
    QCOMPARE(working.value(QStringLiteral("worksAgain")).toArray(),
             QJsonArray{QStringLiteral("pump")});
    QCOMPARE(working.value(QStringLiteral("withdrawn")).toArray().size(), 1);
    EXPECT_END(watching);
}

void WatchCommandTest::endsWithSuccess_data()
{
    QTest::addColumn<int>("signal");
    QTest::addColumn<bool>("isBusy");
    QTest::newRow("Ctrl+C") << SIGINT << false;
    QTest::newRow("SIGTERM") << SIGTERM << false;
    QTest::newRow("Ctrl+C while a script runs") << SIGINT << true;
}

void WatchCommandTest::endsWithSuccess()
{
    QFETCH(int, signal);
    QFETCH(bool, isBusy);
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder, {QStringLiteral("--timeout"), QStringLiteral("0")});
    EXPECT_NEXT(watching, s_start);
    if (isBusy) {
        folder.writeScript(QStringLiteral("pump.js"), "function onSave() { for (;;) { } }\n");
        // Nothing tells when it runs; ending it before is a success as well.
        QTest::qWait(1000);
    }
    const Files files = folder.files();
    COMPARE_RUN(watching.end(signal), 0, QString(), QString());
    COMPARE_FILES(folder.files(), files);
}

void WatchCommandTest::endsWhenNobodyReads()
{
    const ScratchFolder folder;
    folder.makePlant();
    // The program sees an error in place of the signal that would end it.
    Watching watching(folder, {},
                      QStringLiteral("trap '' PIPE; \"$@\"; echo \"ended with $?\" >&2"));
    EXPECT_NEXT(watching, s_start);
    watching.process().closeOutput();
    folder.writeScript(QStringLiteral("pump.js"), setSpeed(1800));
    QCOMPARE(watching.process().waitForEnd().errors,
             QByteArray("configscript: cannot write to standard output: Broken pipe\n"
                        "ended with 1\n"));
}

void WatchCommandTest::pollsWhereTheSystemCannotWatch()
{
    if (Program::isEmulated()
        || QProcess::execute(QStringLiteral("unshare"),
                             {QStringLiteral("--user"), QStringLiteral("--map-root-user"),
                              QStringLiteral("sh"), QStringLiteral("-c"),
                              QStringLiteral("echo 0 > /proc/sys/user/max_inotify_watches")})
            != 0) {
        QSKIP("the system's limit cannot be lowered here");
    }
    const ScratchFolder folder;
    folder.makePlant();
    Watching watching(folder, {},
                      QStringLiteral("exec unshare --user --map-root-user sh -c 'echo 0 > "
                                     "/proc/sys/user/max_inotify_watches; exec \"$@\"' sh \"$@\""));
    EXPECT_NEXT(watching, s_start);
    for (const int speed : {1700, 1800}) {
        folder.writeScript(QStringLiteral("pump.js"), setSpeed(speed));
        EXPECT_NEXT(watching,
                    "\nTIME  dependency/pump.js\n"
                    "\n"
                    "would change configuration/pump.json\n"
                    "  speed  1200 -> "
                        + QByteArray::number(speed) + "\n");
    }
    COMPARE_RUN(watching.end(), 0, QString(),
                QStringLiteral("configscript: the system cannot watch all files of the project "
                               "(its limit is fs.inotify.max_user_watches); they are looked at "
                               "every second instead\n"));
}

void WatchCommandTest::refusesWhatIsNoProject()
{
    const ScratchFolder folder;
    folder.write(QStringLiteral("plant/project.json"), "{");
    COMPARE_RUN(Program(folder.path()).run({QStringLiteral("watch"), QStringLiteral("plant")}), 2,
                QString(),
                QStringLiteral("configscript: <folder>/plant/project.json:1:2: expected a "
                               "member's name in double quotes, or '}', found the end of the "
                               "file\n"));
}

TEST_CLASS(WatchCommandTest)
#include "WatchCommandTest.moc"
