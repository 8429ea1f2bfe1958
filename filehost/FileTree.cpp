#include "FileTree.h"

#include "filehost/FileBatch.h"
#include "filehost/FileTreeFormat.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"

FileTree::FileTree(const JsonText &json, const Identity &identity, const TextFile::Stamp &stamp)
    : m_json(json)
    , m_identity(identity)
    , m_storedText(json.text())
    , m_stamp(stamp)
{
}

QSharedPointer<FileTreeNode> FileTree::read(const Identity &identity, Diagnostic &error)
{
    HostSession::ParsedFile file = HostSession::parsedFile(identity.filePath);
    if (!TextFile::isUnchanged(identity.filePath, file.stamp)) {
        QByteArray text;
        if (TextFile::read(identity.filePath, maximumFileSize, text, error, &file.stamp)
            != TextFile::ReadResult::Read) {
            return {};
        }
        if (file.json.isNull() || text != file.json.text()) {
            file.json = parseText(text, error);
            if (file.json.isNull()) {
                error.file = identity.filePath;
                return {};
            }
        }
        file.path = identity.filePath;
        HostSession::setParsedFile(file);
    }
    const Pointer tree(
        new FileTree(file.json, {file.path, identity.instance, identity.kind}, file.stamp));
    return QSharedPointer<FileTreeNode>::create(tree, 0);
}

QSharedPointer<FileTreeNode> FileTree::parse(const QByteArray &text, const Identity &identity,
                                             Diagnostic &error)
{
    const JsonText json = parseText(text, error);
    if (json.isNull()) {
        return {};
    }
    const Pointer tree(new FileTree(json, identity, TextFile::Stamp()));
    return QSharedPointer<FileTreeNode>::create(tree, 0);
}

/// Null, with the error set, when the text is no tree.
JsonText FileTree::parseText(const QByteArray &text, Diagnostic &error)
{
    const JsonText json = JsonText::parse(text, error);
    return !json.isNull() && FileTreeFormat(json, error).isNode(0) ? json : JsonText();
}

bool FileTree::write(const FileTreeNode &root, const QString &projectPath, const QString &filePath,
                     Diagnostic &error) const
{
    const bool isOwnFile = filePath == m_identity.filePath;
    if (isOwnFile && !isAsRead(error)) {
        return false;
    }
    const QByteArray text = root.text();
    if (text.size() > maximumFileSize) {
        error = {filePath, 0, 0,
                 QStringLiteral("cannot be written: expected at most %1 bytes, found %2")
                     .arg(maximumFileSize)
                     .arg(text.size())};
        return false;
    }
    if (FileBatch *batch = HostSession::batch()) {
        TextFile::Stamp stamp;
        if (!batch->add(projectPath, filePath, text, stamp, error)) {
            return false;
        }
        if (isOwnFile) {
            m_batchedStamp = stamp;
        }
        return true;
    }
    if (!TextFile::write(filePath, text, error)) {
        return false;
    }
    if (isOwnFile) {
        m_storedText = text;
    }
    return true;
}

/// Whether nobody else has written the tree's file.
bool FileTree::isAsRead(Diagnostic &error) const
{
    const QString &filePath = m_identity.filePath;
    if (TextFile::isUnchanged(filePath, m_stamp)) {
        return true;
    }
    QByteArray text;
    TextFile::Stamp stamp;
    const auto result = TextFile::read(filePath, maximumFileSize, text, error, &stamp);
    const bool isBatched = stamp.device == m_batchedStamp.device
        && stamp.inode == m_batchedStamp.inode && stamp.size == m_batchedStamp.size
        && stamp.modified == m_batchedStamp.modified;
    if (result == TextFile::ReadResult::Read && !isBatched && text != m_storedText) {
        error = {filePath, 0, 0,
                 QStringLiteral("cannot be written: the file has changed since it was read")};
        return false;
    }
    return result != TextFile::ReadResult::Unreadable;
}
