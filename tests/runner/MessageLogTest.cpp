#include "runner/record/MessageLog.h"
#include "support/StrictTest.h"

#include <QSemaphore>
#include <QStringList>
#include <QTest>

#include <memory>
#include <thread>

namespace {

/// Keeps the texts.
class KeepingLog : public MessageLog
{
public:
    void consoleMessage(QtMsgType /*level*/, int /*line*/, const QString &text) override
    {
        texts.append(text);
    }
    void message(const QString & /*function*/, const QString &text) override { texts.append(text); }

    QStringList texts;
};

} // namespace

class MessageLogTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void receivesTheMessagesOfItsThreadOnly();
    void receivesNothingWhileAnotherOneOfItsThreadExists();
    void leavesTheLoggerAsItWasWhenLogsOfSeveralThreadsEndInAnyOrder();
};

void MessageLogTest::receivesTheMessagesOfItsThreadOnly()
{
    KeepingLog log;
    qWarning("here");
    std::thread([] { qWarning("there"); }).join();
    QCOMPARE(log.texts, QStringList{QStringLiteral("here")});
    const QVector<Message> others = takeMessages();
    QCOMPARE(others.size(), 1);
    QCOMPARE(others.constFirst().text, QStringLiteral("there"));
}

void MessageLogTest::receivesNothingWhileAnotherOneOfItsThreadExists()
{
    KeepingLog outer;
    qWarning("first");
    {
        KeepingLog inner;
        qWarning("second");
        QCOMPARE(inner.texts, QStringList{QStringLiteral("second")});
    }
    qWarning("third");
    QCOMPARE(outer.texts, (QStringList{QStringLiteral("first"), QStringLiteral("third")}));
}

void MessageLogTest::leavesTheLoggerAsItWasWhenLogsOfSeveralThreadsEndInAnyOrder()
{
    auto first = std::make_unique<KeepingLog>();
    QSemaphore begun;
    QSemaphore firstEnded;
    QStringList texts;
    std::thread other([&] {
        KeepingLog second;
        begun.release();
        firstEnded.acquire();
        qWarning("inside");
        texts = second.texts;
    });
    begun.acquire();
    first.reset();
    firstEnded.release();
    other.join();
    QCOMPARE(texts, QStringList{QStringLiteral("inside")});
    qWarning("outside");
    const QVector<Message> messages = takeMessages();
    QCOMPARE(messages.size(), 1);
    QCOMPARE(messages.constFirst().text, QStringLiteral("outside"));
}

QTEST_GUILESS_MAIN(MessageLogTest)
#include "MessageLogTest.moc"
