#include "FlowGraph.h"

#include "filehost/Project.h"
#include "host/SelectorUrlHandler.h"
#include "runner/flow/DataFlow.h"
#include "runner/flow/PropertyUrls.h"

#include <QHash>
#include <QJsonArray>

#include <algorithm>
#include <tuple>

namespace {

QStringList segments(const QString &instance)
{
    return instance.split(QLatin1Char('/'));
}

/// How many first segments all names have in common, whole names left out.
int commonSegments(const QStringList &instances)
{
    const QStringList first = segments(instances.first());
    int common = first.size();
    for (const QString &instance : instances) {
        const QStringList other = segments(instance);
        const auto mismatch =
            std::mismatch(first.cbegin(), first.cbegin() + common, other.cbegin(), other.cend());
        common = int(mismatch.first - first.cbegin());
    }
    return common;
}

} // namespace

FlowGraph::FlowGraph(const Project &project, const DataFlow &flow, const PropertyUrls &urls)
{
    addNodes(project, flow, urls);
    setGroups();
    QHash<QString, int> numbers; // by file
    for (int i = 0; i < m_nodes.size(); ++i) {
        numbers.insert(m_nodes.at(i).tree.filePath, i);
    }
    const QVector<DataFlow::Edge> edges = flow.edges();
    for (const DataFlow::Edge &edge : edges) {
        const int tree = numbers.value(flow.trees().at(edge.tree).filePath);
        const int script = numbers.value(
            project.treePath(FileTree::Kind::Configuration, flow.runs().at(edge.run).instance));
        QStringList properties;
        for (const int number : edge.properties) {
            const DataFlow::Property &property = flow.properties().at(number);
            properties.append(property.path + QLatin1Char(':') + property.key);
        }
        m_edges.append(
            {edge.isWrite ? script : tree, edge.isWrite ? tree : script, edge.isWrite, properties});
    }
    std::sort(m_edges.begin(), m_edges.end(), // clazy:exclude=detaching-member
              [](const Edge &a, const Edge &b) {
                  return std::tie(a.from, a.to, a.isWrite) < std::tie(b.from, b.to, b.isWrite);
              });
}

void FlowGraph::addNodes(const Project &project, const DataFlow &flow, const PropertyUrls &urls)
{
    QHash<QString, FileTree::Identity> trees; // by file
    const QStringList instances = project.instances(FileTree::Kind::Configuration);
    for (const QString &instance : instances) {
        const auto kind = FileTree::Kind::Configuration;
        const QString filePath = project.treePath(kind, instance);
        trees.insert(filePath, {filePath, instance, kind});
    }
    for (const FileTree::Identity &tree : flow.trees()) {
        trees.insert(tree.filePath, tree);
    }
    QHash<QString, const ScriptRun *> runs; // by the instance's file
    for (const ScriptRun &run : flow.runs()) {
        runs.insert(project.treePath(FileTree::Kind::Configuration, run.instance), &run);
    }
    for (const FileTree::Identity &tree : qAsConst(trees)) {
        Node node;
        node.tree = tree;
        node.url = urls.urlOf(tree);
        node.isOwn = urls.isOwn(tree);
        if (const ScriptRun *run = runs.value(tree.filePath)) {
            node.script = run->script;
            node.hasFailed = !run->succeeded;
        }
        m_nodes.append(node);
    }
    std::sort(m_nodes.begin(), m_nodes.end(), // clazy:exclude=detaching-member
              [](const Node &a, const Node &b) {
                  return std::make_tuple(!a.isOwn, a.tree.instance, a.tree.kind, a.url)
                      < std::make_tuple(!b.isOwn, b.tree.instance, b.tree.kind, b.url);
              });
}

void FlowGraph::setGroups()
{
    QStringList instances;
    for (const Node &node : qAsConst(m_nodes)) {
        if (node.isOwn) {
            instances.append(node.tree.instance);
        }
    }
    const int common = instances.isEmpty() ? 0 : commonSegments(instances);
    for (Node &node : m_nodes) {
        node.group = node.isOwn
            ? segments(node.tree.instance).mid(0, common + 1).join(QLatin1Char('/'))
            : SelectorUrlHandler(node.url).getObjectName();
    }
}

bool FlowGraph::limitTo(const QString &instance)
{
    const auto choose = [&](auto isChosen) {
        bool isAny = false;
        for (Node &node : m_nodes) {
            node.isChosen = node.isOwn && isChosen(node.tree.instance);
            isAny = isAny || node.isChosen;
        }
        return isAny;
    };
    const bool isAny = choose([&](const QString &name) { return name == instance; })
        || choose([&](const QString &name) { return name.startsWith(instance); });
    if (!isAny) {
        return false;
    }
    QVector<int> numbers(m_nodes.size(), -1);
    QVector<Edge> edges;
    for (const Edge &edge : qAsConst(m_edges)) {
        if (m_nodes.at(edge.from).isChosen || m_nodes.at(edge.to).isChosen) {
            edges.append(edge);
            numbers[edge.from] = numbers[edge.to] = 0;
        }
    }
    QVector<Node> nodes;
    for (int i = 0; i < m_nodes.size(); ++i) {
        if (m_nodes.at(i).isChosen || numbers.at(i) == 0) {
            numbers[i] = nodes.size();
            nodes.append(m_nodes.at(i));
        }
    }
    for (Edge &edge : edges) {
        edge.from = numbers.at(edge.from);
        edge.to = numbers.at(edge.to);
    }
    m_nodes = nodes;
    m_edges = edges;
    return true;
}

QJsonObject FlowGraph::toJson() const
{
    QJsonArray nodes;
    for (const Node &node : m_nodes) {
        QJsonObject object{{QStringLiteral("url"), node.url},
                           {QStringLiteral("instance"), node.tree.instance},
                           {QStringLiteral("kind"),
                            node.tree.kind == FileTree::Kind::Process
                                ? QStringLiteral("process")
                                : QStringLiteral("configuration")},
                           {QStringLiteral("group"), node.group},
                           {QStringLiteral("own"), node.isOwn}};
        if (!node.script.isEmpty()) {
            object.insert(QStringLiteral("script"), node.script);
            object.insert(QStringLiteral("succeeded"), !node.hasFailed);
        }
        nodes.append(object);
    }
    QJsonArray edges;
    for (const Edge &edge : m_edges) {
        edges.append(QJsonObject{
            {QStringLiteral("from"), m_nodes.at(edge.from).url},
            {QStringLiteral("to"), m_nodes.at(edge.to).url},
            {QStringLiteral("access"),
             edge.isWrite ? QStringLiteral("write") : QStringLiteral("read")},
            {QStringLiteral("properties"), QJsonArray::fromStringList(edge.properties)}});
    }
    return {{QStringLiteral("nodes"), nodes}, {QStringLiteral("edges"), edges}};
}
