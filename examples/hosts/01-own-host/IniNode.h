#pragma once

#include "host/ConfigurationAndProcessDataBase.h"

#include <QEnableSharedFromThis>
#include <QJsonValue>
#include <QMap>
#include <QSet>

/// A node of a tree in memory. Names in a relative URL are joined by "/".
class IniNode : public ConfigurationAndProcessDataBase, public QEnableSharedFromThis<IniNode>
{
public:
    BaseClassSharedPointer getNode(const QString &relUrl) const override;
    bool isUrlValid(const QString &relUrl) const override;
    QVariant getProperty(const QString &propertyKey) const override;
    bool hasProperty(const QString &propertyKey) const override;

    /// @return 0: written; 1: equal already; 2: the property is read-only
    int setProperty(const QString &propertyKey, const QVariant &value) override;

    void addProperty(const QString &propertyKey, const QVariant &value) override;
    QHash<QString, BaseClassSharedPointer> getChildMap() const override;

    // What the file needs besides.

    void setReadOnly(const QString &propertyKey);
    bool isReadOnly(const QString &propertyKey) const;
    const QMap<QString, QJsonValue> &properties() const;
    const QMap<QString, QSharedPointer<IniNode>> &children() const;

    /// The child @p name, made when it is not there.
    QSharedPointer<IniNode> makeChild(const QString &name);

private:
    QMap<QString, QJsonValue> m_properties;
    QSet<QString> m_readOnlyKeys;
    QMap<QString, QSharedPointer<IniNode>> m_children;
};
