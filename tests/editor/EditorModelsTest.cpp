#include "editor/EditorTest.h"
#include "editor/SampleReports.h"
#include "editor/data/Choice.h"
#include "editor/model/InstanceModel.h"
#include "editor/model/NodeModel.h"
#include "editor/window/NodePanel.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_pump = sampleInstance();

QStringList rowsBelow(const QStandardItem &item)
{
    QStringList rows;
    for (int row = 0; row < item.rowCount(); ++row) {
        rows.append(item.child(row, 0)->text() + QStringLiteral("| ") + item.child(row, 1)->text());
    }
    return rows;
}

} // namespace

/// The models under the tester of Qt: while the window is used, and by themselves.
class EditorModelsTest : public EditorTest
{
    Q_OBJECT

private Q_SLOTS:
    void allModelsKeepTheRulesWhileTheWindowIsUsed();
    void instancesAreATreeOfTheirNames();
    void aRowOfANodeShowsItsValue();
    void describingPropertiesAreShownOnRequest();
    void valuesAreShownByTheirKind();
    void aRowTellsWhatHappenedToItsValue();
    void valuesAreSetByTheirKind();
    void aValueOfAScriptFlashes();
    void labelsFollowTheLanguage();
    void eventsTellWhatHappenedBelow();
    void oldEventsAreDropped();
    void dependencyScriptsAreEvents();
    void messagesHaveAPlaceAndALevel();
    void oldMessagesAreDropped();
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

void EditorModelsTest::valuesAreShownByTheirKind()
{
    Document document(s_pump);
    document.takeReport(
        openedReport("{ \"properties\": { \"on\": true, \"map\": { \"a\": 1 },\n"
                     "  \"color\": \"#ff0000\", \"text\": \"#a\", \"value\": \"m1\",\n"
                     "  \"choices\": [ { \"url\": \"m1\", \"text\": \"Main\" } ] } }\n"));
    NodeModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    QVERIFY(!model.indexOf(QString()).isValid());
    model.setDocument(&document);
    const auto field = [&model](const char *key) {
        return model.indexOf(QString(), QLatin1String(key));
    };
    QCOMPARE(field("on").data().toString(), QStringLiteral("yes"));
    QCOMPARE(field("on").data(Qt::CheckStateRole), QVariant(Qt::Checked));
    QCOMPARE(field("map").data(Qt::ToolTipRole).toString(), QStringLiteral("{ \"a\": 1 }"));
    QCOMPARE(field("color").data(Qt::DecorationRole).value<QColor>(), QColor(Qt::red));
    QVERIFY(!field("text").data(Qt::DecorationRole).isValid());
    QCOMPARE(field("value").data().toString(), QStringLiteral("Main"));
    QCOMPARE(field("value").data(Qt::EditRole).toString(), QStringLiteral("m1"));
    QCOMPARE(Choice::listOf(field("value").data(NodeModel::ChoicesRole)).size(), 1);
    QCOMPARE(field("value").data(NodeModel::KeyRole).toString(), QStringLiteral("value"));
    QCOMPARE(field("on").siblingAtColumn(NodeModel::FieldColumn).data(Qt::ToolTipRole).toString(),
             QStringLiteral(":on"));
    QCOMPARE(model.headerData(NodeModel::RemarkColumn, Qt::Horizontal).toString(),
             QStringLiteral("Remark"));
    QVERIFY(model.headerData(NodeModel::ColumnCount, Qt::Horizontal).toString().isEmpty());
    QVERIFY(!model.headerData(0, Qt::Vertical).isValid());
    QVERIFY(!model.data(QModelIndex()).isValid());
    QCOMPARE(model.flags(QModelIndex()), Qt::ItemFlags(Qt::NoItemFlags));
    model.setDocument(nullptr);
    QCOMPARE(model.rowCount(), 0);
}

void EditorModelsTest::aRowTellsWhatHappenedToItsValue()
{
    Document document(s_pump);
    document.takeReport(openedReport("{ \"properties\": { \"value\": 11, \"unit\": \"kW\",\n"
                                     "  \"limits\": { \"min\": 1 }, \"serial\": \"A1\" },\n"
                                     "  \"readOnly\": [ \"serial\" ] }\n"));
    NodeModel model;
    model.setDocument(&document);
    const QModelIndex value = model.indexOf(QString());
    const auto remark = [&model](const QString &key) {
        return model.indexOf(QString(), key).siblingAtColumn(NodeModel::RemarkColumn);
    };
    const QString key = QStringLiteral("value");
    QCOMPARE(remark(key).data().toString(), QStringLiteral("1 \u2026"));
    QCOMPARE(remark(QStringLiteral("serial")).data().toString(), QStringLiteral("read-only"));
    QCOMPARE(value.data(NodeModel::MarkRole).value<Field::Mark>(), Field::Mark::None);
    QVERIFY(!value.data(Qt::FontRole).value<QFont>().bold());

    document.edit(0, key, 15);
    QCOMPARE(remark(key).data().toString(), QStringLiteral("was 11"));
    QCOMPARE(value.data(NodeModel::MarkRole).value<Field::Mark>(), Field::Mark::ByUser);
    QVERIFY(value.data(Qt::FontRole).value<QFont>().bold());

    EventReport report = eventReport(QStringLiteral("onValueChange"));
    report.answers = {{QString(), key, 15, 16}, {QString(), QStringLiteral("note"), QVariant(), 1}};
    JavaScriptApi::ErrorMessage error;
    error.errorLabelTextId = QStringLiteral("tooMuch");
    error.value = 16;
    document.takeReport(report);
    QCOMPARE(remark(key).data().toString(), QStringLiteral("was 11; by the script"));
    QCOMPARE(remark(QStringLiteral("note")).data().toString(),
             QStringLiteral("new; by the script"));
    QCOMPARE(value.data(NodeModel::MarkRole).value<Field::Mark>(), Field::Mark::ByScript);
    QVERIFY(!remark(key).data(Qt::DecorationRole).isValid());

    report.answers.clear();
    report.run.errors = {error};
    document.takeReport(report);
    QCOMPARE(remark(key).data().toString(), QStringLiteral("tooMuch (16)"));
    QCOMPARE(remark(key).data(NodeModel::ErrorRole).toString(), QStringLiteral("tooMuch (16)"));
    QVERIFY(remark(key).data(Qt::DecorationRole).isValid());
    QCOMPARE(value.data(Qt::AccessibleTextRole).toString(),
             QStringLiteral("line1/pump1, 16 kW, tooMuch (16)"));
}

void EditorModelsTest::valuesAreSetByTheirKind()
{
    Document document(s_pump);
    document.takeReport(openedReport("{ \"properties\": { \"value\": 11, \"on\": true,\n"
                                     "  \"serial\": \"A1\" }, \"readOnly\": [ \"serial\" ] }\n"));
    NodeModel model;
    model.setDocument(&document);
    const QSignalSpy requested(&document, &Document::editRequested);
    const QModelIndex on = model.indexOf(QString(), QStringLiteral("on"));
    QVERIFY(model.setData(model.indexOf(QString()), 12));
    QVERIFY(model.setData(on, Qt::Unchecked, Qt::CheckStateRole));
    QCOMPARE(requested.size(), 2);
    QCOMPARE(requested.at(0), (QVariantList{QString(), QStringLiteral("value"), 12}));
    QCOMPARE(requested.at(1), (QVariantList{QString(), QStringLiteral("on"), false}));
    QVERIFY(
        !model.setData(model.indexOf(QString(), QStringLiteral("serial")), QStringLiteral("B2")));
    QVERIFY(!model.setData(model.indexOf(QString()), QVariant()));
    QVERIFY(!model.setData(model.indexOf(QString()), 13, Qt::DisplayRole));
    QCOMPARE(requested.size(), 2);
}

void EditorModelsTest::aValueOfAScriptFlashes()
{
    Document document(s_pump);
    document.takeReport(openedReport("{ \"properties\": { \"value\": 11 } }\n"));
    NodeModel model;
    model.setDocument(&document);
    EventReport report = eventReport(QStringLiteral("onValueChange"));
    report.answers = {{QString(), QStringLiteral("value"), 11, 16}};
    document.takeReport(report);
    const QModelIndex value = model.indexOf(QString());
    const QVariant flash = value.data(Qt::BackgroundRole);
    const QSignalSpy changed(&model, &QAbstractItemModel::dataChanged);
    QTRY_COMPARE(changed.size(), 1);
    QVERIFY(value.data(Qt::BackgroundRole).isValid()); // that of a script's value
    QVERIFY(value.data(Qt::BackgroundRole) != flash);
}

void EditorModelsTest::labelsFollowTheLanguage()
{
    Document document(s_pump);
    document.takeReport(
        openedReport("{ \"children\": { \"motor\": { \"properties\": {\n"
                     "  \"labelTextId\": \"power\", \"value\": 1, \"unit\": \"rpm\"\n"
                     "} } } }\n"));
    NodeModel model;
    model.setDocument(&document);
    const QString motor = QStringLiteral("motor");
    const QModelIndex value = model.indexOf(motor);
    QCOMPARE(value.siblingAtColumn(NodeModel::FieldColumn).data().toString(),
             QStringLiteral("power"));
    const Labels labels{
        QStringLiteral("de"),
        {{QStringLiteral("power"), QStringLiteral("Leistung")}},
        {{QStringLiteral("rpm"), {{QStringLiteral("de"), QStringLiteral("1/min")}}}}};
    model.setLabels(labels);
    QCOMPARE(value.siblingAtColumn(NodeModel::FieldColumn).data().toString(),
             QStringLiteral("Leistung"));
    QCOMPARE(value.siblingAtColumn(NodeModel::UnitColumn).data().toString(),
             QStringLiteral("1/min"));
    QCOMPARE(Field::labelOf(document, labels, motor), QStringLiteral("Leistung"));
    QCOMPARE(Field::labelOf(document, labels, QString()), s_pump);
    QCOMPARE(Field::labelOf(document, labels, QStringLiteral("motor/gone")),
             QStringLiteral("motor/gone"));
}

void EditorModelsTest::eventsTellWhatHappenedBelow()
{
    EventsModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    EventReport report = eventReport(QStringLiteral("onValueChange"), QStringLiteral("motor"));
    report.time = QDateTime(QDate(2026, 1, 2), QTime(3, 4, 5));
    report.run.duration = std::chrono::microseconds(1250);
    report.edits = {{QStringLiteral("motor"), QStringLiteral("value"), 11, 15}};
    report.answers = {{QStringLiteral("motor"), QStringLiteral("note"), QVariant(), 1}};
    JavaScriptApi::ErrorMessage error;
    error.relUrl = QStringLiteral("motor");
    error.errorLabelTextId = QStringLiteral("tooMuch");
    report.run.errors = {error};
    model.add(report);
    report.run.succeeded = false;
    report.run.errors.clear();
    report.run.exceptions = {{3, QStringLiteral("RangeError: far"), true}};
    model.add(report);
    model.add(EventReport()); // without a script

    QCOMPARE(model.rowCount(), 2);
    QCOMPARE(model.item(0)->text(), QStringLiteral("03:04:05  onValueChange  motor"));
    QCOMPARE(model.item(0, EventsModel::ResultColumn)->text(), QStringLiteral("ok, 1.3 ms"));
    QCOMPARE(rowsBelow(*model.item(0)),
             (QStringList{QStringLiteral("entered motor:value| 11 \u2192 15"),
                          QStringLiteral("wrote motor:note| new: 1"),
                          QStringLiteral("error at motor| tooMuch")}));
    QVERIFY(!model.item(0)->icon().isNull());
    QCOMPARE(model.item(1, EventsModel::ResultColumn)->text(), QStringLiteral("failed, 1.3 ms"));
    QCOMPARE(rowsBelow(*model.item(1)).constLast(), QStringLiteral("ended| RangeError: far"));
}

void EditorModelsTest::oldEventsAreDropped()
{
    EventsModel model;
    for (int i = 0; i <= EventsModel::maximumEvents; ++i) {
        model.add(eventReport(QString::number(i)));
    }
    QCOMPARE(model.rowCount(), EventsModel::maximumEvents);
    QCOMPARE(model.item(0)->text(), QStringLiteral("1"));
}

void EditorModelsTest::dependencyScriptsAreEvents()
{
    EventsModel model;
    DependencyReport report;
    ScriptRun run = eventReport(QStringLiteral("onSave")).run;
    run.instance = s_pump;
    report.record.runs = {run, run};
    model.add(report);
    QCOMPARE(model.rowCount(), 2);
    QVERIFY(model.item(0)->text().endsWith(QStringLiteral("  onSave  line1/pump1")));
}

void EditorModelsTest::messagesHaveAPlaceAndALevel()
{
    MessagesModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    EventReport report = eventReport(QStringLiteral("onOpen"));
    report.run.console = {{QtDebugMsg, 7, QStringLiteral("hello"), true},
                          {QtDebugMsg, 0, QStringLiteral("nowhere"), true}};
    report.run.exceptions = {{3, QStringLiteral("RangeError: far"), true}};
    report.run.warnings = QStringList{QStringLiteral("no such node")};
    report.warnings = QStringList{QStringLiteral("recovered")};
    model.add(report);

    DependencyReport dependencies;
    dependencies.instance = s_pump;
    Finding finding{};
    finding.place.message = QStringLiteral("is empty");
    dependencies.findings = {finding};
    dependencies.record.runs = {eventReport(QStringLiteral("onSave")).run};
    dependencies.record.projectWarnings = QStringList{QStringLiteral("odd")};
    dependencies.record.notRun = {{QStringLiteral("tank"), QStringLiteral("no script")}};
    model.add(dependencies);

    QStringList rows;
    for (int row = 0; row < model.rowCount(); ++row) {
        rows.append(model.item(row)->text() + QStringLiteral("| ") + model.item(row, 1)->text());
    }
    QCOMPARE(rows,
             (QStringList{QStringLiteral("scripts/pump.js:7| hello"),
                          QStringLiteral("scripts/pump.js| nowhere"),
                          QStringLiteral("scripts/pump.js:3| RangeError: far"),
                          QStringLiteral("scripts/pump.js| no such node"),
                          QStringLiteral("line1/pump1| recovered"),
                          QStringLiteral("line1/pump1| ") + finding.toString(),
                          QStringLiteral("line1/pump1| odd"),
                          QStringLiteral("tank| not run: no script")}));
    QVERIFY(model.item(0)->icon().isNull());
    QVERIFY(!model.item(2)->icon().isNull());
}

void EditorModelsTest::oldMessagesAreDropped()
{
    MessagesModel model;
    for (int i = 0; i <= MessagesModel::maximumMessages; ++i) {
        model.add(QString(), QString::number(i), QtDebugMsg);
    }
    QCOMPARE(model.rowCount(), MessagesModel::maximumMessages);
    QCOMPARE(model.item(0, MessagesModel::TextColumn)->text(), QStringLiteral("1"));
}

TEST_CLASS(EditorModelsTest)
#include "EditorModelsTest.moc"
