#include "configscript/CommandTest.h"
#include "configscript/ProgramRun.h"
#include "configscript/ScratchFolder.h"

#include <QTest>

class UsageTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void printsItsHelp();
    void printsItsVersion();
    void explainsWrongArguments_data();
    void explainsWrongArguments();
};

void UsageTest::printsItsHelp()
{
    const ScratchFolder folder;
    const Program program(folder.path());
    const ProgramRun help = program.run({QStringLiteral("--help")});
    const ProgramRun resolveHelp =
        program.run({QStringLiteral("resolve"), QStringLiteral("--help")});
    const ProgramRun newScriptHelp =
        program.run({QStringLiteral("new"), QStringLiteral("script"), QStringLiteral("--help")});
    COMPARE_RUN(help, 0, help.output, QString());
    COMPARE_RUN(newScriptHelp, 0, newScriptHelp.output, QString());
    COMPARE_RUN(resolveHelp, 0, resolveHelp.output, QString());
    COMPARE_GOLDEN(QStringLiteral("help"),
                   (Files{{QStringLiteral("help.txt"), help.output.toUtf8()},
                          {QStringLiteral("new-script.txt"), newScriptHelp.output.toUtf8()},
                          {QStringLiteral("resolve.txt"), resolveHelp.output.toUtf8()}}));
    COMPARE_RUN(program.run({QStringLiteral("-h")}), 0, help.output, QString());
    COMPARE_RUN(program.run({QStringLiteral("resolve"), QStringLiteral("-h")}), 0,
                resolveHelp.output, QString());
}

void UsageTest::printsItsVersion()
{
    const ScratchFolder folder;
    COMPARE_RUN(Program(folder.path()).run({QStringLiteral("--version")}), 0,
                QStringLiteral("configscript " CONFIGSCRIPT_VERSION "\n"), QString());
}

void UsageTest::explainsWrongArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("errors");

    const auto addList = [](const char *name, const QStringList &arguments, const char *message) {
        QTest::newRow(name) << arguments
                            << QLatin1String(message)
                + QStringLiteral("\nRun with --help or --help-all for more information.\n");
    };
    const auto add = [&addList](const char *name, const QString &arguments, const char *message) {
        addList(name, arguments.split(QLatin1Char(' ')), message);
    };
    QTest::newRow("no command") << QStringList()
                                << QStringLiteral("configscript: a command is missing; "
                                                  "configscript --help lists them\n");
    add("unknown command", QStringLiteral("resolv"),
        "The following argument was not expected: resolv");
    add("unknown command with arguments", QStringLiteral("resolv plant"),
        "The following arguments were not expected: plant resolv");
    add("unknown option", QStringLiteral("resolve plant --dry"),
        "The following argument was not expected: --dry");
    add("no project", QStringLiteral("resolve"), "PROJECT is required");
    add("an argument too many", QStringLiteral("resolve plant pump valve"),
        "The following argument was not expected: valve");
    addList("empty instance",
            {QStringLiteral("resolve"), QStringLiteral("plant"), QStringLiteral("")},
            "INSTANCE: expected an instance name, found an empty one");
    const QString inplace =
        QStringLiteral("resolve plant --in-place plant/configuration/pump.json --instance pump ");
    add("--in-place with an instance", inplace + QStringLiteral("pump"),
        "INSTANCE excludes --in-place");
    for (const char *option : {"--no-check", "--dry-run", "--quiet"}) {
        const QByteArray message = option + QByteArray(" excludes --in-place");
        add(message.constData(), inplace + QLatin1String(option), message.constData());
    }
}

void UsageTest::explainsWrongArguments()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, errors);

    const ScratchFolder folder;
    folder.makePlant();
    const Files before = folder.files();
    COMPARE_RUN(Program(folder.path()).run(arguments), 2, QString(), errors);
    COMPARE_FILES(folder.files(), before);
}

TEST_CLASS(UsageTest)
#include "UsageTest.moc"
