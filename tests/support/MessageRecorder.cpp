#include "MessageRecorder.h"

#include <QStringList>

#include <utility>

MessageRecorder *MessageRecorder::s_current = nullptr;

bool Message::operator==(const Message &other) const
{
    return type == other.type && function == other.function && text == other.text
        && category == other.category;
}

Message warning(const QString &function, const QString &text)
{
    return {QtWarningMsg, function, text, QStringLiteral("default")};
}

QString toString(const QVector<Message> &messages)
{
    QStringList lines;
    for (const Message &message : messages) {
        lines.append(QStringLiteral("  [%1 %2] %3: %4")
                         .arg(message.type)
                         .arg(message.category, message.function, message.text));
    }
    return lines.isEmpty() ? QStringLiteral("  none") : lines.join(QLatin1Char('\n'));
}

MessageRecorder::MessageRecorder()
{
    s_current = this;
    m_previousHandler = qInstallMessageHandler(record);
}

MessageRecorder::~MessageRecorder()
{
    qInstallMessageHandler(m_previousHandler);
    s_current = nullptr;
}

QVector<Message> MessageRecorder::take()
{
    return std::exchange(m_messages, {});
}

void MessageRecorder::record(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    s_current->m_messages.append({type, QString::fromUtf8(context.function), text,
                                  QString::fromUtf8(context.category),
                                  QString::fromUtf8(context.file), context.line});
}
