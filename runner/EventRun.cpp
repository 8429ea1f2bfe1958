#include "EventRun.h"

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "filehost/store/FileBatch.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"
#include "runner/DialogScript.h"
#include "runner/TreeUrls.h"

#include <algorithm>

namespace ConfigScript {

EventRun::EventRun(const Project &project, const QString &instance, ScriptGuard &guard)
    : m_project(project)
    , m_instance(instance)
    , m_guard(guard)
{
}

void EventRun::setRecording(RunRecorder::Recording recording)
{
    m_recording = recording;
}

std::optional<RunReport> EventRun::run(const QVector<Event> &events, HostSession::Writing writing,
                                       QString &error) const
{
    const auto root = readInstance(error);
    if (root.isNull()) {
        return std::nullopt;
    }
    const DialogScript script(m_project, *root);
    error = script.error.toString();
    if (!error.isEmpty() || !areEditsPossible(*root, events, error)) {
        return std::nullopt;
    }
    const QString url = TreeUrls(m_project).urlOf(root->tree().identity(), QString());

    HostSession session(m_project.units(), writing);
    FileBatch batch(m_project.path());
    session.setBatch(&batch);
    const TextManager textManager(m_project.texts());
    const UnitManagerWrapper unitManager(false, false);
    JavaScriptRootPointerHandler rootPointerHandler(m_project.providers(), m_project.path(),
                                                    m_project.otherFiles());
    JavaScriptApi api(unitManager, rootPointerHandler, textManager, m_project.moduleName(),
                      m_project.objectName(), true, nullptr);
    JavaScriptHandler handler(api, nullptr);
    RunRecorder recorder(m_project, m_recording, m_guard,
                         [&handler](bool isInterrupted) { handler.setInterrupted(isInterrupted); });
    recorder.setSubject(m_instance, m_project.relativePath(script.filePath));
    session.setObserver(&recorder);
    handler.setRunObserver(&recorder);

    handler.initializeHandler(root, script.text, url);
    for (const Event &event : events) {
        for (const Edit &edit : event.edits) {
            const auto node = root->getNode(edit.relUrl);
            if (node->hasProperty(edit.key)) {
                node->setProperty(edit.key, edit.value);
            } else {
                node->addProperty(edit.key, edit.value);
            }
        }
        const bool needsUrl = event.function == QLatin1String("onSave") && event.argument.isEmpty();
        handler.callFunction(event.function, needsUrl ? url : event.argument);
    }

    const bool isChanged = recorder.hasWritten(root->tree());
    QString refusal;
    if (isChanged && handler.getChangedExternalConfigAbsoluteUrls().contains(url)) {
        refusal = QStringLiteral("the script wrote its own instance by relative URL and, as "
                                 "another tree, by the absolute URL ")
            + url;
    } else if (!isToBeSaved(recorder.runs())) {
        refusal = writing == HostSession::Writing::Files ? refusalOfEvents() : QString();
    } else {
        if (isChanged) {
            ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
                PropertyManagerConst::getConfigurationFolderPath(m_project.path()),
                m_project.moduleName(), m_project.objectName(), m_instance, root, false);
        }
        handler.saveChangedFiles();
    }
    session.setObserver(nullptr);
    session.setBatch(nullptr);
    Diagnostic savingError;
    if (!batch.commit(savingError)) {
        recorder.savingFailed(savingError.toString());
    }
    RunReport report = recorder.takeReport();
    report.refusal = refusal;
    return report;
}

QString EventRun::refusalOfEvents()
{
    return QStringLiteral("an event failed, or onOk reported an error");
}

bool EventRun::isToBeSaved(const QVector<ScriptRun> &runs)
{
    return std::all_of(runs.begin(), runs.end(), [](const ScriptRun &run) {
        return run.succeeded && (run.function != QLatin1String("onOk") || run.errors.isEmpty());
    });
}

QSharedPointer<FileTreeNode> EventRun::readInstance(QString &error) const
{
    Diagnostic diagnostic;
    auto root = m_project.readTree(FileTree::Kind::Configuration, m_instance, diagnostic);
    if (!diagnostic.message.isEmpty()) {
        error = diagnostic.toString();
    } else if (root.isNull()) {
        error = QStringLiteral("no instance \"%1\"; configscript list shows all").arg(m_instance);
    }
    return root;
}

bool EventRun::areEditsPossible(const FileTreeNode &root, const QVector<Event> &events,
                                QString &error)
{
    for (const Event &event : events) {
        for (const Edit &edit : event.edits) {
            const auto node = root.getNode(edit.relUrl).dynamicCast<FileTreeNode>();
            if (node.isNull()) {
                error = QStringLiteral("cannot set \"%1\": no node \"%2\" in %3")
                            .arg(edit.key, edit.relUrl, root.tree().identity().instance);
                return false;
            }
            if (node->isReadOnly(edit.key)) {
                error = node->placeOf(edit.key, QStringLiteral("\"%1\" is read-only").arg(edit.key))
                            .toString();
                return false;
            }
        }
    }
    return true;
}

} // namespace ConfigScript
