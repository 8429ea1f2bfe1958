#include "editor/model/Workspace.h"
#include "configscript/ScratchFolder.h"
#include "support/StrictTest.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace ConfigScript;

namespace {

const QString s_pump = QStringLiteral("pump");
const QString s_valve = QStringLiteral("valve");
const QString s_speed = QStringLiteral("speed");
const QString s_pumpFile = QStringLiteral("plant/configuration/pump.json");

const QByteArray s_pumpTree("{ \"properties\": { \"dependencyFileExtern\": \"pump.js\",\n"
                            "  \"scriptFile\": \"dialog.js\", \"speed\": 1200 } }\n");

/// A workspace on a small project: a pump with a dialog, and a valve without one.
class Plant
{
public:
    Plant()
    {
        m_folder.makePlant();
        m_folder.addInstance(s_valve, QStringLiteral("pump.js"));
        m_folder.write(s_pumpFile, s_pumpTree);
        m_folder.write(QStringLiteral("plant/scripts/dialog.js"),
                       "function onOpen() {}\n"
                       "function onValueChange(api) { api.setProperty('', 'note', 'seen'); }\n"
                       "function onOk(api) { return api.getProperty('', 'speed') < 9000; }\n");
        Diagnostic error;
        m_workspace = std::make_unique<Workspace>(
            *Project::open(m_folder.path(QStringLiteral("plant")), error), DialogReach::Instance);
    }

    const ScratchFolder &folder() const { return m_folder; }
    Workspace *operator->() { return m_workspace.get(); }
    Workspace &operator*() { return *m_workspace; }

    bool settle()
    {
        return QTest::qWaitFor([this] { return !m_workspace->isBusy(); });
    }

    /// Opens the pump, and sets its speed.
    bool edit(int speed)
    {
        m_workspace->open(s_pump);
        if (!settle() || !m_workspace->current()) {
            return false;
        }
        m_workspace->current()->edit(0, s_speed, speed);
        return settle();
    }

private:
    ScratchFolder m_folder;
    std::unique_ptr<Workspace> m_workspace;
};

} // namespace

/// Documents and worker together, without a window.
class WorkspaceTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void listsTheInstancesOfTheProject();
    void opensAnInstance();
    void leavesASavedInstanceAndKeepsAnUnsavedOne();
    void showsTheAnswerToAnEdit();
    void undoesInTheWorkersTree();
    void savesAndProposesTheDependencies();
    void doesNotProposeWhenTheScriptRefuses();
    void writesWhatWasProposed();
    void previewsTheUnsavedTree();
    void reloadsKeepingChangesOrNot();
    void opensDialogsAnewWithAnotherReach();
    void readsAFileThatChanged();
    void offersToReloadAFileThatChangedUnderUnsavedWork();
    void tellsWhatIsWrongInItsMessages();
    void recordsATest();
    void noticesThatARecordedTestFails();
    void survivesItsEndWhileItIsBusy();
};

void WorkspaceTest::listsTheInstancesOfTheProject()
{
    Plant plant;
    const QAbstractItemModelTester tester(&plant->instances(),
                                          QAbstractItemModelTester::FailureReportingMode::QtTest);
    int reports = 0;
    connect(&*plant, &Workspace::projectRead, this, [&reports] { ++reports; });
    plant->readProject();
    QVERIFY(plant->isBusy());
    QVERIFY(plant.settle());
    QCOMPARE(reports, 1);
    QCOMPARE(plant->instances().rowCount(), 2);
    QVERIFY(plant->instances().indexOf(s_valve).isValid());
    QVERIFY(!plant->current());
}

void WorkspaceTest::opensAnInstance()
{
    Plant plant;
    const QSignalSpy current(&*plant, &Workspace::currentChanged);
    plant->open(s_pump);
    QCOMPARE(current.size(), 1);
    QVERIFY(plant.settle());
    QCOMPARE(plant->current()->instance(), s_pump);
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1200));
    QCOMPARE(plant->events().rowCount(), 1);
    plant->open(s_pump); // is open
    QVERIFY(!plant->isBusy());
    QCOMPARE(current.size(), 1);
}

void WorkspaceTest::leavesASavedInstanceAndKeepsAnUnsavedOne()
{
    Plant plant;
    plant->readProject();
    QVERIFY(plant.edit(1300));
    QCOMPARE(plant->unsavedInstances(), QStringList{s_pump});
    const QModelIndex badge =
        plant->instances().indexOf(s_pump).siblingAtColumn(InstanceModel::UnsavedColumn);
    QCOMPARE(badge.data(Qt::ToolTipRole).toString(), QStringLiteral("2 unsaved values"));
    plant->open(s_valve);
    QVERIFY(plant.settle());
    QVERIFY(plant->document(s_pump));
    plant->open(s_pump);
    QVERIFY(!plant->document(s_valve));
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1300));
    QVERIFY(plant.settle());
}

void WorkspaceTest::showsTheAnswerToAnEdit()
{
    Plant plant;
    QVERIFY(plant.edit(1300));
    QCOMPARE(plant->current()->snapshot().node(0).value(QStringLiteral("note")),
             QVariant(QStringLiteral("seen")));
    QCOMPARE(plant->events().rowCount(), 2);
    QVERIFY(plant->undoGroup().canUndo());
}

void WorkspaceTest::undoesInTheWorkersTree()
{
    Plant plant;
    QVERIFY(plant.edit(1300));
    plant->undoGroup().undo();
    QVERIFY(plant.settle());
    plant->reload(s_pump, true);
    QVERIFY(plant.settle());
    QVERIFY(!plant->current()->isUnsaved());
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1200));
}

void WorkspaceTest::savesAndProposesTheDependencies()
{
    Plant plant;
    QVector<DependencyReport> reports;
    connect(&*plant, &Workspace::dependenciesRun, this,
            [&reports](const DependencyReport &report) { reports.append(report); });
    const QSignalSpy ended(&*plant, &Workspace::saveEnded);
    QVERIFY(plant.edit(1300));
    plant->save(s_pump);
    QVERIFY(plant.settle());
    QCOMPARE(ended.size(), 1);
    QCOMPARE(ended.at(0), (QVariantList{s_pump, true}));
    QVERIFY(!plant->current()->isUnsaved());
    QVERIFY(plant.folder().files().value(s_pumpFile).contains("1300"));
    QCOMPARE(reports.size(), 1);
    QCOMPARE(reports.at(0).kind, DependencyReport::Kind::Proposal);
    QCOMPARE(reports.at(0).record.trees.size(), 1);
}

void WorkspaceTest::doesNotProposeWhenTheScriptRefuses()
{
    Plant plant;
    int reports = 0;
    connect(&*plant, &Workspace::dependenciesRun, this, [&reports] { ++reports; });
    QVERIFY(plant.edit(9500));
    const QSignalSpy ended(&*plant, &Workspace::saveEnded);
    plant->save(s_pump);
    QVERIFY(plant.settle());
    QCOMPARE(ended.at(0), (QVariantList{s_pump, false}));
    QCOMPARE(plant->current()->notice(), QStringLiteral("Not saved: onOk returned false."));
    QCOMPARE(reports, 0);
    QCOMPARE(plant.folder().files().value(s_pumpFile), s_pumpTree);
}

void WorkspaceTest::writesWhatWasProposed()
{
    Plant plant;
    plant->open(s_pump);
    QVERIFY(plant.settle());
    DependencyReport last;
    connect(&*plant, &Workspace::dependenciesRun, this,
            [&last](const DependencyReport &report) { last = report; });
    plant->proposeDependencies(s_pump);
    QVERIFY(plant.settle());
    plant->writeDependencies(last);
    QVERIFY(plant.settle());
    QCOMPARE(last.kind, DependencyReport::Kind::Written);
    QCOMPARE(last.error, QString());
    QVERIFY(plant.folder().files().value(s_pumpFile).contains("1500"));
    // The open instance is read again.
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1500));
}

void WorkspaceTest::previewsTheUnsavedTree()
{
    Plant plant;
    QVERIFY(plant.edit(1300));
    DependencyReport preview;
    connect(&*plant, &Workspace::dependenciesRun, this,
            [&preview](const DependencyReport &report) { preview = report; });
    plant->previewDependencies(s_pump);
    QVERIFY(plant.settle());
    QCOMPARE(preview.kind, DependencyReport::Kind::Preview);
    const PropertyChange change = preview.record.trees.constFirst().changes.constFirst();
    QCOMPARE(change.oldValue, QVariant(1300));
    QCOMPARE(change.newValue, QVariant(1500));
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1300));
}

void WorkspaceTest::reloadsKeepingChangesOrNot()
{
    Plant plant;
    QVERIFY(plant.edit(1300));
    plant->reload(s_pump, true);
    QVERIFY(plant.settle());
    QCOMPARE(plant->current()->unsavedProperties(), 2);
    plant->reload(s_pump, false);
    QVERIFY(plant.settle());
    QVERIFY(!plant->current()->isUnsaved());
}

void WorkspaceTest::opensDialogsAnewWithAnotherReach()
{
    Plant plant;
    plant.folder().write(
        QStringLiteral("plant/scripts/dialog.js"),
        "function onOpen(api) {\n"
        "  const valve = 'config://pumps/plant/valve';\n"
        "  api.setProperty('', 'reaches', api.getPropertyExtern(valve, 'speed') > 0);\n"
        "}\n"
        "function onValueChange() {}\n");
    const auto reaches = [&plant] {
        return plant->current()->snapshot().node(0).value(QStringLiteral("reaches"));
    };
    QVERIFY(plant.edit(1300));
    QCOMPARE(reaches(), QVariant(false));
    plant->setReach(DialogReach::Project);
    QVERIFY(plant.settle());
    QCOMPARE(reaches(), QVariant(true));
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1300));
    plant->open(s_valve);
    QVERIFY(plant.settle());
    plant->reload(s_pump, false); // still there, because it is unsaved
    plant->setReach(DialogReach::Instance);
    plant->open(s_pump);
    QVERIFY(plant.settle());
    QCOMPARE(reaches(), QVariant(false));
}

void WorkspaceTest::readsAFileThatChanged()
{
    Plant plant;
    plant->open(s_pump);
    QVERIFY(plant.settle());
    QByteArray changed = s_pumpTree;
    plant.folder().write(s_pumpFile, changed.replace("1200", "1250"));
    QTRY_COMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1250));
}

void WorkspaceTest::offersToReloadAFileThatChangedUnderUnsavedWork()
{
    Plant plant;
    QVERIFY(plant.edit(1300));
    QByteArray changed = s_pumpTree;
    plant.folder().write(s_pumpFile, changed.replace("1200", "1250"));
    QTRY_COMPARE(plant->current()->notice(), QStringLiteral("The file has changed on the disk."));
    QVERIFY(plant->current()->offersReload());
    QCOMPARE(plant->current()->snapshot().node(0).value(s_speed), QVariant(1300));
}

void WorkspaceTest::tellsWhatIsWrongInItsMessages()
{
    Plant plant;
    plant.folder().write(QStringLiteral("plant/configuration/manifest.json"), "[1.]\n");
    plant.folder().remove(QStringLiteral("plant/scripts/dialog.js"));
    plant->readProject();
    plant->open(s_pump);
    QVERIFY(plant.settle());
    plant->proposeDependencies(s_pump);
    QVERIFY(plant.settle());
    QStringList texts;
    for (int row = 0; row < plant->messages().rowCount(); ++row) {
        texts.append(plant->messages().item(row, MessagesModel::PlaceColumn)->text()
                     + QStringLiteral("| ")
                     + plant->messages().item(row, MessagesModel::TextColumn)->text());
    }
    QCOMPARE(texts.size(), 3);
    QVERIFY(texts.at(0).startsWith(QStringLiteral("manifest| configuration/manifest.json:1:4: ")));
    QCOMPARE(texts.at(1), QStringLiteral("pump| scripts/dialog.js: no such file"));
    QVERIFY(texts.at(2).startsWith(QStringLiteral("pump| configuration/manifest.json:1:4: ")));
}

void WorkspaceTest::recordsATest()
{
    Plant plant;
    QVERIFY(plant.edit(1300));
    RecordingReport recorded;
    connect(&*plant, &Workspace::testRecorded, this,
            [&recorded](const RecordingReport &report) { recorded = report; });
    const QString file = plant.folder().path(QStringLiteral("plant/tests/pump.test.json"));
    plant->recordTest(s_pump, file);
    QVERIFY(plant.settle());
    QCOMPARE(recorded.file, QStringLiteral("tests/pump.test.json"));
    QCOMPARE(recorded.error, QString());
    QCOMPARE(recorded.difference, QString());
    plant->recordTest(s_pump, file);
    QVERIFY(plant.settle());
    QCOMPARE(
        plant->current()->notice(),
        QStringLiteral("No test is recorded: tests/pump.test.json: exists already, and is left "
                       "as it is"));
}

void WorkspaceTest::noticesThatARecordedTestFails()
{
    Plant plant;
    plant.folder().write(QStringLiteral("plant/scripts/dialog.js"),
                         "let calls = 0;\n"
                         "function onOpen() {}\n"
                         "function onValueChange(api) { api.setProperty('', 'calls', ++calls); }\n"
                         "function onOk() {}\n");
    QVERIFY(plant.edit(1300));
    plant->save(s_pump);
    QVERIFY(plant.settle());
    QVERIFY(plant.edit(1400));
    plant->recordTest(s_pump, plant.folder().path(QStringLiteral("plant/tests/pump.test.json")));
    QVERIFY(plant.settle());
    QVERIFY2(plant->current()->notice().startsWith(QStringLiteral(
                 "Recorded tests/pump.test.json, but it fails when replayed: step 1, ")),
             qPrintable(plant->current()->notice()));
}

void WorkspaceTest::survivesItsEndWhileItIsBusy()
{
    Plant plant;
    plant->readProject();
    plant->open(s_pump);
    plant->open(s_valve); // the pump's answer has nowhere to go
    QVERIFY(plant->isBusy());
}

TEST_CLASS(WorkspaceTest)
#include "WorkspaceTest.moc"
