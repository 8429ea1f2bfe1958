#pragma once

#include "configscript/ProgramRun.h"
#include "support/StrictTest.h"

#include <QTextCodec>

/// Base of the tests that run the program. Their file names and texts are UTF-8, like the
/// program's, whatever locale they run in.
class CommandTest : public StrictTest
{
    Q_OBJECT

protected:
    /// What "resolve" says of a project with one error.
    static ProgramRun refusal(const QString &finding)
    {
        return {1,
                finding
                    + QStringLiteral("\nNo script was run: 1 error, 0 warnings. --no-check runs "
                                     "them all the same.\n"),
                QString()};
    }

    /// What "resolve --no-check" says when there is one instance, and it cannot run.
    static ProgramRun notRun(const QString &instanceAndReason)
    {
        return {1,
                QStringLiteral("NOT RUN  %1\n"
                               "\n"
                               "0 scripts run, 0 failed, 1 not run; 0 files changed, 0 values; "
                               "# ms\n")
                    .arg(instanceAndReason),
                QString()};
    }

private Q_SLOTS:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }
};
