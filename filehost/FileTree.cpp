#include "FileTree.h"

#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/store/TreeStore.h"

#include <utility>

namespace ConfigScript {

FileTree::FileTree(std::shared_ptr<TreeFile> file, const Identity &identity)
    : m_file(std::move(file))
    , m_identity(identity)
{
}

FileTree::~FileTree() = default;

QSharedPointer<FileTreeNode> FileTree::read(const Identity &identity, Diagnostic &error)
{
    TreeStore forOnce;
    TreeStore *session = HostSession::treeStore();
    const auto file = (session ? *session : forOnce).read(identity.filePath, error);
    if (!file) {
        return {};
    }
    const Pointer tree(new FileTree(file, {file->path, identity.instance, identity.kind}));
    return QSharedPointer<FileTreeNode>::create(tree, 0);
}

QSharedPointer<FileTreeNode> FileTree::parse(const QByteArray &text, const Identity &identity,
                                             Diagnostic &error)
{
    const JsonText json = TreeFile::parse(text, error);
    if (json.isNull()) {
        return {};
    }
    const auto file = std::make_shared<TreeFile>(
        TreeFile{identity.filePath, json, TextFile::Stamp(), json.text(), TextFile::Stamp()});
    const Pointer tree(new FileTree(file, identity));
    return QSharedPointer<FileTreeNode>::create(tree, 0);
}

bool FileTree::write(const FileTreeNode &root, const QString &projectPath, const QString &filePath,
                     Diagnostic &error) const
{
    TreeStore forOnce;
    TreeStore *session = HostSession::treeStore();
    TreeStore &store = session ? *session : forOnce;
    return store.admits(m_file, filePath, error)
        && (!store.isWriting() || store.write(*m_file, root.text(), projectPath, filePath, error));
}

const JsonText &FileTree::json() const
{
    return m_file->json;
}

} // namespace ConfigScript
