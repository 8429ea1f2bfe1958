#pragma once

#include "host/ConfigurationAndProcessDataBase.h"

#include <QEnableSharedFromThis>
#include <QHash>
#include <QJsonObject>
#include <QSet>
#include <QString>
#include <QVariant>

/// A node of a tree in memory. Each operation is recorded in the CallLog.
class MemoryNode : public ConfigurationAndProcessDataBase, public QEnableSharedFromThis<MemoryNode>
{
public:
    /// @param json see TestHost
    static QSharedPointer<MemoryNode> fromJson(const QJsonObject &json,
                                               const QString &path = QString());

    /// A deep copy.
    QSharedPointer<MemoryNode> clone() const;

    /// As getNode() and getProperty(), not recorded.
    QSharedPointer<const MemoryNode> find(const QString &relUrl) const;
    QVariant property(const QString &propertyKey) const;

    BaseClassSharedPointer getNode(const QString &relUrl) const override;
    bool isUrlValid(const QString &relUrl) const override;
    QVariant getProperty(const QString &propertyKey) const override;
    bool hasProperty(const QString &propertyKey) const override;
    /// @return 0: written; 1: equal already; 2: read-only
    int setProperty(const QString &propertyKey, const QVariant &value) override;
    void addProperty(const QString &propertyKey, const QVariant &value) override;
    QHash<QString, BaseClassSharedPointer> getChildMap() const override;

private:
    void log(const QString &call) const;

    QString m_path;
    QHash<QString, QVariant> m_properties;
    QSet<QString> m_readOnly;
    QHash<QString, QSharedPointer<MemoryNode>> m_children;
};
