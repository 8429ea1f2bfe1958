#pragma once

#include <QMessageLogContext>
#include <QString>

/// Receives the messages of the Qt message logger while it exists. One at a time.
class MessageLog
{
public:
    MessageLog();
    virtual ~MessageLog();

    /// A script wrote to its console.
    virtual void consoleMessage(QtMsgType level, int line, const QString &text) = 0;

    /// The library, the host or Qt wrote a message.
    virtual void message(const QString &text) = 0;

private:
    Q_DISABLE_COPY(MessageLog)

    static void handle(QtMsgType level, const QMessageLogContext &context, const QString &text);

    static MessageLog *s_current;

    QtMessageHandler m_previousHandler;
};
