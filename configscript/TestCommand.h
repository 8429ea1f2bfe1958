#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"
#include "configscript/report/TestReport.h"

#include <QStringList>

class Project;
class ScriptTest;

/// configscript test: runs the tests of a project's scripts.
class TestCommand : public Command
{
public:
    explicit TestCommand(CLI::App &program);

    int run() override;

private:
    QStringList selected(const QStringList &files) const;
    int runTests(const Project &project, const QStringList &files) const;
    static bool update(const QString &path, const ScriptTest &test, TestReport::Test &outcome);
    bool writeJUnit(const TestReport &report) const;

    std::string m_projectPath;
    std::string m_filter;
    std::string m_junitPath;
    bool m_isUpdating = false;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
