#include "MemoryNode.h"

#include "memoryhost/CallLog.h"
#include "support/CallText.h"

#include <QJsonArray>
#include <QJsonValue>
#include <QStringList>

QSharedPointer<MemoryNode> MemoryNode::fromJson(const QJsonObject &json, const QString &path)
{
    const auto node = QSharedPointer<MemoryNode>::create();
    node->m_path = path;
    node->m_properties = json.value(QLatin1String("properties")).toObject().toVariantHash();
    const QJsonArray readOnly = json.value(QLatin1String("readOnly")).toArray();
    for (const QJsonValue &propertyKey : readOnly) {
        node->m_readOnly.insert(propertyKey.toString());
    }
    const QJsonObject children = json.value(QLatin1String("children")).toObject();
    for (auto child = children.begin(); child != children.end(); ++child) {
        const QString childPath =
            path.isEmpty() ? child.key() : path + QLatin1Char('/') + child.key();
        node->m_children.insert(child.key(), fromJson(child.value().toObject(), childPath));
    }
    return node;
}

QSharedPointer<MemoryNode> MemoryNode::clone() const
{
    const auto copy = QSharedPointer<MemoryNode>::create();
    copy->m_path = m_path;
    copy->m_properties = m_properties;
    copy->m_readOnly = m_readOnly;
    for (auto child = m_children.begin(); child != m_children.end(); ++child) {
        copy->m_children.insert(child.key(), child.value()->clone());
    }
    return copy;
}

QSharedPointer<const MemoryNode> MemoryNode::find(const QString &relUrl) const
{
    QSharedPointer<const MemoryNode> node = sharedFromThis();
    if (relUrl.isEmpty()) {
        return node;
    }
    const QStringList names = relUrl.split(QLatin1Char('/'));
    for (const QString &name : names) {
        node = node->m_children.value(name);
        if (node.isNull()) {
            break;
        }
    }
    return node;
}

QVariant MemoryNode::property(const QString &propertyKey) const
{
    return m_properties.value(propertyKey);
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer MemoryNode::getNode(
    const QString &relUrl) const
{
    log(callText("getNode", relUrl));
    return find(relUrl).constCast<MemoryNode>();
}

bool MemoryNode::isUrlValid(const QString &relUrl) const
{
    log(callText("isUrlValid", relUrl));
    return !find(relUrl).isNull();
}

QVariant MemoryNode::getProperty(const QString &propertyKey) const
{
    log(callText("getProperty", propertyKey));
    return property(propertyKey);
}

bool MemoryNode::hasProperty(const QString &propertyKey) const
{
    log(callText("hasProperty", propertyKey));
    return m_properties.contains(propertyKey);
}

int MemoryNode::setProperty(const QString &propertyKey, const QVariant &value)
{
    log(callText("setProperty", propertyKey, value));
    if (m_readOnly.contains(propertyKey)) {
        return 2;
    }
    QVariant &property = m_properties[propertyKey];
    // Not as variants: to them a number equals its text.
    if (QJsonValue::fromVariant(property) == QJsonValue::fromVariant(value)) {
        return 1;
    }
    property = value;
    return 0;
}

void MemoryNode::addProperty(const QString &propertyKey, const QVariant &value)
{
    log(callText("addProperty", propertyKey, value));
    m_properties.insert(propertyKey, value);
}

QHash<QString, ConfigurationAndProcessDataBase::BaseClassSharedPointer> MemoryNode::getChildMap()
    const
{
    log(callText("getChildMap"));
    QHash<QString, BaseClassSharedPointer> children;
    for (auto child = m_children.begin(); child != m_children.end(); ++child) {
        children.insert(child.key(), child.value());
    }
    return children;
}

void MemoryNode::log(const QString &call) const
{
    CallLog::add(m_path.isEmpty() ? call : m_path + QLatin1String(": ") + call);
}
