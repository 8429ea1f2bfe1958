#include "DependencyWriter.h"

#include "filehost/FileBatch.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/JsonValue.h"
#include "filehost/Project.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "runner/ProjectOpening.h"
#include "runner/SilentLog.h"

#include <QDir>

namespace {

/// The folder that the tree of an instance lies in, or in a folder below.
QString folderOf(const FileTree::Identity &tree)
{
    return tree.filePath.left(tree.filePath.lastIndexOf(QLatin1Char('/') + tree.instance));
}

bool hasValue(const FileTreeNode &node, const PropertyChange &change)
{
    const QVariant value = node.value(change.key);
    return value.isValid() == change.oldValue.isValid()
        && (!value.isValid() || JsonValue::areEqual(value, change.oldValue));
}

} // namespace

DependencyWriter::DependencyWriter(const Project &project)
    : m_project(project)
{
}

DependencyReport DependencyWriter::write(const DependencyReport &proposal) const
{
    DependencyReport report = proposal;
    report.kind = DependencyReport::Kind::Written;
    Diagnostic diagnostic;
    report.report.warnings.clear(); // the proposal's
    const auto lock = lockRecoveredProject(m_project, report.report.warnings, diagnostic);
    if (!lock) {
        report.error = m_project.relative(diagnostic).toString();
        return report;
    }
    const SilentLog log; // the batch knows the reason, too
    HostSession session(m_project.units());
    FileBatch batch(m_project.path());
    session.setBatch(&batch);
    for (const ChangedTree &tree : qAsConst(report.report.trees)) {
        if (!writeTree(tree, report.error)) {
            session.setBatch(nullptr);
            return report;
        }
    }
    session.setBatch(nullptr);
    batch.commit(report.error);
    return report;
}

bool DependencyWriter::writeTree(const ChangedTree &tree, QString &error) const
{
    Diagnostic diagnostic;
    const auto root = FileTree::read(tree.identity, diagnostic);
    const QString file = m_project.relativePath(tree.identity.filePath);
    if (root.isNull()) {
        error = diagnostic.message.isEmpty() ? QStringLiteral("%1: no such file").arg(file)
                                             : m_project.relative(diagnostic).toString();
        return false;
    }
    for (const PropertyChange &change : tree.changes) {
        const auto node = root->getNode(change.path).staticCast<FileTreeNode>();
        if (node.isNull() || !hasValue(*node, change)) {
            error = QStringLiteral("%1: \"%2:%3\" has changed since; resolve again")
                        .arg(file, change.path, change.key);
            return false;
        }
        node->setProperty(change.key, change.newValue);
    }
    // A failure makes the batch fail, which tells the reason.
    ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
        folderOf(tree.identity), m_project.moduleName(), m_project.objectName(),
        tree.identity.instance, root, tree.identity.kind == FileTree::Kind::Process);
    return true;
}
