#include "editor/EditorTest.h"
#include "editor/InstanceModel.h"
#include "editor/NodeModel.h"
#include "editor/NodePanel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace ConfigScript;

/// The models under the tester of Qt, while the window is used.
class EditorModelsTest : public EditorTest
{
    Q_OBJECT

private Q_SLOTS:
    void allModelsKeepTheRulesWhileTheWindowIsUsed();
    void instancesAreATreeOfTheirNames();
    void aRowOfANodeShowsItsValue();
    void describingPropertiesAreShownOnRequest();
    void choicesMayBeValuesOrAListing();
};

void EditorModelsTest::allModelsKeepTheRulesWhileTheWindowIsUsed()
{
    EditorSession session;
    Workspace &workspace = session.window().workspace();
    NodeModel &nodes = session.window().nodePanel().model();
    const auto mode = QAbstractItemModelTester::FailureReportingMode::QtTest;
    const QAbstractItemModelTester nodeTester(&nodes, mode);
    const QAbstractItemModelTester instanceTester(&workspace.instances(), mode);
    const QAbstractItemModelTester eventTester(&workspace.events(), mode);
    const QAbstractItemModelTester messageTester(&workspace.messages(), mode);
    session.folder().write(
        QStringLiteral("pump-station/scripts/pump.js"),
        "function onOpen() {}\n"
        "function onValueChange(api, url) {\n"
        "  api.setProperty(url, 'note', 'seen'); console.log(url); api.setError(url, 'wrong');\n"
        "}\n"
        "function onOk() {}\n");
    QVERIFY(session.open(QStringLiteral("line1/pump1")));
    const QModelIndex power = nodes.indexOf(QStringLiteral("motor/ratedPower"));
    const int before = nodes.rowCount(power.siblingAtColumn(0));
    QVERIFY(session.enter(QStringLiteral("motor/ratedPower"), QStringLiteral("15")));
    QCOMPARE(nodes.rowCount(power.siblingAtColumn(0)), before + 1);
    QVERIFY(session.press(QStringLiteral("Undo")));
    QCOMPARE(nodes.rowCount(power.siblingAtColumn(0)), before);
    QVERIFY(session.press(QStringLiteral("Redo")));
    QVERIFY(session.press(QStringLiteral("Show All Properties")));
    QVERIFY(session.press(QStringLiteral("Undo")));
    QVERIFY(session.press(QStringLiteral("Redo")));
    QVERIFY(session.open(QStringLiteral("site")));
    QVERIFY(session.open(QStringLiteral("line1/pump1")));
    QVERIFY(session.press(QStringLiteral("Save")));
    QVERIFY(!session.document().isUnsaved());
    QVERIFY(workspace.messages().rowCount() > 0);
}

void EditorModelsTest::instancesAreATreeOfTheirNames()
{
    InstanceModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setInstances({QStringLiteral("a/b"), QStringLiteral("a/b/c"), QStringLiteral("d")},
                       {QStringLiteral("a/b")});
    QCOMPARE(model.rowCount(), 2);
    const QModelIndex folder = model.index(0, 0);
    QCOMPARE(folder.data().toString(), QStringLiteral("a"));
    QCOMPARE(folder.data(InstanceModel::InstanceRole).toString(), QString());
    const QModelIndex instance = model.index(0, 0, folder);
    QCOMPARE(instance.data(InstanceModel::InstanceRole).toString(), QStringLiteral("a/b"));
    QCOMPARE(model.indexOf(QStringLiteral("a/b/c")).parent(), instance);
    QCOMPARE(instance.data(Qt::AccessibleTextRole).toString(),
             QStringLiteral("b, listed: its dependency script runs"));

    const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    model.setBadges(QStringLiteral("a/b"), {2, 1});
    QCOMPARE(changed.size(), 1);
    QCOMPARE(instance.data(Qt::AccessibleTextRole).toString(),
             QStringLiteral("b, 2 unsaved values, 1 error, listed: its dependency script runs"));
}

void EditorModelsTest::aRowOfANodeShowsItsValue()
{
    EditorSession session;
    QVERIFY(session.open(QStringLiteral("line1/pump1")));
    const NodeModel &model = session.window().nodePanel().model();
    const QModelIndex power = model.indexOf(QStringLiteral("motor/ratedPower"));
    QCOMPARE(power.data(Qt::EditRole), QVariant(11));
    QCOMPARE(power.siblingAtColumn(NodeModel::UnitColumn).data().toString(), QStringLiteral("kW"));
    QCOMPARE(power.siblingAtColumn(NodeModel::RemarkColumn).data().toString(),
             QStringLiteral("0.37 \u2026 90"));
    QVERIFY(power.flags() & Qt::ItemIsEditable);
    const QModelIndex motor = model.indexOf(QStringLiteral("motor"));
    QVERIFY(!(motor.flags() & Qt::ItemIsEditable));
    const QModelIndex year = model.indexOf(QStringLiteral("nameplate"), QStringLiteral("year"));
    QVERIFY(!(year.flags() & Qt::ItemIsEditable));
    const QModelIndex enabled =
        model.indexOf(QStringLiteral("alarms/dryRun"), QStringLiteral("enabled"));
    QCOMPARE(enabled.data(Qt::CheckStateRole), QVariant(Qt::Checked));
    QVERIFY(enabled.flags() & Qt::ItemIsUserCheckable);
}

void EditorModelsTest::describingPropertiesAreShownOnRequest()
{
    EditorSession session;
    QVERIFY(session.open(QStringLiteral("line1/pump1")));
    NodeModel &model = session.window().nodePanel().model();
    const QString path = QStringLiteral("motor/ratedPower");
    QCOMPARE(model.rowCount(model.indexOf(path).siblingAtColumn(0)), 0);
    model.setShowsEverything(true);
    const QModelIndex node = model.indexOf(path).siblingAtColumn(0);
    QStringList keys;
    for (int row = 0; row < model.rowCount(node); ++row) {
        keys.append(model.index(row, 0, node).data().toString());
    }
    QCOMPARE(keys,
             (QStringList{QStringLiteral("labelTextId"), QStringLiteral("unit"),
                          QStringLiteral("limits")}));
}

void EditorModelsTest::choicesMayBeValuesOrAListing()
{
    const QVariantMap listed{{QStringLiteral("url"), QStringLiteral("fault")},
                             {QStringLiteral("text"), QStringLiteral("Fault")}};
    const auto choices =
        NodeModel::choicesOf(QVariantList{QStringLiteral("off"), 80, QVariant(listed)});
    QCOMPARE(choices.size(), 3);
    QCOMPARE(choices.at(0).text, QStringLiteral("off"));
    QCOMPARE(choices.at(1).value, QVariant(80));
    QCOMPARE(choices.at(2).value, QVariant(QStringLiteral("fault")));
    QCOMPARE(choices.at(2).text, QStringLiteral("Fault"));
}

QTEST_MAIN(EditorModelsTest)
#include "EditorModelsTest.moc"
