#pragma once

#include "filehost/FileHostExport.h"

#include <QSharedPointer>
#include <QString>
#include <QVariant>
#include <QtGlobal>

namespace ConfigScript {

class FileTreeNode;
struct Diagnostic;

/**
 * Sees everything that happens to the trees of the file host. All operations are called on the
 * thread that uses the tree, in the middle of the work: they must not change trees.
 */
class FILEHOST_EXPORT TreeObserver
{
public:
    TreeObserver() = default;
    virtual ~TreeObserver() = default;

    /// A tree was read from its file; see FileTree::identity().
    virtual void treeRead(const QSharedPointer<const FileTreeNode> &root);

    /// @param value invalid when the node has no such property
    virtual void propertyRead(const FileTreeNode &node, const QString &propertyKey,
                              const QVariant &value);

    /// @param oldValue invalid when the property was added
    virtual void propertyWritten(const FileTreeNode &node, const QString &propertyKey,
                                 const QVariant &oldValue, const QVariant &newValue);

    /// A property was given the value that it has already.
    virtual void propertyConfirmed(const FileTreeNode &node, const QString &propertyKey,
                                   const QVariant &value);

    /// A tree is stored, or would be if the session wrote files.
    virtual void treeSaved(const FileTreeNode &root, const QString &filePath);

    /// A tree could not be stored.
    virtual void treeNotSaved(const FileTreeNode &root, const Diagnostic &reason);

private:
    Q_DISABLE_COPY(TreeObserver)
};

} // namespace ConfigScript
