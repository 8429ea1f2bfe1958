#pragma once

#include "runner/record/MessageLog.h"

/// Drops the messages about what the program tells its user in its own way.
class SilentLog : public MessageLog
{
public:
    void consoleMessage(QtMsgType /*level*/, int /*line*/, const QString & /*text*/) override { }
    void message(const QString & /*function*/, const QString & /*text*/) override { }
};
