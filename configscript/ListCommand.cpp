#include "ListCommand.h"

#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/report/Output.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"

#include <CLI/CLI.hpp>

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QSet>

#include <algorithm>

namespace {

/// One instance, as the list shows it.
struct Row
{
    QString instance;
    bool isListed = false;
    QString dependencyScript;
    QString userInterfaceScript;
    int nodes = 0;
    int properties = 0;
    qint64 bytes = 0;
    bool hasProcess = false;
    QString error;
};

void countNodes(const FileTreeNode &node, Row &row)
{
    ++row.nodes;
    row.properties += node.propertyKeys().size();
    const auto children = node.children();
    for (const auto &child : children) {
        countNodes(*child, row);
    }
}

Row rowOf(const Project &project, const QString &instance)
{
    Row row;
    row.instance = instance;
    Diagnostic error;
    const auto root = project.readTree(FileTree::Kind::Configuration, instance, error);
    row.error = project.relative(error).toString();
    row.bytes = QFileInfo(project.treePath(FileTree::Kind::Configuration, instance)).size();
    row.hasProcess = QFileInfo::exists(project.treePath(FileTree::Kind::Process, instance));
    if (!root.isNull()) {
        const QString key =
            ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
        row.dependencyScript = root->getProperty(key).toString();
        row.userInterfaceScript = root->getProperty(Project::keyOfUserInterfaceScript()).toString();
        countNodes(*root, row);
    }
    return row;
}

QJsonObject toJson(const Row &row)
{
    QJsonObject object{{QStringLiteral("instance"), row.instance},
                       {QStringLiteral("listed"), row.isListed},
                       {QStringLiteral("dependencyScript"), row.dependencyScript},
                       {QStringLiteral("userInterfaceScript"), row.userInterfaceScript},
                       {QStringLiteral("nodes"), row.nodes},
                       {QStringLiteral("properties"), row.properties},
                       {QStringLiteral("bytes"), row.bytes},
                       {QStringLiteral("process"), row.hasProcess}};
    if (!row.error.isEmpty()) {
        object.insert(QStringLiteral("error"), row.error);
    }
    return object;
}

QStringList toCells(const Row &row)
{
    if (!row.error.isEmpty()) {
        return {row.instance, row.error};
    }
    const auto orDash = [](const QString &text) {
        return text.isEmpty() ? QStringLiteral("-") : text;
    };
    return {row.instance,
            row.isListed ? QStringLiteral("yes") : QStringLiteral("-"),
            orDash(row.dependencyScript),
            orDash(row.userInterfaceScript),
            row.hasProcess ? QStringLiteral("yes") : QStringLiteral("-"),
            QString::number(row.nodes),
            QString::number(row.properties),
            QString::number(row.bytes)};
}

void printTable(Output &output, const QVector<QStringList> &rows)
{
    constexpr int firstNumber = 5; // numbers stand on the right
    QVector<int> widths;
    for (const QStringList &row : rows) {
        if (row.size() < rows.constFirst().size()) {
            continue; // a message, in place of the cells
        }
        widths.resize(row.size());
        for (int i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], row.at(i).size());
        }
    }
    for (const QStringList &row : rows) {
        QStringList cells;
        for (int i = 0; i < row.size(); ++i) {
            cells.append(i < firstNumber ? row.at(i).leftJustified(widths.at(i))
                                         : row.at(i).rightJustified(widths.at(i)));
        }
        output.line(cells.join(QStringLiteral("  ")).trimmed());
    }
}

} // namespace

ListCommand::ListCommand(CLI::App &program)
    : Command(program, "list", "List the instances of a project")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_flag("--json", m_isJson, "Print the list as JSON");
    arguments().add_flag("--no-color", "Accepted as everywhere; the list has no colours");
}

int ListCommand::run()
{
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    QSet<QString> listed;
    const Manifest manifest(*project);
    for (const Manifest::Entry &entry : manifest.entries()) {
        listed.insert(entry.instanceName);
    }

    QJsonArray objects;
    QVector<QStringList> table{{QStringLiteral("INSTANCE"), QStringLiteral("LISTED"),
                                QStringLiteral("DEPENDENCY"), QStringLiteral("SCRIPT"),
                                QStringLiteral("PROCESS"), QStringLiteral("NODES"),
                                QStringLiteral("PROPERTIES"), QStringLiteral("BYTES")}};
    const QStringList instances = project->instances(FileTree::Kind::Configuration);
    for (const QString &instance : instances) {
        Row row = rowOf(*project, instance);
        row.isListed = listed.contains(instance);
        objects.append(toJson(row));
        table.append(toCells(row));
    }

    Output output(Output::Color::Never);
    if (m_isJson) {
        output.json(
            {{QStringLiteral("project"), project->path()}, {QStringLiteral("instances"), objects}});
    } else {
        printTable(output, table);
    }
    if (manifest.hasFailed()) {
        Output::error(manifest.error().toString());
        return ExitCode::unusable;
    }
    return ExitCode::success;
}
