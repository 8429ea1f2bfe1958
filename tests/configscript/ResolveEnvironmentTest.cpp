#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QTest>

namespace {

const QStringList s_resolvePlant{QStringLiteral("resolve"), QStringLiteral("plant")};

const QString s_pumpName = QStringLiteral("plant/configuration/pump.json");

const QByteArray s_savedPump("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\", "
                             "\"speed\": 1500 } }\n");

} // namespace

/// Surroundings that must not matter.
class ResolveEnvironmentTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void doesTheSameInEveryLocale_data();
    void doesTheSameInEveryLocale();
    void storesDatesIndependentlyOfTheTimeZone();
    void keepsTextsInEveryLanguage_data();
    void keepsTextsInEveryLanguage();
    void savesWithoutOutput_data();
    void savesWithoutOutput();
    void writesNoReportIntoAProjectFile_data();
    void writesNoReportIntoAProjectFile();
    void failsWhenTheReportCannotBeWritten();
    void runsWithoutAHomeOrADisplay();

private:
    Files m_plainRun; ///< of the examples, in ordinary surroundings
    Files m_plainFiles;
};

void ResolveEnvironmentTest::doesTheSameInEveryLocale_data()
{
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QString>("timeZone");

    QTest::newRow("C") << QStringLiteral("C") << QStringLiteral("UTC");
    QTest::newRow("French") << QStringLiteral("fr_FR.UTF-8") << QStringLiteral("Europe/Paris");
    QTest::newRow("French, Latin-1") << QStringLiteral("fr_FR") << QStringLiteral("Europe/Paris");
    QTest::newRow("Turkish") << QStringLiteral("tr_TR.UTF-8") << QStringLiteral("Asia/Istanbul");
    QTest::newRow("Arabic") << QStringLiteral("ar_EG.UTF-8") << QStringLiteral("Pacific/Chatham");
    QTest::newRow("unknown") << QStringLiteral("xx_XX.nonsense") << QStringLiteral("Nowhere/Land");
}

void ResolveEnvironmentTest::doesTheSameInEveryLocale()
{
    QFETCH(const QString, locale);
    QFETCH(const QString, timeZone);

    const QStringList arguments{QStringLiteral("resolve"), QStringLiteral("pump-station")};
    if (m_plainRun.isEmpty()) {
        const ScratchFolder plainFolder;
        plainFolder.copyExamples();
        m_plainRun = Program(plainFolder.path()).run(arguments).files();
        m_plainFiles = plainFolder.files();
    }

    const ScratchFolder folder;
    folder.copyExamples();
    Program program(folder.path());
    program.setVariable(QStringLiteral("LANG"), locale);
    program.setVariable(QStringLiteral("LC_ALL"), locale);
    program.setVariable(QStringLiteral("TZ"), timeZone);
    COMPARE_FILES(program.run(arguments).files(), m_plainRun);
    COMPARE_FILES(folder.files(), m_plainFiles);
}

void ResolveEnvironmentTest::storesDatesIndependentlyOfTheTimeZone()
{
    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  api.setPropertyExtern(url, \"speed\", new Date(1e12));\n"
                       "}\n");
    Program program(folder.path());
    program.setVariable(QStringLiteral("TZ"), QStringLiteral("Pacific/Chatham"));
    COMPARE_RUN(program.run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "\n"
                               "changed configuration/pump.json\n"
                               "  speed  1200 -> \"2001-09-09T01:46:40.000Z\"\n"
                               "\n"
                               "1 script run, 0 failed; 1 file changed, 1 value; # ms\n"),
                QString());
    program.setVariable(QStringLiteral("TZ"), QStringLiteral("America/New_York"));
    COMPARE_RUN(program.run(s_resolvePlant), 0,
                QStringLiteral("ok       pump  dependency/pump.js  # ms\n"
                               "\n"
                               "1 script run, 0 failed; 0 files changed, 0 values; # ms\n"),
                QString());
}

void ResolveEnvironmentTest::keepsTextsInEveryLanguage_data()
{
    QTest::addColumn<QString>("locale");

    QTest::newRow("UTF-8") << QStringLiteral("C.UTF-8");
    QTest::newRow("C") << QStringLiteral("C");
    QTest::newRow("Latin-1") << QStringLiteral("de_DE");
}

void ResolveEnvironmentTest::keepsTextsInEveryLanguage()
{
    QFETCH(const QString, locale);

    const QString project = QStringLiteral("Wasserwerk Süd №1 水/");
    const QString treeName = project + QStringLiteral("configuration/Straße 1/Pumpe ä.json");
    const ScratchFolder folder;
    folder.write(project + QStringLiteral("project.json"),
                 "{ \"moduleName\": \"pümps\", \"objectName\": \"stätion\", "
                 "\"language\": \"de\" }");
    folder.write(project + QStringLiteral("texts/de.json"),
                 "{ \"fehler.größe\": \"Die Förderhöhe ist zu groß.\" }");
    folder.write(
        project + QStringLiteral("configuration/manifest.json"),
        "[ { \"dependencyFileExtern\": [ { \"instanceName\": \"Straße 1/Pumpe ä\" } ] } ]");
    folder.write(treeName,
                 "{ \"properties\": { \"dependencyFileExtern\": \"püm pe.js\", "
                 "\"Förderhöhe\": \"groß\" },\n"
                 "  \"children\": { \"Mötor\": {} } }");
    folder.write(project + QStringLiteral("dependency/püm pe.js"),
                 "function onSave(api, url) {\n"
                 "  api.setPropertyExtern(url, \"Förderhöhe\",\n"
                 "                        api.getProperty(\"\", \"Förderhöhe\") + \" µ水😀\");\n"
                 "  api.setPropertyExtern(url + \"#Mötor\", \"é\", { \"ключ\": \"значение\" });\n"
                 "  api.setError(\"Mötor\", \"fehler.größe\");\n"
                 "  console.log(\"✓ \" + url);\n"
                 "}\n");
    Program program(folder.path());
    program.setVariable(QStringLiteral("LC_ALL"), locale);
    COMPARE_RUN(program.run({QStringLiteral("resolve"), project, QStringLiteral("Straße")}), 0,
                QStringLiteral("ok       Straße 1/Pumpe ä  dependency/püm pe.js  # ms\n"
                               "         dependency/püm pe.js:6: ✓ "
                               "config://pümps/stätion/Straße%201/Pumpe%20ä\n"
                               "         reported: Mötor: Die Förderhöhe ist zu groß. "
                               "[fehler.größe]\n"
                               "\n"
                               "changed configuration/Straße 1/Pumpe ä.json\n"
                               "  Förderhöhe  \"groß\" -> \"groß µ水😀\"\n"
                               "  Mötor:é     new { \"ключ\": \"значение\" }\n"
                               "\n"
                               "1 script run, 0 failed; 1 file changed, 2 values; # ms\n"),
                QString());
    COMPARE_FILES((Files{{treeName, folder.files().value(treeName)}}),
                  (Files{{treeName,
                          "{ \"properties\": { \"dependencyFileExtern\": \"püm pe.js\", "
                          "\"Förderhöhe\": \"groß µ水😀\" },\n"
                          "  \"children\": { \"Mötor\": { \"properties\": { \"é\": "
                          "{ \"ключ\": \"значение\" } } } } }"}}));
}

void ResolveEnvironmentTest::savesWithoutOutput_data()
{
    QTest::addColumn<QString>("command");

    QTest::newRow("closed input") << QStringLiteral("\"$@\" <&- >/dev/null");
    QTest::newRow("closed output") << QStringLiteral("\"$@\" >&-");
    QTest::newRow("closed errors") << QStringLiteral("\"$@\" 2>&- >/dev/null");
    QTest::newRow("closed output and errors") << QStringLiteral("\"$@\" >&- 2>&-");
    QTest::newRow("everything closed") << QStringLiteral("\"$@\" <&- >&- 2>&-");
    QTest::newRow("reader gone") << QStringLiteral("\"$@\" | true");
}

void ResolveEnvironmentTest::savesWithoutOutput()
{
    QFETCH(const QString, command);

    const ScratchFolder folder;
    folder.makePlant();
    Files expected = folder.files();
    expected.insert(s_pumpName, s_savedPump);
    Program program(folder.path());
    program.setShellCommand(command);
    COMPARE_RUN(program.run(s_resolvePlant), 0, QString(), QString());
    COMPARE_FILES(folder.files(), expected);
}

void ResolveEnvironmentTest::writesNoReportIntoAProjectFile_data()
{
    QTest::addColumn<QString>("command");

    for (const char *closed : {"<&-", ">&-", "2>&-", "<&- >&-", ">&- 2>&-", "<&- >&- 2>&-"}) {
        QTest::newRow(closed) << QStringLiteral("\"$@\" >/dev/null ") + QLatin1String(closed);
    }
}

// The report is longer than any buffer.
void ResolveEnvironmentTest::writesNoReportIntoAProjectFile()
{
    QFETCH(const QString, command);

    const ScratchFolder folder;
    folder.makePlant();
    folder.writeScript(QStringLiteral("pump.js"),
                       "function onSave(api, url) {\n"
                       "  for (var i = 0; i < 1000; ++i) {\n"
                       "    console.error(\"0123456789\".repeat(100) + i);\n"
                       "    api.getPropertyExtern(\"no URL \" + i, \"speed\");\n"
                       "  }\n"
                       "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                       "}\n");
    Files expected = folder.files();
    expected.insert(s_pumpName, s_savedPump);
    Program program(folder.path());
    program.setShellCommand(command);
    for (const char *option : {"--no-color", "--quiet", "--json"}) {
        COMPARE_RUN(program.run(s_resolvePlant + QStringList(QLatin1String(option))), 0, QString(),
                    QString());
        COMPARE_FILES(folder.files(), expected);
    }
    COMPARE_RUN(program.run({QStringLiteral("resolve"), QStringLiteral("plan")}), 2, QString(),
                command.contains(QStringLiteral("2>&-"))
                    ? QString()
                    : QStringLiteral("configscript: plan: no such project folder\n"));
    COMPARE_FILES(folder.files(), expected);
}

void ResolveEnvironmentTest::failsWhenTheReportCannotBeWritten()
{
    const ScratchFolder folder;
    folder.makePlant();
    Files expected = folder.files();
    expected.insert(s_pumpName, s_savedPump);
    Program program(folder.path());
    program.setShellCommand(QStringLiteral("\"$@\" >/dev/full"));
    COMPARE_RUN(program.run(s_resolvePlant), 1, QString(),
                QStringLiteral("configscript: cannot write to standard output: No space left on "
                               "device\n"));
    COMPARE_FILES(folder.files(), expected);

    COMPARE_RUN(program.run({QStringLiteral("resolve"), QStringLiteral("plan")}), 2, QString(),
                QStringLiteral("configscript: plan: no such project folder\n"));
}

void ResolveEnvironmentTest::runsWithoutAHomeOrADisplay()
{
    const ScratchFolder folder;
    folder.makePlant();
    Files expected = folder.files();
    expected.insert(s_pumpName, s_savedPump);
    Program program(folder.path());
    program.setLauncher({QStringLiteral("env"), QStringLiteral("--unset=HOME"),
                         QStringLiteral("--unset=PATH"), QStringLiteral("--unset=USER"),
                         QStringLiteral("--unset=DISPLAY"),
                         QStringLiteral("--unset=XDG_RUNTIME_DIR")});
    const ProgramRun run = program.run(s_resolvePlant);
    COMPARE_RUN(run, 0, run.output, QString());
    COMPARE_FILES(folder.files(), expected);
}

TEST_CLASS(ResolveEnvironmentTest)
#include "ResolveEnvironmentTest.moc"
