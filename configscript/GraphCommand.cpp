#include "GraphCommand.h"

#include "configscript/FlowRun.h"
#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/report/FlowGraph.h"
#include "configscript/report/Graphviz.h"
#include "configscript/report/Output.h"
#include "runner/flow/DataFlow.h"
#include "runner/flow/PropertyUrls.h"

#include <CLI/CLI.hpp>

GraphCommand::GraphCommand(CLI::App &program)
    : Command(program, "graph", "Draw which instances the dependency scripts read and write")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_option("INSTANCE", m_instance,
                           "Only what this instance reads and writes, and who reads and writes it; "
                           "or, if there is none, all whose names begin with it");
    arguments()
        .add_option("--svg", m_svgPath, "Draw to this file, with graphviz, instead of printing DOT")
        ->type_name("FILE");
    arguments().add_option("--png", m_pngPath, "The same as a bitmap")->type_name("FILE");
    arguments()
        .add_option_function<std::string>(
            "--level",
            [this](const std::string &level) {
                m_level = level == "line" ? DotText::Level::Line : DotText::Level::Instance;
            },
            "Draw each instance, or each line as one (default: as is legible)")
        ->type_name("instance|line")
        ->check(CLI::IsMember({"instance", "line"}).description(""));
    arguments().add_flag("--json", m_isJson, "Print the graph as JSON");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());
}

int GraphCommand::run()
{
    m_limits.limitMemory();
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    const bool isDrawing = !m_svgPath.empty() || !m_pngPath.empty();
    if (isDrawing && !Graphviz().error().isEmpty()) {
        Output::error(Graphviz().error());
        return ExitCode::failure;
    }
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    FlowRun run(*project, m_limits.timeout());
    const auto flow = run.run(output, m_isJson ? FlowRun::Format::Json : FlowRun::Format::Text);
    if (!flow) {
        return run.exitCode();
    }
    FlowGraph graph(*project, *flow, PropertyUrls(*project));
    const QString instance = QString::fromStdString(m_instance);
    if (!instance.isEmpty() && !graph.limitTo(instance)) {
        Output::error(QStringLiteral("no instance is \"%1\" or begins with it").arg(instance));
        return ExitCode::unusable;
    }
    const QString title = instance.isEmpty()
        ? project->objectName()
        : QStringLiteral("%1: %2").arg(project->objectName(), instance);
    if (m_isJson) {
        QJsonObject object = graph.toJson();
        object.insert(QStringLiteral("project"), project->path());
        object.insert(QStringLiteral("succeeded"), run.exitCode() == ExitCode::success);
        output.json(object);
    }
    if (isDrawing ? !draw(graph, title, output) : false) {
        return ExitCode::failure;
    }
    if (!isDrawing && !m_isJson) {
        output.text(QString::fromUtf8(
            DotText(graph, title).text(m_level.value_or(DotText::automaticLevel(graph)))));
    }
    return run.exitCode();
}

bool GraphCommand::draw(const FlowGraph &graph, const QString &title, Output &output) const
{
    const DotText::Level level = m_level.value_or(DotText::automaticLevel(graph));
    const QByteArray dot = DotText(graph, title).text(level);
    const Graphviz graphviz;
    for (const auto &[format, path] : {std::pair("svg", m_svgPath), std::pair("png", m_pngPath)}) {
        const QString filePath = QString::fromStdString(path);
        if (filePath.isEmpty()) {
            continue;
        }
        if (!graphviz.draw(dot, QLatin1String(format), filePath)) {
            return false;
        }
        if (!m_isJson) {
            output.line(QStringLiteral("drawn: ") + filePath
                        + (level == DotText::Level::Line && !m_level
                               ? QStringLiteral(", each line as one; an INSTANCE shows its "
                                                "surroundings, --level instance all")
                               : QString()));
        }
    }
    return true;
}
