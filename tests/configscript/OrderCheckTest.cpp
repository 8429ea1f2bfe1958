#include "configscript/CommandTest.h"
#include "configscript/Permissions.h"
#include "configscript/ScratchFolder.h"

#include <QDateTime>
#include <QDir>
#include <QDirIterator>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTest>

namespace {

/// Two instances run in one of two orders in each trial; of 40, all are the same once in 10^11.
const QStringList s_checkOrder{QStringLiteral("check"), QStringLiteral("plant"),
                               QStringLiteral("--order"), QStringLiteral("--orders"),
                               QStringLiteral("40")};

QString url(const QString &instance)
{
    return QStringLiteral("config://pumps/plant/") + instance;
}

/// The body of onSave by instance; each instance has a script of its name.
using Scripts = QMap<QString, QByteArray>;

/// Makes "plant" of these instances, and one that is not listed, "shared". Each has the property
/// "value": 0.
void makePlant(const ScratchFolder &folder, const Scripts &scripts)
{
    folder.write(QStringLiteral("plant/project.json"),
                 "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\" }\n");
    folder.listInstances(scripts.keys());
    folder.write(QStringLiteral("plant/configuration/shared.json"),
                 "{ \"properties\": { \"value\": 0 } }");
    for (auto script = scripts.cbegin(); script != scripts.cend(); ++script) {
        folder.write(QStringLiteral("plant/configuration/%1.json").arg(script.key()),
                     QStringLiteral("{ \"properties\": { \"dependencyFileExtern\": \"%1.js\", "
                                    "\"value\": 0 } }\n")
                         .arg(script.key())
                         .toUtf8());
        folder.writeScript(script.key() + QStringLiteral(".js"),
                           "const plant = 'config://pumps/plant/';\n"
                           "function onSave(api, url) {\n"
                           "  const get = (instance) =>\n"
                           "    api.getPropertyExtern(plant + instance, 'value');\n"
                           "  const set = (instance, value) =>\n"
                           "    api.setPropertyExtern(plant + instance, 'value', value);\n"
                               + script.value() + "\n}\n");
    }
}

/// In how many of the orders something happens differs from run to run.
ProgramRun withoutCounts(ProgramRun run)
{
    static const QRegularExpression count(QStringLiteral("in \\d+ of 40 orders"));
    run.output.replace(count, QStringLiteral("in # of 40 orders"));
    return run;
}

/// Path, size, content and time of each file.
QStringList stateOf(const QString &folder)
{
    QStringList state;
    QDirIterator entries(folder,
                         QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        entries.next();
        state.append(entries.filePath() + QLatin1Char(' ')
                     + entries.fileInfo().lastModified().toString(Qt::ISODateWithMs));
    }
    state.sort();
    return state;
}

} // namespace

class OrderCheckTest : public CommandTest
{
    Q_OBJECT

private Q_SLOTS:
    void findsWhatDependsOnTheOrder_data();
    void findsWhatDependsOnTheOrder();
    void acceptsTheExamples_data();
    void acceptsTheExamples();
    void findsTwoScriptsThatNeverAgree();
    void tellsThatOrdersDoNotVary();
    void runsOneScriptInOneOrder();
    void runsNothingWhenTheCheckFindsErrors();
    void saysWhichFolderItCannotCopy();
    void writesNothing();
    void reportsAsJson();
    void refusesWrongArguments_data();
    void refusesWrongArguments();
};

void OrderCheckTest::findsWhatDependsOnTheOrder_data()
{
    QTest::addColumn<Scripts>("scripts");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QStringList>("lines"); // but for the one that tells the orders

    const auto add = [](const char *name, const Scripts &scripts, int exitCode,
                        const QStringList &lines) {
        QTest::newRow(name) << scripts << exitCode << lines;
    };
    const QString line = QStringLiteral("line");
    const QString site = QStringLiteral("site");
    const QString none = QStringLiteral("0 errors, 0 warnings");

    add("independent", {{line, "set('line', 5);"}, {site, "set('site', get('shared') + 1);"}}, 0,
        {none});
    add("the first run alone", {{line, "set('line', 7);"}, {site, "set('site', get('line') + 1);"}},
        0,
        {QStringLiteral("dependency/site.js: warning: config://pumps/plant/site:value settles "
                        "after 2 runs, after more than one in # of 40 orders: 1, 8; site "
                        "(dependency/site.js) writes it [not-settling]"),
         QStringLiteral("dependency/site.js: warning: config://pumps/plant/site:value is 8 when "
                        "line runs before site, 1 when after it: site (dependency/site.js) reads "
                        "config://pumps/plant/line:value, which line (dependency/line.js) writes; "
                        "after 2 runs it is 8 in every order [order-dependent]"),
         QStringLiteral("0 errors, 2 warnings")});
    add("all runs",
        {{line, "set('line', 7);"},
         {site, "if (get('site') === 0) { set('site', get('line') + 1); }"}},
        1,
        {QStringLiteral("dependency/site.js: error: config://pumps/plant/site:value is 8 when line "
                        "runs before site, 1 when after it: site (dependency/site.js) reads "
                        "config://pumps/plant/line:value, which line (dependency/line.js) writes; "
                        "more runs do not change that [order-dependent]"),
         QStringLiteral("1 error, 0 warnings")});
    add("inside a map",
        {{line, "set('line', 7);"},
         {site, "if (get('site') === 0) { set('site', { a: 1, b: [get('line')] }); }"}},
        1,
        {QStringLiteral("dependency/site.js: error: config://pumps/plant/site:value.b[0] is 7 when "
                        "line runs before site, 0 when after it: site (dependency/site.js) reads "
                        "config://pumps/plant/line:value, which line (dependency/line.js) writes; "
                        "more runs do not change that [order-dependent]"),
         QStringLiteral("1 error, 0 warnings")});
    add("two writers of different values",
        {{line, "set('shared', 'l');"}, {site, "set('shared', 's');"}}, 1,
        {QStringLiteral("dependency/line.js: warning: config://pumps/plant/shared:value is written "
                        "by line (dependency/line.js) and site (dependency/site.js), with "
                        "different values [two-writers]"),
         QStringLiteral("dependency/site.js: error: config://pumps/plant/shared:value is \"s\" "
                        "when line runs before site, \"l\" when after it: line "
                        "(dependency/line.js) and site (dependency/site.js) both write it; more "
                        "runs do not change that [order-dependent]"),
         QStringLiteral("1 error, 1 warning")});
    add("two writers of equal values", {{line, "set('shared', 5);"}, {site, "set('shared', 5);"}},
        0,
        {QStringLiteral("dependency/line.js: warning: config://pumps/plant/shared:value is written "
                        "by line (dependency/line.js) and site (dependency/site.js), with equal "
                        "values [two-writers]"),
         QStringLiteral("0 errors, 1 warning")});
    add("two writers of the value that is there",
        {{line, "set('shared', 0);"}, {site, "set('shared', 0);"}}, 0,
        {QStringLiteral("dependency/line.js: warning: config://pumps/plant/shared:value is written "
                        "by line (dependency/line.js) and site (dependency/site.js), with equal "
                        "values [two-writers]"),
         QStringLiteral("0 errors, 1 warning")});
    // What is written by relative URL, nobody else sees.
    const QStringList unsaved{
        QStringLiteral("dependency/site.js:7: warning: setProperty writes by relative URL, which "
                       "nobody saves after onSave: use setPropertyExtern [unsaved-write]"),
        QStringLiteral("0 errors, 1 warning")};
    add("one writer, and one whose tree is not saved",
        {{line, "set('site', 5);"}, {site, "api.setProperty('', 'value', 6);"}}, 0, unsaved);
    add("one writer, and one that leaves its own copy as it is",
        {{line, "set('site', 5);"}, {site, "api.setProperty('', 'value', 0);"}}, 0, unsaved);
    add("a value that settles after some runs",
        {{line, "set('line', Math.min(get('line') + 1, 3));"}, {site, ""}}, 0,
        {QStringLiteral("dependency/line.js: warning: config://pumps/plant/line:value settles "
                        "after 3 runs, after more than one in every order: 1, 2, 3; line "
                        "(dependency/line.js) writes it [not-settling]"),
         QStringLiteral("0 errors, 1 warning")});
    add("values that never settle",
        {{line, "set('line', 1 - get('line'));"},
         {site, "set('site', get('site') + 1); set('shared', get('shared') + 2);"}},
        1,
        {QStringLiteral("dependency/line.js: error: config://pumps/plant/line:value still changes "
                        "after 5 runs, in every order: 1, 0, 1, 0, 1; line (dependency/line.js) "
                        "writes it [not-settling]"),
         QStringLiteral("dependency/site.js: error: config://pumps/plant/shared:value still "
                        "changes after 5 runs, in every order: 2, 4, 6, 8, 10; site "
                        "(dependency/site.js) writes it; 1 more property likewise [not-settling]"),
         QStringLiteral("2 errors, 0 warnings")});
    add("a script that always fails",
        {{line, "throw new Error('no line');"}, {site, "set('site', 2);"}}, 1,
        {QStringLiteral("dependency/line.js:7: error: line: Error: no line, in every order "
                        "[script-failed]"),
         QStringLiteral("1 error, 0 warnings")});
    add("a script that fails in one order",
        {{line, "set('line', 7);"},
         {site, "if (get('line') !== 7) { throw new Error('too early'); }"}},
        1,
        {QStringLiteral("dependency/site.js:7: error: site: Error: too early, in # of 40 orders "
                        "[script-failed]"),
         QStringLiteral("1 error, 0 warnings")});
}

void OrderCheckTest::findsWhatDependsOnTheOrder()
{
    QFETCH(const Scripts, scripts);
    QFETCH(const int, exitCode);
    QFETCH(const QStringList, lines);

    const ScratchFolder folder;
    makePlant(folder, scripts);
    QStringList output = lines;
    output.insert(output.size() - 1, QStringLiteral("2 scripts run in 2 different orders"));
    COMPARE_RUN(withoutCounts(Program(folder.path()).run(s_checkOrder)), exitCode,
                output.join(QLatin1Char('\n')) + QLatin1Char('\n'), QString());
}

void OrderCheckTest::acceptsTheExamples_data()
{
    QTest::addColumn<QString>("project");
    QTest::addColumn<QString>("output");

    QTest::newRow("pump-station") << QStringLiteral("pump-station")
                                  << QStringLiteral("21 scripts run in 8 different orders\n"
                                                    "0 errors, 0 warnings\n");
    QTest::newRow("network") << QStringLiteral("network")
                             << QStringLiteral("1 script run in 1 order\n"
                                               "0 errors, 0 warnings\n");
}

void OrderCheckTest::acceptsTheExamples()
{
    QFETCH(const QString, project);
    QFETCH(const QString, output);

    const ScratchFolder folder;
    folder.copyExamples();
    COMPARE_RUN(
        Program(folder.path()).run({QStringLiteral("check"), project, QStringLiteral("--order")}),
        0, output, QString());
}

/// Each follows the other.
void OrderCheckTest::findsTwoScriptsThatNeverAgree()
{
    const ScratchFolder folder;
    makePlant(folder,
              {{QStringLiteral("line"), "set('line', get('site') + 1);"},
               {QStringLiteral("site"), "set('site', get('line') + 1);"}});
    // Which values it shows depends on the first order.
    ProgramRun run = Program(folder.path()).run(s_checkOrder);
    run.output.replace(QRegularExpression(QStringLiteral("every order: \\d[^;]*; (line|site) .* "
                                                         "writes it")),
                       QStringLiteral("every order: #"));
    COMPARE_RUN(
        run, 1,
        QStringLiteral(
            "dependency/line.js: error: config://pumps/plant/line:value still changes after 5 "
            "runs, in every order: # [not-settling]\n"
            "dependency/line.js: warning: config://pumps/plant/line:value is 2 when site runs "
            "before line, 1 when after it: line (dependency/line.js) reads "
            "config://pumps/plant/site:value, which site (dependency/site.js) writes "
            "[order-dependent]\n"
            "dependency/site.js: error: config://pumps/plant/site:value still changes after 5 "
            "runs, in every order: # [not-settling]\n"
            "dependency/site.js: warning: config://pumps/plant/site:value is 2 when line runs "
            "before site, 1 when after it: site (dependency/site.js) reads "
            "config://pumps/plant/line:value, which line (dependency/line.js) writes "
            "[order-dependent]\n"
            "2 scripts run in 2 different orders\n"
            "2 errors, 2 warnings\n"),
        QString());
}

void OrderCheckTest::tellsThatOrdersDoNotVary()
{
    const ScratchFolder folder;
    makePlant(folder, {{QStringLiteral("line"), ""}, {QStringLiteral("site"), ""}});
    Program program(folder.path());
    program.setVariable(QStringLiteral("QT_HASH_SEED"), QStringLiteral("0"));
    COMPARE_RUN(program.run(s_checkOrder), 0,
                QStringLiteral("configuration/manifest.json: warning: all 40 orders were the same, "
                               "so nothing is known of others: the environment variable "
                               "QT_HASH_SEED fixes it; unset it [same-order]\n"
                               "2 scripts run in 1 order\n"
                               "0 errors, 1 warning\n"),
                QString());
}

void OrderCheckTest::runsOneScriptInOneOrder()
{
    const ScratchFolder folder;
    makePlant(folder, {{QStringLiteral("line"), "set('line', get('line') + 1);"}});
    COMPARE_RUN(Program(folder.path()).run(s_checkOrder), 1,
                QStringLiteral("dependency/line.js: error: config://pumps/plant/line:value still "
                               "changes after 5 runs, in every order: 1, 2, 3, 4, 5; line "
                               "(dependency/line.js) writes it [not-settling]\n"
                               "1 script run in 1 order\n"
                               "1 error, 0 warnings\n"),
                QString());
}

void OrderCheckTest::runsNothingWhenTheCheckFindsErrors()
{
    const ScratchFolder folder;
    makePlant(folder, {{QStringLiteral("line"), "set('line', get('line') + 1);"}});
    folder.listInstances({QStringLiteral("line"), QStringLiteral("valve")});
    COMPARE_RUN(Program(folder.path()).run(s_checkOrder), 1,
                QStringLiteral("configuration/manifest.json:4: error: \"valve\" is listed, but "
                               "there is no configuration/valve.json [missing-tree]\n"
                               "No script was run: the order is checked when there are no "
                               "errors.\n"
                               "1 error, 0 warnings\n"),
                QString());
}

void OrderCheckTest::saysWhichFolderItCannotCopy()
{
    const ScratchFolder folder;
    makePlant(folder, {{QStringLiteral("line"), ""}});
    folder.write(QStringLiteral("plant/process/locked/a.json"), "{}");
    const Permissions permissions(folder.path(QStringLiteral("plant/process/locked")), {});
    Program program(folder.path());
    program.runWithoutPrivilege();
    COMPARE_RUN(program.run(s_checkOrder), 2, QString(),
                QStringLiteral("configscript: <folder>/plant/process/locked: cannot be copied: no "
                               "permission to read the folder\n"));
}

void OrderCheckTest::writesNothing()
{
    const ScratchFolder folder;
    makePlant(folder,
              {{QStringLiteral("line"),
                "set('line', 7);\n"
                "api.setPropertyExtern('process://pumps/network/main', 'value', 7);\n"
                "api.setPropertyExtern('config://pumps/beside/main', 'value', 7);"},
               {QStringLiteral("site"), "set('site', get('line'));"}});
    folder.write(QStringLiteral("net/process/main.json"), "{ \"properties\": { \"value\": 0 } }");
    folder.write(QStringLiteral("beside/configuration/main.json"),
                 "{ \"properties\": { \"value\": 0 } }");
    folder.write(
        QStringLiteral("plant/project.json"),
        "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\", \"otherFiles\": { \"network\": \""
            + QFileInfo(folder.path(QStringLiteral("net"))).canonicalFilePath().toUtf8()
            + "\", \"beside\": \"../beside\" } }\n");
    const ScratchFolder temporary;
    const Files before = folder.files();
    const QStringList stateBefore = stateOf(folder.path());
    Program program(folder.path());
    program.setVariable(QStringLiteral("TMPDIR"), temporary.path());
    const ProgramRun run = program.run(s_checkOrder);
    QVERIFY2(run.output.endsWith(QLatin1String("0 errors, 2 warnings\n")), qPrintable(run.output));
    COMPARE_FILES(folder.files(), before);
    QCOMPARE(stateOf(folder.path()), stateBefore);
    QCOMPARE(stateOf(temporary.path()), QStringList());
}

void OrderCheckTest::reportsAsJson()
{
    const ScratchFolder folder;
    makePlant(folder,
              {{QStringLiteral("line"), "set('shared', 5);"},
               {QStringLiteral("site"), "set('shared', 5);"}});
    const auto report = [&folder](const QStringList &arguments) {
        return QJsonDocument::fromJson(Program(folder.path())
                                           .run(arguments + QStringList(QStringLiteral("--json")))
                                           .output.toUtf8())
            .object();
    };
    const QJsonObject object = report(s_checkOrder);
    QCOMPARE(object.value(QStringLiteral("orders")).toObject(),
             (QJsonObject{{QStringLiteral("run"), 40},
                          {QStringLiteral("different"), 2},
                          {QStringLiteral("scripts"), 2}}));
    QCOMPARE(object.value(QStringLiteral("errors")), QJsonValue(0));
    QCOMPARE(object.value(QStringLiteral("warnings")), QJsonValue(1));
    QCOMPARE(object.value(QStringLiteral("findings")).toArray(),
             (QJsonArray{QJsonObject{
                 {QStringLiteral("severity"), QStringLiteral("warning")},
                 {QStringLiteral("name"), QStringLiteral("two-writers")},
                 {QStringLiteral("file"), QStringLiteral("dependency/line.js")},
                 {QStringLiteral("line"), 0},
                 {QStringLiteral("message"),
                  QStringLiteral("%1:value is written by line (dependency/line.js) and site "
                                 "(dependency/site.js), with equal values")
                      .arg(url(QStringLiteral("shared")))}}}));
    QVERIFY(!report({QStringLiteral("check"), QStringLiteral("plant")})
                 .contains(QStringLiteral("orders")));
}

void OrderCheckTest::refusesWrongArguments_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");

    QTest::newRow("--orders alone") << QStringList{QStringLiteral("--orders"), QStringLiteral("4")}
                                    << QStringLiteral("--orders requires --order");
    for (const QString &number :
         {QStringLiteral("1"), QStringLiteral("1001"), QStringLiteral("x")}) {
        QTest::newRow(qPrintable(number))
            << QStringList{QStringLiteral("--order"), QStringLiteral("--orders"), number}
            << QStringLiteral("--orders: Value %1 not in range 2 to 1000").arg(number);
    }
}

void OrderCheckTest::refusesWrongArguments()
{
    QFETCH(const QStringList, arguments);
    QFETCH(const QString, message);

    const ScratchFolder folder;
    makePlant(folder, {{QStringLiteral("line"), ""}});
    const ProgramRun run =
        Program(folder.path())
            .run(QStringList{QStringLiteral("check"), QStringLiteral("plant")} + arguments);
    QCOMPARE(run.exitCode, 2);
    QVERIFY2(run.errors.startsWith(message), qPrintable(run.errors));
}

TEST_CLASS(OrderCheckTest)
#include "OrderCheckTest.moc"
