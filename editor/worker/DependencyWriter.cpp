#include "DependencyWriter.h"

#include "editor/worker/TreeWriter.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "filehost/json/JsonValue.h"

namespace ConfigScript {

DependencyWriter::DependencyWriter(const Project &project)
    : m_project(project)
{
}

DependencyReport DependencyWriter::write(const DependencyReport &proposal) const
{
    DependencyReport report = proposal;
    report.kind = DependencyReport::Kind::Written;
    report.record.warnings.clear(); // they belong to the proposal
    const auto writer = TreeWriter::open(m_project, report.record.warnings, report.error);
    if (!writer) {
        return report;
    }
    for (const ChangedTree &tree : qAsConst(report.record.trees)) {
        if (!addTree(tree, *writer, report.error)) {
            return report;
        }
    }
    writer->commit(report.error);
    return report;
}

bool DependencyWriter::addTree(const ChangedTree &tree, TreeWriter &writer, QString &error) const
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
        if (node.isNull() || !JsonValue::areEqual(node->value(change.key), change.oldValue)) {
            error = QStringLiteral("%1: \"%2:%3\" has changed since; resolve again")
                        .arg(file, change.path, change.key);
            return false;
        }
        node->setProperty(change.key, change.newValue);
    }
    writer.add(root);
    return true;
}

} // namespace ConfigScript
