#include "RunCommand.h"

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "configscript/ExitCode.h"
#include "configscript/JsonReport.h"
#include "configscript/Output.h"
#include "configscript/ProgressLine.h"
#include "configscript/ProjectArgument.h"
#include "configscript/RunRecorder.h"
#include "configscript/ScriptProbe.h"
#include "configscript/ScriptWatchdog.h"
#include "configscript/TextReport.h"
#include "filehost/FileBatch.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/JsonText.h"
#include "filehost/TextFile.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

namespace {

const QString s_refusal = QStringLiteral("an event failed, or onOk reported an error");

struct Script
{
    QString path; ///< relative to the project
    QString text;
};

QSharedPointer<FileTreeNode> readInstance(const Project &project, const QString &instance)
{
    Diagnostic error;
    auto root = project.readTree(FileTree::Kind::Configuration, instance, error);
    if (!error.message.isEmpty()) {
        Output::error(error.toString());
    } else if (root.isNull()) {
        Output::error(
            QStringLiteral("no instance \"%1\"; configscript list shows all").arg(instance));
    }
    return root;
}

std::optional<Script> readScript(const Project &project, const FileTreeNode &root)
{
    const QString key = Project::keyOfUserInterfaceScript();
    const QString fileName = root.getProperty(key).toString();
    if (fileName.isEmpty()) {
        Output::error(root.placeOf(key,
                                   QStringLiteral("expected the property \"%1\", the name of a "
                                                  "user-interface script")
                                       .arg(key))
                          .toString());
        return std::nullopt;
    }
    const QString scriptError = project.scriptError(project.userInterfaceScriptFolder(), fileName);
    if (!scriptError.isEmpty()) {
        Output::error(root.placeOf(key, scriptError).toString());
        return std::nullopt;
    }
    const QString filePath = project.userInterfaceScriptFolder() + QLatin1Char('/') + fileName;
    QByteArray text;
    Diagnostic error;
    switch (TextFile::read(filePath, FileTree::maximumFileSize, text, error)) {
    case TextFile::ReadResult::Missing:
        Output::error(filePath + QStringLiteral(": no such file"));
        return std::nullopt;
    case TextFile::ReadResult::Unreadable:
        Output::error(error.toString());
        return std::nullopt;
    case TextFile::ReadResult::Read:
        break;
    }
    if (text.isEmpty()) {
        Output::error(filePath + QStringLiteral(": the file is empty"));
        return std::nullopt;
    }
    return Script{project.relativePath(filePath), QString::fromUtf8(text)};
}

/// Whether what was done may be saved: what a user-interface host asks before it saves.
bool isToBeSaved(const QVector<ScriptRun> &runs)
{
    return std::all_of(runs.begin(), runs.end(), [](const ScriptRun &run) {
        return run.succeeded && (run.function != QLatin1String("onOk") || run.errors.isEmpty());
    });
}

} // namespace

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
    arguments().add_flag("--write", m_isWriting,
                         "Save the instance, and the others that the script changed, if every "
                         "event succeeded");
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
    if (!events || !edits) {
        return ExitCode::unusable;
    }
    if (events->isEmpty() && edits->isEmpty()) {
        Output::error(
            QStringLiteral("run: expected an event or --set; see configscript run --help"));
        return ExitCode::unusable;
    }
    const auto report = fire(*project, QString::fromStdString(m_instance), *edits, *events);
    if (!report) {
        return ExitCode::unusable;
    }
    print(*project, *report, *edits);
    return report->succeeded() ? ExitCode::success : ExitCode::failure;
}

std::optional<QVector<RunCommand::Event>> RunCommand::parseEvents() const
{
    QVector<Event> events;
    if (!m_event.empty()) {
        events.append({QString::fromStdString(m_event), QString::fromStdString(m_argument)});
    }
    for (const std::string &text : m_events) {
        const QString event = QString::fromStdString(text);
        events.append({event.section(QLatin1Char('='), 0, 0), event.section(QLatin1Char('='), 1)});
    }
    for (const Event &event : qAsConst(events)) {
        if (!ScriptProbe::eventFunctions().contains(event.function)) {
            Output::error(
                QStringLiteral("run: expected one of the events %1, found \"%2\"")
                    .arg(ScriptProbe::eventFunctions().join(QStringLiteral(", ")), event.function));
            return std::nullopt;
        }
    }
    return events;
}

std::optional<QVector<RunCommand::Edit>> RunCommand::parseEdits() const
{
    QVector<Edit> edits;
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

bool RunCommand::areEditsPossible(const FileTreeNode &root, const QVector<Edit> &edits)
{
    for (const Edit &edit : edits) {
        const auto node = root.getNode(edit.relUrl).dynamicCast<FileTreeNode>();
        if (node.isNull()) {
            Output::error(QStringLiteral("run: --set: no node \"%1\" in %2")
                              .arg(edit.relUrl, root.tree().identity().instance));
            return false;
        }
        if (node->isReadOnly(edit.key)) {
            Output::error(
                node->placeOf(edit.key, QStringLiteral("\"%1\" is read-only").arg(edit.key))
                    .toString());
            return false;
        }
    }
    return true;
}

std::optional<RunReport> RunCommand::fire(const Project &project, const QString &instance,
                                          const QVector<Edit> &edits,
                                          const QVector<Event> &events) const
{
    const auto root = readInstance(project, instance);
    const auto script = root.isNull() ? std::nullopt : readScript(project, *root);
    if (!script || !areEditsPossible(*root, edits)) {
        return std::nullopt;
    }
    const QString url =
        SelectorUrlHandler(QString())
            .setScheme(ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration())
            .setModuleName(project.moduleName())
            .setObjectName(project.objectName())
            .setInstance(instance)
            .toString();

    HostSession session(project.units(),
                        m_isWriting ? HostSession::Writing::Files : HostSession::Writing::Nothing);
    FileBatch batch(project.path());
    session.setBatch(&batch);
    const TextManager textManager(project.texts());
    const UnitManagerWrapper unitManager(false, false);
    JavaScriptRootPointerHandler rootPointerHandler(project.providers(), project.path(),
                                                    project.otherFiles());
    JavaScriptApi api(unitManager, rootPointerHandler, textManager, project.moduleName(),
                      project.objectName(), true, nullptr);
    JavaScriptHandler handler(api, nullptr);
    ProgressLine progress(ProgressLine::Visibility::Never);
    ScriptWatchdog watchdog(m_limits.timeout());
    RunRecorder recorder(project, progress, watchdog,
                         [&handler](bool isInterrupted) { handler.setInterrupted(isInterrupted); });
    recorder.setRecordsWrites(true);
    recorder.setSubject(instance, script->path);
    session.setObserver(&recorder);
    handler.setRunObserver(&recorder);

    handler.initializeHandler(root, script->text, url);
    for (const Edit &edit : edits) {
        const auto node = root->getNode(edit.relUrl);
        if (node->hasProperty(edit.key)) {
            node->setProperty(edit.key, edit.value);
        } else {
            node->addProperty(edit.key, edit.value);
        }
        handler.callFunctionOnValueChanged(edit.relUrl);
    }
    for (const Event &event : events) {
        const bool needsUrl = event.function == QLatin1String("onSave") && event.argument.isEmpty();
        handler.callFunction(event.function, needsUrl ? url : event.argument);
    }

    const bool isChanged = recorder.hasWritten(root->tree());
    QString refusal;
    if (isChanged && handler.getChangedExternalConfigAbsoluteUrls().contains(url)) {
        refusal = QStringLiteral("the script wrote its own instance by relative URL and, as "
                                 "another tree, by the absolute URL ")
            + url;
        Output::error(QStringLiteral("nothing is saved: ") + refusal);
    } else if (!isToBeSaved(recorder.runs())) {
        refusal = m_isWriting ? s_refusal : QString();
    } else {
        if (isChanged) {
            ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
                PropertyManagerConst::getConfigurationFolderPath(project.path()),
                project.moduleName(), project.objectName(), instance, root, false);
        }
        handler.saveChangedFiles();
    }
    session.setObserver(nullptr);
    session.setBatch(nullptr);
    QString error;
    if (!batch.commit(error)) {
        recorder.savingFailed(error);
    }
    RunReport report = recorder.takeReport();
    report.refusal = refusal;
    return report;
}

void RunCommand::print(const Project &project, const RunReport &report,
                       const QVector<Edit> &edits) const
{
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    if (m_isJson) {
        QJsonObject object = JsonReport::make(project, report, !m_isWriting);
        QJsonArray editObjects;
        for (const Edit &edit : edits) {
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
    if (!isToBeSaved(report.runs)) {
        output.line();
        output.line(QStringLiteral("Nothing is saved: ") + s_refusal + QLatin1Char('.'));
    } else if (!m_isWriting && !report.trees.isEmpty()) {
        output.line();
        output.line(QStringLiteral("Nothing was written; --write saves the changes."));
    }
}
