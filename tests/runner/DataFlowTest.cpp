#include "runner/flow/DataFlow.h"
#include "support/StrictTest.h"

#include <QTest>

using namespace ConfigScript;

namespace {

FileTree::Identity treeOf(const QString &instance)
{
    return {QStringLiteral("/plant/configuration/%1.json").arg(instance), instance,
            FileTree::Kind::Configuration};
}

/// Of a property of an instance's root, named "instance:key".
TreeAccess access(TreeAccess::Kind kind, const QString &name, const QVariant &value,
                  const QVariant &oldValue = QVariant(), bool isOfOwnCopy = false)
{
    return {kind,       treeOf(name.section(QLatin1Char(':'), 0, 0)),
            QString(),  name.section(QLatin1Char(':'), 1),
            value,      oldValue,
            isOfOwnCopy};
}

TreeAccess read(const char *name, const QVariant &value)
{
    return access(TreeAccess::Kind::Read, QLatin1String(name), value);
}

TreeAccess readOwnCopy(const char *name, const QVariant &value)
{
    return access(TreeAccess::Kind::Read, QLatin1String(name), value, QVariant(), true);
}

TreeAccess write(const char *name, const QVariant &oldValue, const QVariant &value)
{
    return access(TreeAccess::Kind::Write, QLatin1String(name), value, oldValue);
}

TreeAccess writeOwnCopy(const char *name, const QVariant &oldValue, const QVariant &value)
{
    return access(TreeAccess::Kind::Write, QLatin1String(name), value, oldValue, true);
}

TreeAccess confirm(const char *name, const QVariant &value)
{
    return access(TreeAccess::Kind::Confirm, QLatin1String(name), value, value);
}

ScriptRun run(const char *instance, const QVector<TreeAccess> &accesses)
{
    ScriptRun run;
    run.instance = QLatin1String(instance);
    run.succeeded = true;
    run.accesses = accesses;
    return run;
}

int propertyOf(const DataFlow &flow, const char *name)
{
    const QString text = QLatin1String(name);
    return flow.propertyOf(treeOf(text.section(QLatin1Char(':'), 0, 0)).filePath, QString(),
                           text.section(QLatin1Char(':'), 1));
}

} // namespace

class DataFlowTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void knowsValuesBeforeAndAfterTheRun()
    {
        const DataFlow flow({run("a", {read("a:x", 1), write("b:y", 2, 3), confirm("b:z", 4)}),
                             run("b", {write("b:y", 3, 5), write("b:new", QVariant(), 6)})});
        const auto property = [&flow](const char *name) {
            return flow.properties().at(propertyOf(flow, name));
        };
        QCOMPARE(property("a:x").oldValue, QVariant(1));
        QCOMPARE(property("a:x").newValue, QVariant(1));
        QVERIFY(!property("a:x").isChanged());
        QCOMPARE(property("b:y").oldValue, QVariant(2));
        QCOMPARE(property("b:y").newValue, QVariant(5));
        QVERIFY(property("b:y").isChanged());
        QCOMPARE(property("b:z").newValue, QVariant(4));
        QVERIFY(!property("b:z").isChanged());
        QVERIFY(!property("b:new").oldValue.isValid());
        QVERIFY(property("b:new").isChanged());
        QCOMPARE(propertyOf(flow, "b:other"), -1);
        QCOMPARE(propertyOf(flow, "c:x"), -1);
    }

    void takesNoValueFromAnOwnCopyThatWasWritten()
    {
        const DataFlow flow({run("a", {writeOwnCopy("a:x", 1, 2), readOwnCopy("a:x", 2)}),
                             run("b", {write("a:x", 1, 3)})});
        QCOMPARE(flow.properties().at(0).oldValue, QVariant(1));
        QCOMPARE(flow.properties().at(0).newValue, QVariant(3));

        const DataFlow alone({run("a", {writeOwnCopy("a:x", 1, 2)})});
        QCOMPARE(alone.properties().at(0).newValue, QVariant(1));
    }

    void joinsReadsAndWritesOfOneScript()
    {
        const DataFlow flow(
            {run("a",
                 {read("a:x", 1), read("a:y", 2), write("b:x", 0, 3), write("a:x", 1, 4),
                  read("a:x", 4), write("b:x", 3, 5), write("b:y", 0, 6)}),
             run("b", {read("a:x", 4), write("b:z", 0, 7)})});
        QCOMPARE(flow.readsBefore(2), QVector<int>({0, 1}));
        QCOMPARE(flow.readsBefore(5), QVector<int>({1, 4})); // the last read of x
        QCOMPARE(flow.readsBefore(8), QVector<int>({7}));
        QCOMPARE(flow.writesAfter(1), QVector<int>({3, 5, 6})); // the last write of b:x
        QCOMPARE(flow.writesAfter(4), QVector<int>({5, 6}));
        QCOMPARE(flow.writesAfter(7), QVector<int>({8}));
    }

    void findsTheWriteThatAReadSaw()
    {
        const DataFlow flow({run("a", {read("x:v", 1), write("x:v", 1, 2)}),
                             run("b", {read("x:v", 2), write("x:v", 2, 3), read("x:v", 3)}),
                             run("c", {read("x:v", 3)})});
        QCOMPARE(flow.sourceOf(0), -1); // its own write came afterwards
        QCOMPARE(flow.sourceOf(2), 1);
        QCOMPARE(flow.sourceOf(4), 3);
        QCOMPARE(flow.sourceOf(5), 3);
    }

    void findsWhoConfirmsAValueWhateverTheOrder()
    {
        const DataFlow before({run("a", {confirm("x:v", 1)}), run("b", {read("x:v", 1)})});
        QCOMPARE(before.sourceOf(1), 0);
        const DataFlow after({run("b", {read("x:v", 1)}), run("a", {confirm("x:v", 1)})});
        QCOMPARE(after.sourceOf(0), 1);
    }

    void doesNotTakeLaterValuesForTheOneRead()
    {
        const DataFlow flow({run("b", {read("x:v", 1), read("x:none", QVariant())}),
                             run("a", {write("x:v", 1, 2), write("x:none", QVariant(), 2)})});
        QCOMPARE(flow.sourceOf(0), -1);
        QCOMPARE(flow.sourceOf(1), -1);
    }

    void tellsAScriptsOwnCopyFromTheCommonTree()
    {
        const DataFlow flow(
            {run("a", {write("b:v", 1, 2), confirm("b:w", 5)}),
             run("b",
                 {readOwnCopy("b:v", 1), readOwnCopy("b:w", 5), writeOwnCopy("b:v", 1, 9),
                  readOwnCopy("b:v", 9), read("b:v", 2)}),
             run("c", {read("b:v", 9)})});
        QCOMPARE(flow.sourceOf(2), -1);
        QCOMPARE(flow.sourceOf(3), 1);
        QCOMPARE(flow.sourceOf(5), 4);
        QCOMPARE(flow.sourceOf(6), 0);
        QCOMPARE(flow.sourceOf(7), 0); // nobody sees another one's copy
    }

    void sortsEdges()
    {
        const DataFlow flow(
            {run("z", {read("b:y", 1), read("b:x", 1), write("a:v", 1, 2), confirm("a:v", 2)}),
             run("c", {confirm("a:v", 2), read("a:v", 2)})});
        QStringList edges;
        const QVector<DataFlow::Edge> found = flow.edges();
        for (const DataFlow::Edge &edge : found) {
            QStringList keys;
            for (const int property : edge.properties) {
                keys.append(flow.properties().at(property).key);
            }
            edges.append(QStringLiteral("%1 %2 %3 %4")
                             .arg(flow.runs().at(edge.run).instance,
                                  edge.isWrite ? QStringLiteral("->") : QStringLiteral("<-"),
                                  flow.trees().at(edge.tree).instance,
                                  keys.join(QLatin1Char(' '))));
        }
        QCOMPARE(edges,
                 QStringList({QStringLiteral("c <- a v"), QStringLiteral("c -> a v"),
                              QStringLiteral("z -> a v"), QStringLiteral("z <- b x y")}));
    }
};

QTEST_GUILESS_MAIN(DataFlowTest)
#include "DataFlowTest.moc"
