#pragma once

#include <QMessageLogContext>
#include <QString>

/// Receives the messages that its thread writes to the Qt message logger while it exists; in place
/// of the thread's one before.
class MessageLog
{
public:
    MessageLog();
    virtual ~MessageLog();

    /// A script wrote to its console.
    virtual void consoleMessage(QtMsgType level, int line, const QString &text) = 0;

    /// The library, the host or Qt wrote a message.
    /// @param function the name of the function that wrote it, without its class
    virtual void message(const QString &function, const QString &text) = 0;

private:
    Q_DISABLE_COPY(MessageLog)

    static void handle(QtMsgType level, const QMessageLogContext &context, const QString &text);

    static thread_local MessageLog *s_current;

    MessageLog *m_previous;
};
