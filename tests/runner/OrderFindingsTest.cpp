#include "configscript/report/OrderFindings.h"
#include "configscript/ScratchFolder.h"
#include "runner/order/OrderRecord.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

using Kind = TreeAccess::Kind;

FileTree::Identity treeOf(const Project &project, const QString &instance)
{
    return {project.path() + QStringLiteral("/configuration/%1.json").arg(instance), instance,
            FileTree::Kind::Configuration};
}

/// What one instance did: "a" reads and writes the property "v" of others.
struct Step
{
    QString instance;
    QVector<QPair<QString, QVariant>> reads; ///< instance and value
    QVector<QPair<QString, QVariant>> writes;
};

QString name(char letter)
{
    return QString(QLatin1Char(letter));
}

} // namespace

/// Looks at reports made by hand, where no chance decides on orders.
class OrderFindingsTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();

    void findsNothingInOneOrderOfOneScript();
    void namesThePairThatDecides();
    void believesNoPairThatOneOrderContradicts();
    void believesNoPairWhoseReadsAreTheSame();
    void namesNoPairWhenSeveralFit();
    void groupsByScripts();
    void leavesOutSomeOfManyNames();
    void tellsFailuresOfSeveralInstancesOnce();
    void reportsWhatWasNotSaved();

private:
    RunRecord record(const QVector<Step> &steps, const Files &changes = {}) const;
    QStringList findings(const OrderRecord &check) const;

    ScratchFolder m_folder;
    std::optional<Project> m_project;
};

void OrderFindingsTest::init()
{
    StrictTest::init();
    m_folder.write(QStringLiteral("plant/project.json"),
                   "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\" }");
    Diagnostic error;
    m_project = Project::open(m_folder.path(QStringLiteral("plant")), error);
    QVERIFY(m_project);
}

/// @param changes by instance, the new number of its property "v", which was 0
RunRecord OrderFindingsTest::record(const QVector<Step> &steps, const Files &changes) const
{
    RunRecord record;
    for (const Step &step : steps) {
        ScriptRun run;
        run.instance = step.instance;
        run.script = QStringLiteral("dependency/%1.js").arg(step.instance.at(0));
        run.function = QStringLiteral("onSave");
        run.succeeded = true;
        for (const auto &read : step.reads) {
            run.accesses.append({Kind::Read, treeOf(*m_project, read.first), QString(),
                                 QStringLiteral("v"), read.second, QVariant()});
        }
        for (const auto &write : step.writes) {
            run.accesses.append({Kind::Write, treeOf(*m_project, write.first), QString(),
                                 QStringLiteral("v"), write.second, QVariant(0)});
        }
        record.runs.append(run);
    }
    for (auto change = changes.cbegin(); change != changes.cend(); ++change) {
        record.trees.append({treeOf(*m_project, change.key()),
                             QString(),
                             {{QString(), QStringLiteral("v"), 0, change.value().toInt()}}});
    }
    return record;
}

QStringList OrderFindingsTest::findings(const OrderRecord &check) const
{
    QStringList texts;
    const QVector<Finding> findings = OrderFindings(check).findings();
    for (const Finding &finding : findings) {
        texts.append(finding.toString().replace(QLatin1String("config://pumps/plant/"),
                                                QLatin1String("//")));
    }
    return texts;
}

void OrderFindingsTest::findsNothingInOneOrderOfOneScript()
{
    OrderRecord check(*m_project);
    check.add({record({{name('a'), {{name('a'), 0}}, {{name('a'), 1}}}}, {{name('a'), "1"}}),
               record({{name('a'), {{name('a'), 1}}, {}}})});
    QCOMPARE(findings(check), QStringList());
    QCOMPARE(check.trials().size(), 1);
    QCOMPARE(check.distinctOrders(), 1);
    QCOMPARE(check.instances().size(), 1);
}

void OrderFindingsTest::namesThePairThatDecides()
{
    OrderRecord check(*m_project);
    const auto a = Step{name('a'), {}, {{name('a'), 7}}};
    const auto c = Step{name('c'), {}, {{name('c'), 9}}};
    const auto b = [](int a) {
        return Step{name('b'), {{name('a'), a}, {name('c'), 9}}, {{name('b'), a + 1}}};
    };
    check.add({record({c, a, b(7)}, {{name('a'), "7"}, {name('b'), "8"}, {name('c'), "9"}})});
    check.add({record({c, b(0), a}, {{name('a'), "7"}, {name('b'), "1"}, {name('c'), "9"}})});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/b.js: error: //b:v is 8 when a runs before b, 1 when after it: b "
                 "(dependency/b.js) reads //a:v, which a (dependency/a.js) writes; more runs do "
                 "not change that [order-dependent]")});
}

/// In the third order, the same two give another value.
void OrderFindingsTest::believesNoPairThatOneOrderContradicts()
{
    OrderRecord check(*m_project);
    const auto a = Step{name('a'), {}, {{name('a'), 7}}};
    const auto b = [](int a, int value) {
        return Step{name('b'), {{name('a'), a}}, {{name('b'), value}}};
    };
    const auto changes = [](const QByteArray &value) {
        return Files{{name('a'), "7"}, {name('b'), value}};
    };
    check.add({record({a, b(7, 8)}, changes("8"))});
    check.add({record({b(0, 1), a}, changes("1"))});
    check.add({record({b(0, 8), a}, changes("8"))});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/b.js: error: //b:v varies with the order: 8 in the order a, b; 1 in "
                 "the order b, a; b (dependency/b.js) writes it; more runs do not change that "
                 "[order-dependent]")});
}

/// What the script read of the other one is no reason for what it wrote.
void OrderFindingsTest::believesNoPairWhoseReadsAreTheSame()
{
    OrderRecord check(*m_project);
    const auto a = Step{name('a'), {}, {{name('a'), 7}}};
    const auto b = [](int value) {
        return Step{name('b'), {{name('a'), 7}}, {{name('b'), value}}};
    };
    const auto changes = [](const QByteArray &value) {
        return Files{{name('a'), "7"}, {name('b'), value}};
    };
    check.add({record({a, b(8)}, changes("8"))});
    check.add({record({b(1), a}, changes("1"))});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/b.js: error: //b:v varies with the order: 8; 1; b (dependency/b.js) "
                 "writes it; more runs do not change that [order-dependent]")});
}

void OrderFindingsTest::namesNoPairWhenSeveralFit()
{
    OrderRecord check(*m_project);
    const auto a = Step{name('a'), {}, {{name('a'), 7}}};
    const auto c = Step{name('c'), {}, {{name('c'), 9}}};
    const auto b = [](int a, int c) {
        return Step{name('b'), {{name('a'), a}, {name('c'), c}}, {{name('b'), a + c}}};
    };
    const auto changes = [](const QByteArray &value) {
        return Files{{name('a'), "7"}, {name('b'), value}, {name('c'), "9"}};
    };
    check.add({record({a, c, b(7, 9)}, changes("16"))});
    check.add({record({b(0, 0), c, a}, changes("1"))});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/b.js: error: //b:v varies with the order: 16 in the order a, c, b; 1 "
                 "in the order b, c, a; b (dependency/b.js) writes it; with more --orders it can "
                 "be told which scripts' order decides; more runs do not change that "
                 "[order-dependent]")});

    check.add({record({a, b(7, 0), c}, changes("16"))});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/b.js: error: //b:v is 16 when a runs before b, 1 when after it: b "
                 "(dependency/b.js) reads //a:v, which a (dependency/a.js) writes; more runs do "
                 "not change that [order-dependent]")});
}

void OrderFindingsTest::groupsByScripts()
{
    OrderRecord check(*m_project);
    QVector<QPair<QString, QVariant>> writes;
    for (const char letter : {'x', 'y', 'z'}) {
        writes.append({name(letter), 5});
    }
    const QVector<Step> both{{name('a'), {}, writes}, {name('b'), {}, writes}};
    check.add({record(both)});
    check.add({record({both.at(1), both.at(0)})});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/a.js: warning: //x:v is written by a (dependency/a.js) and b "
                 "(dependency/b.js), with equal values; 2 more properties likewise "
                 "[two-writers]")});
}

void OrderFindingsTest::leavesOutSomeOfManyNames()
{
    OrderRecord check(*m_project);
    QVector<Step> steps;
    for (int i = 1; i <= 7; ++i) {
        steps.append({QStringLiteral("p%1").arg(i), {}, {{name('x'), i}}});
    }
    check.add({record(steps)});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral(
                 "dependency/p.js: warning: //x:v is written by p1, p2, p3 and p4 "
                 "(dependency/p.js) and 3 more, with different values [two-writers]")});
}

void OrderFindingsTest::tellsFailuresOfSeveralInstancesOnce()
{
    OrderRecord check(*m_project);
    RunRecord failed = record({{QStringLiteral("p2"), {}, {}}, {QStringLiteral("p1"), {}, {}}});
    for (ScriptRun &run : failed.runs) {
        run.succeeded = false;
        run.exceptions.append({12, QStringLiteral("Error: no"), true});
    }
    check.add({failed, failed});
    RunRecord refused = record({{QStringLiteral("p1"), {}, {}}, {QStringLiteral("p2"), {}, {}}});
    refused.runs[0].succeeded = false;
    refused.notRun.append({QStringLiteral("q"), QStringLiteral("no such file")});
    check.add({refused});
    QCOMPARE(findings(check),
             (QStringList{
                 QStringLiteral("configuration/q.json: error: q: did not run: no such file, in 1 "
                                "of 2 orders [script-failed]"),
                 QStringLiteral("dependency/p.js: error: p1: onSave returned false, in 1 of 2 "
                                "orders [script-failed]"),
                 QStringLiteral("dependency/p.js:12: error: p1 (and 1 more): Error: no, in 1 of 2 "
                                "orders [script-failed]")}));
}

void OrderFindingsTest::reportsWhatWasNotSaved()
{
    OrderRecord check(*m_project);
    RunRecord unsaved = record({{name('a'), {}, {{name('a'), 1}}}}, {{name('a'), "1"}});
    unsaved.trees[0].error = unsaved.trees.constFirst().identity.filePath
        + QStringLiteral(": cannot be written: the file is read-only");
    check.add({unsaved});
    QCOMPARE(findings(check),
             QStringList{QStringLiteral("configuration/a.json: error: cannot be written: the file "
                                        "is read-only, in every order [not-saved]")});
}

QTEST_APPLESS_MAIN(OrderFindingsTest)
#include "OrderFindingsTest.moc"
