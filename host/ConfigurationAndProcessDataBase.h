#pragma once

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

/**
 * A node of a configuration tree or of a process description.
 *
 * A node has properties (key to value) and named children. A relative URL is the path from a node
 * to one of its descendants; its syntax is the host's, and the empty one is the node itself.
 * Nodes are shared: whoever holds the pointer keeps the node usable.
 */
class ConfigurationAndProcessDataBase
{
public:
    using BaseClassSharedPointer = QSharedPointer<ConfigurationAndProcessDataBase>;

    ConfigurationAndProcessDataBase() = default;
    virtual ~ConfigurationAndProcessDataBase() = default;

    /// The descendant that @p relUrl addresses; null when there is none.
    virtual BaseClassSharedPointer getNode(const QString &relUrl) const = 0;

    /// Whether @p relUrl addresses this node or one of its descendants.
    virtual bool isUrlValid(const QString &relUrl) const = 0;

    /// The value of a property of this node; invalid when the node has no such property.
    virtual QVariant getProperty(const QString &propertyKey) const = 0;

    virtual bool hasProperty(const QString &propertyKey) const = 0;

    /**
     * Writes a property that the node has.
     * @return 0: written; 1: refused, and nobody needs to hear of it (for instance because the
     *         value is equal already); any other number: refused, worth a warning.
     */
    virtual int setProperty(const QString &propertyKey, const QVariant &value) = 0;

    /// Gives the node a property that it does not have. The caller takes it as done: a host that
    /// cannot do it should warn.
    virtual void addProperty(const QString &propertyKey, const QVariant &value) = 0;

    /// The direct children by name.
    virtual QHash<QString, BaseClassSharedPointer> getChildMap() const = 0;

private:
    Q_DISABLE_COPY(ConfigurationAndProcessDataBase)
};
