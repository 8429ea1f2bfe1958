#include "RunCommand.h"

#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/process/ScriptWatchdog.h"
#include "configscript/report/JsonReport.h"
#include "configscript/report/Output.h"
#include "configscript/report/TextReport.h"
#include "filehost/JsonText.h"
#include "filehost/TextFile.h"
#include "runner/check/ScriptProbe.h"
#include "runner/scripttest/ScriptTestRecorder.h"

#include <CLI/CLI.hpp>

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>

RunCommand::RunCommand(CLI::App &program)
    : Command(program, "run", "Fire events of an instance's user-interface script")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_option("INSTANCE", m_instance, "The instance, such as line1/pump1")->required();
    arguments().add_option("EVENT", m_event, "onOpen, onValueChange, onOk or onSave");
    arguments().add_option("ARGUMENT", m_argument,
                           "What the function gets after the API: for onValueChange the relative "
                           "URL of the node, for onSave a URL (default: the instance's own)");
    arguments()
        .add_option("--event", m_events,
                    "An event, once for each, in order: EVENT or EVENT=ARGUMENT")
        ->type_name("EVENT[=ARGUMENT]")
        ->take_all()
        ->allow_extra_args(false);
    arguments()
        .add_option("--set", m_edits,
                    "Edit a property before the events, as a user would, and fire onValueChange "
                    "for its node; VALUE is JSON, or else text")
        ->type_name("URL:KEY=VALUE")
        ->take_all()
        ->allow_extra_args(false);
    std::vector<std::string> reaches;
    const QStringList names = dialogReachNames();
    for (const QString &name : names) {
        reaches.push_back(name.toStdString());
    }
    m_reach = reaches.front();
    arguments()
        .add_option("--reach", m_reach,
                    "What the script reaches: its instance alone, as in a product's dialogs, or by "
                    "absolute URL the whole project")
        ->type_name("instance|project")
        ->check(CLI::IsMember(reaches).description(""))
        ->capture_default_str();
    auto *write = arguments().add_flag("--write", m_isWriting,
                                       "Save the instance, and the others that the script "
                                       "changed, if every event succeeded");
    arguments()
        .add_option("--record", m_recordPath,
                    "Write the session as a test, such as tests/pump.test.json in the project")
        ->type_name("FILE")
        ->excludes(write);
    arguments().add_flag("--json", m_isJson, "Print the report as JSON");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());
}

int RunCommand::run()
{
    m_limits.limitMemory();
    std::unique_ptr<ProjectLock> lock;
    const auto project = openProject(m_projectPath, m_isWriting ? &lock : nullptr);
    if (!project) {
        return ExitCode::unusable;
    }
    const auto events = parseEvents();
    const auto edits = parseEdits();
    if (!events || !edits || !canRecord()) {
        return ExitCode::unusable;
    }
    if (events->isEmpty() && edits->isEmpty()) {
        Output::error(
            QStringLiteral("run: expected an event or --set; see configscript run --help"));
        return ExitCode::unusable;
    }
    if (!isKnownInstance(*project)) {
        return ExitCode::unusable;
    }
    QVector<EventRun::Event> allEvents;
    for (const EventRun::Edit &edit : *edits) {
        allEvents.append({{edit}, QStringLiteral("onValueChange"), edit.relUrl});
    }
    allEvents += *events;
    ScriptWatchdog watchdog(m_limits.timeout());
    QString error;
    const QString instance = QString::fromStdString(m_instance);
    const DialogReach reach = *dialogReachOf(QString::fromStdString(m_reach));
    EventRun run(*project, instance, reach, watchdog);
    if (!m_recordPath.empty()) {
        run.setRecording(RunRecorder::Recording::Accesses);
    }
    const auto report =
        run.run(allEvents,
                m_isWriting ? HostSession::Writing::Files : HostSession::Writing::Nothing, error);
    if (!report) {
        Output::error(error);
        return ExitCode::unusable;
    }
    if (!report->refusal.isEmpty() && DialogSession::isToBeSaved(report->runs)) {
        Output::error(QStringLiteral("nothing is saved: ") + report->refusal);
    }
    print(*project, *report, *edits);
    if (!m_recordPath.empty()
        && !record(ScriptTestRecorder::record(*project, instance, reach, allEvents, *report))) {
        return ExitCode::failure;
    }
    return report->succeeded() ? ExitCode::success : ExitCode::failure;
}

bool RunCommand::isKnownInstance(const Project &project) const
{
    const QString instance = QString::fromStdString(m_instance);
    const QString path = project.treePath(FileTree::Kind::Configuration, instance);
    if (!path.isEmpty() && QFileInfo::exists(path)) {
        return true;
    }
    Output::error(QStringLiteral("no instance \"%1\"; configscript list shows all").arg(instance));
    return false;
}

/// Whether the file to record to can be a test, and nothing else is there.
bool RunCommand::canRecord() const
{
    const QString path = QString::fromStdString(m_recordPath);
    if (path.isEmpty()) {
        return true;
    }
    const Diagnostic error = ScriptTestRecorder::fileError(path);
    if (error.message.isEmpty()) {
        return true;
    }
    Output::error(error.toString());
    return false;
}

bool RunCommand::record(const QByteArray &text) const
{
    Diagnostic error;
    if (TextFile::write(QString::fromStdString(m_recordPath), text, error)) {
        return true;
    }
    Output::error(error.toString());
    return false;
}

std::optional<QVector<EventRun::Event>> RunCommand::parseEvents() const
{
    QVector<EventRun::Event> events;
    if (!m_event.empty()) {
        events.append({{}, QString::fromStdString(m_event), QString::fromStdString(m_argument)});
    }
    for (const std::string &text : m_events) {
        const QString event = QString::fromStdString(text);
        events.append(
            {{}, event.section(QLatin1Char('='), 0, 0), event.section(QLatin1Char('='), 1)});
    }
    for (const EventRun::Event &event : qAsConst(events)) {
        if (!ScriptProbe::eventFunctions().contains(event.function)) {
            Output::error(
                QStringLiteral("run: expected one of the events %1, found \"%2\"")
                    .arg(ScriptProbe::eventFunctions().join(QStringLiteral(", ")), event.function));
            return std::nullopt;
        }
    }
    return events;
}

std::optional<QVector<EventRun::Edit>> RunCommand::parseEdits() const
{
    QVector<EventRun::Edit> edits;
    for (const std::string &text : m_edits) {
        const QString edit = QString::fromStdString(text);
        const int equals = edit.indexOf(QLatin1Char('='));
        const int colon = edit.lastIndexOf(QLatin1Char(':'), equals);
        if (equals < 0 || equals == colon + 1) {
            Output::error(
                QStringLiteral("run: expected --set URL:KEY=VALUE, found \"%1\"").arg(edit));
            return std::nullopt;
        }
        const QString value = edit.mid(equals + 1);
        Diagnostic error;
        const JsonText json = JsonText::parse(value.toUtf8(), error);
        edits.append({edit.left(qMax(0, colon)), edit.mid(colon + 1, equals - colon - 1),
                      json.isNull() ? QVariant(value) : json.value(0)});
    }
    return edits;
}

void RunCommand::print(const Project &project, const RunRecord &report,
                       const QVector<EventRun::Edit> &edits) const
{
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    if (m_isJson) {
        QJsonObject object = JsonReport::make(project, report, !m_isWriting);
        QJsonArray editObjects;
        for (const EventRun::Edit &edit : edits) {
            editObjects.append(
                QJsonObject{{QStringLiteral("path"), edit.relUrl},
                            {QStringLiteral("key"), edit.key},
                            {QStringLiteral("new"), QJsonValue::fromVariant(edit.value)}});
        }
        object.insert(QStringLiteral("edits"), editObjects);
        output.json(object);
        return;
    }
    TextReport text(project, output, TextReport::Detail::Everything);
    text.printEvents(report);
    text.printTrees(report, !m_isWriting);
    if (!DialogSession::isToBeSaved(report.runs)) {
        output.line();
        output.line(QStringLiteral("Nothing is saved: ") + DialogSession::refusalOfEvents()
                    + QLatin1Char('.'));
    } else if (!m_isWriting && !report.trees.isEmpty()) {
        output.line();
        output.line(QStringLiteral("Nothing was written; --write saves the changes."));
    }
}
