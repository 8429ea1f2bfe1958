#include "ResolveCommand.h"

#include "configscript/InplaceResolve.h"
#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/process/ScriptWatchdog.h"
#include "configscript/report/Findings.h"
#include "configscript/report/JsonReport.h"
#include "configscript/report/Output.h"
#include "configscript/report/ProgressLine.h"
#include "configscript/report/TextReport.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "runner/run/DependencyRun.h"

#include <CLI/CLI.hpp>

#include <algorithm>

ResolveCommand::ResolveCommand(CLI::App &program)
    : Command(program, "resolve",
              "Run the dependency scripts of a project and save what they change")
{
    auto *project = arguments().add_option("PROJECT", m_projectPath, "The project folder");
    auto *instance = arguments().add_option(
        "INSTANCE", m_instance,
        "Only this instance; or, if the manifest does not list it, the listed "
        "instances whose names begin with it");
    auto *unchecked = arguments().add_flag(
        "--no-check", m_isUnchecked,
        "Run even if the check finds errors; a script that does not compile may "
        "then leave another one's function in its place");
    auto *dryRun =
        arguments().add_flag("-n,--dry-run", m_isDryRun, "Run everything, but write no file");
    arguments().add_flag("--json", m_isJson, "Print the report as JSON");
    auto *quiet = arguments().add_flag("-q,--quiet", m_isQuiet, "Print only what went wrong");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());

    auto *inplace = arguments().add_option("--in-place", m_treePath,
                                           "Run inside this tree file alone, and print what would "
                                           "change as a diff");
    inplace->type_name("TREE");
    for (auto *other : {instance, unchecked, dryRun, quiet}) {
        inplace->excludes(other);
    }
    arguments()
        .add_option("--instance", m_inplaceInstance, "With --in-place: the instance to resolve")
        ->type_name("NAME")
        ->needs(inplace);
    arguments()
        .add_flag("--write", m_isWriting, "With --in-place: write the tree file")
        ->needs(inplace);
    arguments().callback([this, project, instance, inplace] {
        if (instance->count() > 0 && m_instance.empty()) {
            throw CLI::ValidationError("INSTANCE", "expected an instance name, found an empty one");
        }
        if (inplace->count() == 0 && project->count() == 0) {
            throw CLI::RequiredError("PROJECT");
        }
        if (inplace->count() > 0 && m_inplaceInstance.empty()) {
            throw CLI::RequiredError("--instance");
        }
    });
}

int ResolveCommand::run()
{
    m_limits.limitMemory();
    const bool isInplace = !m_treePath.empty();
    std::unique_ptr<ProjectLock> lock;
    auto *neededLock = (isInplace ? m_isWriting : !m_isDryRun) ? &lock : nullptr;
    const auto project = isInplace && m_projectPath.empty()
        ? openProjectAround(m_treePath, neededLock)
        : openProject(m_projectPath, neededLock);
    if (!project) {
        return ExitCode::unusable;
    }
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    if (isInplace) {
        ScriptWatchdog watchdog(m_limits.timeout());
        return InplaceResolve(*project, QString::fromStdString(m_treePath),
                              QString::fromStdString(m_inplaceInstance), watchdog)
            .run(m_isWriting ? InplaceResolve::Writing::File : InplaceResolve::Writing::Nothing,
                 m_isJson ? InplaceResolve::Format::Json : InplaceResolve::Format::Text, output);
    }
    return resolveProject(*project, output);
}

int ResolveCommand::resolveProject(const Project &project, Output &output) const
{
    const Manifest manifest(project);
    if (manifest.hasFailed()) {
        Output::error(manifest.error().toString());
        return ExitCode::unusable;
    }
    const QString instance = QString::fromStdString(m_instance);
    ScriptWatchdog watchdog(m_limits.timeout());
    DependencyRun run(project, manifest, instance, watchdog);
    if (run.instances().isEmpty() && !instance.isEmpty()) {
        if (!isKnownInstance(project)) {
            Output::error(QStringLiteral("no instance is \"%1\" or begins with it").arg(instance));
            return ExitCode::unusable;
        }
        if (!m_isJson && !m_isQuiet) {
            output.line(
                QStringLiteral("no listed instance is \"%1\" or begins with it").arg(instance));
        }
    }
    ProgressLine progress(m_isJson || m_isQuiet ? ProgressLine::Visibility::Never
                                                : ProgressLine::Visibility::Automatic);
    run.setProgress([&progress](const QString &activity, int done, int total) {
        progress.show(activity, done, total);
    });
    run.setCheck(m_isUnchecked ? DependencyRun::Check::WallsOnly
                               : DependencyRun::Check::Everything);
    run.setRecording(m_isJson ? RunRecorder::Recording::Writes : RunRecorder::Recording::Outcome);
    auto [findings, report] =
        run.run(m_isDryRun ? HostSession::Writing::Nothing : HostSession::Writing::Files);
    progress.clear();
    if (!findings.isEmpty()) {
        if (m_isJson) {
            output.json(Findings::toRefusal(project, findings));
        } else {
            Findings::printRefusal(
                output, findings,
                m_isUnchecked ? QString() : QStringLiteral("--no-check runs them all the same."));
        }
        return ExitCode::failure;
    }

    report.sort();
    if (m_isJson) {
        output.json(JsonReport::make(project, report, m_isDryRun));
    } else {
        TextReport(project, output,
                   m_isQuiet ? TextReport::Detail::OnlyTrouble : TextReport::Detail::Everything)
            .print(report, m_isDryRun);
    }
    return report.succeeded() ? ExitCode::success : ExitCode::failure;
}

bool ResolveCommand::isKnownInstance(const Project &project) const
{
    const QStringList known = project.instances(FileTree::Kind::Configuration);
    return std::any_of(known.begin(), known.end(), [this](const QString &name) {
        return name.startsWith(QString::fromStdString(m_instance));
    });
}
