#include "runner/record/RunRecorder.h"
#include "configscript/ScratchFolder.h"
#include "filehost/Project.h"
#include "runner/NoGuard.h"
#include "support/StrictTest.h"

#include <QTest>

/// Tells a recorder what the library would tell it.
class RunRecorderTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();
    void tellsAnExceptionOnce_data();
    void tellsAnExceptionOnce();
    void keepsWhatTheHandlerSaysWithoutAnException();
    void keepsNestedRunsApart();

private:
    void say(const char *function, const char *text);

    std::unique_ptr<ScratchFolder> m_folder;
    std::optional<Project> m_project;
    NoGuard m_guard;
    std::optional<RunRecorder> m_recorder;
};

void RunRecorderTest::init()
{
    StrictTest::init();
    m_folder = std::make_unique<ScratchFolder>();
    m_folder->makePlant();
    Diagnostic error;
    m_project = Project::open(m_folder->path(QStringLiteral("plant")), error);
    m_recorder.emplace(*m_project, RunRecorder::Recording::Outcome, m_guard, [](bool) {});
}

void RunRecorderTest::cleanup()
{
    m_recorder.reset();
    StrictTest::cleanup();
}

void RunRecorderTest::say(const char *function, const char *text)
{
    m_recorder->message(QString::fromLatin1(function), QString::fromLatin1(text));
}

void RunRecorderTest::tellsAnExceptionOnce_data()
{
    QTest::addColumn<bool>("isToldFirst"); ///< before the library's first warning of it

    QTest::newRow("before the warnings") << true;
    QTest::newRow("between the warnings") << false;
}

void RunRecorderTest::tellsAnExceptionOnce()
{
    QFETCH(const bool, isToldFirst);
    m_recorder->runBegins(QStringLiteral("onOk"), QString());
    say("getProperty", "Root is null.");
    if (isToldFirst) {
        m_recorder->exceptionThrown(3, QStringLiteral("Error: x"));
    }
    say("callFunction", "Error on calling function \"onOk\" \"\"");
    if (!isToldFirst) {
        m_recorder->exceptionThrown(3, QStringLiteral("Error: x"));
    }
    say("callFunction", "Uncaught exception at line 3 : \"Error: x\"");
    m_recorder->runEnded(false, {});
    const QVector<ScriptRun> runs = m_recorder->takeRecord().runs;
    QCOMPARE(runs.size(), 1);
    QCOMPARE(runs.constFirst().exceptions.size(), 1);
    QCOMPARE(runs.constFirst().warnings, QStringList{QStringLiteral("Root is null.")});
}

void RunRecorderTest::keepsWhatTheHandlerSaysWithoutAnException()
{
    m_recorder->runBegins(QStringLiteral("onOk"), QString());
    say("callFunction", "Property is no function: \"onOk\"");
    m_recorder->runEnded(false, {});
    m_recorder->runBegins(QStringLiteral("onOpen"), QString());
    m_recorder->runEnded(true, {});
    const QVector<ScriptRun> runs = m_recorder->takeRecord().runs;
    QCOMPARE(runs.at(0).warnings, QStringList{QStringLiteral("Property is no function: \"onOk\"")});
    QCOMPARE(runs.at(1).warnings, QStringList());
}

void RunRecorderTest::keepsNestedRunsApart()
{
    m_recorder->runBegins(QStringLiteral("onOpen"), QString());
    say("getProperty", "first");
    m_recorder->runBegins(QStringLiteral("onValueChange"), QStringLiteral("motor"));
    m_recorder->exceptionThrown(1, QStringLiteral("Error: inside"));
    m_recorder->runEnded(false, {});
    say("getProperty", "second");
    m_recorder->runEnded(true, {});
    const QVector<ScriptRun> runs = m_recorder->takeRecord().runs;
    QCOMPARE(runs.size(), 2);
    QCOMPARE(runs.at(0).function, QStringLiteral("onValueChange"));
    QCOMPARE(runs.at(0).exceptions.size(), 1);
    QVERIFY(!runs.at(0).succeeded);
    QCOMPARE(runs.at(1).function, QStringLiteral("onOpen"));
    QCOMPARE(runs.at(1).warnings, (QStringList{QStringLiteral("first"), QStringLiteral("second")}));
    QVERIFY(runs.at(1).exceptions.isEmpty());
    QVERIFY(runs.at(1).succeeded);
}

QTEST_GUILESS_MAIN(RunRecorderTest)
#include "RunRecorderTest.moc"
