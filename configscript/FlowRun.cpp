#include "FlowRun.h"

#include "configscript/process/ExitCode.h"
#include "configscript/process/ScriptWatchdog.h"
#include "configscript/report/Findings.h"
#include "configscript/report/ProgressLine.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "runner/run/DependencyRun.h"

FlowRun::FlowRun(const Project &project, std::chrono::milliseconds timeout)
    : m_project(project)
    , m_timeout(timeout)
    , m_exitCode(ExitCode::success)
{
}

std::unique_ptr<DataFlow> FlowRun::run(Output &output, Format format)
{
    const Manifest manifest(m_project);
    if (manifest.hasFailed()) {
        Output::error(manifest.error().toString());
        m_exitCode = ExitCode::unusable;
        return nullptr;
    }
    ScriptWatchdog watchdog(m_timeout);
    DependencyRun run(m_project, manifest, QString(), watchdog);
    ProgressLine progress(format == Format::Json ? ProgressLine::Visibility::Never
                                                 : ProgressLine::Visibility::Automatic);
    run.setProgress([&progress](const QString &activity, int done, int total) {
        progress.show(activity, done, total);
    });
    run.setRecording(RunRecorder::Recording::Accesses);
    const auto [findings, report] = run.run(HostSession::Writing::Nothing);
    progress.clear();
    if (!findings.isEmpty()) {
        m_exitCode = ExitCode::failure;
        if (format == Format::Json) {
            output.json(Findings::toRefusal(m_project, findings));
        } else {
            Findings::printRefusal(output, findings);
        }
        return nullptr;
    }
    printFailures(report);
    m_exitCode =
        report.failedRuns() == 0 && report.notRun.isEmpty() ? ExitCode::success : ExitCode::failure;
    return std::make_unique<DataFlow>(report.runs);
}

void FlowRun::printFailures(const RunRecord &report)
{
    QStringList lines;
    for (const ScriptRun &run : report.runs) {
        if (run.succeeded) {
            continue;
        }
        for (const ScriptException &exception : run.exceptions) {
            lines.append(QStringLiteral("%1: %2 failed: %3")
                             .arg(run.instance, run.script,
                                  Output::printable(Diagnostic{run.scriptOf(exception.isOfFunction),
                                                               exception.line, 0, exception.text}
                                                        .toString())));
        }
        if (run.exceptions.isEmpty()) {
            lines.append(QStringLiteral("%1: %2 failed: %3 returned false")
                             .arg(run.instance, run.script, run.function));
        }
    }
    for (const OmittedRun &omitted : report.notRun) {
        lines.append(QStringLiteral("%1: not run: %2").arg(omitted.instance, omitted.reason));
    }
    lines.sort();
    for (const QString &line : qAsConst(lines)) {
        Output::error(line);
    }
}
