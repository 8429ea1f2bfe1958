#pragma once

#include "filehost/FileTree.h"

#include <QHash>
#include <QString>

class Project;
class SelectorUrlHandler;

/// The absolute URLs by which a project's scripts reach trees.
class TreeUrls
{
public:
    explicit TreeUrls(const Project &project);

    /// The URL of a node; empty for a tree in a folder that belongs to no object. Of several
    /// objects in one folder it names the project's own, else the first by name.
    /// @param path relative URL of the node; empty for the root
    QString urlOf(const FileTree::Identity &tree, const QString &path) const;

    /**
     * The tree that a URL names, whether there is such a file or not.
     * @return no path, with @p error set, when the URL reaches no tree of these projects
     */
    FileTree::Identity treeOf(const SelectorUrlHandler &url, QString &error) const;

private:
    const Project &m_project;
    QHash<QString, QString> m_objects; ///< by the folder of their trees
};
