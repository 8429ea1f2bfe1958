#include "OpenInstance.h"

#include "editor/worker/ScriptStopper.h"
#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"
#include "filehost/store/TextFile.h"
#include "runner/check/ScriptProbe.h"
#include "runner/run/ProjectOpening.h"

#include <algorithm>

namespace ConfigScript {

namespace {

void collectChanges(const FileTreeNode &node, QVector<PropertyChange> &changes)
{
    const QStringList keys = node.propertyKeys();
    for (const QString &key : keys) {
        const QVariant value = node.value(key);
        const QVariant valueInFile = node.valueInFile(key);
        if (!JsonValue::areEqual(value, valueInFile)) {
            changes.append({node.path(), key, valueInFile, value});
        }
    }
    const auto children = node.children();
    for (const auto &child : children) {
        collectChanges(*child, changes);
    }
}

/// A file's content; empty when it cannot be read.
QByteArray textOf(const QString &filePath)
{
    QByteArray text;
    Diagnostic error;
    TextFile::read(filePath, TextFile::maximumSize, text, error);
    return text;
}

} // namespace

OpenInstance::OpenInstance(const Project &project, DialogReach reach, ScriptStopper &stopper,
                           const QString &instance)
    : m_project(project)
    , m_reach(reach)
    , m_stopper(stopper)
    , m_instance(instance)
{
}

OpenInstance::~OpenInstance() = default;

InstanceReport OpenInstance::open()
{
    InstanceReport report;
    report.instance = m_instance;
    report.treePath = m_project.treePath(FileTree::Kind::Configuration, m_instance);
    const QVector<PropertyChange> unsaved = changes();
    const QByteArray knownText = m_root ? m_root->tree().json().text() : QByteArray();
    m_session = nullptr;
    m_recording.restart();
    const bool isUsable = readTree(report);
    if (m_root) {
        if (isUsable) {
            bind(m_root, unsaved);
        }
        report.snapshot = InstanceSnapshot(*m_root);
        report.keepsHistory = m_root->tree().json().text() == knownText;
    }
    if (!isUsable || !readScript(report)) {
        return report;
    }
    m_session = std::make_unique<DialogSession>(m_project, m_root, m_script, m_reach,
                                                RunRecorder::Recording::Accesses, m_stopper);
    report.onOpen = fire(QStringLiteral("onOpen"));
    return report;
}

bool OpenInstance::readTree(InstanceReport &report)
{
    Diagnostic error;
    auto root = m_project.readTree(FileTree::Kind::Configuration, m_instance, error);
    m_isTreeWrong = root.isNull();
    if (m_isTreeWrong) {
        report.error = error.message.isEmpty()
            ? QStringLiteral("no instance \"%1\"").arg(m_instance)
            : m_project.relative(error).toString();
        return false;
    }
    m_root = root;
    return true;
}

bool OpenInstance::readScript(InstanceReport &report)
{
    m_script = DialogScript(m_project, *m_root);
    report.scriptPath = m_script.filePath;
    report.script = scriptFile();
    if (!m_script.isNamed) {
        return true;
    }
    Diagnostic error = m_script.error;
    if (error.message.isEmpty()) {
        const ScriptProbe probe(m_script.text, report.script, m_stopper);
        error = {m_script.filePath, probe.errorLine, 0, probe.error};
    }
    if (error.message.isEmpty()) {
        return true;
    }
    report.error = m_project.relative(error).toString();
    return false;
}

/// The script as seen from the project; empty for none.
QString OpenInstance::scriptFile() const
{
    return m_project.relativePath(m_script.filePath);
}

/// Makes @p root the tree that is edited, with values that the file does not hold.
void OpenInstance::bind(const QSharedPointer<FileTreeNode> &root,
                        const QVector<PropertyChange> &changes)
{
    m_root = root;
    for (const PropertyChange &change : changes) {
        const auto node = m_root->getNode(change.path);
        if (!node.isNull()) {
            node.staticCast<FileTreeNode>()->setProperty(change.key, change.newValue);
        }
    }
    if (m_session) {
        m_session->bind(m_root);
    }
}

QVector<PropertyChange> OpenInstance::changes() const
{
    QVector<PropertyChange> changes;
    if (m_root) {
        collectChanges(*m_root, changes);
    }
    return changes;
}

bool OpenInstance::isTreeStale() const
{
    const QString path = m_project.treePath(FileTree::Kind::Configuration, m_instance);
    return m_isTreeWrong || !m_root || textOf(path) != m_root->tree().json().text();
}

bool OpenInstance::isScriptStale() const
{
    const QString path = m_script.filePath;
    return !path.isEmpty() && (!m_session || QString::fromUtf8(textOf(path)) != m_script.text);
}

void OpenInstance::discardChanges()
{
    m_root = nullptr;
}

EventReport OpenInstance::edit(const QString &path, const QString &key, const QVariant &value)
{
    EventReport report;
    report.instance = m_instance;
    report.time = QDateTime::currentDateTime();
    const auto node = m_root && m_session ? m_root->getNode(path).staticCast<FileTreeNode>()
                                          : QSharedPointer<FileTreeNode>();
    if (node.isNull()) {
        report.refusal = QStringLiteral("there is no node \"%1\"").arg(path);
        return report;
    }
    const QVariant oldValue = node->value(key);
    const int status = m_session->edit({path, key, value});
    if (status != 0) {
        m_session->takeRecord(); // of nothing
        report.edits = {{path, key, value, oldValue}};
        report.refusal = status == 1 ? QStringLiteral("the value is equal already")
            : status == 2            ? QStringLiteral("\"%1\" is read-only").arg(key)
                                     : QStringLiteral("the value has no JSON form");
        return report;
    }
    const PropertyChange edit{path, key, oldValue, node->value(key)};
    report = fire(QStringLiteral("onValueChange"), path);
    report.edits = {edit};
    return report;
}

void OpenInstance::apply(const QVector<PropertyChange> &changes)
{
    if (!m_root) {
        return;
    }
    QVector<PropertyChange> all = this->changes();
    for (const PropertyChange &change : changes) {
        all.erase(std::remove_if(all.begin(), all.end(),
                                 [&change](const PropertyChange &other) {
                                     return other.path == change.path && other.key == change.key;
                                 }),
                  all.end());
        if (change.newValue.isValid()) {
            all.append(change);
        }
    }
    // A node cannot lose a property: a new one takes its place, on the same text.
    bind(QSharedPointer<FileTreeNode>::create(m_root->sharedTree(), 0), all);
}

SaveReport OpenInstance::save()
{
    SaveReport report;
    report.instance = m_instance;
    if (!m_root || !m_session) {
        report.error = QStringLiteral("the instance cannot be used");
        return report;
    }
    const QDateTime time = QDateTime::currentDateTime();
    const QVector<PropertyChange> before = changes();
    m_session->fire(QStringLiteral("onOk"));
    QStringList recoveries;
    report.isSaved = m_session->isToBeSaved() && write(recoveries, report.error);
    report.onOk = takeEvent(time, before);
    report.onOk.warnings += recoveries;
    if (!report.isSaved) {
        return report;
    }
    InstanceReport saved;
    saved.treePath = m_project.treePath(FileTree::Kind::Configuration, m_instance);
    m_recording.restart();
    if (readTree(saved)) {
        bind(m_root, {});
    }
    report.snapshot = InstanceSnapshot(*m_root);
    return report;
}

/// Writes what the session changed, if anything.
bool OpenInstance::write(QStringList &recoveries, QString &error)
{
    if (!m_session->isChanged()) {
        return true;
    }
    Diagnostic diagnostic;
    const auto lock = lockRecoveredProject(m_project, recoveries, diagnostic);
    error = lock ? m_session->save(HostSession::Writing::Files)
                 : m_project.relative(diagnostic).toString();
    return error.isEmpty();
}

std::optional<QByteArray> OpenInstance::recordedTest(QString &error) const
{
    error = m_recording.error();
    if (!error.isEmpty()) {
        return std::nullopt;
    }
    return m_recording.toTest(m_project, m_instance, m_reach);
}

QSharedPointer<FileTreeNode> OpenInstance::copyOfTree() const
{
    if (!m_root) {
        return {};
    }
    Diagnostic error;
    return FileTree::parse(m_root->text(), m_root->tree().identity(), error);
}

EventReport OpenInstance::fire(const QString &function, const QString &argument)
{
    const QDateTime time = QDateTime::currentDateTime();
    const QVector<PropertyChange> before = changes();
    m_session->fire(function, argument);
    return takeEvent(time, before);
}

/// What came of the event that was fired last.
/// @param before what was changed when it was fired
EventReport OpenInstance::takeEvent(const QDateTime &time, const QVector<PropertyChange> &before)
{
    EventReport report;
    report.instance = m_instance;
    report.time = time;
    const RunRecord seen = m_session->takeRecord();
    report.warnings = seen.warnings;
    if (seen.runs.isEmpty()) {
        report.run.succeeded = true; // there is no script
        return report;
    }
    report.run = seen.runs.constLast();
    m_recording.add(report.run, before, changes());
    for (const TreeAccess &access : qAsConst(report.run.accesses)) {
        if (access.isWrite() && access.isOfOwnCopy) {
            report.answers.append(access.change());
        }
    }
    return report;
}

} // namespace ConfigScript
