#include "FileTreeBuilder.h"

FileTreeBuilder::FileTreeBuilder(const QSharedPointer<const FileTree> &tree, Diagnostic &error)
    : m_tree(tree)
    , m_json(tree->json())
    , m_error(error)
{
}

QSharedPointer<FileTreeNode> FileTreeBuilder::build(int element)
{
    if (!expect(element, JsonText::Type::Object, "a node: an object")) {
        return {};
    }
    auto node = QSharedPointer<FileTreeNode>::create();
    node->m_tree = m_tree;
    node->m_element = element;
    const int end = m_json.element(element).next;
    for (int i = m_json.firstChild(element); i < end; i = m_json.element(i + 1).next) {
        const QString key = m_json.string(i);
        if ((key == QLatin1String("properties") && !addProperties(*node, i + 1))
            || (key == QLatin1String("readOnly") && !addReadOnlyKeys(*node, i + 1))
            || (key == QLatin1String("children") && !addChildren(*node, i + 1))) {
            return {};
        }
    }
    return node;
}

bool FileTreeBuilder::addProperties(FileTreeNode &node, int object)
{
    if (!expect(object, JsonText::Type::Object, "an object as \"properties\"")) {
        return false;
    }
    const int end = m_json.element(object).next;
    for (int i = m_json.firstChild(object); i < end; i = m_json.element(i + 1).next) {
        node.m_properties.insert(m_json.string(i), {m_json.value(i + 1), i + 1, false});
    }
    return true;
}

bool FileTreeBuilder::addReadOnlyKeys(FileTreeNode &node, int array)
{
    if (!expect(array, JsonText::Type::Array, "an array of keys as \"readOnly\"")) {
        return false;
    }
    const int end = m_json.element(array).next;
    for (int i = m_json.firstChild(array); i < end; i = m_json.element(i).next) {
        if (!expect(i, JsonText::Type::String, "a property's key in \"readOnly\"")) {
            return false;
        }
        node.m_readOnlyKeys.insert(m_json.string(i));
    }
    return true;
}

bool FileTreeBuilder::addChildren(FileTreeNode &node, int object)
{
    if (!expect(object, JsonText::Type::Object, "an object as \"children\"")) {
        return false;
    }
    const int end = m_json.element(object).next;
    for (int i = m_json.firstChild(object); i < end; i = m_json.element(i + 1).next) {
        const QString name = m_json.string(i);
        if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
            return fail(i, QStringLiteral("expected a child's name: not empty, without \"/\""));
        }
        const auto child = build(i + 1);
        if (child.isNull()) {
            return false;
        }
        node.m_children.insert(name, child);
    }
    return true;
}

bool FileTreeBuilder::expect(int element, JsonText::Type type, const char *expected)
{
    if (m_json.element(element).type == type) {
        return true;
    }
    m_error = m_json.unexpected(element, QLatin1String(expected));
    return false;
}

bool FileTreeBuilder::fail(int element, const QString &message)
{
    m_error = m_json.placeOf(m_json.element(element).begin, message);
    return false;
}
