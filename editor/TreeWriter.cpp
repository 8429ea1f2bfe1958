#include "TreeWriter.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "runner/ProjectOpening.h"

#include <QDir>

#include <utility>

namespace ConfigScript {

namespace {

/// The folder that the tree of an instance lies in, or in a folder below.
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
    // A failure makes the batch fail, which tells the reason.
    const FileTree::Identity &tree = root->tree().identity();
    ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
        folderOf(tree), m_project.moduleName(), m_project.objectName(), tree.instance, root,
        tree.kind == FileTree::Kind::Process);
}

bool TreeWriter::commit(QString &error)
{
    Diagnostic diagnostic;
    if (m_batch.commit(diagnostic)) {
        return true;
    }
    error = diagnostic.toString();
    return false;
}

} // namespace ConfigScript
