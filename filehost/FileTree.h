#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/FileHostExport.h"

#include <QByteArray>
#include <QExplicitlySharedDataPointer>
#include <QSharedData>
#include <QSharedPointer>
#include <QString>

#include <memory>

namespace ConfigScript {

class FileTreeNode;
class JsonText;
struct TreeFile;

/**
 * A tree's file as it was read: what the nodes of the tree share.
 *
 * The format of a tree: one JSON object for each node, with the optional members "properties" (an
 * object: key to value), "readOnly" (an array of keys that cannot be written) and "children" (an
 * object: name to node). Other members are kept and not looked at.
 */
class FILEHOST_EXPORT FileTree : public QSharedData
{
public:
    /// Each node has one, which is why it is small.
    using Pointer = QExplicitlySharedDataPointer<const FileTree>;

    enum class Kind { Configuration, Process };

    /// What the tree is, for those who watch it.
    struct Identity
    {
        QString filePath;
        QString instance;
        Kind kind = Kind::Configuration;
    };

    ~FileTree();

    /// The tree in the file that @p identity names. Null when there is no such file, and null with
    /// @p error set when it holds no tree.
    /// Within a HostSession, a file that has not changed is parsed once.
    static QSharedPointer<FileTreeNode> read(const Identity &identity, Diagnostic &error);

    /// The tree that @p text holds; null, with @p error set but for its file, when it holds none.
    static QSharedPointer<FileTreeNode> parse(const QByteArray &text, const Identity &identity,
                                              Diagnostic &error);

    /**
     * Writes the tree below @p root, the tree's root, to @p filePath; into the session's batch, if
     * it has one. Touches no file, but succeeds, when the session writes nothing.
     * @param projectPath the folder of the project that the file belongs to
     * @return false, with @p error set, when it could not be written; when the tree's own file has
     *         changed since it was read: what was written there would be lost; and when another
     *         tree of the same file was written before, and the file does not show that yet
     */
    bool write(const FileTreeNode &root, const QString &projectPath, const QString &filePath,
               Diagnostic &error) const;

    const JsonText &json() const;
    const Identity &identity() const { return m_identity; }

private:
    Q_DISABLE_COPY(FileTree)

    FileTree(std::shared_ptr<TreeFile> file, const Identity &identity);

    const std::shared_ptr<TreeFile> m_file;
    const Identity m_identity;
};

} // namespace ConfigScript
