#include "DependencyPreview.h"

#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "runner/OmittedRuns.h"
#include "runner/ProjectCheck.h"
#include "runner/RunRecorder.h"
#include "runner/SilentLog.h"

#include <memory>

namespace ConfigScript {

DependencyPreview::DependencyPreview(const Project &project, const TextManager &texts,
                                     ScriptGuard &guard)
    : m_project(project)
    , m_texts(texts)
    , m_guard(guard)
{
}

DependencyReport DependencyPreview::run(const QString &instance,
                                        const QSharedPointer<FileTreeNode> &root) const
{
    DependencyReport report;
    report.kind = DependencyReport::Kind::Preview;
    report.instance = instance;
    const Manifest manifest(m_project);
    if (manifest.hasFailed()) {
        report.error = m_project.relative(manifest.error()).toString();
        return report;
    }
    HostSession session(m_project.units(), HostSession::Writing::Nothing);
    QObject acceptAllObjects; // a resolver with a parent serves URLs of every object
    std::unique_ptr<JavaScriptInplaceDependencyResolver> resolver;
    QStringList selected;
    {
        const SilentLog log;
        resolver = std::make_unique<JavaScriptInplaceDependencyResolver>(
            m_project.path(), m_project.moduleName(), m_project.objectName(), instance, m_texts,
            &acceptAllObjects);
        JavaScriptDependencyManager manager(m_project.path(), true);
        selected = manager.getInstancesToResolve(instance);
    }
    selected.removeDuplicates();
    RunRecorder recorder(
        m_project, RunRecorder::Recording::Writes, m_guard,
        [&resolver](bool isInterrupted) { resolver->setInterrupted(isInterrupted); });
    QList<QSharedPointer<FileTreeNode>> nodes;
    for (const QString &name : qAsConst(selected)) {
        const auto node = name.startsWith(instance)
            ? root->getNode(name.mid(instance.size() + 1)).staticCast<FileTreeNode>()
            : QSharedPointer<FileTreeNode>();
        if (!node.isNull()) {
            nodes.append(node);
            report.selected.append(name);
            recorder.setScript(name,
                               node->value(ConfigurationAndProcessDataDefinitions::
                                               getKeyDataPropertyDependencyFileExtern())
                                   .toString());
        }
    }
    report.findings = ProjectCheck(m_project, m_guard).checkWalls(nodes);
    if (nodes.isEmpty() || !report.findings.isEmpty()) {
        return report;
    }
    session.setObserver(&recorder);
    resolver->setRunObserver(&recorder);
    resolver->resolveDependencies(instance, root);
    recorder.treeSaved(*root, root->tree().identity().filePath); // stays in the caller's tree
    session.setObserver(nullptr);
    report.report = recorder.takeReport();
    report.report.sort();
    return report;
}

} // namespace ConfigScript
