#pragma once

#include "filehost/FileTree.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVector>

class DataFlow;
class Project;
class PropertyUrls;

/// Which trees the scripts of a run read and wrote, for pictures. Everything in it is sorted.
class FlowGraph
{
public:
    /// A tree: an instance's configuration, or its process description.
    struct Node
    {
        FileTree::Identity tree;
        QString url; ///< as PropertyUrls gives it
        QString group; ///< the line that the instance belongs to, or another project's object
        bool isOwn = true; ///< not of another project
        QString script; ///< file, relative to the project; empty for none
        bool hasFailed = false;
        bool isChosen = false; ///< one that the graph was limited to
    };

    /// All that the script of one instance read in a tree, or wrote to it. Points where data go.
    struct Edge
    {
        int from;
        int to;
        bool isWrite; ///< by the script of @p from; else a read by that of @p to
        QStringList properties; ///< "path:key"
    };

    /// The trees that scripts used, and all other instances of the project.
    FlowGraph(const Project &project, const DataFlow &flow, const PropertyUrls &urls);

    /**
     * Keeps what an instance, or else all whose names begin with @p instance, read and wrote, and
     * who read and wrote them.
     * @return false when there is none
     */
    bool limitTo(const QString &instance);

    const QVector<Node> &nodes() const { return m_nodes; }
    const QVector<Edge> &edges() const { return m_edges; }

    /// For programs; the format is described in docs/command.md.
    QJsonObject toJson() const;

private:
    void addNodes(const Project &project, const DataFlow &flow, const PropertyUrls &urls);
    void setGroups();

    QVector<Node> m_nodes;
    QVector<Edge> m_edges;
};
