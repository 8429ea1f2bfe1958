#include "InstanceSnapshot.h"

#include "filehost/FileTreeNode.h"
#include "filehost/json/JsonValue.h"

#include <algorithm>

namespace ConfigScript {

namespace {

bool areEqual(const QVariant &left, const QVariant &right)
{
    return left.isValid() == right.isValid()
        && (!left.isValid() || JsonValue::areEqual(left, right));
}

} // namespace

bool InstanceSnapshot::Property::isChanged() const
{
    return !areEqual(value, valueInFile);
}

const InstanceSnapshot::Property *InstanceSnapshot::Node::property(const QString &key) const
{
    const auto found = std::find_if(properties.cbegin(), properties.cend(),
                                    [&key](const Property &other) { return other.key == key; });
    return found == properties.cend() ? nullptr : &*found;
}

QVariant InstanceSnapshot::Node::value(const QString &key) const
{
    const Property *found = property(key);
    return found ? found->value : QVariant();
}

InstanceSnapshot::InstanceSnapshot(const FileTreeNode &root)
{
    add(root, QString(), QString());
}

int InstanceSnapshot::add(const FileTreeNode &node, const QString &name, const QString &path)
{
    const int index = m_nodes.size();
    m_indexes.insert(path, index);
    m_nodes.append({name, path, {}, {}});
    const QStringList keys = node.propertyKeys();
    for (const QString &key : keys) {
        m_nodes[index].properties.append(
            {key, node.value(key), node.valueInFile(key), node.isReadOnly(key)});
    }
    const QStringList names = node.childNames();
    const auto children = node.children();
    for (int i = 0; i < names.size(); ++i) {
        const QString &childName = names.at(i);
        const int child = add(*children.at(i), childName,
                              path.isEmpty() ? childName : path + QLatin1Char('/') + childName);
        m_nodes[index].children.append(child);
    }
    return index;
}

InstanceSnapshot::Effect InstanceSnapshot::set(int node, const QString &key, const QVariant &value,
                                               bool isFromScript)
{
    QVector<Property> &properties = m_nodes[node].properties; // clazy:exclude=detaching-member
    const auto property =
        std::find_if(properties.begin(), properties.end(),
                     [&key](const Property &candidate) { return candidate.key == key; });
    if (property == properties.end()) {
        if (!value.isValid()) {
            return Effect::Nothing;
        }
        properties.append({key, value, QVariant(), false, isFromScript});
        return Effect::Added;
    }
    if (!value.isValid()) {
        properties.erase(property);
        return Effect::Removed;
    }
    const bool isEqual = areEqual(property->value, value);
    property->isFromScript = isFromScript;
    property->value = value;
    return isEqual ? Effect::Nothing : Effect::Changed;
}

int InstanceSnapshot::changedProperties() const
{
    int count = 0;
    for (const Node &node : m_nodes) {
        count += int(std::count_if(node.properties.cbegin(), node.properties.cend(),
                                   [](const Property &property) { return property.isChanged(); }));
    }
    return count;
}

bool InstanceSnapshot::isLike(const InstanceSnapshot &other) const
{
    return std::equal(
        m_nodes.cbegin(), m_nodes.cend(), other.m_nodes.cbegin(), other.m_nodes.cend(),
        [](const Node &a, const Node &b) {
            return a.path == b.path
                && std::equal(a.properties.cbegin(), a.properties.cend(), b.properties.cbegin(),
                              b.properties.cend(),
                              [](const Property &p, const Property &q) { return p.key == q.key; });
        });
}

void InstanceSnapshot::adoptMarks(const InstanceSnapshot &older)
{
    for (Node &node : m_nodes) {
        const int known = older.find(node.path);
        for (Property &property : node.properties) {
            const Property *old = known < 0 ? nullptr : older.node(known).property(property.key);
            property.isFromScript =
                property.isChanged() && old && old->isChanged() && old->isFromScript;
        }
    }
}

} // namespace ConfigScript
