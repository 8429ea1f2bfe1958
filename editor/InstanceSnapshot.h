#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>

namespace ConfigScript {

class FileTreeNode;

/**
 * The tree of an open instance as plain data: what the window shows of it. It may go from thread to
 * thread, and knows nothing of the tree that it was taken from.
 */
class InstanceSnapshot
{
public:
    struct Property
    {
        QString key;
        QVariant value;
        QVariant valueInFile; ///< invalid when the file does not hold the property
        bool isReadOnly = false;
        bool isFromScript = false; ///< whether a script wrote the value, not the user

        bool isChanged() const;
    };

    struct Node
    {
        QString name;
        QString path; ///< relative URL from the root, whose own is empty
        QVector<int> children;
        QVector<Property> properties;

        /// Null when the node has no such property.
        const Property *property(const QString &key) const;
        QVariant value(const QString &key) const;
    };

    InstanceSnapshot() = default;
    explicit InstanceSnapshot(const FileTreeNode &root);

    bool isEmpty() const { return m_nodes.isEmpty(); }
    int size() const { return m_nodes.size(); }
    const Node &node(int index) const { return m_nodes.at(index); } ///< 0 is the root

    /// The node with that relative URL; -1 when there is none.
    int find(const QString &path) const { return m_indexes.value(path, -1); }

    /// What set() did to the properties of a node.
    enum class Effect { Nothing, Changed, Added, Removed };

    /// @param value invalid to remove the property
    Effect set(int node, const QString &key, const QVariant &value, bool isFromScript);

    int changedProperties() const;

    /// Whether both have the same nodes and properties, whatever the values.
    bool isLike(const InstanceSnapshot &other) const;

    /// Takes over from an older snapshot of the instance which of the changed values are a
    /// script's.
    void adoptMarks(const InstanceSnapshot &older);

private:
    int add(const FileTreeNode &node, const QString &name, const QString &path);

    QVector<Node> m_nodes; ///< each before its children
    QHash<QString, int> m_indexes; ///< by path
};

} // namespace ConfigScript
