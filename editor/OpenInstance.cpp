#include "OpenInstance.h"

#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "editor/ScriptStopper.h"
#include "editor/TreeWriter.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Project.h"
#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"
#include "filehost/store/TextFile.h"
#include "host/TextManager.h"
#include "host/UnitManagerWrapper.h"
#include "runner/RunRecorder.h"
#include "runner/ScriptProbe.h"
#include "runner/TreeUrls.h"

#include <algorithm>

namespace ConfigScript {

namespace {

void collectChanges(const FileTreeNode &node, QVector<PropertyChange> &changes)
{
    const QStringList keys = node.propertyKeys();
    for (const QString &key : keys) {
        const QVariant value = node.value(key);
        const QVariant valueInFile = node.valueInFile(key);
        if (!valueInFile.isValid() || !JsonValue::areEqual(value, valueInFile)) {
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

OpenInstance::OpenInstance(const Project &project, const TextManager &texts, ScriptStopper &stopper,
                           const QString &instance)
    : m_project(project)
    , m_texts(texts)
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
    m_handler = nullptr;
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
    {
        const HostSession session(m_project.units());
        m_units = std::make_unique<UnitManagerWrapper>(false, false);
    }
    m_handler = std::make_unique<JavaScriptHandlerUiWrapper>(*m_units, m_texts, nullptr);
    report.onOpen = fire([this] {
        initializeHandler(m_script.text);
        m_handler->callFunctionOnOpen();
    });
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

/// @param script empty to keep the one that was evaluated
void OpenInstance::initializeHandler(const QString &script)
{
    m_handler->initializeHandler(m_root, script,
                                 TreeUrls(m_project).urlOf(m_root->tree().identity(), QString()));
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
    if (m_handler) {
        initializeHandler(QString());
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
    return !path.isEmpty() && (!m_handler || QString::fromUtf8(textOf(path)) != m_script.text);
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
    const auto node = m_root && m_handler ? m_root->getNode(path).staticCast<FileTreeNode>()
                                          : QSharedPointer<FileTreeNode>();
    if (node.isNull()) {
        report.refusal = QStringLiteral("there is no node \"%1\"").arg(path);
        return report;
    }
    const QVariant oldValue = node->value(key);
    const int status = node->setProperty(key, value);
    if (status != 0) {
        report.edits = {{path, key, value, oldValue}};
        report.refusal = status == 1 ? QStringLiteral("the value is equal already")
            : status == 2            ? QStringLiteral("\"%1\" is read-only").arg(key)
                                     : QStringLiteral("the value has no JSON form");
        return report;
    }
    const PropertyChange edit{path, key, oldValue, node->value(key)};
    report = fire([this, &path] { m_handler->callFunctionOnValueChanged(path); });
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
    if (!m_root || !m_handler) {
        report.error = QStringLiteral("the instance cannot be used");
        return report;
    }
    report.onOk = fire([this] { m_handler->callFunctionOnOk(); });
    if (!report.onOk.run.succeeded || !report.onOk.run.errors.isEmpty() || !write(report)) {
        return report;
    }
    InstanceReport saved;
    saved.treePath = m_project.treePath(FileTree::Kind::Configuration, m_instance);
    report.isSaved = true;
    m_recording.restart();
    if (readTree(saved)) {
        bind(m_root, {});
    }
    report.snapshot = InstanceSnapshot(*m_root);
    return report;
}

bool OpenInstance::write(SaveReport &report)
{
    if (changes().isEmpty()) {
        return true;
    }
    const auto writer = TreeWriter::open(m_project, report.onOk.warnings, report.error);
    if (!writer) {
        return false;
    }
    writer->add(m_root);
    return writer->commit(report.error);
}

std::optional<QByteArray> OpenInstance::recordedTest(QString &error) const
{
    error = m_recording.error();
    if (!error.isEmpty()) {
        return std::nullopt;
    }
    return m_recording.toTest(m_project, m_instance);
}

QSharedPointer<FileTreeNode> OpenInstance::copyOfTree() const
{
    if (!m_root) {
        return {};
    }
    Diagnostic error;
    return FileTree::parse(m_root->text(), m_root->tree().identity(), error);
}

EventReport OpenInstance::fire(const std::function<void()> &event)
{
    EventReport report;
    report.instance = m_instance;
    report.time = QDateTime::currentDateTime();
    const QVector<PropertyChange> before = changes();
    HostSession session(m_project.units(), HostSession::Writing::Nothing);
    RunRecorder recorder(m_project, RunRecorder::Recording::Accesses, m_stopper,
                         [this](bool isInterrupted) { m_handler->setInterrupted(isInterrupted); });
    recorder.setSubject(m_instance, scriptFile());
    session.setObserver(&recorder);
    m_handler->setRunObserver(&recorder);
    event();
    m_handler->setRunObserver(nullptr);
    session.setObserver(nullptr);

    const RunReport seen = recorder.takeReport();
    report.warnings = seen.warnings;
    if (seen.runs.isEmpty()) {
        report.run.succeeded = true; // there is no script
        return report;
    }
    report.run = seen.runs.constLast();
    m_recording.add(report.run, before, changes());
    for (const TreeAccess &access : qAsConst(report.run.accesses)) {
        if (access.isWrite()) {
            report.answers.append(access.change());
        }
    }
    return report;
}

} // namespace ConfigScript
