#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>
#include <QtGlobal>

/// One message of the Qt message logger.
struct Message
{
    QtMsgType type;
    QString function; ///< signature of the function that logged it; empty for scripts' consoles
    QString text;
    QString category;
    QString file = {}; ///< not compared
    int line = 0; ///< not compared

    bool operator==(const Message &other) const;
};

/// A warning of category "default": what the library writes.
Message warning(const QString &function, const QString &text);

QString toString(const QVector<Message> &messages);

/// Takes over the message logger for its life and keeps what is logged.
class MessageRecorder
{
public:
    MessageRecorder();
    ~MessageRecorder();

    /// The messages logged since the last call.
    QVector<Message> take();

private:
    Q_DISABLE_COPY(MessageRecorder)

    static void record(QtMsgType type, const QMessageLogContext &context, const QString &text);

    static MessageRecorder *s_current;

    QtMessageHandler m_previousHandler;
    QVector<Message> m_messages;
};
