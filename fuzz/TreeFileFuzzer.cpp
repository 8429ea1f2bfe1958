// A tree's file. Behind the first NUL, if there is one, come edits of the tree, one in each line: a
// byte that chooses the node, one that chooses the property, the last choice being a new one, and
// its value as JSON, or else as text.
#include "filehost/FileTreeNode.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"
#include "fuzz/FuzzSupport.h"

#include <QMap>
#include <QSet>

#include <algorithm>

using namespace ConfigScript;

namespace {

const QString s_properties = QStringLiteral("properties");
const QString s_children = QStringLiteral("children");

/// What a node's edits have come to.
struct Edits
{
    QMap<QString, QVariant> oldValues; ///< of properties that the file holds
    QStringList addedKeys;
};
using TreeEdits = QMap<QString, Edits>; ///< by the node's path

/// Two texts' parts that need not be the same.
struct Cut
{
    int oldBegin;
    int oldEnd;
    int newBegin;
    int newEnd;
};

QSharedPointer<FileTreeNode> parsed(const QByteArray &text)
{
    Diagnostic error;
    const auto root = FileTree::parse(text, {}, error);
    if (root.isNull()) {
        Fuzzing::fail("a tree that can be read again",
                      error.toString() + QLatin1Char('\n') + QString::fromUtf8(text));
    }
    return root;
}

void collectPaths(const FileTreeNode &node, QStringList &paths)
{
    paths.append(node.path());
    const auto children = node.children();
    for (const auto &child : children) {
        collectPaths(*child, paths);
    }
}

QSharedPointer<FileTreeNode> nodeAt(const FileTreeNode &root, const QString &path)
{
    const auto node = root.getNode(path).staticCast<FileTreeNode>();
    Fuzzing::require(!node.isNull() && root.isUrlValid(path) && node->path() == path,
                     "a node at the path that it tells", path);
    return node;
}

int elementOf(const JsonText &json, const QString &path)
{
    int element = 0;
    if (!path.isEmpty()) {
        const QStringList names = path.split(QLatin1Char('/'));
        for (const QString &name : names) {
            element = json.member(json.member(element, s_children), name);
        }
    }
    return element;
}

QVariant decodedValue(const QByteArray &text)
{
    Diagnostic error;
    const JsonText json = JsonText::parse(text, error);
    return json.isNull() ? QVariant(Fuzzing::textOf(text)) : json.value(0);
}

/// How many arrays and objects lie inside each other.
int nestingOf(const QVariant &value)
{
    int inside = 0;
    const QVariantList elements = value.userType() == QMetaType::QVariantMap
        ? QVariantList(value.toMap().values())
        : value.toList();
    for (const QVariant &element : elements) {
        inside = std::max(inside, nestingOf(element));
    }
    return value.userType() == QMetaType::QVariantMap || value.userType() == QMetaType::QVariantList
        ? inside + 1
        : 0;
}

/// Whether all nodes have the same names, keys and values.
void requireSameTree(const FileTreeNode &left, const FileTreeNode &right)
{
    Fuzzing::require(left.propertyKeys() == right.propertyKeys(), "the same keys");
    Fuzzing::require(left.childNames() == right.childNames(), "the same children");
    const QStringList keys = left.propertyKeys();
    for (const QString &key : keys) {
        Fuzzing::require(left.isReadOnly(key) == right.isReadOnly(key), "the same key to write",
                         key);
        const QVariant leftValue = left.getProperty(key);
        const QVariant rightValue = right.getProperty(key);
        Fuzzing::require(leftValue.isValid() && JsonValue::areEqual(leftValue, rightValue),
                         "the same value", key);
        const QVariant normal = JsonValue::normalized(leftValue);
        Fuzzing::require(normal.isValid() && JsonValue::areEqual(leftValue, normal)
                             && normal.userType() == leftValue.userType(),
                         "a normalized value", key);
    }
    const auto leftChildren = left.children();
    const auto rightChildren = right.children();
    for (int i = 0; i < leftChildren.size(); ++i) {
        requireSameTree(*leftChildren.at(i), *rightChildren.at(i));
    }
}

void edit(const FileTreeNode &root, const QStringList &paths, Fuzzing::Reader &input,
          TreeEdits &edits)
{
    const QString path = paths.at(input.choice(paths.size()));
    const auto node = nodeAt(root, path);
    const QStringList keys = node->propertyKeys();
    const int choice = input.choice(keys.size() + 1);
    const QVariant value = decodedValue(input.line());
    const QString key =
        choice < keys.size() ? keys.at(choice) : QStringLiteral("new%1").arg(keys.size());
    const bool hasProperty = node->hasProperty(key);
    const QVariant oldValue = node->getProperty(key);

    const int status = node->setProperty(key, value);
    // A node and the object around its children take two levels, that around its properties one.
    const int level = path.isEmpty() ? 0 : 2 * (path.count(QLatin1Char('/')) + 1);
    const bool isTooDeep = level + 2 + nestingOf(value) > JsonText::maximumDepth;
    const int expected = node->isReadOnly(key)                ? 2
        : isTooDeep                                           ? 3
        : hasProperty && JsonValue::areEqual(oldValue, value) ? 1
                                                              : 0;
    Fuzzing::require(status == expected, "the documented status of a write",
                     QString::number(status));
    if (status != 0) {
        Fuzzing::require(node->hasProperty(key) == hasProperty, "no trace of a refused write");
        return;
    }
    Fuzzing::require(JsonValue::areEqual(node->getProperty(key), value), "the value written", key);
    Edits &nodeEdits = edits[path];
    if (!hasProperty) {
        nodeEdits.addedKeys.append(key);
    } else if (!nodeEdits.addedKeys.contains(key) && !nodeEdits.oldValues.contains(key)) {
        nodeEdits.oldValues.insert(key, oldValue);
    }
}

/// Where properties were added to a node.
Cut cutOfAdded(const JsonText &oldJson, int oldNode, const JsonText &newJson, int newNode)
{
    const auto whole = [&](int oldElement, int newElement) {
        return Cut{oldJson.element(oldElement).begin, oldJson.end(oldElement),
                   newJson.element(newElement).begin, newJson.end(newElement)};
    };
    const int oldObject = oldJson.member(oldNode, s_properties);
    const int newObject = newJson.member(newNode, s_properties);
    if (oldObject >= 0 && oldJson.isEmpty(oldObject)) {
        return whole(oldObject, newObject);
    }
    if (oldObject < 0 && oldJson.isEmpty(oldNode)) {
        return whole(oldNode, newNode);
    }
    if (oldObject < 0) {
        const int oldBegin = oldJson.element(oldNode).begin + 1;
        // With the comma behind it.
        return {oldBegin, oldBegin, newJson.element(newNode).begin + 1, newJson.end(newObject) + 1};
    }
    int oldEnd = 0;
    int newEnd = 0;
    int addedEnd = 0;
    int newKey = newJson.firstChild(newObject);
    for (int i = oldJson.firstChild(oldObject); i < oldJson.element(oldObject).next;
         i = oldJson.element(i + 1).next) {
        oldEnd = oldJson.end(i + 1);
        newEnd = newJson.end(newKey + 1);
        newKey = newJson.element(newKey + 1).next;
    }
    for (int i = newKey; i < newJson.element(newObject).next; i = newJson.element(i + 1).next) {
        addedEnd = newJson.end(i + 1);
    }
    return {oldEnd, oldEnd, newEnd, addedEnd};
}

/// Whether the texts differ only where properties were written.
void requireOnlyEdits(const JsonText &oldJson, const JsonText &newJson, const TreeEdits &edits)
{
    QVector<Cut> cuts;
    for (auto it = edits.cbegin(); it != edits.cend(); ++it) {
        const int oldNode = elementOf(oldJson, it.key());
        const int newNode = elementOf(newJson, it.key());
        for (auto value = it->oldValues.cbegin(); value != it->oldValues.cend(); ++value) {
            const int oldElement =
                oldJson.member(oldJson.member(oldNode, s_properties), value.key());
            const int newElement =
                newJson.member(newJson.member(newNode, s_properties), value.key());
            cuts.append({oldJson.element(oldElement).begin, oldJson.end(oldElement),
                         newJson.element(newElement).begin, newJson.end(newElement)});
        }
        if (!it->addedKeys.isEmpty()) {
            cuts.append(cutOfAdded(oldJson, oldNode, newJson, newNode));
        }
    }
    std::sort(cuts.begin(), cuts.end(), [](const Cut &left, const Cut &right) {
        return left.oldEnd != right.oldEnd ? left.oldEnd < right.oldEnd
                                           : left.newEnd < right.newEnd;
    });
    int oldEnd = 0;
    int newEnd = 0;
    cuts.append({oldJson.text().size(), 0, newJson.text().size(), 0});
    for (const Cut &cut : qAsConst(cuts)) {
        if (oldJson.text().mid(oldEnd, cut.oldBegin - oldEnd)
            != newJson.text().mid(newEnd, cut.newBegin - newEnd)) {
            Fuzzing::fail("the same text but for what was written",
                          QString::fromUtf8(newJson.text()));
        }
        oldEnd = cut.oldEnd;
        newEnd = cut.newEnd;
    }
}

/// Whether an edited tree keeps the file's text when all of its values are as before.
void requireSameTextAfterUndoing(const FileTreeNode &root, const TreeEdits &edits,
                                 const QByteArray &text)
{
    bool hasAdded = false;
    for (auto it = edits.cbegin(); it != edits.cend(); ++it) {
        hasAdded = hasAdded || !it->addedKeys.isEmpty();
        const auto node = nodeAt(root, it.key());
        for (auto value = it->oldValues.cbegin(); value != it->oldValues.cend(); ++value) {
            node->setProperty(value.key(), value.value());
        }
    }
    Fuzzing::require(hasAdded || root.text() == text, "the text as it was read");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    const QByteArray input = Fuzzing::bytesOf(data, size);
    const int textEnd = input.indexOf('\0');
    const QByteArray text = textEnd < 0 ? input : input.left(textEnd);
    Diagnostic error;
    const auto root = FileTree::parse(text, {}, error);
    if (root.isNull()) {
        Fuzzing::require(!error.message.isEmpty() && !error.message.contains(QLatin1Char('\n')),
                         "a reason on one line", error.message);
        Fuzzing::require(error.line > 0 && error.line <= text.count('\n') + 1 && error.column > 0
                             && error.column <= text.size() + 1,
                         "a place in the text", error.message);
        return 0;
    }
    Fuzzing::require(error.message.isEmpty(), "no error", error.message);
    Fuzzing::require(root->text() == text, "the text as it was read");
    requireSameTree(*root, *parsed(text));
    QStringList paths;
    collectPaths(*root, paths);
    constexpr int enough = 16; // all nodes of a deep tree would take long
    for (const QString &path : paths.mid(0, enough)) {
        const auto node = nodeAt(*root, path);
        requireSameTree(*node, *parsed(node->text()));
    }

    Fuzzing::Reader reader(textEnd < 0 ? QByteArray() : input.mid(textEnd + 1));
    TreeEdits edits;
    while (!reader.isAtEnd()) {
        edit(*root, paths, reader, edits);
    }
    const QByteArray newText = root->text();
    const auto newRoot = parsed(newText);
    requireSameTree(*root, *newRoot);
    Fuzzing::require(newRoot->text() == newText, "the same text again");
    requireOnlyEdits(root->tree().json(), newRoot->tree().json(), edits);
    requireSameTextAfterUndoing(*root, edits, text);
    return 0;
}
