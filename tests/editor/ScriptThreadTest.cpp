#include "editor/model/ScriptThread.h"
#include "configscript/ScratchFolder.h"
#include "filehost/Project.h"
#include "support/StrictTest.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>

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

/// What the program does in a process of its own: it destroys a thread whose script does not stop.
int leaveAnEndlessScript(const QString &folder)
{
    const auto project = openPlant(folder);
    ScriptThread scripts(*project, DialogReach::Instance);
    QObject receiver;
    scripts.run([](ScriptWorker &worker) { return worker.instance(s_pump).open(); }, &receiver,
                [](const InstanceReport &) {});
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    return 0;
}

} // namespace

/// The window's side of the scripts' thread.
class ScriptThreadTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void handsTheResultToTheReceiversThread();
    void runsTasksOneAfterTheOther();
    void dropsTheResultOfAReceiverThatIsGone();
    void tellsWhenItIsBusyAndSlow();
    void stopsTheScriptAtWork();
    void doesWhatIsToBeDoneBeforeItEnds();
    void stopsScriptsBeforeItEnds();
    void endsTheProgramWhenAScriptDoesNotStop();
};

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
    QProcess program;
    program.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--leave-endless-script"), folder.path(QStringLiteral("plant"))});
    QVERIFY(program.waitForFinished(60'000));
    QCOMPARE(QString::fromUtf8(program.readAllStandardError()),
             QStringLiteral("configscript-editor: onOpen does not stop, and so the program ends "
                            "with it; no file has changed since it began\n"));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 1);
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == QLatin1String("--leave-endless-script")) {
        return leaveAnEndlessScript(arguments.value(2));
    }
    ScriptThreadTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "ScriptThreadTest.moc"
