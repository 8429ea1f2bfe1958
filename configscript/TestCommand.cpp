#include "TestCommand.h"

#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/process/ScriptWatchdog.h"
#include "configscript/report/Output.h"
#include "filehost/TextFile.h"
#include "filehost/Walls.h"
#include "runner/run/ScratchCopy.h"
#include "runner/scripttest/ScriptTest.h"
#include "runner/scripttest/ScriptTestRun.h"

#include <CLI/CLI.hpp>

#include <QRegularExpression>

#include <algorithm>
#include <iterator>

TestCommand::TestCommand(CLI::App &program)
    : Command(program, "test", "Run the tests of a project's scripts")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments()
        .add_option("--filter", m_filter,
                    "Only tests whose path holds this text; with *, ? or [ it is a pattern of the "
                    "whole path, such as tests/line1/*")
        ->type_name("TEXT");
    arguments().add_flag("--update", m_isUpdating,
                         "Write what was found into the tests as what they expect");
    arguments()
        .add_option("--junit", m_junitPath, "Write a report in JUnit's XML format")
        ->type_name("FILE");
    arguments().add_flag("--json", m_isJson, "Print the report as JSON");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());
}

int TestCommand::run()
{
    m_limits.limitMemory();
    std::unique_ptr<ProjectLock> lock;
    const auto project = openProject(m_projectPath, m_isUpdating ? &lock : nullptr);
    if (!project) {
        return ExitCode::unusable;
    }
    Diagnostic error;
    const QStringList files = ScriptTest::filesOf(*project, error);
    const QStringList chosen = selected(files);
    if (chosen.isEmpty()) {
        Output::error(
            !error.message.isEmpty() ? error.toString()
                : files.isEmpty()
                ? project->path() + QStringLiteral(": no tests: expected files tests/*")
                    + ScriptTest::suffix()
                : QStringLiteral("no test matches \"%1\"").arg(QString::fromStdString(m_filter)));
        return ExitCode::unusable;
    }
    return runTests(*project, chosen);
}

QStringList TestCommand::selected(const QStringList &files) const
{
    static const QRegularExpression wildcard(QStringLiteral("[*?\\[]"));
    const QString filter = QString::fromStdString(m_filter);
    if (!filter.contains(wildcard)) {
        return files.filter(filter);
    }
    const QRegularExpression pattern(QRegularExpression::wildcardToRegularExpression(filter));
    return files.filter(pattern);
}

int TestCommand::runTests(const Project &project, const QStringList &files) const
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    Diagnostic error;
    const auto copy = ScratchCopy::make(project, error);
    if (!copy) {
        Output::error(error.toString());
        return ExitCode::unusable;
    }
    ScriptWatchdog watchdog(m_limits.timeout());
    ScriptTestRun run(*copy, watchdog);
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    TestReport report(project);
    bool isWritten = true;
    for (const QString &file : files) {
        const QString path = project.path() + QLatin1Char('/') + file;
        TestReport::Test outcome;
        outcome.file = file;
        if (!Walls::liesInside(project.path(), path)) {
            outcome.result.error = {file, 0, 0,
                                    QStringLiteral("a link leads out of the project folder")};
        } else {
            const ScriptTest test(path);
            outcome.description = test.description();
            for (const ScriptTest::Step &step : test.steps()) {
                outcome.steps.append({step.title(), test.placeOf(step.element, {}).line});
            }
            outcome.result = run.run(test);
            outcome.result.error.file = project.relative(outcome.result.error).file;
            if (m_isUpdating && outcome.result.error.message.isEmpty() && !outcome.hasPassed()) {
                isWritten = update(path, test, outcome) && isWritten;
            }
        }
        report.add(outcome);
        if (!m_isJson) {
            TestReport::print(outcome, output);
        }
    }
    report.setDuration(Clock::now() - begin);
    if (m_isJson) {
        output.json(report.toJson());
    } else {
        report.printSummary(output);
    }
    isWritten = writeJUnit(report) && isWritten;
    return isWritten && report.failedTests() == 0 ? ExitCode::success : ExitCode::failure;
}

bool TestCommand::update(const QString &path, const ScriptTest &test, TestReport::Test &outcome)
{
    QVector<QVariantMap> expected;
    for (const ScriptTestRun::Step &step : qAsConst(outcome.result.steps)) {
        expected.append(step.hasPassed() ? step.expected : step.found);
    }
    Diagnostic error;
    outcome.isUpdated = TextFile::write(path, test.updated(expected), error);
    if (!outcome.isUpdated) {
        Output::error(error.toString());
    }
    return outcome.isUpdated;
}

bool TestCommand::writeJUnit(const TestReport &report) const
{
    Diagnostic error;
    if (m_junitPath.empty()
        || TextFile::write(QString::fromStdString(m_junitPath), report.toJUnit(), error)) {
        return true;
    }
    Output::error(error.toString());
    return false;
}
