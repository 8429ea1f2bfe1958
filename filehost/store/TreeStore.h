#pragma once

#include "filehost/store/TreeFile.h"

#include <QHash>
#include <QString>

#include <map>
#include <memory>
#include <utility>

namespace ConfigScript {

class FileBatch;

/**
 * The files of trees: parses each once as long as it does not change, and writes them at once, as
 * part of a batch, or not at all. Used on one thread.
 */
class TreeStore
{
public:
    TreeStore() = default;

    /// From now on, write() succeeds without touching files.
    void writeNothing() { m_isWriting = false; }
    bool isWriting() const { return m_isWriting; }

    /// Forgets which trees were written, and, without a batch, the parsed files.
    /// @param batch not owned; null for none
    void setBatch(FileBatch *batch);
    FileBatch *batch() const { return m_batch; }

    /// Null when there is no such file, and null with @p error set when it holds no tree.
    std::shared_ptr<TreeFile> read(const QString &filePath, Diagnostic &error);

    /**
     * Whether a tree may be written to @p filePath. A store that writes nothing, or into a batch,
     * remembers who did, and refuses, with @p error set, a second reader of the same file: it was
     * read without what the first one would have written.
     */
    bool admits(const std::shared_ptr<TreeFile> &tree, const QString &filePath, Diagnostic &error);

    /**
     * @param tree the file that the text was made from; may be another than @p filePath
     * @param projectPath the folder of the project that @p filePath belongs to
     * @return false, with @p error set, when it could not be written, or when the tree's own file
     *         has changed since it was read: what was written there would be lost
     */
    bool write(TreeFile &tree, const QByteArray &text, const QString &projectPath,
               const QString &filePath, Diagnostic &error) const;

private:
    Q_DISABLE_COPY(TreeStore)

    struct ParsedFile
    {
        QString path; ///< shared by all trees of the file
        JsonText json; ///< null when the file was not read yet
        TextFile::Stamp stamp;
    };

    bool m_isWriting = true;
    FileBatch *m_batch = nullptr;
    std::map<std::pair<quint64, quint64>, std::shared_ptr<TreeFile>> m_writtenTrees; ///< by file
    QHash<QString, ParsedFile> m_parsedFiles;
};

} // namespace ConfigScript
