#include "editor/worker/OpenInstance.h"
#include "configscript/ScratchFolder.h"
#include "editor/worker/ScriptStopper.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "support/StrictTest.h"

#include <QTest>

#include <memory>
#include <optional>

using namespace ConfigScript;

namespace {

const QString s_pump = QStringLiteral("pump");
const QString s_motor = QStringLiteral("motor");
const QString s_power = QStringLiteral("power");
const QString s_loss = QStringLiteral("loss");
const QString s_treeFile = QStringLiteral("plant/configuration/pump.json");
const QString s_scriptFile = QStringLiteral("plant/scripts/dialog.js");

const QByteArray s_tree("{\n"
                        "  \"properties\": { \"scriptFile\": \"dialog.js\" },\n"
                        "  \"children\": { \"motor\": {\n"
                        "    \"properties\": { \"power\": 11, \"loss\": 1, \"serial\": \"A1\" },\n"
                        "    \"readOnly\": [ \"serial\" ]\n"
                        "  } }\n"
                        "}\n");

const QByteArray s_script("function onOpen() {}\n"
                          "function onValueChange(api, path) {\n"
                          "  api.setProperty(path, 'loss', api.getProperty(path, 'power') / 10);\n"
                          "}\n"
                          "function onOk(api) {\n"
                          "  if (api.getProperty('motor', 'power') > 90) {\n"
                          "    api.setError('motor', 'tooMuch');\n"
                          "  }\n"
                          "}\n");

/// One instance of a small project, as the scripts' thread has it.
class Opened
{
public:
    Opened()
    {
        m_folder.makePlant();
        m_folder.write(s_treeFile, s_tree);
        m_folder.write(s_scriptFile, s_script);
        Diagnostic error;
        m_project = Project::open(m_folder.path(QStringLiteral("plant")), error);
        m_instance =
            std::make_unique<OpenInstance>(*m_project, DialogReach::Instance, m_stopper, s_pump);
    }

    const ScratchFolder &folder() const { return m_folder; }
    OpenInstance *operator->() { return m_instance.get(); }

    /// A value of the tree as it stands.
    QVariant value(const QString &key) const
    {
        return m_instance->copyOfTree()->getNode(s_motor)->getProperty(key);
    }

    QVariant stored(const QString &key) const
    {
        Diagnostic error;
        const auto root = m_project->readTree(FileTree::Kind::Configuration, s_pump, error);
        return root->getNode(s_motor)->getProperty(key);
    }

private:
    ScratchFolder m_folder;
    std::optional<Project> m_project;
    ScriptStopper m_stopper;
    std::unique_ptr<OpenInstance> m_instance;
};

} // namespace

/// An open instance and its script, without a window.
class OpenInstanceTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void firesOnOpenWhenItIsOpened();
    void tellsWhatTheScriptAnswersToAnEdit();
    void refusesAnEditThatIsNotPossible_data();
    void refusesAnEditThatIsNotPossible();
    void keepsChangesWhenItIsReadAgain();
    void discardsChangesOnRequest();
    void appliesChangesWithoutAnEvent();
    void savesWhenTheScriptAgrees();
    void isNotSavedWhenTheScriptReportsAnError();
    void isNotSavedOverAnotherProgramsChange();
    void cannotBeSavedWithoutATree();
    void tellsWhichFileIsStale();
    void tellsWhyItCannotBeUsed_data();
    void tellsWhyItCannotBeUsed();
    void recordsItsEvents();
};

void OpenInstanceTest::firesOnOpenWhenItIsOpened()
{
    Opened pump;
    const InstanceReport report = pump->open();
    QCOMPARE(report.instance, s_pump);
    QCOMPARE(report.error, QString());
    QCOMPARE(report.treePath, pump.folder().path(s_treeFile));
    QCOMPARE(report.scriptPath, pump.folder().path(s_scriptFile));
    QCOMPARE(report.script, QStringLiteral("scripts/dialog.js"));
    QVERIFY(!report.keepsHistory);
    QCOMPARE(report.snapshot.size(), 2);
    QCOMPARE(report.onOpen.run.function, QStringLiteral("onOpen"));
    QVERIFY(report.onOpen.run.succeeded);
    QVERIFY(!pump->isUnsaved());
}

void OpenInstanceTest::tellsWhatTheScriptAnswersToAnEdit()
{
    Opened pump;
    pump->open();
    const EventReport report = pump->edit(s_motor, s_power, 20);
    QCOMPARE(report.refusal, QString());
    QCOMPARE(report.edits.size(), 1);
    QCOMPARE(report.edits.constFirst().oldValue, QVariant(11));
    QCOMPARE(report.edits.constFirst().newValue, QVariant(20));
    QCOMPARE(report.run.function, QStringLiteral("onValueChange"));
    QCOMPARE(report.run.argument, s_motor);
    QCOMPARE(report.answers.size(), 1);
    QCOMPARE(report.answers.constFirst().key, s_loss);
    QCOMPARE(report.answers.constFirst().newValue, QVariant(2));
    QVERIFY(pump->isUnsaved());
    QCOMPARE(pump.stored(s_power), QVariant(11));
}

void OpenInstanceTest::refusesAnEditThatIsNotPossible_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("refusal");
    QTest::newRow("no node") << QStringLiteral("gear") << s_power << QVariant(1)
                             << QStringLiteral("there is no node \"gear\"");
    QTest::newRow("equal") << s_motor << s_power << QVariant(11)
                           << QStringLiteral("the value is equal already");
    QTest::newRow("read-only") << s_motor << QStringLiteral("serial")
                               << QVariant(QStringLiteral("B2"))
                               << QStringLiteral("\"serial\" is read-only");
    QTest::newRow("no JSON") << s_motor << s_power << QVariant(qQNaN())
                             << QStringLiteral("the value has no JSON form");
}

void OpenInstanceTest::refusesAnEditThatIsNotPossible()
{
    QFETCH(const QString, path);
    QFETCH(const QString, key);
    QFETCH(const QVariant, value);
    QFETCH(const QString, refusal);
    Opened pump;
    pump->open();
    const EventReport report = pump->edit(path, key, value);
    QCOMPARE(report.refusal, refusal);
    QCOMPARE(report.run.function, QString()); // no event
    QVERIFY(!pump->isUnsaved());
    if (!report.edits.isEmpty()) { // leads back to the value that stands
        QCOMPARE(report.edits.constFirst().newValue, pump.value(key));
    }
}

void OpenInstanceTest::keepsChangesWhenItIsReadAgain()
{
    Opened pump;
    pump->open();
    pump->edit(s_motor, s_power, 20);
    const InstanceReport same = pump->open();
    QVERIFY(same.keepsHistory);
    QCOMPARE(same.snapshot.changedProperties(), 2);
    QCOMPARE(pump.value(s_power), QVariant(20));

    QByteArray changed = s_tree;
    changed.replace("A1", "C3").replace("\"power\": 11", "\"power\": 12");
    pump.folder().write(s_treeFile, changed);
    const InstanceReport other = pump->open();
    QVERIFY(!other.keepsHistory);
    QCOMPARE(pump.value(s_power), QVariant(20));
    QCOMPARE(pump.value(QStringLiteral("serial")), QVariant(QStringLiteral("C3")));
    const auto &node = other.snapshot.node(other.snapshot.find(s_motor));
    QCOMPARE(node.property(s_power)->valueInFile, QVariant(12));
}

void OpenInstanceTest::discardsChangesOnRequest()
{
    Opened pump;
    pump->open();
    pump->edit(s_motor, s_power, 20);
    pump->discardChanges();
    const InstanceReport report = pump->open();
    QCOMPARE(report.snapshot.changedProperties(), 0);
    QVERIFY(!report.keepsHistory);
    QCOMPARE(pump.value(s_power), QVariant(11));
}

void OpenInstanceTest::appliesChangesWithoutAnEvent()
{
    Opened pump;
    pump->apply({{s_motor, s_power, 11, 20}}); // not open yet: nothing to do
    pump->open();
    const QString note = QStringLiteral("note");
    pump->apply({{s_motor, s_power, 11, 20}, {s_motor, note, QVariant(), 1}});
    QCOMPARE(pump.value(s_power), QVariant(20));
    QCOMPARE(pump.value(s_loss), QVariant(1)); // the script did not answer
    QCOMPARE(pump.value(note), QVariant(1));
    pump->apply({{s_motor, note, 1, QVariant()}, {s_motor, s_power, 20, 11}});
    QVERIFY(!pump.value(note).isValid());
    QVERIFY(!pump->isUnsaved());
    // The script goes on in the same tree.
    QCOMPARE(pump->edit(s_motor, s_power, 30).answers.constFirst().newValue, QVariant(3));
}

void OpenInstanceTest::savesWhenTheScriptAgrees()
{
    Opened pump;
    pump->open();
    pump->edit(s_motor, s_power, 20);
    const SaveReport report = pump->save();
    QVERIFY(report.isSaved);
    QCOMPARE(report.error, QString());
    QCOMPARE(report.onOk.run.function, QStringLiteral("onOk"));
    QCOMPARE(report.snapshot.changedProperties(), 0);
    QCOMPARE(pump.stored(s_power), QVariant(20));
    QCOMPARE(pump.stored(s_loss), QVariant(2));
    QVERIFY(!pump->isUnsaved());
    QVERIFY(!pump->isTreeStale());
    // Nothing is written when nothing is changed.
    const Files before = pump.folder().files();
    QVERIFY(pump->save().isSaved);
    QCOMPARE(pump.folder().files(), before);
}

void OpenInstanceTest::isNotSavedWhenTheScriptReportsAnError()
{
    Opened pump;
    pump->open();
    pump->edit(s_motor, s_power, 200);
    const SaveReport report = pump->save();
    QVERIFY(!report.isSaved);
    QCOMPARE(report.error, QString());
    QCOMPARE(report.onOk.run.errors.size(), 1);
    QVERIFY(pump->isUnsaved());
    QCOMPARE(pump.stored(s_power), QVariant(11));
}

void OpenInstanceTest::isNotSavedOverAnotherProgramsChange()
{
    Opened pump;
    pump->open();
    pump->edit(s_motor, s_power, 20);
    QByteArray changed = s_tree;
    changed.replace("A1", "C3");
    pump.folder().write(s_treeFile, changed);
    const SaveReport report = pump->save();
    QVERIFY(!report.isSaved);
    QVERIFY2(report.error.contains(QStringLiteral("the file has changed since it was read")),
             qPrintable(report.error));
    QCOMPARE(pump.folder().files().value(s_treeFile), changed);
}

void OpenInstanceTest::cannotBeSavedWithoutATree()
{
    Opened pump;
    pump.folder().remove(s_treeFile);
    pump->open();
    const SaveReport report = pump->save();
    QVERIFY(!report.isSaved);
    QCOMPARE(report.error, QStringLiteral("the instance cannot be used"));
    QVERIFY(pump->copyOfTree().isNull());
}

void OpenInstanceTest::tellsWhichFileIsStale()
{
    Opened pump;
    QVERIFY(pump->isTreeStale());
    pump->open();
    QVERIFY(!pump->isTreeStale());
    QVERIFY(!pump->isScriptStale());
    pump.folder().write(s_scriptFile, s_script + "// more\n");
    QVERIFY(!pump->isTreeStale());
    QVERIFY(pump->isScriptStale());
    pump->open();
    QVERIFY(!pump->isScriptStale());
    pump.folder().write(s_treeFile, s_tree + "\n");
    QVERIFY(pump->isTreeStale());
}

void OpenInstanceTest::tellsWhyItCannotBeUsed_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QByteArray>("content"); // null removes the file
    QTest::addColumn<QString>("error");
    QTest::newRow("no tree") << s_treeFile << QByteArray()
                             << QStringLiteral("no instance \"pump\"");
    QTest::newRow("broken tree") << s_treeFile << QByteArray("[]")
                                 << QStringLiteral("configuration/pump.json:1:1: ");
    QTest::newRow("no script") << s_scriptFile << QByteArray()
                               << QStringLiteral("scripts/dialog.js: no such file");
    QTest::newRow("broken script")
        << s_scriptFile << QByteArray("function (\n") << QStringLiteral("scripts/dialog.js:");
}

void OpenInstanceTest::tellsWhyItCannotBeUsed()
{
    QFETCH(const QString, file);
    QFETCH(const QByteArray, content);
    QFETCH(const QString, error);
    Opened pump;
    pump->open();
    pump->edit(s_motor, s_power, 20);
    if (content.isNull()) {
        pump.folder().remove(file);
    } else {
        pump.folder().write(file, content);
    }
    const InstanceReport report = pump->open();
    QVERIFY2(report.error.startsWith(error), qPrintable(report.error));
    QCOMPARE(report.onOpen.run.function, QString());
    // What is unsaved is still there.
    QVERIFY(pump->isUnsaved());
    QCOMPARE(report.snapshot.changedProperties(), 2);
    QVERIFY(pump->isTreeStale() || pump->isScriptStale());
}

void OpenInstanceTest::recordsItsEvents()
{
    Opened pump;
    QString error;
    QVERIFY(!pump->recordedTest(error));
    QCOMPARE(error, QStringLiteral("there was no event yet"));
    pump->open();
    pump->edit(s_motor, s_power, 20);
    const auto test = pump->recordedTest(error);
    QVERIFY(test);
    QCOMPARE(error, QString());
    QVERIFY2(test->contains("\"onValueChange\""), test->constData());
    QVERIFY(pump->save().isSaved);
    QVERIFY(!pump->recordedTest(error)); // begins anew
}

TEST_CLASS(OpenInstanceTest)
#include "OpenInstanceTest.moc"
