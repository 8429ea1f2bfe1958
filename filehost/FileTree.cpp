#include "FileTree.h"

#include "filehost/FileTreeFormat.h"
#include "filehost/FileTreeNode.h"
#include "filehost/TextFile.h"

FileTree::FileTree(const JsonText &json, const Identity &identity)
    : m_json(json)
    , m_identity(identity)
    , m_storedText(json.text())
{
}

QSharedPointer<FileTreeNode> FileTree::read(const Identity &identity, Diagnostic &error)
{
    QByteArray text;
    if (TextFile::read(identity.filePath, maximumFileSize, text, error)
        != TextFile::ReadResult::Read) {
        return {};
    }
    auto root = parse(text, identity, error);
    if (root.isNull()) {
        error.file = identity.filePath;
    }
    return root;
}

QSharedPointer<FileTreeNode> FileTree::parse(const QByteArray &text, const Identity &identity,
                                             Diagnostic &error)
{
    const JsonText json = JsonText::parse(text, error);
    if (json.isNull() || !FileTreeFormat(json, error).isNode(0)) {
        return {};
    }
    const QSharedPointer<const FileTree> tree(new FileTree(json, identity));
    return QSharedPointer<FileTreeNode>::create(tree, 0);
}

bool FileTree::write(const FileTreeNode &root, const QString &filePath, Diagnostic &error) const
{
    const bool isOwnFile = filePath == m_identity.filePath;
    if (isOwnFile) {
        QByteArray text;
        const auto result = TextFile::read(filePath, maximumFileSize, text, error);
        if (result == TextFile::ReadResult::Unreadable) {
            return false;
        }
        if (result == TextFile::ReadResult::Read && text != m_storedText) {
            error = {filePath, 0, 0,
                     QStringLiteral("cannot be written: the file has changed since it was read")};
            return false;
        }
    }
    const QByteArray text = root.text();
    if (!TextFile::write(filePath, text, error)) {
        return false;
    }
    if (isOwnFile) {
        m_storedText = text;
    }
    return true;
}
