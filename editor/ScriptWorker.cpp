#include "ScriptWorker.h"

#include "editor/DependencyPreview.h"
#include "editor/DependencyWriter.h"
#include "editor/OpenInstance.h"
#include "editor/ScriptStopper.h"
#include "editor/TestWriter.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "runner/DependencyRun.h"

namespace ConfigScript {

ScriptWorker::ScriptWorker(const Project &project, ScriptStopper &stopper)
    : m_project(project)
    , m_texts(m_project.texts())
    , m_stopper(stopper)
{
}

ScriptWorker::~ScriptWorker() = default;

void ScriptWorker::readProject()
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
    Q_EMIT projectRead(report);
}

OpenInstance *ScriptWorker::instance(const QString &name)
{
    auto &instance = m_instances[name];
    if (!instance) {
        instance = std::make_unique<OpenInstance>(m_project, m_texts, m_stopper, name);
    }
    return instance.get();
}

void ScriptWorker::open(const QString &instance)
{
    Q_EMIT opened(this->instance(instance)->open());
}

void ScriptWorker::reload(const QString &instance, bool keepsChanges)
{
    OpenInstance *known = this->instance(instance);
    if (!keepsChanges) {
        known->discardChanges();
    }
    Q_EMIT opened(known->open());
}

void ScriptWorker::refresh(const QString &instance)
{
    OpenInstance *known = this->instance(instance);
    const bool isStale = known->isTreeStale();
    if (isStale && known->isUnsaved()) {
        Q_EMIT treeIsStale(instance);
    } else if (isStale || known->isScriptStale()) {
        Q_EMIT opened(known->open());
    }
}

void ScriptWorker::close(const QString &instance)
{
    m_instances.erase(instance);
}

void ScriptWorker::edit(const QString &instance, const QString &path, const QString &key,
                        const QVariant &value)
{
    Q_EMIT edited(this->instance(instance)->edit(path, key, value));
}

void ScriptWorker::apply(const QString &instance, const QVector<PropertyChange> &changes)
{
    this->instance(instance)->apply(changes);
}

void ScriptWorker::save(const QString &instance)
{
    Q_EMIT saved(this->instance(instance)->save());
}

void ScriptWorker::previewDependencies(const QString &instance)
{
    const auto tree = this->instance(instance)->copyOfTree();
    if (!tree.isNull()) {
        Q_EMIT dependenciesRun(
            DependencyPreview(m_project, m_texts, m_stopper).run(instance, tree));
    }
}

void ScriptWorker::proposeDependencies(const QString &instance)
{
    DependencyReport report;
    report.instance = instance;
    const Manifest manifest(m_project);
    if (manifest.hasFailed()) {
        report.error = m_project.relative(manifest.error()).toString();
    } else {
        const DependencyRun run(m_project, manifest, instance, m_stopper);
        report.selected = run.instances();
        if (!report.selected.isEmpty()) {
            const DependencyRun::Result result = run.run(HostSession::Writing::Nothing);
            report.findings = result.findings;
            report.report = result.report;
            report.report.sort();
        }
    }
    Q_EMIT dependenciesRun(report);
}

void ScriptWorker::writeDependencies(const DependencyReport &proposal)
{
    Q_EMIT dependenciesRun(DependencyWriter(m_project).write(proposal));
}

void ScriptWorker::recordTest(const QString &instance, const QString &filePath)
{
    RecordingReport report;
    const auto text = this->instance(instance)->recordedTest(report.error);
    if (text) {
        report = TestWriter(m_project, m_stopper).write(filePath, *text);
    }
    report.instance = instance;
    Q_EMIT testRecorded(report);
}

} // namespace ConfigScript
