#pragma once

#include "host/ConfigurationAndProcessDataBase.h"
#include "support/CallText.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QVariant>

/// A node that answers what it is told to, and records its calls in a list shared with others.
class RecordingNode : public ConfigurationAndProcessDataBase
{
public:
    /// @param name how the node is called in the list
    RecordingNode(QStringList &calls, const QString &name)
        : m_calls(calls)
        , m_name(name)
    {
    }

    QHash<QString, BaseClassSharedPointer> nodes; ///< descendants by relative URL
    QHash<QString, BaseClassSharedPointer> children; ///< the child map
    QHash<QString, QVariant> properties;
    bool isEveryUrlValid = true;
    int writeStatus = 0; ///< what a property write returns; it stores the value only if 0

    BaseClassSharedPointer getNode(const QString &relUrl) const override
    {
        record(callText("getNode", relUrl));
        return nodes.value(relUrl);
    }

    bool isUrlValid(const QString &relUrl) const override
    {
        record(callText("isUrlValid", relUrl));
        return isEveryUrlValid;
    }

    QVariant getProperty(const QString &propertyKey) const override
    {
        record(callText("getProperty", propertyKey));
        return properties.value(propertyKey);
    }

    bool hasProperty(const QString &propertyKey) const override
    {
        record(callText("hasProperty", propertyKey));
        return properties.contains(propertyKey);
    }

    int setProperty(const QString &propertyKey, const QVariant &value) override
    {
        record(callText("setProperty", propertyKey, value));
        if (writeStatus == 0) {
            properties.insert(propertyKey, value);
        }
        return writeStatus;
    }

    void addProperty(const QString &propertyKey, const QVariant &value) override
    {
        record(callText("addProperty", propertyKey, value));
        properties.insert(propertyKey, value);
    }

    QHash<QString, BaseClassSharedPointer> getChildMap() const override
    {
        record(callText("getChildMap"));
        return children;
    }

private:
    void record(const QString &call) const { m_calls.append(m_name + QLatin1Char('.') + call); }

    QStringList &m_calls;
    QString m_name;
};
