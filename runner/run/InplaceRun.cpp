#include "InplaceRun.h"

#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/TextManager.h"
#include "runner/check/ProjectCheck.h"
#include "runner/record/RunRecorder.h"
#include "runner/record/SilentLog.h"
#include "runner/run/InstanceSelection.h"
#include "runner/run/OmittedRuns.h"

#include <memory>

InplaceRun::InplaceRun(const Project &project, const QString &instance, ScriptGuard &guard)
    : m_project(project)
    , m_instance(instance)
    , m_guard(guard)
    , m_instances(selectedInstances(project, instance, UnknownName::StandsForItsParent))
{
}

InplaceRun::Result InplaceRun::run(const QSharedPointer<FileTreeNode> &root) const
{
    const Nodes nodes = nodesBelow(*root);
    Result result;
    result.findings = ProjectCheck(m_project, m_guard).checkWalls(nodes.values());
    if (!result.findings.isEmpty()) {
        return result;
    }
    RunRecord &record = result.record;
    record = resolve(root, nodes);
    const QString rootInstance = root->tree().identity().instance;
    record.notRun = omittedRuns(m_instances, record.runs, [&](const QString &instance) {
        return QStringLiteral("see the messages; the tree is that of \"%1\"").arg(rootInstance)
            + (instance.startsWith(rootInstance) ? QString()
                                                 : QStringLiteral(", which does not hold it"));
    });
    noteForeignFunctions(m_project, m_guard, record.runs);
    record.sort();
    return result;
}

InplaceRun::Nodes InplaceRun::nodesBelow(const FileTreeNode &root) const
{
    const QString rootInstance = root.tree().identity().instance;
    Nodes nodes;
    for (const QString &instance : m_instances) {
        const auto node = root.getNode(instance.mid(rootInstance.size() + 1));
        if (instance.startsWith(rootInstance) && !node.isNull()) {
            nodes.insert(instance, node.staticCast<FileTreeNode>());
        }
    }
    return nodes;
}

RunRecord InplaceRun::resolve(const QSharedPointer<FileTreeNode> &root, const Nodes &nodes) const
{
    HostSession session(m_project.units(), HostSession::Writing::Nothing);
    const TextManager texts(m_project.texts());
    QObject acceptAllObjects; // a resolver with a parent serves URLs of every object
    const FileTree::Identity &tree = root->tree().identity();
    std::unique_ptr<JavaScriptInplaceDependencyResolver> resolver;
    {
        const SilentLog log;
        resolver = std::make_unique<JavaScriptInplaceDependencyResolver>(
            m_project.path(), m_project.moduleName(), m_project.objectName(), tree.instance, texts,
            &acceptAllObjects);
    }
    RunRecorder recorder(
        m_project, RunRecorder::Recording::Writes, m_guard,
        [&resolver](bool isInterrupted) { resolver->setInterrupted(isInterrupted); });
    const QString key =
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        recorder.setScript(node.key(), (*node)->getProperty(key).toString());
    }
    session.setObserver(&recorder);
    resolver->setRunObserver(&recorder);
    resolver->resolveDependencies(m_instance, root);
    recorder.treeSaved(*root, tree.filePath); // what was written stays in the caller's tree
    session.setObserver(nullptr);
    return recorder.takeRecord();
}
