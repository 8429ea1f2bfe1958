#include "editor/worker/ScriptWorker.h"
#include "configscript/ScratchFolder.h"
#include "editor/worker/ScriptStopper.h"
#include "support/StrictTest.h"

#include <QFile>
#include <QTest>

#include <memory>
#include <optional>

using namespace ConfigScript;

namespace {

const QString s_pump = QStringLiteral("pump");
const QString s_speed = QStringLiteral("speed");
const QString s_manifest = QStringLiteral("plant/configuration/manifest.json");
const QString s_pumpFile = QStringLiteral("plant/configuration/pump.json");

/// The worker of a small project, on the test's own thread.
class Plant
{
public:
    Plant()
    {
        m_folder.makePlant();
        Diagnostic error;
        m_project = Project::open(m_folder.path(QStringLiteral("plant")), error);
        m_worker = std::make_unique<ScriptWorker>(*m_project, DialogReach::Instance, m_stopper);
    }

    const ScratchFolder &folder() const { return m_folder; }
    const Project &project() const { return *m_project; }
    ScriptStopper &stopper() { return m_stopper; }
    ScriptWorker *operator->() { return m_worker.get(); }

private:
    ScratchFolder m_folder;
    std::optional<Project> m_project;
    ScriptStopper m_stopper;
    std::unique_ptr<ScriptWorker> m_worker;
};

/// The plant, whose pump has a dialog with that script, open.
void openDialog(Plant &plant, const QByteArray &script)
{
    plant.folder().write(QStringLiteral("plant/scripts/dialog.js"), script);
    plant.folder().write(
        s_pumpFile, "{ \"properties\": { \"scriptFile\": \"dialog.js\", \"speed\": 1200 } }\n");
    plant->instance(s_pump).open();
}

} // namespace

/// What the scripts' thread does, done on the test's own.
class ScriptWorkerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void tellsWhichInstancesThereAre();
    void tellsWhatIsWrongWithTheManifest();
    void readsAnInstanceAgainWhenItsFileHasChanged();
    void leavesAStaleInstanceWithUnsavedChanges();
    void forgetsAnInstanceThatIsClosed();
    void previewsInsideTheUnsavedTree();
    void tellsWhyThereIsNoPreview();
    void proposesWithoutWriting();
    void proposesNothingWithABrokenManifest();
    void writesWhatWasProposed();
    void writesNothingThatIsNoLongerAsProposed_data();
    void writesNothingThatIsNoLongerAsProposed();
    void recordsATestAndReplaysIt();
    void recordsNoTestWithoutAnEvent();
    void leavesATestThatExists();
    void tellsWhyTheReplayFails();
    void stopsTheScriptsOfATask();
    void stopsNothingBetweenTasks();
};

void ScriptWorkerTest::tellsWhichInstancesThereAre()
{
    Plant plant;
    plant.folder().addInstance(QStringLiteral("valve"), QStringLiteral("pump.js"));
    const ProjectReport report = plant->readProject();
    QCOMPARE(report.instances, (QStringList{s_pump, QStringLiteral("valve")}));
    QCOMPARE(report.listed, QSet<QString>{s_pump});
    QCOMPARE(report.manifestError, QString());
}

void ScriptWorkerTest::tellsWhatIsWrongWithTheManifest()
{
    Plant plant;
    plant.folder().write(s_manifest, "[1.]\n");
    QVERIFY(plant->readProject().manifestError.startsWith(
        QStringLiteral("configuration/manifest.json:1:4: ")));
    plant.folder().write(s_manifest, "[ { \"dependencyFileExtern\": [ {} ] } ]\n");
    const ProjectReport report = plant->readProject();
    QVERIFY2(report.manifestError.startsWith(QStringLiteral("configuration/manifest.json:1:")),
             qPrintable(report.manifestError));
    QCOMPARE(report.instances, QStringList{s_pump});
}

void ScriptWorkerTest::readsAnInstanceAgainWhenItsFileHasChanged()
{
    Plant plant;
    plant->instance(s_pump).open();
    QCOMPARE(plant->refresh(s_pump).outcome, RefreshReport::Outcome::Unchanged);
    plant.folder().write(s_pumpFile, "{ \"properties\": { \"speed\": 900 } }\n");
    const RefreshReport report = plant->refresh(s_pump);
    QCOMPARE(report.outcome, RefreshReport::Outcome::ReadAgain);
    QCOMPARE(report.instance.snapshot.node(0).value(s_speed), QVariant(900));
    QCOMPARE(plant->refresh(s_pump).outcome, RefreshReport::Outcome::Unchanged);
}

void ScriptWorkerTest::leavesAStaleInstanceWithUnsavedChanges()
{
    Plant plant;
    plant->instance(s_pump).open();
    plant->instance(s_pump).edit(QString(), s_speed, 1300);
    QCOMPARE(plant->refresh(s_pump).outcome, RefreshReport::Outcome::Unchanged);
    plant.folder().write(s_pumpFile, "{ \"properties\": { \"speed\": 900 } }\n");
    QCOMPARE(plant->refresh(s_pump).outcome, RefreshReport::Outcome::Stale);
    QVERIFY(plant->instance(s_pump).isUnsaved());
}

void ScriptWorkerTest::forgetsAnInstanceThatIsClosed()
{
    Plant plant;
    plant->instance(s_pump).open();
    plant->instance(s_pump).edit(QString(), s_speed, 1300);
    plant->close(s_pump);
    QVERIFY(!plant->instance(s_pump).isUnsaved());
}

void ScriptWorkerTest::previewsInsideTheUnsavedTree()
{
    Plant plant;
    plant.folder().writeScript(QStringLiteral("pump.js"),
                               "function onSave(api, url) {\n"
                               "  api.setPropertyExtern(url, 'double',\n"
                               "                        2 * api.getProperty('', 'speed'));\n"
                               "}\n");
    const Files before = plant.folder().files();
    plant->instance(s_pump).open();
    plant->instance(s_pump).edit(QString(), s_speed, 1300);
    const DependencyReport report = plant->previewDependencies(s_pump);
    QCOMPARE(report.kind, DependencyReport::Kind::Preview);
    QCOMPARE(report.error, QString());
    QCOMPARE(report.selected, QStringList{s_pump});
    QCOMPARE(report.record.trees.size(), 1);
    const PropertyChange change = report.record.trees.constFirst().changes.constFirst();
    QCOMPARE(change.key, QStringLiteral("double"));
    QCOMPARE(change.newValue, QVariant(2600));
    QCOMPARE(plant.folder().files(), before);
    // The scripts worked on a copy.
    QCOMPARE(plant->instance(s_pump).open().snapshot.changedProperties(), 1);
}

void ScriptWorkerTest::tellsWhyThereIsNoPreview()
{
    Plant plant;
    DependencyReport report = plant->previewDependencies(s_pump); // not open
    QCOMPARE(report.error, QStringLiteral("the instance cannot be used"));
    plant->instance(s_pump).open();
    plant.folder().write(s_manifest, "[1.]\n");
    report = plant->previewDependencies(s_pump);
    QCOMPARE(report.kind, DependencyReport::Kind::Preview);
    QVERIFY2(report.error.startsWith(QStringLiteral("configuration/manifest.json:1:4: ")),
             qPrintable(report.error));
}

void ScriptWorkerTest::proposesWithoutWriting()
{
    Plant plant;
    const Files before = plant.folder().files();
    const DependencyReport report = plant->proposeDependencies(s_pump);
    QCOMPARE(report.kind, DependencyReport::Kind::Proposal);
    QCOMPARE(report.selected, QStringList{s_pump});
    QCOMPARE(report.record.runs.size(), 1);
    QCOMPARE(report.record.trees.size(), 1);
    QVERIFY(!report.isQuiet());
    QCOMPARE(plant.folder().files(), before);
    QVERIFY(plant->proposeDependencies(QStringLiteral("valve")).selected.isEmpty());
}

void ScriptWorkerTest::proposesNothingWithABrokenManifest()
{
    Plant plant;
    plant.folder().write(s_manifest, "[1.]\n");
    const DependencyReport report = plant->proposeDependencies(s_pump);
    QVERIFY2(report.error.startsWith(QStringLiteral("configuration/manifest.json:1:4: ")),
             qPrintable(report.error));
    QVERIFY(report.record.runs.isEmpty());
}

void ScriptWorkerTest::writesWhatWasProposed()
{
    Plant plant;
    Files expected = plant.folder().files();
    expected[s_pumpFile].replace("1200", "1500");
    const DependencyReport report = plant->writeDependencies(plant->proposeDependencies(s_pump));
    QCOMPARE(report.kind, DependencyReport::Kind::Written);
    QCOMPARE(report.error, QString());
    QCOMPARE(plant.folder().files().value(s_pumpFile), expected.value(s_pumpFile));
    QVERIFY(plant->proposeDependencies(s_pump).isQuiet());
}

void ScriptWorkerTest::writesNothingThatIsNoLongerAsProposed_data()
{
    QTest::addColumn<QByteArray>("content"); // null removes the file
    QTest::addColumn<QString>("error");
    QTest::newRow("another value") << QByteArray("{ \"properties\": { \"speed\": 900 } }\n")
                                   << QStringLiteral("configuration/pump.json: \":speed\" has "
                                                     "changed since; resolve again");
    QTest::newRow("no value") << QByteArray("{}\n")
                              << QStringLiteral("configuration/pump.json: \":speed\" has changed "
                                                "since; resolve again");
    QTest::newRow("no file") << QByteArray()
                             << QStringLiteral("configuration/pump.json: no such file");
    QTest::newRow("no tree") << QByteArray("[]\n")
                             << QStringLiteral("configuration/pump.json:1:1: ");
}

void ScriptWorkerTest::writesNothingThatIsNoLongerAsProposed()
{
    QFETCH(const QByteArray, content);
    QFETCH(const QString, error);
    Plant plant;
    const DependencyReport proposal = plant->proposeDependencies(s_pump);
    if (content.isNull()) {
        plant.folder().remove(s_pumpFile);
    } else {
        plant.folder().write(s_pumpFile, content);
    }
    const DependencyReport report = plant->writeDependencies(proposal);
    QVERIFY2(report.error.startsWith(error), qPrintable(report.error));
    QCOMPARE(plant.folder().files().value(s_pumpFile), content);
}

void ScriptWorkerTest::recordsATestAndReplaysIt()
{
    Plant plant;
    openDialog(plant, "function onOpen(api) { api.setProperty('', 'speed', 5); }\n");
    const QString file = plant.folder().path(QStringLiteral("plant/tests/a.test.json"));
    const RecordingReport report = plant->recordTest(s_pump, file);
    QCOMPARE(report.instance, s_pump);
    QCOMPARE(report.file, QStringLiteral("tests/a.test.json"));
    QCOMPARE(report.error, QString());
    QCOMPARE(report.difference, QString());
    QVERIFY(QFile::exists(file));
}

void ScriptWorkerTest::recordsNoTestWithoutAnEvent()
{
    Plant plant;
    plant->instance(s_pump).open(); // which names no script
    const QString file = plant.folder().path(QStringLiteral("plant/tests/a.test.json"));
    const RecordingReport report = plant->recordTest(s_pump, file);
    QCOMPARE(report.error, QStringLiteral("there was no event yet"));
    QVERIFY(!QFile::exists(file));
}

void ScriptWorkerTest::leavesATestThatExists()
{
    Plant plant;
    openDialog(plant, "function onOpen() {}\n");
    const QString file = QStringLiteral("plant/tests/a.test.json");
    plant.folder().write(file, "mine");
    QCOMPARE(plant->recordTest(s_pump, plant.folder().path(file)).error,
             QStringLiteral("tests/a.test.json: exists already, and is left as it is"));
    QCOMPARE(plant.folder().files().value(file), QByteArray("mine"));
}

void ScriptWorkerTest::tellsWhyTheReplayFails()
{
    Plant plant;
    openDialog(plant,
               "let calls = 0;\n"
               "function onOpen() {}\n"
               "function onValueChange(api) { api.setProperty('', 'calls', ++calls); }\n"
               "function onOk() { return false; }\n");
    // The file changes behind the session, which goes on with what it has read.
    plant.folder().write(QStringLiteral("plant/scripts/dialog.js"),
                         "function onOpen(api) { api.setProperty('', 'speed', 5); }\n");
    const QString file = plant.folder().path(QStringLiteral("plant/tests/a.test.json"));
    const RecordingReport report = plant->recordTest(s_pump, file);
    QCOMPARE(report.error, QString());
    QVERIFY2(report.difference.startsWith(QStringLiteral("step 1, onOpen\n")),
             qPrintable(report.difference));
    QVERIFY(QFile::exists(file));
}

void ScriptWorkerTest::stopsTheScriptsOfATask()
{
    ScriptStopper stopper;
    int interruptions = 0;
    const auto interrupt = [&interruptions](bool isInterrupted) {
        interruptions += isInterrupted ? 1 : -1;
    };
    const QString onOpen = QStringLiteral("onOpen");
    stopper.beginTask();
    QVERIFY(!stopper.running());
    stopper.begin({s_pump, QStringLiteral("a.js"), onOpen}, interrupt);
    QCOMPARE(*stopper.running(), onOpen);
    QVERIFY(!stopper.hasInterrupted());
    stopper.stop();
    QCOMPARE(interruptions, 1);
    QVERIFY(stopper.hasInterrupted());
    QCOMPARE(stopper.end(), QStringLiteral("onOpen was stopped by the user"));
    QCOMPARE(interruptions, 0); // the engine may go on
    QVERIFY(!stopper.running());

    stopper.begin({s_pump, QStringLiteral("b.js"), QString()}, interrupt); // the same task
    QCOMPARE(interruptions, 1);
    QCOMPARE(stopper.end(), QStringLiteral("the script was stopped by the user"));
    stopper.endTask();

    stopper.beginTask();
    stopper.begin({s_pump, QStringLiteral("c.js"), onOpen}, interrupt);
    QCOMPARE(interruptions, 0);
    QCOMPARE(stopper.end(), QString());
    stopper.endTask();
}

void ScriptWorkerTest::stopsNothingBetweenTasks()
{
    ScriptStopper stopper;
    stopper.stop();
    stopper.beginTask();
    bool isInterrupted = false;
    stopper.begin({}, [&isInterrupted](bool on) { isInterrupted = on; });
    QVERIFY(!isInterrupted);
    QCOMPARE(stopper.end(), QString());
}

TEST_CLASS(ScriptWorkerTest)
#include "ScriptWorkerTest.moc"
