#include "MessageLog.h"

#include <cstring>

MessageLog *MessageLog::s_current = nullptr;

namespace {

/// "int Class::name(const Type&) const" -> "name"
QString functionName(const char *signature)
{
    const QString text = QString::fromUtf8(signature).section(QLatin1Char('('), 0, 0);
    return text.mid(text.lastIndexOf(QLatin1String("::")) + 2);
}

} // namespace

MessageLog::MessageLog()
    : m_previous(s_current)
    , m_previousHandler(qInstallMessageHandler(handle))
{
    s_current = this;
}

MessageLog::~MessageLog()
{
    qInstallMessageHandler(m_previousHandler);
    s_current = m_previous;
}

void MessageLog::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (level == QtFatalMsg) {
        s_current->m_previousHandler(level, context, text);
    } else if (context.category && std::strcmp(context.category, "js") == 0) {
        s_current->consoleMessage(level, context.line, text);
    } else {
        s_current->message(functionName(context.function), text);
    }
}
