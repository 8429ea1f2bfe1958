#include "InplaceResolve.h"

#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "configscript/ExitCode.h"
#include "configscript/JsonReport.h"
#include "configscript/ScriptWatchdog.h"
#include "configscript/TextReport.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "filehost/ProjectLayout.h"
#include "filehost/json/JsonText.h"
#include "filehost/store/FileBatch.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/TextManager.h"
#include "runner/LineDiff.h"
#include "runner/OmittedRuns.h"
#include "runner/ProjectCheck.h"
#include "runner/RunRecorder.h"
#include "runner/SilentLog.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

namespace ConfigScript {

namespace {

QString rootInstanceOf(const Project &project, const QString &treePath, const QString &instance)
{
    const QString folder =
        QFileInfo(ProjectLayout(project.path()).configurationFolder()).canonicalFilePath()
        + QLatin1Char('/');
    const QString ownInstance = treePath.startsWith(folder)
        ? ProjectLayout::baseName(treePath.mid(folder.size()))
        : QString();
    return ownInstance.isEmpty() ? instance : ownInstance;
}

} // namespace

InplaceResolve::InplaceResolve(const Project &project, const QString &treePath,
                               const QString &instance, std::chrono::milliseconds timeout)
    : m_project(project)
    , m_treePath(QFileInfo::exists(treePath) ? QFileInfo(treePath).canonicalFilePath()
                                             : QFileInfo(treePath).absoluteFilePath())
    , m_instance(instance)
    , m_rootInstance(rootInstanceOf(project, m_treePath, instance))
    , m_timeout(timeout)
{
}

int InplaceResolve::run(Writing writing, Format format, Output &output) const
{
    const Manifest manifest(m_project);
    if (manifest.hasFailed()) {
        Output::error(manifest.error().toString());
        return ExitCode::unusable;
    }
    Diagnostic error;
    const auto root =
        FileTree::read({m_treePath, m_rootInstance, FileTree::Kind::Configuration}, error);
    if (root.isNull()) {
        Output::error(error.message.isEmpty() ? m_treePath + QStringLiteral(": no such file")
                                              : error.toString());
        return ExitCode::unusable;
    }
    const QStringList instances = selectedInstances();
    const QMap<QString, QSharedPointer<FileTreeNode>> nodes = nodesOf(instances, *root);
    ScriptWatchdog watchdog(m_timeout);
    const auto findings = ProjectCheck(m_project, watchdog).checkWalls(nodes.values());
    if (!findings.isEmpty()) {
        Diagnostic place = findings.constFirst().place;
        place.file = QDir::cleanPath(m_project.path() + QLatin1Char('/') + place.file);
        Output::error(place.toString());
        return ExitCode::unusable;
    }
    RunReport report = resolve(root, nodes, watchdog);
    report.notRun = omittedRuns(instances, report.runs, [&](const QString &instance) {
        return QStringLiteral("see the messages; the tree is that of \"%1\"").arg(m_rootInstance)
            + (instance.startsWith(m_rootInstance) ? QString()
                                                   : QStringLiteral(", which does not hold it"));
    });

    const QByteArray oldText = root->tree().json().text();
    const QByteArray newText = root->text();
    bool isWritten = false;
    if (newText != oldText && !report.succeeded()) {
        error.message = QStringLiteral("Nothing was written: a script failed.");
    } else if (newText != oldText && writing == Writing::File) {
        isWritten = write(*root, error);
    }
    if (writing == Writing::File) {
        for (ChangedTree &tree : report.trees) {
            tree.error = error.message;
        }
    }
    const QString name =
        QDir(QFileInfo(m_project.path()).canonicalFilePath()).relativeFilePath(m_treePath);
    const QString diff = unifiedDiff(oldText, newText, name, name);
    if (format == Format::Json) {
        QJsonObject object = JsonReport::make(m_project, report, writing == Writing::Nothing);
        object.insert(QStringLiteral("diff"), diff);
        object.insert(QStringLiteral("written"), isWritten);
        output.json(object);
    } else {
        TextReport(m_project, output, TextReport::Detail::Everything).printRuns(report);
        if (!report.notRun.isEmpty()) {
            for (const QString &warning : qAsConst(report.warnings)) {
                output.line(output.styled(Output::Style::Warning, QStringLiteral("warning: "))
                            + warning);
            }
        }
        if (instances.isEmpty()) {
            output.line(QStringLiteral("Nothing to do: the manifest lists no instance that \"%1\" "
                                       "selects.")
                            .arg(m_instance));
        } else if (diff.isEmpty()) {
            output.line(QStringLiteral("The scripts change nothing."));
        } else {
            output.text(diff);
            output.line(isWritten ? QStringLiteral("Written.")
                            : !error.message.isEmpty()
                            ? error.toString()
                            : QStringLiteral("Nothing was written; --write saves the changes."));
        }
    }
    return report.succeeded() ? ExitCode::success : ExitCode::failure;
}

/// @param error set when it could not be written; its text names the file
bool InplaceResolve::write(const FileTreeNode &root, Diagnostic &error) const
{
    const QString folder = QFileInfo(m_project.path()).canonicalFilePath() + QLatin1Char('/');
    if (!m_treePath.startsWith(folder)) {
        // A batch is for the files of projects.
        return root.tree().write(root, m_project.path(), m_treePath, error);
    }
    HostSession session(m_project.units());
    FileBatch batch(m_project.path());
    session.setBatch(&batch);
    if (!root.tree().write(root, m_project.path(), m_treePath, error)) {
        return false;
    }
    if (!batch.commit(error)) {
        error = {QString(), 0, 0, error.toString()};
        return false;
    }
    return true;
}

QStringList InplaceResolve::selectedInstances() const
{
    const SilentLog log;
    JavaScriptDependencyManager manager(m_project.path(), true);
    QStringList instances = manager.getInstancesToResolve(m_instance);
    instances.removeDuplicates();
    return instances;
}

QMap<QString, QSharedPointer<FileTreeNode>> InplaceResolve::nodesOf(const QStringList &instances,
                                                                    const FileTreeNode &root) const
{
    QMap<QString, QSharedPointer<FileTreeNode>> nodes;
    for (const QString &instance : instances) {
        const auto node = root.getNode(instance.mid(m_rootInstance.size() + 1));
        if (instance.startsWith(m_rootInstance) && !node.isNull()) {
            nodes.insert(instance, node.staticCast<FileTreeNode>());
        }
    }
    return nodes;
}

RunReport InplaceResolve::resolve(const QSharedPointer<FileTreeNode> &root,
                                  const QMap<QString, QSharedPointer<FileTreeNode>> &nodes,
                                  ScriptWatchdog &watchdog) const
{
    HostSession session(m_project.units(), HostSession::Writing::Nothing);
    const TextManager textManager(m_project.texts());
    QObject acceptAllObjects; // a resolver with a parent serves URLs of every object
    std::unique_ptr<JavaScriptInplaceDependencyResolver> resolver;
    {
        const SilentLog log;
        resolver = std::make_unique<JavaScriptInplaceDependencyResolver>(
            m_project.path(), m_project.moduleName(), m_project.objectName(), m_rootInstance,
            textManager, &acceptAllObjects);
    }
    RunRecorder recorder(
        m_project, RunRecorder::Recording::Writes, watchdog,
        [&resolver](bool isInterrupted) { resolver->setInterrupted(isInterrupted); });
    const QString key =
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
    for (auto node = nodes.cbegin(); node != nodes.cend(); ++node) {
        recorder.setScript(node.key(), (*node)->getProperty(key).toString());
    }
    session.setObserver(&recorder);
    resolver->setRunObserver(&recorder);
    resolver->resolveDependencies(m_instance, root);
    recorder.treeSaved(*root, m_treePath); // what was written stays in the caller's tree
    session.setObserver(nullptr);

    RunReport report = recorder.takeReport();
    noteForeignFunctions(m_project, watchdog, report.runs);
    report.sort();
    return report;
}

} // namespace ConfigScript
