#pragma once

#include "configscript/report/FlowGraph.h"

#include <QByteArray>
#include <QMap>
#include <QPair>

#include <tuple>

/// A picture of a graph in DOT, the language of graphviz.
class DotText
{
public:
    /// Line: one node for each group of trees.
    enum class Level { Instance, Line };

    /// The most that is still legible when each tree has a node.
    static Level automaticLevel(const FlowGraph &graph);

    DotText(const FlowGraph &graph, const QString &title);

    QByteArray text(Level level);

private:
    /// Edges that are drawn as one.
    struct Arrow
    {
        int properties = 0;
        QStringList lines; ///< of the tooltip
    };

    void writeHead(Level level);
    void writeInstances();
    void writeInstance(const FlowGraph::Node &node, const QString &box, const QString &indentation);
    void writeInstanceEdges();
    void writeLines();
    void writeLine(const QString &name, const QVector<const FlowGraph::Node *> &nodes,
                   int innerEdges);
    void writeLineEdges();
    QMap<std::tuple<QString, QString, bool>, Arrow> lineArrows() const;
    void writeEdge(const QString &from, const QString &to, bool isWrite, const Arrow &arrow,
                   const QString &attributes);
    QMap<QPair<bool, QString>, QVector<const FlowGraph::Node *>> groups() const;
    static QString groupId(const FlowGraph::Node &node);

    const FlowGraph &m_graph;
    const QString m_title;
    bool m_isCrowded = false; ///< too much for curves and numbers
    QString m_text;
};
