#include "FileTreeNode.h"

#include "filehost/HostSession.h"
#include "filehost/TreeObserver.h"
#include "filehost/json/JsonEdit.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"

#include <QDebug>

#include <algorithm>
#include <utility>

namespace ConfigScript {

FileTreeNode::FileTreeNode(const FileTree::Pointer &tree, int element)
    : m_tree(tree)
    , m_element(element)
{
    static const QString properties = QStringLiteral("properties");
    static const QString readOnly = QStringLiteral("readOnly");
    static const QString children = QStringLiteral("children");
    const JsonText &json = m_tree->json();
    const int end = json.element(element).next;
    for (int i = json.firstChild(element); i < end; i = json.element(i + 1).next) {
        if (json.isString(i, properties)) {
            m_propertiesElement = i + 1;
        } else if (json.isString(i, readOnly)) {
            m_readOnlyElement = i + 1;
        } else if (json.isString(i, children)) {
            m_childrenElement = i + 1;
        }
    }
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer FileTreeNode::getNode(
    const QString &relUrl) const
{
    auto *node =
        const_cast<FileTreeNode *>(find(relUrl)); // a node gives write access to its children
    return node ? node->sharedFromThis() : QSharedPointer<FileTreeNode>();
}

bool FileTreeNode::isUrlValid(const QString &relUrl) const
{
    return find(relUrl) != nullptr;
}

QVariant FileTreeNode::getProperty(const QString &propertyKey) const
{
    QVariant value = this->value(propertyKey);
    if (TreeObserver *observer = HostSession::observer()) {
        observer->propertyRead(*this, propertyKey, value);
    }
    return value;
}

bool FileTreeNode::hasProperty(const QString &propertyKey) const
{
    return writtenProperty(propertyKey) || propertyElement(propertyKey) >= 0;
}

int FileTreeNode::setProperty(const QString &propertyKey, const QVariant &value)
{
    if (isReadOnly(propertyKey)) {
        return 2;
    }
    const QVariant newValue = JsonValue::normalized(value);
    if (!newValue.isValid() || isTooDeep(newValue)) {
        return 3;
    }
    QVariant oldValue;
    if (const WrittenProperty *written = writtenProperty(propertyKey)) {
        if (JsonValue::areEqual(written->value, newValue)) {
            return confirm(propertyKey, newValue);
        }
        const int index = int(written - m_writtenProperties.constData());
        oldValue = std::exchange(m_writtenProperties[index].value, newValue);
    } else {
        const int element = propertyElement(propertyKey);
        if (element >= 0) {
            oldValue = m_tree->json().value(element);
            if (JsonValue::areEqual(oldValue, newValue)) {
                return confirm(propertyKey, newValue);
            }
        }
        m_writtenProperties.append({propertyKey, newValue, element});
    }
    if (TreeObserver *observer = HostSession::observer()) {
        observer->propertyWritten(*this, propertyKey, oldValue, newValue);
    }
    return 0;
}

/// What setProperty() does about a value that is there already.
int FileTreeNode::confirm(const QString &propertyKey, const QVariant &value) const
{
    if (TreeObserver *observer = HostSession::observer()) {
        observer->propertyConfirmed(*this, propertyKey, value);
    }
    return 1;
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
    const JsonText &json = m_tree->json();
    const QVector<int> elements = valuesOf(m_childrenElement);
    for (const int element : elements) {
        children.insert(json.string(element - 1), child(element));
    }
    return children;
}

QStringList FileTreeNode::propertyKeys() const
{
    QStringList keys = keysOf(m_propertiesElement);
    for (const WrittenProperty &property : m_writtenProperties) {
        if (property.element < 0) {
            keys.append(property.key);
        }
    }
    return keys;
}

QStringList FileTreeNode::childNames() const
{
    return keysOf(m_childrenElement);
}

bool FileTreeNode::isReadOnly(const QString &propertyKey) const
{
    const JsonText &json = m_tree->json();
    if (m_readOnlyElement >= 0) {
        const int end = json.element(m_readOnlyElement).next;
        for (int i = json.firstChild(m_readOnlyElement); i < end; ++i) {
            if (json.isString(i, propertyKey)) {
                return true;
            }
        }
    }
    return false;
}

QVariant FileTreeNode::value(const QString &propertyKey) const
{
    const WrittenProperty *written = writtenProperty(propertyKey);
    return written ? written->value : valueInFile(propertyKey);
}

QVariant FileTreeNode::valueInFile(const QString &propertyKey) const
{
    const int element = propertyElement(propertyKey);
    return element < 0 ? QVariant() : m_tree->json().value(element);
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
    const QVector<int> elements = valuesOf(m_childrenElement);
    for (const int element : elements) {
        children.append(child(element));
    }
    return children;
}

Diagnostic FileTreeNode::placeOf(const QString &propertyKey, const QString &message) const
{
    const int property = propertyElement(propertyKey);
    const int element = property >= 0 ? property : m_element;
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
        const QString name = QString::fromRawData(relUrl.constData() + begin, end - begin);
        const int element =
            node->m_childrenElement < 0 ? -1 : m_tree->json().member(node->m_childrenElement, name);
        node = element < 0 ? nullptr : node->child(element).data();
        begin = end + 1;
    }
    return node;
}

/// The values of an object's members, in their order; each one's key stands in front of it.
QVector<int> FileTreeNode::valuesOf(int object) const
{
    QVector<int> elements;
    const JsonText &json = m_tree->json();
    if (object >= 0) {
        const int end = json.element(object).next;
        for (int i = json.firstChild(object); i < end; i = json.element(i + 1).next) {
            elements.append(i + 1);
        }
    }
    return elements;
}

/// The child whose text is @p element; the reference is for use before another child is asked for.
const QSharedPointer<FileTreeNode> &FileTreeNode::child(int element) const
{
    const auto known = std::lower_bound(m_children.cbegin(), m_children.cend(), element,
                                        [](const QSharedPointer<FileTreeNode> &child, int wanted) {
                                            return child->m_element < wanted;
                                        });
    if (known != m_children.cend() && (*known)->m_element == element) {
        return *known;
    }
    return *m_children.insert(known, QSharedPointer<FileTreeNode>::create(m_tree, element));
}

/// Whether the file could not be read again with a value.
bool FileTreeNode::isTooDeep(const QVariant &value) const
{
    const int depth = JsonValue::depth(value);
    if (depth == 0) {
        return false;
    }
    const QString ownPath = path();
    const int ancestors = ownPath.isEmpty() ? 0 : 1 + ownPath.count(QLatin1Char('/'));
    // Each ancestor is an object in the object "children"; the value stands in "properties".
    return 2 * ancestors + 2 + depth > JsonText::maximumDepth;
}

/// Null when the property was not written.
const FileTreeNode::WrittenProperty *FileTreeNode::writtenProperty(const QString &key) const
{
    const auto property =
        std::find_if(m_writtenProperties.cbegin(), m_writtenProperties.cend(),
                     [&key](const WrittenProperty &candidate) { return candidate.key == key; });
    return property == m_writtenProperties.cend() ? nullptr : &*property;
}

/// The value in the tree's text; -1 when there is none.
int FileTreeNode::propertyElement(const QString &propertyKey) const
{
    return m_propertiesElement < 0 ? -1 : m_tree->json().member(m_propertiesElement, propertyKey);
}

QStringList FileTreeNode::keysOf(int object) const
{
    QStringList keys;
    const QVector<int> elements = valuesOf(object);
    for (const int element : elements) {
        keys.append(m_tree->json().string(element - 1));
    }
    return keys;
}

void FileTreeNode::collectEdits(JsonEdit &edit) const
{
    QVector<JsonEdit::Member> added;
    for (const WrittenProperty &property : m_writtenProperties) {
        if (property.element >= 0) {
            edit.setValue(property.element, property.value);
        } else {
            added.append({property.key, property.value});
        }
    }
    if (!added.isEmpty()) {
        if (m_propertiesElement >= 0) {
            edit.appendMembers(m_propertiesElement, added);
        } else {
            edit.prependObject(m_element, QStringLiteral("properties"), added);
        }
    }
    for (const auto &child : qAsConst(m_children)) {
        child->collectEdits(edit);
    }
}

} // namespace ConfigScript
