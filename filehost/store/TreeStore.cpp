#include "TreeStore.h"

#include "filehost/store/FileBatch.h"

namespace ConfigScript {

void TreeStore::setBatch(FileBatch *batch)
{
    m_batch = batch;
    m_writtenTrees.clear();
    if (!batch) {
        m_parsedFiles.clear(); // a batch that comes to its end changes most of them
    }
}

std::shared_ptr<TreeFile> TreeStore::read(const QString &filePath, Diagnostic &error)
{
    ParsedFile file = m_parsedFiles.value(filePath);
    if (!TextFile::isUnchanged(filePath, file.stamp)) {
        QByteArray text;
        if (TextFile::read(filePath, TextFile::maximumSize, text, error, &file.stamp)
            != TextFile::ReadResult::Read) {
            return nullptr;
        }
        if (file.json.isNull() || text != file.json.text()) {
            file.json = TreeFile::parse(text, error);
            if (file.json.isNull()) {
                error.file = filePath;
                return nullptr;
            }
        }
        file.path = filePath;
        m_parsedFiles.insert(filePath, file);
    }
    return std::make_shared<TreeFile>(
        TreeFile{file.path, file.json, file.stamp, file.json.text(), TextFile::Stamp()});
}

bool TreeStore::admits(const std::shared_ptr<TreeFile> &tree, const QString &filePath,
                       Diagnostic &error)
{
    const bool isWrittenAtOnce = m_isWriting && !m_batch;
    if (isWrittenAtOnce || filePath != tree->path) {
        return true;
    }
    const TextFile::Stamp file = TextFile::stampOf(filePath);
    if (file.size < 0) {
        return true; // it was removed since it was read
    }
    auto &written = m_writtenTrees[{file.device, file.inode}];
    if (written && written != tree) {
        error = {filePath, 0, 0,
                 QStringLiteral("cannot be written: the file has changed since it was read")};
        return false;
    }
    written = tree;
    return true;
}

bool TreeStore::write(TreeFile &tree, const QByteArray &text, const QString &projectPath,
                      const QString &filePath, Diagnostic &error) const
{
    const bool isOwnFile = filePath == tree.path;
    if (isOwnFile && !tree.isAsRead(error)) {
        return false;
    }
    if (text.size() > TextFile::maximumSize) {
        error = {filePath, 0, 0,
                 QStringLiteral("cannot be written: expected at most %1 bytes, found %2")
                     .arg(TextFile::maximumSize)
                     .arg(text.size())};
        return false;
    }
    if (m_batch) {
        TextFile::Stamp stamp;
        if (!m_batch->add(projectPath, filePath, text, stamp, error)) {
            return false;
        }
        if (isOwnFile) {
            tree.batchedStamp = stamp;
        }
        return true;
    }
    if (!TextFile::write(filePath, text, error)) {
        return false;
    }
    if (isOwnFile) {
        tree.storedText = text;
    }
    return true;
}

} // namespace ConfigScript
