#include "CallLog.h"

#include <utility>

bool CallLog::s_withUrlHandlers = false;
QStringList CallLog::s_calls;

void CallLog::add(const QString &call)
{
    s_calls.append(call);
}

QStringList CallLog::take()
{
    return std::exchange(s_calls, {});
}

CallLog::UrlHandlerCalls::UrlHandlerCalls()
{
    s_withUrlHandlers = true;
}

CallLog::UrlHandlerCalls::~UrlHandlerCalls()
{
    s_withUrlHandlers = false;
}

void CallLog::addUrlHandlerCall(const QString &call)
{
    if (s_withUrlHandlers) {
        add(call);
    }
}
