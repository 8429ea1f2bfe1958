#include "DependencyRun.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "runner/check/ProjectCheck.h"
#include "runner/run/InstanceSelection.h"
#include "runner/run/OmittedRuns.h"
#include "runner/run/RecordedResolver.h"

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

DependencyRun::DependencyRun(const Project &project, const Manifest &manifest,
                             const QString &instance, ScriptGuard &guard)
    : m_project(project)
    , m_manifest(manifest)
    , m_instance(instance)
    , m_guard(guard)
    , m_instances(selectedInstances(project, instance))
{
}

void DependencyRun::setCheck(Check check)
{
    m_check = check;
}

void DependencyRun::setRecording(RunRecorder::Recording recording)
{
    m_recording = recording;
}

void DependencyRun::setProgress(const RunRecorder::Progress &progress)
{
    m_progress = progress;
}

DependencyRun::Result DependencyRun::run(HostSession::Writing writing) const
{
    // The check and the resolver read the same trees.
    HostSession session(m_project.units(), writing);
    Result result;
    result.findings = findings();
    if (!result.findings.isEmpty()) {
        return result;
    }
    RunRecord &record = result.record;
    record = resolve(session);
    const QVector<Diagnostic> warnings = m_manifest.entryErrors() + m_manifest.warnings();
    for (const Diagnostic &warning : warnings) {
        record.projectWarnings.append(m_project.relative(warning).toString());
    }
    record.notRun = omittedRuns(m_instances, record.runs, [this](const QString &instance) {
        return reasonOfOmission(m_project, instance);
    });
    if (m_check == Check::WallsOnly) {
        noteForeignFunctions(m_project, m_guard, record.runs);
    }
    return result;
}

QVector<Finding> DependencyRun::findings() const
{
    ProjectCheck check(m_project, m_guard);
    return m_check == Check::WallsOnly ? check.checkWalls(readableTrees(m_project, m_instances))
                                       : check.checkInstances(m_manifest, m_instances);
}

RunRecord DependencyRun::resolve(HostSession &session) const
{
    RecordedResolver resolver(m_project, session, m_recording, m_guard);
    resolver.setProgress(m_progress);
    resolver.resolve(m_instance);
    return resolver.takeLastRecord();
}
