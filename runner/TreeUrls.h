#pragma once

#include "filehost/FileTree.h"

#include <QHash>
#include <QString>

class Project;

/// The absolute URLs by which a project's scripts reach trees.
class TreeUrls
{
public:
    explicit TreeUrls(const Project &project);

    /// The URL of a node; empty for a tree in a folder that belongs to no object. Of several objects
    /// in one folder it names the project's own, else the first by name.
    /// @param path relative URL of the node; empty for the root
    QString urlOf(const FileTree::Identity &tree, const QString &path) const;

private:
    const Project &m_project;
    QHash<QString, QString> m_objects; ///< by the folder of their trees
};
