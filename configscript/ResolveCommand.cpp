#include "ResolveCommand.h"

#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "configscript/ExitCode.h"
#include "configscript/Findings.h"
#include "configscript/InplaceResolve.h"
#include "configscript/JsonReport.h"
#include "configscript/OmittedRuns.h"
#include "configscript/Output.h"
#include "configscript/ProgressLine.h"
#include "configscript/ProjectArgument.h"
#include "configscript/ProjectCheck.h"
#include "configscript/RunRecorder.h"
#include "configscript/ScriptWatchdog.h"
#include "configscript/SilentLog.h"
#include "configscript/TextReport.h"
#include "filehost/FileBatch.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "host/TextManager.h"

#include <QJsonObject>

#include <algorithm>

namespace {

QList<QSharedPointer<FileTreeNode>> readableTrees(const Project &project,
                                                  const QStringList &instances)
{
    QList<QSharedPointer<FileTreeNode>> roots;
    for (const QString &instance : instances) {
        Diagnostic ignored; // told later, as the reason why it does not run
        const auto root = project.readTree(FileTree::Kind::Configuration, instance, ignored);
        if (!root.isNull()) {
            roots.append(root);
        }
    }
    return roots;
}

} // namespace

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
        return InplaceResolve(*project, QString::fromStdString(m_treePath),
                              QString::fromStdString(m_inplaceInstance), m_limits.timeout())
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
    const QStringList instances = selectedInstances(project, manifest);
    if (instances.isEmpty() && !m_instance.empty()) {
        const QString instance = QString::fromStdString(m_instance);
        if (!isKnownInstance(project)) {
            Output::error(QStringLiteral("no instance is \"%1\" or begins with it").arg(instance));
            return ExitCode::unusable;
        }
        if (!m_isJson && !m_isQuiet) {
            output.line(
                QStringLiteral("no listed instance is \"%1\" or begins with it").arg(instance));
        }
    }
    ScriptWatchdog watchdog(m_limits.timeout());
    // The check and the resolver read the same trees.
    HostSession session(project.units(),
                        m_isDryRun ? HostSession::Writing::Nothing : HostSession::Writing::Files);
    ProjectCheck check(project, watchdog);
    const auto findings = m_isUnchecked ? check.checkWalls(readableTrees(project, instances))
                                        : check.checkInstances(manifest, instances);
    if (Findings::hasErrors(findings)) {
        refuse(project, findings, output);
        return ExitCode::failure;
    }

    RunReport report = resolve(project, session, watchdog);
    const QVector<Diagnostic> warnings = manifest.entryErrors() + manifest.warnings();
    for (const Diagnostic &warning : warnings) {
        report.projectWarnings.append(project.relative(warning).toString());
    }
    report.notRun = omittedRuns(instances, report.runs, [&project](const QString &instance) {
        return reasonOfOmission(project, instance);
    });
    if (m_isUnchecked) {
        noteForeignFunctions(project, watchdog, report.runs);
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

void ResolveCommand::refuse(const Project &project, const QVector<Finding> &findings,
                            Output &output) const
{
    if (m_isJson) {
        QJsonObject object = Findings::toJson(project, findings);
        object.insert(QStringLiteral("succeeded"), false);
        output.json(object);
        return;
    }
    Findings::print(output, findings);
    output.line(
        QStringLiteral("No script was run: %1.").arg(Findings::summary(findings))
        + (m_isUnchecked ? QString() : QStringLiteral(" --no-check runs them all the same.")));
}

bool ResolveCommand::isKnownInstance(const Project &project) const
{
    const QStringList known = project.instances(FileTree::Kind::Configuration);
    return std::any_of(known.begin(), known.end(), [this](const QString &name) {
        return name.startsWith(QString::fromStdString(m_instance));
    });
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

RunReport ResolveCommand::resolve(const Project &project, HostSession &session,
                                  ScriptWatchdog &watchdog) const
{
    FileBatch batch(project.path());
    session.setBatch(&batch);
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
    RunRecorder recorder(project, progress, watchdog, [&resolver](bool isInterrupted) {
        resolver->setInterrupted(isInterrupted);
    });
    recorder.setRecordsWrites(m_isJson);
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
    session.setBatch(nullptr);
    QString error;
    if (!batch.commit(error)) {
        recorder.savingFailed(error);
    }
    resolver.reset(); // the report takes the place of its trees
    return recorder.takeReport();
}
