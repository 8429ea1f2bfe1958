#include "MessageLog.h"

#include <cstring>

MessageLog *MessageLog::s_current = nullptr;

MessageLog::MessageLog()
{
    Q_ASSERT(!s_current);
    s_current = this;
    m_previousHandler = qInstallMessageHandler(handle);
}

MessageLog::~MessageLog()
{
    qInstallMessageHandler(m_previousHandler);
    s_current = nullptr;
}

void MessageLog::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (level == QtFatalMsg) {
        s_current->m_previousHandler(level, context, text);
    } else if (context.category && std::strcmp(context.category, "js") == 0) {
        s_current->consoleMessage(level, context.line, text);
    } else {
        s_current->message(text);
    }
}
