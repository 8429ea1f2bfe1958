#include "ScriptWorker.h"

#include "editor/worker/DependencyWriter.h"
#include "editor/worker/ScriptStopper.h"
#include "editor/worker/TestWriter.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "runner/run/DependencyRun.h"
#include "runner/run/InplaceRun.h"

namespace ConfigScript {

ScriptWorker::ScriptWorker(const Project &project, DialogReach reach, ScriptStopper &stopper)
    : m_project(project)
    , m_reach(reach)
    , m_stopper(stopper)
{
}

ProjectReport ScriptWorker::readProject() const
{
    ProjectReport report;
    report.instances = m_project.instances(FileTree::Kind::Configuration);
    const Manifest manifest(m_project);
    for (const Manifest::Entry &entry : manifest.entries()) {
        report.listed.insert(entry.instanceName);
    }
    const QVector<Diagnostic> errors =
        manifest.hasFailed() ? QVector<Diagnostic>{manifest.error()} : manifest.entryErrors();
    if (!errors.isEmpty()) {
        report.manifestError = m_project.relative(errors.constFirst()).toString();
    }
    return report;
}

OpenInstance &ScriptWorker::instance(const QString &name)
{
    return m_instances.try_emplace(name, m_project, m_reach, m_stopper, name).first->second;
}

void ScriptWorker::setReach(DialogReach reach)
{
    m_reach = reach;
    for (auto &entry : m_instances) {
        entry.second.setReach(reach);
    }
}

RefreshReport ScriptWorker::refresh(const QString &instance)
{
    OpenInstance &known = this->instance(instance);
    const bool isStale = known.isTreeStale();
    if (isStale && known.isUnsaved()) {
        return {RefreshReport::Outcome::Stale, {}};
    }
    if (isStale || known.isScriptStale()) {
        return {RefreshReport::Outcome::ReadAgain, known.open()};
    }
    return {};
}

DependencyReport ScriptWorker::previewDependencies(const QString &instance)
{
    const Manifest manifest(m_project);
    DependencyReport report = reportOf(DependencyReport::Kind::Preview, instance, manifest);
    const auto tree = this->instance(instance).copyOfTree();
    if (tree.isNull()) {
        report.error = QStringLiteral("the instance cannot be used");
    }
    if (report.error.isEmpty()) {
        const InplaceRun run(m_project, instance, m_stopper);
        report.selected = run.instances();
        const InplaceRun::Result result = run.run(tree);
        report.findings = result.findings;
        report.record = result.record;
    }
    return report;
}

DependencyReport ScriptWorker::proposeDependencies(const QString &instance) const
{
    const Manifest manifest(m_project);
    DependencyReport report = reportOf(DependencyReport::Kind::Proposal, instance, manifest);
    if (report.error.isEmpty()) {
        const DependencyRun run(m_project, manifest, instance, m_stopper);
        report.selected = run.instances();
        if (!report.selected.isEmpty()) {
            const DependencyRun::Result result = run.run(HostSession::Writing::Nothing);
            report.findings = result.findings;
            report.record = result.record;
            report.record.sort();
        }
    }
    return report;
}

/// A report without runs; with an error when the manifest cannot be used.
DependencyReport ScriptWorker::reportOf(DependencyReport::Kind kind, const QString &instance,
                                        const Manifest &manifest) const
{
    DependencyReport report;
    report.kind = kind;
    report.instance = instance;
    if (manifest.hasFailed()) {
        report.error = m_project.relative(manifest.error()).toString();
    }
    return report;
}

DependencyReport ScriptWorker::writeDependencies(const DependencyReport &proposal) const
{
    return DependencyWriter(m_project).write(proposal);
}

RecordingReport ScriptWorker::recordTest(const QString &instance, const QString &filePath)
{
    RecordingReport report;
    const auto text = this->instance(instance).recordedTest(report.error);
    if (text) {
        report = TestWriter(m_project, m_stopper).write(filePath, *text);
    }
    report.instance = instance;
    return report;
}

} // namespace ConfigScript
