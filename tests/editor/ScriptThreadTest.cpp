#include "editor/model/ScriptThread.h"
#include "configscript/ScratchFolder.h"
#include "filehost/Project.h"
#include "support/StrictTest.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <cstdlib>
#include <memory>
#include <optional>
#include <thread>

using namespace ConfigScript;

namespace {

const QString s_pump = QStringLiteral("pump");

/// Makes the plant's pump a dialog with that script.
void writeDialog(const ScratchFolder &folder, const QByteArray &script)
{
    folder.makePlant();
    folder.write(QStringLiteral("plant/scripts/dialog.js"), script);
    folder.write(QStringLiteral("plant/configuration/pump.json"),
                 "{ \"properties\": { \"scriptFile\": \"dialog.js\", \"speed\": 1200 } }\n");
}

std::optional<Project> openPlant(const QString &folder)
{
    Diagnostic error;
    return Project::open(folder, error);
}

/// Names the project in the process of its own that ends with a script.
const char s_endlessProject[] = "SCRIPT_THREAD_TEST_ENDLESS_PROJECT";

/// Destroys a thread whose script does not stop.
void leaveAnEndlessScript(const QString &folder)
{
    ScriptThread scripts(*openPlant(folder), DialogReach::Instance);
    scripts.run([](ScriptWorker &worker) { worker.instance(s_pump).open(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
}

} // namespace

/// The window's side of the scripts' thread.
class ScriptThreadTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void handsTheResultToTheReceiversThread();
    void runsTasksOneAfterTheOther();
    void dropsTheResultOfAReceiverThatIsGone();
    void tellsWhenItIsBusyAndSlow();
    void stopsTheScriptAtWork();
    void doesWhatIsToBeDoneBeforeItEnds();
    void stopsScriptsBeforeItEnds();
    void endsTheProgramWhenAScriptDoesNotStop();
};

void ScriptThreadTest::initTestCase()
{
    if (qEnvironmentVariableIsSet(s_endlessProject)) {
        leaveAnEndlessScript(qEnvironmentVariable(s_endlessProject));
        std::exit(0); // the script has stopped after all
    }
}

void ScriptThreadTest::handsTheResultToTheReceiversThread()
{
    ScratchFolder folder;
    folder.makePlant();
    ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))), DialogReach::Instance);
    QObject receiver;
    QThread *taskThread = nullptr;
    QThread *thenThread = nullptr;
    QStringList instances;
    scripts.run(
        [&taskThread](ScriptWorker &worker) {
            taskThread = QThread::currentThread();
            return worker.readProject();
        },
        &receiver,
        [&](const ProjectReport &report) {
            thenThread = QThread::currentThread();
            instances = report.instances;
        });
    QTRY_VERIFY(!scripts.isBusy());
    QCOMPARE(instances, QStringList{s_pump});
    QCOMPARE(thenThread, QThread::currentThread());
    QVERIFY(taskThread);
    QVERIFY(taskThread != thenThread);
}

void ScriptThreadTest::runsTasksOneAfterTheOther()
{
    ScratchFolder folder;
    folder.makePlant();
    ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))), DialogReach::Instance);
    QObject receiver;
    QStringList order;
    scripts.run([](ScriptWorker &) { return QStringLiteral("first"); }, &receiver,
                [&](const QString &name) {
                    order.append(name);
                    QVERIFY(scripts.isBusy());
                    scripts.run([](ScriptWorker &) { return QStringLiteral("third"); }, &receiver,
                                [&](const QString &third) { order.append(third); });
                });
    scripts.run([](ScriptWorker &) { return QStringLiteral("second"); }, &receiver,
                [&](const QString &name) { order.append(name); });
    QTRY_VERIFY(!scripts.isBusy());
    QCOMPARE(
        order,
        (QStringList{QStringLiteral("first"), QStringLiteral("second"), QStringLiteral("third")}));
}

void ScriptThreadTest::dropsTheResultOfAReceiverThatIsGone()
{
    ScratchFolder folder;
    folder.makePlant();
    ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))), DialogReach::Instance);
    auto receiver = std::make_unique<QObject>();
    std::atomic_bool hasRun{false};
    bool hasAnswered = false;
    scripts.run(
        [&hasRun](ScriptWorker &) {
            hasRun = true;
            return 1;
        },
        receiver.get(), [&hasAnswered](int) { hasAnswered = true; });
    receiver.reset();
    QTRY_VERIFY(!scripts.isBusy());
    QVERIFY(hasRun);
    QVERIFY(!hasAnswered);
}

void ScriptThreadTest::tellsWhenItIsBusyAndSlow()
{
    ScratchFolder folder;
    folder.makePlant();
    ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))), DialogReach::Instance);
    const QSignalSpy busy(&scripts, &ScriptThread::busyChanged);
    const QSignalSpy slow(&scripts, &ScriptThread::becameSlow);
    std::atomic_bool isReleased{false};
    scripts.run([&isReleased](ScriptWorker &) {
        while (!isReleased) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    });
    QCOMPARE(busy.size(), 1);
    QCOMPARE(busy.at(0).at(0), QVariant(true));
    QCOMPARE(slow.size(), 0);
    QTRY_COMPARE(slow.size(), 1);
    QVERIFY(scripts.isBusy());
    isReleased = true;
    QTRY_COMPARE(busy.size(), 2);
    QCOMPARE(busy.at(1).at(0), QVariant(false));
    QVERIFY(!scripts.isBusy());
}

void ScriptThreadTest::stopsTheScriptAtWork()
{
    ScratchFolder folder;
    writeDialog(folder, "function onOpen() { while (true) {} }\n");
    ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))), DialogReach::Instance);
    QObject receiver;
    InstanceReport report;
    scripts.run([](ScriptWorker &worker) { return worker.instance(s_pump).open(); }, &receiver,
                [&report](const InstanceReport &opened) { report = opened; });
    const QSignalSpy slow(&scripts, &ScriptThread::becameSlow);
    QTRY_COMPARE(slow.size(), 1);
    scripts.stop();
    QTRY_VERIFY(!scripts.isBusy());
    QVERIFY(!report.onOpen.run.succeeded);
    QCOMPARE(report.onOpen.run.exceptions.size(), 1);
    QCOMPARE(report.onOpen.run.exceptions.constFirst().text,
             QStringLiteral("onOpen was stopped by the user"));
}

void ScriptThreadTest::doesWhatIsToBeDoneBeforeItEnds()
{
    ScratchFolder folder;
    writeDialog(folder, "function onOpen() { while (true) {} }\n");
    const QString file = folder.path(QStringLiteral("written"));
    {
        ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))),
                             DialogReach::Instance);
        scripts.run([](ScriptWorker &worker) { worker.instance(s_pump).open(); });
        scripts.run([file](ScriptWorker &) { QFile(file).open(QIODevice::WriteOnly); });
    }
    QVERIFY(QFile::exists(file));
}

void ScriptThreadTest::stopsScriptsBeforeItEnds()
{
    ScratchFolder folder;
    writeDialog(folder, "function onOpen() { while (true) {} }\n");
    QElapsedTimer time;
    {
        ScriptThread scripts(*openPlant(folder.path(QStringLiteral("plant"))),
                             DialogReach::Instance);
        scripts.run([](ScriptWorker &worker) { worker.instance(s_pump).open(); });
        QTest::qWait(100);
        time.start();
    }
    QVERIFY(time.elapsed() < std::chrono::milliseconds(ScriptThread::mercy).count());
}

void ScriptThreadTest::endsTheProgramWhenAScriptDoesNotStop()
{
    ScratchFolder folder;
    // One long search, which the engine cannot interrupt.
    writeDialog(folder,
                "function onOpen() {\n"
                "  'a'.repeat(4000000).indexOf('b' + 'a'.repeat(2000000));\n"
                "}\n");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QLatin1String(s_endlessProject), folder.path(QStringLiteral("plant")));
    QProcess program;
    program.setProcessEnvironment(environment);
    program.start(QCoreApplication::applicationFilePath(), QCoreApplication::arguments().mid(1));
    QVERIFY(program.waitForFinished(60'000));
    const QString output = QString::fromUtf8(program.readAllStandardError());
    QVERIFY2(output.endsWith(QStringLiteral(
                 "configscript-editor: onOpen does not stop, and so the program ends with it; no "
                 "file has changed since it began\n")),
             qPrintable(output));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 1);
}

TEST_CLASS(ScriptThreadTest)
#include "ScriptThreadTest.moc"
