#include "ExplainCommand.h"

#include "configscript/FlowRun.h"
#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/report/FlowJson.h"
#include "configscript/report/FlowReport.h"
#include "configscript/report/Output.h"
#include "filehost/FileTreeNode.h"
#include "runner/flow/DataFlow.h"

#include <CLI/CLI.hpp>

#include <QJsonObject>

namespace {

constexpr int s_maximumDepth = 1'000'000;

/// The node that a place names; null, with @p error set, when there is none.
QSharedPointer<const FileTreeNode> nodeOf(const PropertyUrls::Place &place,
                                          const PropertyUrls &urls, QString &error)
{
    Diagnostic diagnostic;
    const auto root = FileTree::read(place.tree, diagnostic);
    if (root.isNull()) {
        error = !diagnostic.message.isEmpty() ? diagnostic.toString()
            : urls.isOwn(place.tree) && place.tree.kind == FileTree::Kind::Configuration
            ? QStringLiteral("no instance \"%1\"; configscript list shows all")
                  .arg(place.tree.instance)
            : place.tree.filePath + QStringLiteral(": no such file");
        return {};
    }
    auto node = root->getNode(place.path).dynamicCast<const FileTreeNode>();
    if (node.isNull()) {
        error = QStringLiteral("%1 has no node \"%2\"").arg(urls.urlOf(place.tree), place.path);
    }
    return node;
}

} // namespace

ExplainCommand::ExplainCommand(CLI::App &program)
    : Command(program, "explain",
              "Tell which script wrote a property, from which values, and so on backwards")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments()
        .add_option("URL", m_url,
                    "The property, such as line1/pump1#motor/ratedPower:value, or an absolute URL "
                    "and :KEY; without a key all properties of the node that scripts wrote")
        ->required();
    arguments().add_flag("--affects", m_isForwards,
                         "Tell which scripts read it, what they wrote then, and so on forwards");
    arguments()
        .add_option("--depth", m_depth, "Follow this many scripts, one behind the other")
        ->type_name("N")
        ->check(CLI::Range(0, s_maximumDepth).description(""));
    arguments().add_flag("--all", m_showsAll,
                         "Print all values that scripts had read, not only the first of those that "
                         "no script wrote");
    arguments().add_flag("--json", m_isJson, "Print the answer as JSON");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());
}

int ExplainCommand::run()
{
    m_limits.limitMemory();
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    const PropertyUrls urls(*project);
    QString error;
    const auto place = urls.place(QString::fromStdString(m_url), error);
    const auto node = place ? nodeOf(*place, urls, error) : nullptr;
    if (!node) {
        Output::error(error);
        return ExitCode::unusable;
    }
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    FlowRun run(*project, m_limits.timeout());
    const auto flow = run.run(output, m_isJson ? FlowRun::Format::Json : FlowRun::Format::Text);
    if (!flow) {
        return run.exitCode();
    }
    const QVector<int> properties = propertiesOf(*flow, *place);
    if (properties.isEmpty() && place->key && !node->value(*place->key).isValid()) {
        QStringList keys = node->propertyKeys();
        keys.sort();
        Output::error(
            QStringLiteral("%1 has no property \"%2\"; its properties: %3")
                .arg(urls.urlOf(place->tree, place->path), *place->key,
                     keys.isEmpty() ? QStringLiteral("none") : keys.join(QStringLiteral(", "))));
        return ExitCode::unusable;
    }
    const QVariant value = place->key ? node->value(*place->key) : QVariant();
    if (m_isJson) {
        QJsonObject object = FlowJson::explanation(
            *flow, urls, properties,
            m_isForwards ? FlowJson::Direction::Forwards : FlowJson::Direction::Backwards, m_depth);
        object.insert(QStringLiteral("project"), project->path());
        object.insert(QStringLiteral("succeeded"), run.exitCode() == ExitCode::success);
        if (properties.isEmpty() && place->key) {
            object.insert(QStringLiteral("value"), QJsonValue::fromVariant(value));
        }
        output.json(object);
    } else {
        print(*flow, urls, *place, properties, value, output);
    }
    return run.exitCode();
}

QVector<int> ExplainCommand::propertiesOf(const DataFlow &flow,
                                          const PropertyUrls::Place &place) const
{
    QVector<int> properties;
    const QVector<int> candidates = flow.propertiesOf(place.tree.filePath, place.path);
    for (const int candidate : candidates) {
        const DataFlow::Property &property = flow.properties().at(candidate);
        const QVector<int> &steps = m_isForwards ? property.reads : property.writes;
        if (place.key ? property.key == *place.key : !steps.isEmpty()) {
            properties.append(candidate);
        }
    }
    return properties;
}

void ExplainCommand::print(const DataFlow &flow, const PropertyUrls &urls,
                           const PropertyUrls::Place &place, const QVector<int> &properties,
                           const QVariant &value, Output &output) const
{
    FlowReport report(flow, urls, output, {m_depth, m_showsAll});
    if (properties.isEmpty() && place.key) {
        report.printUntouched(urls.urlOf(place.tree, place.path, *place.key), value);
    } else if (properties.isEmpty()) {
        output.line(QStringLiteral("%1: no script %2 a property of this node")
                        .arg(Output::printable(urls.urlOf(place.tree, place.path)),
                             m_isForwards ? QStringLiteral("read") : QStringLiteral("wrote")));
    }
    bool isFirst = true;
    for (const int property : properties) {
        if (!isFirst) {
            output.line();
        }
        isFirst = false;
        if (m_isForwards) {
            report.printEffect(property);
        } else {
            report.printOrigin(property);
        }
    }
}
