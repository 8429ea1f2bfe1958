#include "StrictTest.h"

#include <QTest>

bool StrictTest::compareMessages(const QVector<Message> &expected)
{
    const QVector<Message> logged = m_recorder->take();
    if (logged == expected) {
        return true;
    }
    const QString text = QStringLiteral("messages expected:\n%1\nlogged:\n%2")
                             .arg(toString(expected), toString(logged));
    QTest::qFail(qPrintable(text), __FILE__, __LINE__);
    return false;
}

QVector<Message> StrictTest::takeMessages()
{
    return m_recorder->take();
}

void StrictTest::init()
{
    m_recorder.reset(new MessageRecorder);
}

void StrictTest::cleanup()
{
    const QVector<Message> left = m_recorder->take();
    m_recorder.reset();
    if (!left.isEmpty() && !QTest::currentTestFailed()) {
        QTest::qFail(qPrintable(QStringLiteral("messages not expected:\n") + toString(left)),
                     __FILE__, __LINE__);
    }
}
