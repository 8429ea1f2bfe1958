#include "HandlerFixture.h"
#include "HookedNode.h"
#include "support/StrictTest.h"

#include <QTest>

#include <atomic>
#include <chrono>
#include <thread>

/// Interruptions at any moment of a call: one that says it succeeded has done all that it should.
class JavaScriptInterruptionRaceTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void aCallThatLostAWriteNeverSucceeds_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<bool>("isReleasedSoon");
        for (const bool isReleasedSoon : {false, true}) {
            const char *const release = isReleasedSoon ? "soon" : "behind the call";
            QTest::addRow("number, released %s", release) << "i" << isReleasedSoon;
            QTest::addRow("object, released %s", release) << "{ at: [i] }" << isReleasedSoon;
        }
    }

    void aCallThatLostAWriteNeverSucceeds()
    {
        QFETCH(QString, value);
        QFETCH(bool, isReleasedSoon);
        constexpr int writeCount = 200;
        constexpr int callCount = 1500;
        HandlerFixture fixture;
        const auto root = fixture.makeNode(QStringLiteral("root"));
        const auto motor = QSharedPointer<HookedNode>::create(fixture.calls, QString());
        root->nodes.insert(QString(), motor);
        // Written out: the engine looks for interruptions in loops, and would stop the script
        // there.
        QString script =
            QStringLiteral("function onOpen(api) { try { api.getProperty('', 'go');\n");
        for (int i = 0; i < writeCount; ++i) {
            script += QStringLiteral("var i = %1; api.setError('', '', %2);\n").arg(i).arg(value);
        }
        script += QStringLiteral("} catch (error) {} }");
        fixture.handler.initializeHandler(root, script, QString());

        // Busy, or, for machines whose processors are all in use, asleep.
        const auto wait = [](int microseconds) {
            if (microseconds % 2 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(microseconds));
                return;
            }
            const auto end =
                std::chrono::steady_clock::now() + std::chrono::microseconds(microseconds);
            while (std::chrono::steady_clock::now() < end) { }
        };
        std::atomic<int> round{0};
        std::atomic<int> roundBegun{0};
        std::atomic<int> roundEnded{0};
        std::thread interrupting([&] {
            for (int i = 1; i <= callCount; ++i) {
                while (round.load() < i) {
                    std::this_thread::yield();
                }
                roundBegun.store(i);
                wait((i * 37) % 101);
                fixture.handler.setInterrupted(true);
                if (isReleasedSoon) {
                    wait((i * 53) % 61);
                    fixture.handler.setInterrupted(false);
                }
                roundEnded.store(i);
            }
        });
        const auto waitFor = [](const std::atomic<int> &counter, int value) {
            while (counter.load() < value) {
                std::this_thread::yield();
            }
        };
        int succeeded = 0;
        int incomplete = 0;
        for (int i = 1; i <= callCount; ++i) {
            // Both threads go on from here, in the middle of the call.
            motor->onRead = [&] {
                round.store(i);
                waitFor(roundBegun, i);
            };
            const bool hasSucceeded = fixture.handler.callFunctionOnOpen();
            const bool isComplete = fixture.handler.getErrorMesageList().size() == writeCount;
            succeeded += int(hasSucceeded);
            incomplete += int(hasSucceeded && !isComplete);
            waitFor(roundEnded, i);
            fixture.handler.setInterrupted(false);
        }
        interrupting.join();
        takeMessages();
        QCOMPARE(incomplete, 0);
        QVERIFY2(succeeded < callCount, "no call was interrupted");
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.handler.getErrorMesageList().size(), writeCount);
    }
};

TEST_CLASS(JavaScriptInterruptionRaceTest)

#include "JavaScriptInterruptionRaceTest.moc"
