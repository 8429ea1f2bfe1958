#include "IniNode.h"

#include <QStringList>

ConfigurationAndProcessDataBase::BaseClassSharedPointer IniNode::getNode(
    const QString &relUrl) const
{
    auto node = sharedFromThis();
    if (!relUrl.isEmpty()) {
        const QStringList names = relUrl.split(QLatin1Char('/'));
        for (const QString &name : names) {
            node = node ? node->m_children.value(name) : nullptr;
        }
    }
    return qSharedPointerConstCast<IniNode>(node);
}

bool IniNode::isUrlValid(const QString &relUrl) const
{
    return !getNode(relUrl).isNull();
}

QVariant IniNode::getProperty(const QString &propertyKey) const
{
    return hasProperty(propertyKey) ? m_properties.value(propertyKey).toVariant() : QVariant();
}

bool IniNode::hasProperty(const QString &propertyKey) const
{
    return m_properties.contains(propertyKey);
}

int IniNode::setProperty(const QString &propertyKey, const QVariant &value)
{
    if (isReadOnly(propertyKey)) {
        return 2;
    }
    const QJsonValue newValue = QJsonValue::fromVariant(value);
    if (m_properties.value(propertyKey) == newValue) {
        return 1;
    }
    m_properties.insert(propertyKey, newValue);
    return 0;
}

void IniNode::addProperty(const QString &propertyKey, const QVariant &value)
{
    m_properties.insert(propertyKey, QJsonValue::fromVariant(value));
}

QHash<QString, ConfigurationAndProcessDataBase::BaseClassSharedPointer> IniNode::getChildMap() const
{
    QHash<QString, BaseClassSharedPointer> children;
    for (auto child = m_children.cbegin(); child != m_children.cend(); ++child) {
        children.insert(child.key(), child.value());
    }
    return children;
}

void IniNode::setReadOnly(const QString &propertyKey)
{
    m_readOnlyKeys.insert(propertyKey);
}

bool IniNode::isReadOnly(const QString &propertyKey) const
{
    return m_readOnlyKeys.contains(propertyKey);
}

const QMap<QString, QJsonValue> &IniNode::properties() const
{
    return m_properties;
}

const QMap<QString, QSharedPointer<IniNode>> &IniNode::children() const
{
    return m_children;
}

QSharedPointer<IniNode> IniNode::makeChild(const QString &name)
{
    auto &child = m_children[name];
    if (child.isNull()) {
        child = QSharedPointer<IniNode>::create();
    }
    return child;
}
