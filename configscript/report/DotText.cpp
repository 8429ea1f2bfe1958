#include "DotText.h"

#include "configscript/report/Output.h"

#include <cmath>
#include <tuple>

namespace {

constexpr int s_maximumNodes = 80;
constexpr int s_maximumEdges = 240;
constexpr int s_tooltipLines = 25;

/// Of what a kind of node, or arrow, is drawn with.
struct Look
{
    const char *fill;
    const char *line;
    const char *text;
};
constexpr Look s_scripts{"#D6E6F5", "#2B6699", "#14324D"};
constexpr Look s_data{"#FFFFFF", "#76838F", "#35404A"};
constexpr Look s_process{"#FBF0D2", "#A37B1B", "#57420E"};
constexpr Look s_other{"#F3EEF9", "#8468B0", "#56407A"};
constexpr Look s_failed{"#F9DAD7", "#C0271C", "#7A150D"};
constexpr char s_readColor[] = "#4F7396";
constexpr char s_writeColor[] = "#BF5B04";

/// A text without characters that cannot be seen.
QString visible(const QString &text)
{
    QString result = text;
    return Output::printable(result.replace(QLatin1Char('\n'), QStringLiteral("\\x0a")));
}

/// A text as DOT's HTML has it.
QString html(const QString &text)
{
    return visible(text).toHtmlEscaped();
}

/// A text in quotes. Backslashes stand for themselves, also where DOT looks for escapes.
QString quoted(QString text)
{
    text.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
        .replace(QLatin1Char('"'), QStringLiteral("\\\""))
        .replace(QLatin1Char('\n'), QStringLiteral("\\n"));
    return QLatin1Char('"') + text + QLatin1Char('"');
}

QString id(const QString &name)
{
    return quoted(visible(name));
}

QString font(const char *color, int size, const QString &htmlText)
{
    return QStringLiteral("<font color=\"%1\" point-size=\"%2\">%3</font>")
        .arg(QLatin1String(color))
        .arg(size)
        .arg(htmlText);
}

QString colors(const Look &look)
{
    return QStringLiteral("fillcolor=\"%1\", color=\"%2\"")
        .arg(QLatin1String(look.fill), QLatin1String(look.line));
}

/// A cell of the legend.
QString key(const Look &look, const QString &text)
{
    return QStringLiteral("<td bgcolor=\"%1\" color=\"%2\" border=\"1\">%3</td>")
        .arg(QLatin1String(look.fill), QLatin1String(look.line), font(look.text, 10, text));
}

} // namespace

DotText::Level DotText::automaticLevel(const FlowGraph &graph)
{
    return graph.nodes().size() <= s_maximumNodes && graph.edges().size() <= s_maximumEdges
        ? Level::Instance
        : Level::Line;
}

DotText::DotText(const FlowGraph &graph, const QString &title)
    : m_graph(graph)
    , m_title(title)
{
}

QByteArray DotText::text(Level level)
{
    m_text.clear();
    m_isCrowded = level == Level::Instance && automaticLevel(m_graph) == Level::Line;
    m_isCrowded = level == Level::Instance && automaticLevel(m_graph) == Level::Line;
    writeHead(level);
    if (level == Level::Instance) {
        writeInstances();
        writeInstanceEdges();
    } else {
        writeLines();
        writeLineEdges();
    }
    m_text += QStringLiteral("}\n");
    return m_text.toUtf8();
}

void DotText::writeHead(Level level)
{
    const QString arrows =
        QStringLiteral("<td>%1</td><td>%2</td>")
            .arg(font(s_readColor, 10, QStringLiteral("&#8594; is read by")),
                 font(s_writeColor, 10, QStringLiteral("<b>&#8594; writes</b>")));
    const QString kinds = level == Level::Line
        ? key(s_scripts, QStringLiteral("with scripts")) + key(s_data, QStringLiteral("only data"))
        : key(s_scripts, QStringLiteral("has a script")) + key(s_data, QStringLiteral("only data"))
            + key(s_process, QStringLiteral("process description"));
    const QString legend =
        QStringLiteral(
            "<table border=\"0\" cellborder=\"0\" cellspacing=\"6\" cellpadding=\"3\"><tr>"
            "<td>%1</td>%2%3%4<td>%5</td></tr></table>")
            .arg(font("#14324D", 13, QStringLiteral("<b>%1</b>").arg(html(m_title))), kinds,
                 key(s_failed, QStringLiteral("script failed")), arrows,
                 font("#5B6770", 10, QStringLiteral("numbers count properties")));
    m_text += QStringLiteral("digraph %1 {\n"
                             "  graph [rankdir=%2, ranksep=0.9, nodesep=0.15, %4pack=16, "
                             "packmode=\"array_t4\", bgcolor=\"white\", "
                             "fontname=\"Helvetica\", labelloc=b, labeljust=l, tooltip=%1,\n"
                             "    label=<%3>]\n"
                             "  node [shape=box, style=\"filled\", fontname=\"Helvetica\", "
                             "fontsize=11, height=0.32, margin=\"0.12,0.05\"]\n"
                             "  edge [fontname=\"Helvetica\", fontsize=9, arrowsize=0.6]\n")
                  .arg(id(m_title),
                       // Lines that have nothing to do with each other stand in rows.
                       level == Level::Line && lineArrows().isEmpty() ? QStringLiteral("TB")
                                                                      : QStringLiteral("LR"),
                       legend, m_isCrowded ? QStringLiteral("splines=line, ") : QString());
}

QString DotText::groupId(const FlowGraph::Node &node)
{
    return node.isOwn ? node.group : QStringLiteral("object:") + node.group;
}

/// By whether they are of another project, and name.
QMap<QPair<bool, QString>, QVector<const FlowGraph::Node *>> DotText::groups() const
{
    QMap<QPair<bool, QString>, QVector<const FlowGraph::Node *>> groups;
    for (const FlowGraph::Node &node : m_graph.nodes()) {
        groups[{!node.isOwn, node.group}].append(&node);
    }
    return groups;
}

void DotText::writeInstances()
{
    const auto all = groups();
    int number = 0;
    for (auto group = all.cbegin(); group != all.cend(); ++group) {
        const auto &[isOther, name] = group.key();
        if (group->size() == 1 && !isOther) {
            writeInstance(*group->first(), QString(), QStringLiteral("  "));
            continue;
        }
        const QString label = isOther ? name + QStringLiteral(" (another project)") : name;
        m_text +=
            QStringLiteral("  subgraph cluster_%1 {\n"
                           "    graph [label=<%2>, labelloc=t, labeljust=l, margin=8, "
                           "style=\"%3\", fillcolor=\"%4\", color=\"%5\", tooltip=%6]\n")
                .arg(++number)
                .arg(font(isOther ? "#56407A" : "#44515C", 12,
                          QStringLiteral("<b>%1</b>").arg(html(label))),
                     isOther ? QStringLiteral("filled,dashed") : QStringLiteral("filled"),
                     isOther ? QStringLiteral("#F3EEF9") : QStringLiteral("#F4F6F8"),
                     isOther ? QStringLiteral("#8468B0") : QStringLiteral("#CBD3DA"), id(label));
        for (const FlowGraph::Node *node : *group) {
            writeInstance(*node, name + QLatin1Char('/'), QStringLiteral("    "));
        }
        m_text += QStringLiteral("  }\n");
    }
}

/// @param box what the box around the node names of its instance's name; empty without a box
void DotText::writeInstance(const FlowGraph::Node &node, const QString &box,
                            const QString &indentation)
{
    const bool isProcess = node.tree.kind == FileTree::Kind::Process;
    const Look &look = node.hasFailed ? s_failed
        : isProcess                   ? s_process
        : node.script.isEmpty()       ? s_data
                                      : s_scripts;
    const QString name = node.isOwn && !box.isEmpty() && node.tree.instance.startsWith(box)
        ? node.tree.instance.mid(box.size())
        : node.tree.instance;
    QString label = isProcess
        ? font(look.text, 9, html(name) + QStringLiteral(" process"))
        : font(look.text, 11,
               node.script.isEmpty() ? html(name) : QStringLiteral("<b>%1</b>").arg(html(name)));
    if (!node.script.isEmpty()) {
        label += QStringLiteral("<br/>")
            + font(look.text, 8,
                   html(node.script.section(QLatin1Char('/'), 1))
                       + (node.hasFailed ? QStringLiteral(" failed") : QString()));
    }
    m_text += QStringLiteral("%1%2 [label=<%3>, tooltip=%4, %5%6%7]\n")
                  .arg(indentation, id(node.url), label,
                       quoted(visible(node.url)
                              + (node.script.isEmpty() ? QString()
                                                       : QLatin1Char('\n') + visible(node.script))),
                       colors(look),
                       isProcess ? QStringLiteral(", shape=cds, height=0.22, margin=\"0.08,0.02\"")
                                 : QString(),
                       node.isChosen        ? QStringLiteral(", penwidth=2.5")
                           : node.hasFailed ? QStringLiteral(", penwidth=2")
                                            : QString());
}

void DotText::writeInstanceEdges()
{
    for (const FlowGraph::Edge &edge : m_graph.edges()) {
        if (edge.from == edge.to) {
            continue; // every script uses its own instance
        }
        const FlowGraph::Node &from = m_graph.nodes().at(edge.from);
        const FlowGraph::Node &to = m_graph.nodes().at(edge.to);
        Arrow arrow;
        arrow.properties = edge.properties.size();
        arrow.lines = edge.properties;
        arrow.lines.prepend(edge.isWrite
                                ? QStringLiteral("%1 writes to %2:").arg(from.url, to.url)
                                : QStringLiteral("%1 reads from %2:").arg(to.url, from.url));
        writeEdge(from.url, to.url, edge.isWrite, arrow, QString());
    }
}

/// By the lines where they begin and end, and whether they are writes.
QMap<std::tuple<QString, QString, bool>, DotText::Arrow> DotText::lineArrows() const
{
    QMap<std::tuple<QString, QString, bool>, Arrow> arrows;
    for (const FlowGraph::Edge &edge : m_graph.edges()) {
        const FlowGraph::Node &from = m_graph.nodes().at(edge.from);
        const FlowGraph::Node &to = m_graph.nodes().at(edge.to);
        if (groupId(from) != groupId(to)) {
            Arrow &arrow = arrows[{groupId(from), groupId(to), edge.isWrite}];
            arrow.properties += edge.properties.size();
            const QString properties = QString::number(edge.properties.size());
            arrow.lines.append(
                edge.isWrite
                    ? QStringLiteral("%1 writes to %2: %3").arg(from.url, to.url, properties)
                    : QStringLiteral("%1 reads from %2: %3").arg(to.url, from.url, properties));
        }
    }
    return arrows;
}

void DotText::writeLines()
{
    QMap<QString, int> innerEdges;
    for (const FlowGraph::Edge &edge : m_graph.edges()) {
        const QString from = groupId(m_graph.nodes().at(edge.from));
        if (edge.from != edge.to && from == groupId(m_graph.nodes().at(edge.to))) {
            ++innerEdges[from];
        }
    }
    const auto all = groups();
    for (auto group = all.cbegin(); group != all.cend(); ++group) {
        writeLine(group.key().second, *group, innerEdges.value(groupId(*group->first())));
    }
}

void DotText::writeLine(const QString &name, const QVector<const FlowGraph::Node *> &nodes,
                        int innerEdges)
{
    int instances = 0;
    int scripts = 0;
    int failed = 0;
    bool isChosen = false;
    for (const FlowGraph::Node *node : nodes) {
        instances += node->tree.kind == FileTree::Kind::Configuration ? 1 : 0;
        scripts += node->script.isEmpty() ? 0 : 1;
        failed += node->hasFailed ? 1 : 0;
        isChosen = isChosen || node->isChosen;
    }
    const FlowGraph::Node &first = *nodes.first();
    const Look &look = failed > 0 ? s_failed
        : !first.isOwn            ? s_other
        : scripts > 0             ? s_scripts
                                  : s_data;
    QStringList lines{Output::counted(instances, QStringLiteral("instance")),
                      Output::counted(scripts, QStringLiteral("script"))
                          + (failed > 0 ? QStringLiteral(", %1 failed").arg(failed) : QString())};
    if (innerEdges > 0) {
        lines.append(Output::counted(innerEdges, QStringLiteral("arrow"))
                     + QStringLiteral(" inside"));
    }
    const QString shown = first.isOwn ? name : name + QStringLiteral(" (another project)");
    m_text += QStringLiteral("  %1 [label=<%2<br/>%3>, tooltip=%4, %5%6%7]\n")
                  .arg(id(groupId(first)),
                       font(look.text, 12, QStringLiteral("<b>%1</b>").arg(html(shown))),
                       font(look.text, 9, lines.join(QStringLiteral("<br/>"))),
                       quoted(visible(shown) + QLatin1Char('\n') + lines.join(QLatin1Char('\n'))),
                       colors(look),
                       first.isOwn ? QString() : QStringLiteral(", style=\"filled,dashed\""),
                       isChosen ? QStringLiteral(", penwidth=2.5") : QString());
}

void DotText::writeLineEdges()
{
    const auto arrows = lineArrows();
    for (auto arrow = arrows.cbegin(); arrow != arrows.cend(); ++arrow) {
        const auto &[from, to, isWrite] = arrow.key();
        // Many properties make a thick line, ten thousand one of three points.
        const double width = 1 + std::log10(double(arrow->properties)) / 2;
        writeEdge(from, to, isWrite, *arrow, QStringLiteral(", penwidth=%1").arg(width, 0, 'f', 1));
    }
}

void DotText::writeEdge(const QString &from, const QString &to, bool isWrite, const Arrow &arrow,
                        const QString &attributes)
{
    const char *color = isWrite ? s_writeColor : s_readColor;
    QStringList lines = arrow.lines.mid(0, s_tooltipLines);
    for (QString &line : lines) {
        line = visible(line);
    }
    if (arrow.lines.size() > lines.size()) {
        lines.append(QStringLiteral("… %1 more").arg(arrow.lines.size() - lines.size()));
    }
    const QString tooltip = quoted(lines.join(QLatin1Char('\n')));
    const QString label =
        m_isCrowded ? QString() : QStringLiteral("label=\"%1\", ").arg(arrow.properties);
    m_text +=
        QStringLiteral("  %1 -> %2 [%3color=\"%4\", fontcolor=\"%4\", tooltip=%5, "
                       "labeltooltip=%5%6%7]\n")
            .arg(id(from), id(to), label, QLatin1String(color), tooltip,
                 isWrite ? QStringLiteral(", penwidth=1.5") : QStringLiteral(", arrowhead=vee"),
                 attributes);
}
