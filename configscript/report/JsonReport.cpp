#include "JsonReport.h"

#include "filehost/JsonValue.h"
#include "filehost/Project.h"

#include <QJsonArray>

namespace JsonReport {

namespace {

template <typename List, typename Convert>
QJsonArray array(const List &list, Convert convert)
{
    QJsonArray result;
    for (const auto &element : list) {
        result.append(convert(element));
    }
    return result;
}

QJsonObject change(const PropertyChange &change)
{
    QJsonObject object{{QStringLiteral("path"), change.path},
                       {QStringLiteral("key"), change.key},
                       {QStringLiteral("new"), QJsonValue::fromVariant(change.newValue)}};
    if (change.oldValue.isValid()) {
        object.insert(QStringLiteral("old"), QJsonValue::fromVariant(change.oldValue));
    }
    return object;
}

QString kindName(FileTree::Kind kind)
{
    return kind == FileTree::Kind::Process ? QStringLiteral("process")
                                           : QStringLiteral("configuration");
}

QJsonObject exception(const ScriptException &exception)
{
    return {{QStringLiteral("line"), exception.line}, {QStringLiteral("text"), exception.text}};
}

QString levelName(QtMsgType level)
{
    switch (level) {
    case QtDebugMsg:
        return QStringLiteral("debug");
    case QtInfoMsg:
        return QStringLiteral("info");
    case QtWarningMsg:
        return QStringLiteral("warning");
    default:
        return QStringLiteral("error");
    }
}

QJsonObject consoleMessage(const ConsoleMessage &message)
{
    return {{QStringLiteral("level"), levelName(message.level)},
            {QStringLiteral("line"), message.line},
            {QStringLiteral("text"), message.text}};
}

QJsonObject run(const ScriptRun &run, const QHash<QString, QString> &texts)
{
    const auto error = [&texts](const JavaScriptApi::ErrorMessage &error) {
        QJsonObject object{{QStringLiteral("url"), error.relUrl},
                           {QStringLiteral("textId"), error.errorLabelTextId},
                           {QStringLiteral("text"), texts.value(error.errorLabelTextId)}};
        if (error.value.isValid()) {
            object.insert(QStringLiteral("value"), QJsonValue::fromVariant(error.value));
        }
        return object;
    };
    QJsonArray writes;
    for (const TreeAccess &access : run.accesses) {
        if (access.isWrite()) {
            QJsonObject write = change(access.change());
            write.insert(QStringLiteral("instance"), access.tree.instance);
            write.insert(QStringLiteral("kind"), kindName(access.tree.kind));
            writes.append(write);
        }
    }
    QJsonObject object{{QStringLiteral("instance"), run.instance},
                       {QStringLiteral("script"), run.script},
                       {QStringLiteral("function"), run.function},
                       {QStringLiteral("argument"), run.argument},
                       {QStringLiteral("succeeded"), run.succeeded},
                       {QStringLiteral("milliseconds"), milliseconds(run.duration)},
                       {QStringLiteral("exceptions"), array(run.exceptions, exception)},
                       {QStringLiteral("errors"), array(run.errors, error)},
                       {QStringLiteral("console"), array(run.console, consoleMessage)},
                       {QStringLiteral("warnings"), QJsonArray::fromStringList(run.warnings)},
                       {QStringLiteral("writes"), writes},
                       {QStringLiteral("unsaved"), array(run.unsavedChanges, change)}};
    if (!run.ranInstead.isEmpty()) {
        object.insert(QStringLiteral("ranInstead"), run.ranInstead);
    }
    return object;
}

} // namespace

double milliseconds(std::chrono::nanoseconds duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

QJsonObject make(const Project &project, const RunRecord &report, bool isDryRun)
{
    const QHash<QString, QString> texts = project.texts();
    const auto runObject = [&texts](const ScriptRun &scriptRun) {
        return run(scriptRun, texts);
    };
    const auto tree = [&project](const ChangedTree &tree) {
        QJsonObject object{{QStringLiteral("file"), project.relativePath(tree.identity.filePath)},
                           {QStringLiteral("instance"), tree.identity.instance},
                           {QStringLiteral("kind"), kindName(tree.identity.kind)},
                           {QStringLiteral("stored"), tree.error.isEmpty()},
                           {QStringLiteral("changes"), array(tree.changes, change)}};
        if (!tree.error.isEmpty()) {
            object.insert(QStringLiteral("error"), tree.error);
        }
        return object;
    };
    const auto omitted = [](const OmittedRun &run) {
        return QJsonObject{{QStringLiteral("instance"), run.instance},
                           {QStringLiteral("reason"), run.reason}};
    };
    return {{QStringLiteral("project"), project.path()},
            {QStringLiteral("dryRun"), isDryRun},
            {QStringLiteral("succeeded"), report.succeeded()},
            {QStringLiteral("runs"), array(report.runs, runObject)},
            {QStringLiteral("notRun"), array(report.notRun, omitted)},
            {QStringLiteral("files"), array(report.trees, tree)},
            {QStringLiteral("announced"), QJsonArray::fromStringList(report.announced)},
            {QStringLiteral("projectWarnings"), QJsonArray::fromStringList(report.projectWarnings)},
            {QStringLiteral("warnings"), QJsonArray::fromStringList(report.warnings)},
            {QStringLiteral("summary"),
             QJsonObject{{QStringLiteral("scriptsRun"), report.runs.size()},
                         {QStringLiteral("scriptsFailed"), report.failedRuns()},
                         {QStringLiteral("filesChanged"), report.storedTrees()},
                         {QStringLiteral("valuesChanged"), report.changedValues()},
                         {QStringLiteral("milliseconds"), milliseconds(report.duration)}}}};
}

} // namespace JsonReport
