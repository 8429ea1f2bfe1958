#include "ResolveCommand.h"

#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "configscript/ExitCode.h"
#include "configscript/JsonReport.h"
#include "configscript/OmittedRuns.h"
#include "configscript/Output.h"
#include "configscript/ProgressLine.h"
#include "configscript/ProjectArgument.h"
#include "configscript/RunRecorder.h"
#include "configscript/TextReport.h"
#include "filehost/HostSession.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "host/TextManager.h"

#include <QJsonDocument>

#include <algorithm>

namespace {

/// Drops the messages about what the program has told its user already.
class SilentLog : public MessageLog
{
public:
    void consoleMessage(QtMsgType /*level*/, int /*line*/, const QString & /*text*/) override { }
    void message(const QString & /*text*/) override { }
};

void sort(RunReport &report)
{
    std::sort(report.runs.begin(), report.runs.end(),
              [](const ScriptRun &a, const ScriptRun &b) { return a.instance < b.instance; });
    std::sort(report.trees.begin(), report.trees.end(),
              [](const ChangedTree &a, const ChangedTree &b) {
                  return a.identity.filePath < b.identity.filePath;
              });
    report.announced.sort();
}

} // namespace

ResolveCommand::ResolveCommand(CLI::App &program)
    : Command(program, "resolve",
              "Run the dependency scripts of a project and save what they change")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_option("INSTANCE", m_instance,
                           "Only this instance; or, if the manifest does not list it, the listed "
                           "instances whose names begin with it");
    arguments().add_flag("-n,--dry-run", m_isDryRun, "Run everything, but write no file");
    arguments().add_flag("--json", m_isJson, "Print the report as JSON");
    arguments().add_flag("-q,--quiet", m_isQuiet, "Print only what went wrong");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
}

int ResolveCommand::run()
{
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    const Manifest manifest(*project);
    if (manifest.hasFailed()) {
        Output::error(manifest.error().toString());
        return ExitCode::unusable;
    }
    const QStringList instances = selectedInstances(*project, manifest);
    if (instances.isEmpty() && !m_instance.empty()) {
        const QString instance = QString::fromStdString(m_instance);
        const QStringList known = project->instances(FileTree::Kind::Configuration);
        const bool isKnown = std::any_of(known.begin(), known.end(), [&](const QString &name) {
            return name.startsWith(instance);
        });
        if (!isKnown) {
            Output::error(QStringLiteral("no instance is \"%1\" or begins with it").arg(instance));
            return ExitCode::unusable;
        }
    }

    RunReport report = resolve(*project);
    for (const Diagnostic &warning : manifest.warnings()) {
        report.projectWarnings.append(warning.toString());
    }
    report.notRun = omittedRuns(*project, instances, report.runs);
    noteForeignFunctions(*project, report.runs);
    sort(report);
    print(*project, report);
    return report.succeeded() ? ExitCode::success : ExitCode::failure;
}

QStringList ResolveCommand::selectedInstances(const Project &project,
                                              const Manifest &manifest) const
{
    QStringList instances;
    if (m_instance.empty()) {
        for (const Manifest::Entry &entry : manifest.entries()) {
            instances.append(entry.instanceName);
        }
    } else {
        const SilentLog log;
        JavaScriptDependencyManager manager(project.path(), false);
        instances = manager.getInstancesToResolve(QString::fromStdString(m_instance));
    }
    instances.removeDuplicates();
    return instances;
}

RunReport ResolveCommand::resolve(const Project &project) const
{
    HostSession session(project.units(),
                        m_isDryRun ? HostSession::Writing::Nothing : HostSession::Writing::Files);
    const TextManager textManager(project.texts());
    std::unique_ptr<JavaScriptDependencyResolver> resolver;
    {
        const SilentLog log;
        resolver = std::make_unique<JavaScriptDependencyResolver>(
            project.path(), project.moduleName(), project.objectName(), project.providers(),
            textManager, project.otherFiles(), nullptr);
    }

    ProgressLine progress(m_isJson || m_isQuiet ? ProgressLine::Visibility::Never
                                                : ProgressLine::Visibility::Automatic);
    RunRecorder recorder(project, progress);
    session.setObserver(&recorder);
    resolver->setRunObserver(&recorder);
    QObject::connect(resolver.get(), &JavaScriptDependencyResolver::processDataDescriptionChanged,
                     [&recorder](const QString &name) { recorder.instanceAnnounced(name); });
    if (m_instance.empty()) {
        resolver->resolveAllDependencies();
    } else {
        resolver->resolveDependencyOfInstance(QString::fromStdString(m_instance));
    }
    session.setObserver(nullptr);
    return recorder.report();
}

void ResolveCommand::print(const Project &project, const RunReport &report) const
{
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    if (m_isJson) {
        output.line(QString::fromUtf8(
            QJsonDocument(JsonReport::make(project, report, m_isDryRun)).toJson().trimmed()));
        return;
    }
    TextReport(project, output,
               m_isQuiet ? TextReport::Detail::OnlyTrouble : TextReport::Detail::Everything)
        .print(report, m_isDryRun);
}
