#pragma once

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QVariant>

/// A node of a tree, as the library calls it.
class ConfigurationAndProcessDataBase
{
public:
    using BaseClassSharedPointer = QSharedPointer<ConfigurationAndProcessDataBase>;

    virtual ~ConfigurationAndProcessDataBase() = default;

    virtual BaseClassSharedPointer getNode(const QString &relUrl) const = 0;
    virtual bool isUrlValid(const QString &relUrl) const = 0;
    virtual QVariant getProperty(const QString &propertyKey) const = 0;
    virtual bool hasProperty(const QString &propertyKey) const = 0;
    virtual int setProperty(const QString &propertyKey, const QVariant &value) = 0;
    virtual void addProperty(const QString &propertyKey, const QVariant &value) = 0;
    virtual QHash<QString, BaseClassSharedPointer> getChildMap() const = 0;
};
