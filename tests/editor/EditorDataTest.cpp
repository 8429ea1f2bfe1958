#include "editor/data/Choice.h"
#include "editor/data/DependencyReport.h"
#include "editor/data/EditorSettings.h"
#include "editor/data/InstanceSnapshot.h"
#include "editor/data/Labels.h"
#include "editor/data/ValueText.h"
#include "filehost/FileTreeNode.h"
#include "support/StrictTest.h"

#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

using namespace ConfigScript;

namespace {

const QString s_value = QStringLiteral("value");
const QString s_motor = QStringLiteral("motor");
const QString s_power = QStringLiteral("motor/power");

QSharedPointer<FileTreeNode> tree()
{
    Diagnostic error;
    return FileTree::parse(
        "{\n"
        "  \"properties\": { \"note\": \"as built\" },\n"
        "  \"readOnly\": [ \"note\" ],\n"
        "  \"children\": {\n"
        "    \"motor\": { \"children\": {\n"
        "      \"power\": { \"properties\": { \"value\": 11, \"unit\": \"kW\" } }\n"
        "    } },\n"
        "    \"pipe\": {}\n"
        "  }\n"
        "}\n",
        {}, error);
}

} // namespace

/// Plain data, which needs no thread and no window.
class EditorDataTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void takesAllOfATree();
    void tellsWhatDiffersFromTheFile();
    void tellsWhatSettingAPropertyDid();
    void isLikeASnapshotWithOtherValuesOnly();
    void adoptsTheMarksOfValuesThatAreStillChanged();
    void writesValuesAsPeopleReadThem_data();
    void writesValuesAsPeopleReadThem();
    void writesContainersOnManyLines();
    void readsNumbersOnly_data();
    void readsNumbersOnly();
    void tellsWhereJsonIsWrong();
    void countsInWords();
    void offersValuesAndListingsAsChoices();
    void labelsStandForThemselvesWithoutAText();
    void aDependencyReportIsQuietWhenThereIsNothingToShow();
    void settingsAreKept();
};

void EditorDataTest::takesAllOfATree()
{
    const InstanceSnapshot snapshot(*tree());
    QVERIFY(!snapshot.isEmpty());
    QCOMPARE(snapshot.size(), 4);
    const InstanceSnapshot::Node &root = snapshot.node(0);
    QCOMPARE(root.path, QString());
    QCOMPARE(root.children.size(), 2);
    QCOMPARE(root.property(QStringLiteral("note"))->value, QVariant(QStringLiteral("as built")));
    QVERIFY(root.property(QStringLiteral("note"))->isReadOnly);
    QVERIFY(!root.property(s_value));
    const int power = snapshot.find(s_power);
    QCOMPARE(snapshot.node(power).name, QStringLiteral("power"));
    QCOMPARE(snapshot.node(power).value(s_value), QVariant(11));
    QVERIFY(!snapshot.node(power).property(s_value)->isReadOnly);
    QCOMPARE(snapshot.node(snapshot.find(s_motor)).children, QVector<int>{power});
    QCOMPARE(snapshot.find(QStringLiteral("motor/speed")), -1);
    QVERIFY(InstanceSnapshot().isEmpty());
}

void EditorDataTest::tellsWhatDiffersFromTheFile()
{
    const auto root = tree();
    const auto power = root->getNode(s_power).staticCast<FileTreeNode>();
    power->setProperty(s_value, 15);
    power->addProperty(QStringLiteral("remark"), QStringLiteral("new"));
    const InstanceSnapshot snapshot(*root);
    QCOMPARE(snapshot.changedProperties(), 2);
    const InstanceSnapshot::Node &node = snapshot.node(snapshot.find(s_power));
    QVERIFY(node.property(s_value)->isChanged());
    QCOMPARE(node.property(s_value)->valueInFile, QVariant(11));
    QVERIFY(node.property(QStringLiteral("remark"))->isChanged());
    QVERIFY(!node.property(QStringLiteral("remark"))->valueInFile.isValid());
    QVERIFY(!node.property(QStringLiteral("unit"))->isChanged());
}

void EditorDataTest::tellsWhatSettingAPropertyDid()
{
    using Effect = InstanceSnapshot::Effect;
    InstanceSnapshot snapshot(*tree());
    const int power = snapshot.find(s_power);
    const QString remark = QStringLiteral("remark");
    QCOMPARE(snapshot.set(power, s_value, 11, true), Effect::Nothing);
    QCOMPARE(snapshot.set(power, s_value, 15, true), Effect::Changed);
    QVERIFY(snapshot.node(power).property(s_value)->isFromScript);
    QCOMPARE(snapshot.set(power, remark, QVariant(), false), Effect::Nothing);
    QCOMPARE(snapshot.set(power, remark, QStringLiteral("new"), false), Effect::Added);
    QCOMPARE(snapshot.changedProperties(), 2);
    QCOMPARE(snapshot.set(power, remark, QVariant(), false), Effect::Removed);
    QVERIFY(!snapshot.node(power).property(remark));
    QCOMPARE(snapshot.changedProperties(), 1);
}

void EditorDataTest::isLikeASnapshotWithOtherValuesOnly()
{
    const InstanceSnapshot snapshot(*tree());
    InstanceSnapshot other(*tree());
    const int power = other.find(s_power);
    other.set(power, s_value, 15, false);
    QVERIFY(snapshot.isLike(other));
    other.set(power, QStringLiteral("remark"), 1, false);
    QVERIFY(!snapshot.isLike(other));
    QVERIFY(!snapshot.isLike(InstanceSnapshot()));
    Diagnostic error;
    QVERIFY(!InstanceSnapshot(*FileTree::parse("{ \"children\": { \"a\": {} } }", {}, error))
                 .isLike(InstanceSnapshot(
                     *FileTree::parse("{ \"children\": { \"b\": {} } }", {}, error))));
}

void EditorDataTest::adoptsTheMarksOfValuesThatAreStillChanged()
{
    const QString unit = QStringLiteral("unit");
    InstanceSnapshot older(*tree());
    const int power = older.find(s_power);
    older.set(power, s_value, 15, true);
    older.set(power, unit, QStringLiteral("W"), true);
    InstanceSnapshot snapshot(*tree());
    snapshot.set(power, s_value, 16, false);
    snapshot.set(0, QStringLiteral("note"), QStringLiteral("mine"), false);
    snapshot.adoptMarks(older);
    QVERIFY(snapshot.node(power).property(s_value)->isFromScript);
    QVERIFY(!snapshot.node(power).property(unit)->isFromScript); // as the file holds it
    QVERIFY(!snapshot.node(0).property(QStringLiteral("note"))->isFromScript);
    snapshot.adoptMarks(InstanceSnapshot());
    QVERIFY(!snapshot.node(power).property(s_value)->isFromScript);
}

void EditorDataTest::writesValuesAsPeopleReadThem_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << QVariant() << QStringLiteral("(none)");
    QTest::newRow("text") << QVariant(QStringLiteral("a \"b\"")) << QStringLiteral("a \"b\"");
    QTest::newRow("number") << QVariant(0.5) << QStringLiteral("0.5");
    QTest::newRow("null") << QVariant::fromValue(nullptr) << QStringLiteral("null");
    QTest::newRow("map") << QVariant(QVariantMap{{QStringLiteral("a"), 1}})
                         << QStringLiteral("{ \"a\": 1 }");
}

void EditorDataTest::writesValuesAsPeopleReadThem()
{
    QFETCH(const QVariant, value);
    QFETCH(const QString, text);
    QCOMPARE(ValueText::toText(value), text);
}

void EditorDataTest::writesContainersOnManyLines()
{
    QCOMPARE(ValueText::toLines(QVariantMap{{QStringLiteral("a"), 1}, {QStringLiteral("b"), 2}}),
             QStringLiteral("{\n    \"a\": 1,\n    \"b\": 2\n}"));
    QCOMPARE(ValueText::toLines(QVariantList{1}), QStringLiteral("[\n    1\n]"));
    QCOMPARE(ValueText::toLines(QStringLiteral("a")), QStringLiteral("\"a\""));
}

void EditorDataTest::readsNumbersOnly_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QVariant>("number");
    QTest::newRow("integer") << QStringLiteral(" 12 ") << QVariant(12);
    QTest::newRow("large") << QStringLiteral("5000000000") << QVariant(5000000000LL);
    QTest::newRow("decimal") << QStringLiteral("-0.25") << QVariant(-0.25);
    QTest::newRow("text") << QStringLiteral("\"12\"") << QVariant();
    QTest::newRow("true") << QStringLiteral("true") << QVariant();
    QTest::newRow("with a comma") << QStringLiteral("1,5") << QVariant();
    QTest::newRow("empty") << QString() << QVariant();
}

void EditorDataTest::readsNumbersOnly()
{
    QFETCH(const QString, text);
    QFETCH(const QVariant, number);
    QCOMPARE(ValueText::toNumber(text), number);
    QCOMPARE(ValueText::isNumber(ValueText::toNumber(text)), number.isValid());
}

void EditorDataTest::tellsWhereJsonIsWrong()
{
    QString error;
    QCOMPARE(ValueText::toJson(QStringLiteral("[ 1 ]"), error), QVariant(QVariantList{1}));
    QCOMPARE(error, QString());
    QVERIFY(!ValueText::toJson(QStringLiteral("{\n  a: 1\n}"), error).isValid());
    QCOMPARE(error,
             QStringLiteral("2:3: expected a member's name in double quotes, or '}', found 'a'"));
    QVERIFY(ValueText::isContainer(QVariantList{1}));
    QVERIFY(!ValueText::isContainer(1));
}

void EditorDataTest::countsInWords()
{
    const QString one = QStringLiteral("file");
    const QString many = QStringLiteral("files");
    QCOMPARE(ValueText::counted(0, one, many), QStringLiteral("0 files"));
    QCOMPARE(ValueText::counted(1, one, many), QStringLiteral("1 file"));
    QCOMPARE(ValueText::counted(2, one, many), QStringLiteral("2 files"));
}

void EditorDataTest::offersValuesAndListingsAsChoices()
{
    const QString url = QStringLiteral("url");
    const QVariantMap listed{{url, QStringLiteral("fault")},
                             {QStringLiteral("text"), QStringLiteral("Fault")}};
    const auto choices = Choice::listOf(QVariantList{QStringLiteral("off"), 80, QVariant(listed),
                                                     QVariantMap{{url, QStringLiteral("bare")}}});
    QCOMPARE(choices.size(), 4);
    QCOMPARE(choices.at(0).text, QStringLiteral("off"));
    QCOMPARE(choices.at(1).value, QVariant(80));
    QCOMPARE(choices.at(2).value, QVariant(QStringLiteral("fault")));
    QCOMPARE(choices.at(2).text, QStringLiteral("Fault"));
    QCOMPARE(choices.at(3).text, QStringLiteral("bare"));
    QVERIFY(Choice::listOf(7).isEmpty());
}

void EditorDataTest::labelsStandForThemselvesWithoutAText()
{
    const Labels labels{
        QStringLiteral("de"),
        {{QStringLiteral("pump"), QStringLiteral("Pumpe")}},
        {{QStringLiteral("rpm"), {{QStringLiteral("de"), QStringLiteral("1/min")}}}}};
    QCOMPARE(labels.text(QStringLiteral("pump")), QStringLiteral("Pumpe"));
    QCOMPARE(labels.text(QStringLiteral("valve")), QStringLiteral("valve"));
    QCOMPARE(labels.unit(QStringLiteral("rpm")), QStringLiteral("1/min"));
    QCOMPARE(labels.unit(QStringLiteral("bar")), QStringLiteral("bar"));
    const Labels english{QStringLiteral("en"), {}, labels.units};
    QCOMPARE(english.unit(QStringLiteral("rpm")), QStringLiteral("rpm"));
}

void EditorDataTest::aDependencyReportIsQuietWhenThereIsNothingToShow()
{
    DependencyReport report;
    QVERIFY(report.isQuiet());
    ScriptRun run;
    run.succeeded = true;
    report.record.runs = {run};
    QVERIFY(report.isQuiet());

    DependencyReport failed = report;
    failed.record.runs.first().succeeded = false;
    QVERIFY(!failed.isQuiet());
    DependencyReport complaining = report;
    complaining.record.runs.first().errors.append(JavaScriptApi::ErrorMessage());
    QVERIFY(!complaining.isQuiet());
    DependencyReport changing = report;
    changing.record.trees.append(ChangedTree());
    QVERIFY(!changing.isQuiet());
    DependencyReport refused = report;
    refused.error = QStringLiteral("no manifest");
    QVERIFY(!refused.isQuiet());
    DependencyReport mistaken = report;
    mistaken.findings.append(Finding());
    QVERIFY(!mistaken.isQuiet());
}

void EditorDataTest::settingsAreKept()
{
    const QTemporaryDir folder;
    QSettings::setDefaultFormat(QSettings::IniFormat);
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    QCoreApplication::setOrganizationName(QStringLiteral("ConfigScriptTests"));
    const EditorSettings none = EditorSettings::load();
    QVERIFY(none.geometry.isEmpty());
    QVERIFY(none.language.isEmpty());
    QVERIFY(!none.showsEverything);

    const EditorSettings kept{QByteArray("\0g", 2), "layout", QStringLiteral("de"), true};
    kept.save();
    const EditorSettings loaded = EditorSettings::load();
    QCOMPARE(loaded.geometry, kept.geometry);
    QCOMPARE(loaded.layout, kept.layout);
    QCOMPARE(loaded.language, kept.language);
    QVERIFY(loaded.showsEverything);
}

TEST_CLASS(EditorDataTest)
#include "EditorDataTest.moc"
