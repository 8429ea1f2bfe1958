#pragma once

#include "filehost/FileHostExport.h"
#include "filehost/FileTree.h"
#include "host/ConfigurationAndProcessDataBase.h"

#include <QEnableSharedFromThis>
#include <QHash>
#include <QStringList>

#include <vector>

namespace ConfigScript {

class JsonEdit;

/**
 * A node of a tree that was read from a file.
 *
 * Values are held in the form that JsonText::value() gives them. The node knows which of its
 * properties were changed since the file was read. It looks up in the text what it is asked for:
 * most of a large tree never is.
 */
class FILEHOST_EXPORT FileTreeNode : public ConfigurationAndProcessDataBase,
                                     public QEnableSharedFromThis<FileTreeNode>
{
public:
    /// @param element the node's in the text of @p tree, which has a tree's format
    FileTreeNode(const FileTree::Pointer &tree, int element);

    /// Child names joined by "/".
    BaseClassSharedPointer getNode(const QString &relUrl) const override;
    bool isUrlValid(const QString &relUrl) const override;

    QVariant getProperty(const QString &propertyKey) const override;
    bool hasProperty(const QString &propertyKey) const override;

    /// Adds a property that the node does not have.
    /// @return 0: written; 1: equal already; 2: the property is read-only; 3: the value has no JSON
    ///         form, or nests deeper than a file may
    int setProperty(const QString &propertyKey, const QVariant &value) override;

    /// Adds nothing, with a warning, when the property is read-only or the value has no JSON form.
    void addProperty(const QString &propertyKey, const QVariant &value) override;

    QHash<QString, BaseClassSharedPointer> getChildMap() const override;

    QStringList propertyKeys() const; ///< in the file's order, added ones last
    QStringList childNames() const; ///< in the file's order
    bool isReadOnly(const QString &propertyKey) const;

    /// As getProperty(), but no observer is told.
    QVariant value(const QString &propertyKey) const;

    /// What getProperty() gave when nothing was written yet.
    QVariant valueInFile(const QString &propertyKey) const;

    /// The relative URL of the node from its tree's root.
    QString path() const;

    /// The children in the file's order.
    QVector<QSharedPointer<const FileTreeNode>> children() const;

    /// Where a property stands in the tree's file, for messages; where the node stands for one that
    /// the file does not hold.
    Diagnostic placeOf(const QString &propertyKey, const QString &message) const;

    const FileTree &tree() const { return *m_tree; }
    FileTree::Pointer sharedTree() const { return m_tree; }

    /// The JSON text of the node and all below it: the file's own, but for the values changed. Of
    /// the root, the whole file.
    QByteArray text() const;

private:
    /// A property that was written.
    struct WrittenProperty
    {
        QString key;
        QVariant value;
        int element; ///< the old value in the tree's text; -1 when the property was added
    };

    int confirm(const QString &propertyKey, const QVariant &value) const;
    QVector<int> valuesOf(int object) const;
    const QSharedPointer<FileTreeNode> &child(int element) const;
    const WrittenProperty *writtenProperty(const QString &key) const;
    const FileTreeNode *find(const QString &relUrl) const;
    int propertyElement(const QString &propertyKey) const;
    bool isTooDeep(const QVariant &value) const;
    QStringList keysOf(int object) const;
    void collectEdits(JsonEdit &edit) const;

    const FileTree::Pointer m_tree;
    // Where they stand in the tree's text; -1 for what the node does not have.
    const int m_element;
    int m_propertiesElement = -1;
    int m_readOnlyElement = -1;
    int m_childrenElement = -1;
    QVector<WrittenProperty> m_writtenProperties; ///< in the order of the first writes
    mutable std::vector<QSharedPointer<FileTreeNode>>
        m_children; ///< those asked for, as in the text
};

} // namespace ConfigScript
