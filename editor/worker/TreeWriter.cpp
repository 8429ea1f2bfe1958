#include "TreeWriter.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "runner/run/ProjectOpening.h"

#include <QDir>

#include <utility>

namespace {

/// The folder that the names of instances start from.
QString folderOf(const FileTree::Identity &tree)
{
    return tree.filePath.left(tree.filePath.lastIndexOf(QLatin1Char('/') + tree.instance));
}

} // namespace

std::unique_ptr<TreeWriter> TreeWriter::open(const Project &project, QStringList &recoveries,
                                             QString &error)
{
    Diagnostic diagnostic;
    auto lock = lockRecoveredProject(project, recoveries, diagnostic);
    if (!lock) {
        error = project.relative(diagnostic).toString();
        return nullptr;
    }
    return std::unique_ptr<TreeWriter>(new TreeWriter(project, std::move(lock)));
}

TreeWriter::TreeWriter(const Project &project, std::unique_ptr<ProjectLock> lock)
    : m_project(project)
    , m_lock(std::move(lock))
    , m_session(project.units())
    , m_batch(project.path())
{
    m_session.setBatch(&m_batch);
}

void TreeWriter::add(const QSharedPointer<FileTreeNode> &root)
{
    // After a failure, the batch's commit fails, with the reason.
    const FileTree::Identity &tree = root->tree().identity();
    ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
        folderOf(tree), m_project.moduleName(), m_project.objectName(), tree.instance, root,
        tree.kind == FileTree::Kind::Process);
}
