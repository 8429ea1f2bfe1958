#include "MessageLog.h"

#include <atomic>
#include <cstring>
#include <mutex>

thread_local MessageLog *MessageLog::s_current = nullptr;

namespace {

std::mutex s_mutex; ///< of the number
int s_logs = 0; ///< of all threads
std::atomic<QtMessageHandler> s_outerHandler{nullptr}; ///< for what no log receives

/// "int Class::name(const Type&) const" -> "name"
QString functionName(const char *signature)
{
    const QString text = QString::fromUtf8(signature).section(QLatin1Char('('), 0, 0);
    return text.mid(text.lastIndexOf(QLatin1String("::")) + 2);
}

} // namespace

MessageLog::MessageLog()
    : m_previous(s_current)
{
    s_current = this;
    const std::lock_guard<std::mutex> lock(s_mutex);
    if (s_logs++ == 0) {
        s_outerHandler = qInstallMessageHandler(nullptr);
        qInstallMessageHandler(handle);
    }
}

MessageLog::~MessageLog()
{
    const std::lock_guard<std::mutex> lock(s_mutex);
    if (--s_logs == 0) {
        qInstallMessageHandler(s_outerHandler);
    }
    s_current = m_previous;
}

void MessageLog::handle(QtMsgType level, const QMessageLogContext &context, const QString &text)
{
    if (!s_current || level == QtFatalMsg) {
        s_outerHandler.load()(level, context, text);
    } else if (context.category && std::strcmp(context.category, "js") == 0) {
        s_current->consoleMessage(level, context.line, text);
    } else {
        s_current->message(functionName(context.function), text);
    }
}
