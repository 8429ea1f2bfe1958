#include "DialogSession.h"

#include "filehost/FileBatch.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "runner/record/TreeUrls.h"

#include <algorithm>

namespace {

/// The trees that the script reaches by absolute URL.
std::unique_ptr<JavaScriptRootPointerHandler> otherTrees(const Project &project, DialogReach reach)
{
    return reach == DialogReach::Project
        ? std::make_unique<JavaScriptRootPointerHandler>(project.providers(), project.path(),
                                                         project.otherFiles())
        : std::make_unique<JavaScriptRootPointerHandler>(QString(), QHash<QString, QString>());
}

} // namespace

DialogSession::DialogSession(const Project &project, const QSharedPointer<FileTreeNode> &root,
                             const DialogScript &script, DialogReach reach,
                             RunRecorder::Recording recording, ScriptGuard &guard)
    : m_project(project)
    , m_script(script)
    , m_recording(recording)
    , m_guard(guard)
    , m_root(root)
    , m_url(TreeUrls(project).urlOf(root->tree().identity(), QString()))
    , m_hostSession(std::in_place, project.units(), HostSession::Writing::Nothing)
    , m_texts(project.texts())
    , m_units(false, false)
    , m_otherTrees(otherTrees(project, reach))
    , m_api(m_units, *m_otherTrees, m_texts,
            reach == DialogReach::Project ? project.moduleName() : QString(),
            reach == DialogReach::Project ? project.objectName() : QString(), true, nullptr)
    , m_handler(m_api, nullptr)
{
    beginRecording();
    m_handler.initializeHandler(m_root, m_script.text, m_url);
}

DialogSession::~DialogSession()
{
    endRecording();
}

void DialogSession::bind(const QSharedPointer<FileTreeNode> &root)
{
    m_root = root;
    m_handler.initializeHandler(m_root, QString(), m_url); // without a text, the script stays
}

int DialogSession::edit(const Edit &edit)
{
    beginRecording();
    return m_root->getNode(edit.relUrl)->setProperty(edit.key, edit.value);
}

void DialogSession::fire(const QString &function, const QString &argument)
{
    beginRecording();
    const bool needsUrl = function == QLatin1String("onSave") && argument.isEmpty();
    m_handler.callFunction(function, needsUrl ? m_url : argument);
}

bool DialogSession::isToBeSaved() const
{
    return !m_recorder || isToBeSaved(m_recorder->runs());
}

bool DialogSession::isToBeSaved(const QVector<ScriptRun> &runs)
{
    return std::all_of(runs.begin(), runs.end(), [](const ScriptRun &run) {
        return run.succeeded && (run.function != QLatin1String("onOk") || run.errors.isEmpty());
    });
}

QString DialogSession::refusalOfEvents()
{
    return QStringLiteral("an event failed, or onOk reported an error");
}

bool DialogSession::isOwnTreeChanged() const
{
    return m_root->text() != m_root->tree().json().text();
}

bool DialogSession::isChanged() const
{
    return isOwnTreeChanged() || !m_handler.getChangedExternalConfigAbsoluteUrls().isEmpty()
        || !m_handler.getChangedExternalProcessAbsoluteUrls().isEmpty();
}

QString DialogSession::save(HostSession::Writing writing)
{
    beginRecording();
    if (isOwnTreeChanged() && m_handler.getChangedExternalConfigAbsoluteUrls().contains(m_url)) {
        m_refusal = QStringLiteral("the script wrote its own instance by relative URL and, as "
                                   "another tree, by the absolute URL ")
            + m_url;
        return m_refusal;
    }
    if (!isToBeSaved()) {
        m_refusal = writing == HostSession::Writing::Files ? refusalOfEvents() : QString();
        return refusalOfEvents();
    }
    return saveTrees(writing);
}

/// @return why nothing is saved; empty when all is
QString DialogSession::saveTrees(HostSession::Writing writing)
{
    watch(writing);
    FileBatch batch(m_project.path());
    m_hostSession->setBatch(&batch);
    if (isOwnTreeChanged()) {
        // A failure makes the batch fail, which tells the reason.
        ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
            PropertyManagerConst::getConfigurationFolderPath(m_project.path()),
            m_project.moduleName(), m_project.objectName(), m_root->tree().identity().instance,
            m_root, false);
    }
    m_handler.saveChangedFiles();
    m_hostSession->setObserver(nullptr);
    m_hostSession->setBatch(nullptr);
    QString error;
    if (batch.commit(error)) {
        m_otherTrees->deleteChangeFlagConfigUrls();
        m_otherTrees->deleteChangeFlagProcessDataUrl();
    } else {
        m_recorder->savingFailed(error);
    }
    watch(HostSession::Writing::Nothing);
    return error;
}

RunRecord DialogSession::takeRecord()
{
    beginRecording();
    RunRecord record = m_recorder->takeRecord();
    record.refusal = m_refusal;
    endRecording();
    return record;
}

void DialogSession::beginRecording()
{
    if (m_recorder) {
        return;
    }
    m_refusal.clear();
    m_recorder.emplace(m_project, m_recording, m_guard,
                       [this](bool isInterrupted) { m_handler.setInterrupted(isInterrupted); });
    m_recorder->setSubject(m_root->tree(), m_project.relativePath(m_script.filePath));
    m_handler.setRunObserver(&*m_recorder);
    watch(HostSession::Writing::Nothing);
}

/// A new session takes the place of the one before.
void DialogSession::watch(HostSession::Writing writing)
{
    m_hostSession.emplace(m_project.units(), writing);
    m_hostSession->setObserver(&*m_recorder);
}

void DialogSession::endRecording()
{
    m_handler.setRunObserver(nullptr);
    m_hostSession.reset();
    m_recorder.reset();
}
