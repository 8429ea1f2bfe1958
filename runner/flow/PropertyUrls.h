#pragma once

#include "filehost/FileTree.h"
#include "runner/record/TreeUrls.h"

#include <QString>

#include <optional>

class Project;

/**
 * How people name trees, nodes and properties: by absolute URLs, or, for the trees of the project's
 * own object, by shorter ones. docs/command.md tells the forms.
 */
class PropertyUrls
{
public:
    struct Place
    {
        FileTree::Identity tree; ///< need not exist
        QString path; ///< relative URL of the node
        std::optional<QString> key; ///< nothing for all of the node's properties
    };

    explicit PropertyUrls(const Project &project);

    /// The shortest text that place() understands.
    QString urlOf(const FileTree::Identity &tree) const;
    QString urlOf(const FileTree::Identity &tree, const QString &path) const;
    QString urlOf(const FileTree::Identity &tree, const QString &path, const QString &key) const;

    /// Whether a tree is of the project's own object.
    bool isOwn(const FileTree::Identity &tree) const;

    /// Nothing, with @p error set, for a text that names no place which scripts could reach.
    std::optional<Place> place(const QString &url, QString &error) const;

private:
    /// @param url the whole text, for messages
    std::optional<FileTree::Identity> treeOf(const QString &node, const QString &url,
                                             QString &error) const;

    const Project &m_project;
    TreeUrls m_treeUrls;
};
