#pragma once

#include "filehost/FileTreeNode.h"

/// Builds the nodes of a tree from its text.
class FileTreeBuilder
{
public:
    FileTreeBuilder(const QSharedPointer<const FileTree> &tree, Diagnostic &error);

    /// The node at an element, with all below it; null, with the error set, when the text there is
    /// no node.
    QSharedPointer<FileTreeNode> build(int element);

private:
    bool addProperties(FileTreeNode &node, int object);
    bool addReadOnlyKeys(FileTreeNode &node, int array);
    bool addChildren(FileTreeNode &node, int object);
    bool expect(int element, JsonText::Type type, const char *expected);
    bool fail(int element, const QString &message);

    QSharedPointer<const FileTree> m_tree;
    const JsonText &m_json;
    Diagnostic &m_error;
};
