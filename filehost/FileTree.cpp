#include "FileTree.h"

#include "filehost/FileTreeBuilder.h"
#include "filehost/TextFile.h"

FileTree::FileTree(const JsonText &json, const Identity &identity)
    : m_json(json)
    , m_identity(identity)
{
}

QSharedPointer<FileTreeNode> FileTree::read(const Identity &identity, Diagnostic &error)
{
    QByteArray text;
    if (TextFile::read(identity.filePath, maximumFileSize, text, error)
        != TextFile::ReadResult::Read) {
        return {};
    }
    const auto root = parse(text, identity, error);
    if (root.isNull()) {
        error.file = identity.filePath;
    }
    return root;
}

QSharedPointer<FileTreeNode> FileTree::parse(const QByteArray &text, const Identity &identity,
                                             Diagnostic &error)
{
    const JsonText json = JsonText::parse(text, error);
    if (json.isNull()) {
        return {};
    }
    const QSharedPointer<const FileTree> tree(new FileTree(json, identity));
    return FileTreeBuilder(tree, error).build(0);
}
