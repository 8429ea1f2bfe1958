#pragma once

#include "support/MessageRecorder.h"
#include "support/TestClasses.h"

#include <QObject>
#include <QScopedPointer>

/**
 * Base of the test classes: a test fails on every message that it did not expect, and on every
 * expected one that did not come.
 *
 * A derived class that needs init() or cleanup() of its own calls these first.
 */
class StrictTest : public QObject
{
    Q_OBJECT

protected:
    /// Compares the messages logged since the last call with @p expected, whole and in order.
    /// Use it through EXPECT_MESSAGES, which ends the test where they differ.
    bool compareMessages(const QVector<Message> &expected);

    /// The messages logged since the last call, for tests that look closer.
    QVector<Message> takeMessages();

protected Q_SLOTS:
    void init();
    void cleanup();

private:
    QScopedPointer<MessageRecorder> m_recorder;
};

#define EXPECT_MESSAGES(...) \
    do { \
        if (!compareMessages(QVector<Message> __VA_ARGS__)) { \
            return; \
        } \
    } while (false)

#define EXPECT_NO_MESSAGES() EXPECT_MESSAGES({})
