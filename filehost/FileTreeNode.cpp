#include "FileTreeNode.h"

#include "filehost/HostSession.h"
#include "filehost/JsonEdit.h"
#include "filehost/JsonValue.h"
#include "filehost/TreeObserver.h"

#include <QDebug>

#include <utility>

ConfigurationAndProcessDataBase::BaseClassSharedPointer FileTreeNode::getNode(
    const QString &relUrl) const
{
    const FileTreeNode *node = find(relUrl);
    return node ? qSharedPointerConstCast<FileTreeNode>(node->sharedFromThis())
                : QSharedPointer<FileTreeNode>();
}

bool FileTreeNode::isUrlValid(const QString &relUrl) const
{
    return find(relUrl) != nullptr;
}

QVariant FileTreeNode::getProperty(const QString &propertyKey) const
{
    QVariant value = m_properties.value(propertyKey).value;
    if (TreeObserver *observer = HostSession::observer()) {
        observer->propertyRead(*this, propertyKey, value);
    }
    return value;
}

bool FileTreeNode::hasProperty(const QString &propertyKey) const
{
    return m_properties.contains(propertyKey);
}

int FileTreeNode::setProperty(const QString &propertyKey, const QVariant &value)
{
    if (m_readOnlyKeys.contains(propertyKey)) {
        return 2;
    }
    const QVariant newValue = JsonValue::normalized(value);
    if (!newValue.isValid()) {
        return 3;
    }
    QVariant oldValue;
    const auto property = m_properties.find(propertyKey);
    if (property == m_properties.end()) {
        m_properties.insert(propertyKey, {newValue, -1, true});
        m_addedKeys.append(propertyKey);
    } else if (JsonValue::areEqual(property->value, newValue)) {
        return 1;
    } else {
        oldValue = std::exchange(property->value, newValue);
        property->isChanged = true;
    }
    if (TreeObserver *observer = HostSession::observer()) {
        observer->propertyWritten(*this, propertyKey, oldValue, newValue);
    }
    return 0;
}

void FileTreeNode::addProperty(const QString &propertyKey, const QVariant &value)
{
    switch (setProperty(propertyKey, value)) {
    case 2:
        qWarning() << "Can not add read-only property:" << propertyKey;
        break;
    case 3:
        qWarning() << "Can not add property:" << propertyKey
                   << "because its value has no JSON form:" << value;
        break;
    default:
        break;
    }
}

QHash<QString, ConfigurationAndProcessDataBase::BaseClassSharedPointer> FileTreeNode::getChildMap()
    const
{
    QHash<QString, BaseClassSharedPointer> children;
    children.reserve(m_children.size());
    for (auto it = m_children.cbegin(); it != m_children.cend(); ++it) {
        children.insert(it.key(), it.value());
    }
    return children;
}

QStringList FileTreeNode::propertyKeys() const
{
    return keysOf(QStringLiteral("properties")) + m_addedKeys;
}

QStringList FileTreeNode::childNames() const
{
    return keysOf(QStringLiteral("children"));
}

bool FileTreeNode::isReadOnly(const QString &propertyKey) const
{
    return m_readOnlyKeys.contains(propertyKey);
}

QString FileTreeNode::path() const
{
    const JsonText &json = m_tree->json();
    QStringList names;
    for (int node = 0; node != m_element;) {
        // The child whose text this node lies in.
        int name = json.firstChild(json.member(node, QStringLiteral("children")));
        while (json.element(name + 1).next <= m_element) {
            name = json.element(name + 1).next;
        }
        names.append(json.string(name));
        node = name + 1;
    }
    return names.join(QLatin1Char('/'));
}

QVector<QSharedPointer<const FileTreeNode>> FileTreeNode::children() const
{
    QVector<QSharedPointer<const FileTreeNode>> children;
    const QStringList names = childNames();
    for (const QString &name : names) {
        children.append(m_children.value(name));
    }
    return children;
}

Diagnostic FileTreeNode::placeOf(const QString &propertyKey, const QString &message) const
{
    const auto property = m_properties.constFind(propertyKey);
    const int element = property != m_properties.constEnd() && property->element >= 0
        ? property->element
        : m_element;
    const JsonText &json = m_tree->json();
    Diagnostic place = json.placeOf(json.element(element).begin, message);
    place.file = m_tree->identity().filePath;
    return place;
}

QByteArray FileTreeNode::text() const
{
    JsonEdit edit(m_tree->json());
    collectEdits(edit);
    return edit.result(m_element);
}

const FileTreeNode *FileTreeNode::find(const QString &relUrl) const
{
    if (relUrl.isEmpty()) {
        return this;
    }
    const FileTreeNode *node = this;
    for (int begin = 0; node && begin <= relUrl.size();) {
        int end = relUrl.indexOf(QLatin1Char('/'), begin);
        if (end < 0) {
            end = relUrl.size();
        }
        node = node->m_children.value(relUrl.mid(begin, end - begin)).data();
        begin = end + 1;
    }
    return node;
}

QStringList FileTreeNode::keysOf(const QString &member) const
{
    const JsonText &json = m_tree->json();
    const int object = json.member(m_element, member);
    QStringList keys;
    if (object >= 0) {
        for (int i = json.firstChild(object); i < json.element(object).next;
             i = json.element(i + 1).next) {
            keys.append(json.string(i));
        }
    }
    return keys;
}

void FileTreeNode::collectEdits(JsonEdit &edit) const
{
    for (const Property &property : m_properties) {
        if (property.isChanged && property.element >= 0) {
            edit.setValue(property.element, property.value);
        }
    }
    if (!m_addedKeys.isEmpty()) {
        QVector<JsonEdit::Member> members;
        for (const QString &key : m_addedKeys) {
            members.append({key, m_properties.value(key).value});
        }
        const int properties = m_tree->json().member(m_element, QStringLiteral("properties"));
        if (properties >= 0) {
            edit.appendMembers(properties, members);
        } else {
            edit.prependObject(m_element, QStringLiteral("properties"), members);
        }
    }
    for (const auto &child : m_children) {
        child->collectEdits(edit);
    }
}
