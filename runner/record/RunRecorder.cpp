#include "RunRecorder.h"

#include "filehost/FileTreeNode.h"
#include "filehost/JsonValue.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"

#include <algorithm>
#include <utility>

namespace {

constexpr int s_maximumMessages = 10'000; ///< of each kind, for each run

const QString s_restOmitted =
    QStringLiteral("(more than %1 messages: the rest is left out)").arg(s_maximumMessages);

/// Whether the library's function that runs scripts wrote a message.
bool isOfHandler(const QString &function)
{
    return function == QLatin1String("callFunction")
        || function == QLatin1String("initializeJavaScriptEngine");
}

} // namespace

RunRecorder::RunRecorder(const Project &project, Recording recording, ScriptGuard &guard,
                         ScriptGuard::Interrupt interrupt)
    : m_project(project)
    , m_recording(recording)
    , m_guard(guard)
    , m_interrupt(std::move(interrupt))
    , m_configurationFolder(PropertyManagerConst::getConfigurationFolderPath(project.path()))
{
    m_current.run.isEvaluated =
        true; // a handler may have evaluated its script before it was watched
}

void RunRecorder::setProgress(const Progress &progress)
{
    m_progress = progress;
}

void RunRecorder::setSubject(const FileTree &tree, const QString &script)
{
    m_subject = &tree;
    m_instance = tree.identity().instance;
    m_script = script;
}

void RunRecorder::setScript(const QString &instance, const QString &fileName)
{
    m_scripts.insert(instance, fileName);
}

void RunRecorder::instanceAnnounced(const QString &instance)
{
    if (!m_announced.contains(instance)) {
        m_announced.append(instance);
    }
}

void RunRecorder::savingFailed(const QString &reason)
{
    for (auto &entry : m_trees) {
        WrittenTree &tree = entry.second;
        if (tree.fate == Fate::Saved && !netChanges(tree).isEmpty()) {
            tree.fate = Fate::Failed;
            tree.error = reason;
        }
    }
    m_announced.clear();
}

RunRecord RunRecorder::takeRecord()
{
    RunRecord record;
    record.runs = std::exchange(m_runs, {});
    record.announced = std::exchange(m_announced, {});
    record.warnings = std::exchange(m_warnings, {});
    record.treesRead = std::exchange(m_treesRead, {});
    record.duration = Clock::now() - m_begin;
    QHash<QString, QVector<PropertyChange>> unsaved; // by instance
    const QVector<const FileTree *> treeOrder = std::exchange(m_treeOrder, {});
    for (const FileTree *key : treeOrder) {
        const FileTree::Identity identity = key->identity();
        const WrittenTree tree = std::move(m_trees[key]);
        m_trees.erase(key);
        const QVector<PropertyChange> changes = netChanges(tree);
        if (changes.isEmpty() && tree.fate != Fate::Failed) {
            continue;
        }
        if (tree.fate != Fate::NotSaved) {
            record.trees.append({identity, tree.error, changes});
        } else if (!m_subject) { // a subject's tree is its owner's to save
            unsaved[identity.instance] += changes;
        }
    }
    m_trees.clear();
    m_commonTrees.clear();
    for (ScriptRun &run : record.runs) {
        run.unsavedChanges = unsaved.value(run.instance);
    }
    return record;
}

void RunRecorder::instanceBegins(const QString &instanceName)
{
    m_instance = instanceName;
    m_script =
        m_project.relativePath(PropertyManagerConst::getDependencyFolderPath(m_project.path())
                               + QLatin1Char('/') + m_scripts.value(instanceName));
}

void RunRecorder::runBegins(const QString &functionName, const QString &argument)
{
    if (m_depth > 0) {
        m_outer.push_back(m_current);
        m_current.run = ScriptRun();
        m_current.run.isEvaluated = m_outer.back().run.isEvaluated;
    }
    ++m_depth;
    m_current.hasException = false;
    m_current.handlerWarnings.clear();
    m_current.knownReads.clear();
    ScriptRun &run = m_current.run;
    if (functionName.isEmpty()) {
        run = ScriptRun();
    } else {
        run.instance = m_instance;
        run.script = m_script;
        run.function = functionName;
        run.argument = argument;
    }
    m_current.begin = Clock::now();
    if (m_depth == 1) { // its time holds that of the runs inside
        m_guard.begin({m_instance, m_script, functionName}, m_interrupt);
    }
}

void RunRecorder::apiCalled(const QByteArray &operation, const QStringList &texts)
{
    m_guard.apiCalled(operation, texts);
}

void RunRecorder::exceptionThrown(int line, const QString &text)
{
    m_current.hasException = true;
    // What stopped the script is told when the run has ended.
    if (!m_guard.hasInterrupted()) {
        m_current.run.exceptions.append({line, text, !m_current.run.function.isEmpty()});
    }
}

void RunRecorder::runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors)
{
    ScriptRun &run = m_current.run;
    run.duration += Clock::now() - m_current.begin;
    // What the library says of an exception is known better already.
    if (!m_current.hasException) {
        for (const QString &warning : qAsConst(m_current.handlerWarnings)) {
            addWarning(warning);
        }
    }
    --m_depth;
    const QString overrun = m_depth == 0 ? m_guard.end() : QString();
    if (!overrun.isEmpty()) {
        run.exceptions.append({0, overrun, !run.function.isEmpty()});
    }
    if (run.function.isEmpty()) {
        run.isEvaluated = succeeded;
    } else {
        run.succeeded = succeeded && run.isEvaluated && overrun.isEmpty();
        run.errors = errors;
        m_runs.append(run);
        // The text is evaluated once for any number of calls.
        const bool isEvaluated = run.isEvaluated;
        run = ScriptRun();
        run.isEvaluated = isEvaluated;
        showProgress(QStringLiteral("Running script"), m_runs.size(), m_scripts.size());
    }
    if (m_depth > 0) {
        m_current = m_outer.back();
        m_outer.pop_back();
    }
}

void RunRecorder::treeRead(const QSharedPointer<const FileTreeNode> &root)
{
    const FileTree::Identity &identity = root->tree().identity();
    m_treesRead.insert(identity.filePath);
    if (m_depth > 0 && m_recording == Recording::Accesses) {
        m_commonTrees.insert(&root->tree());
    }
    if (identity.kind == FileTree::Kind::Configuration
        && identity.filePath.startsWith(m_configurationFolder + QLatin1Char('/'))
        && !m_scripts.contains(identity.instance)) {
        const QString key =
            ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
        m_scripts.insert(identity.instance, root->value(key).toString());
        if (m_runs.isEmpty()) {
            showProgress(QStringLiteral("Reading instance"), m_scripts.size(), 0);
        }
    }
}

void RunRecorder::propertyRead(const FileTreeNode &node, const QString &propertyKey,
                               const QVariant &value)
{
    if (m_depth == 0 || m_recording != Recording::Accesses) {
        return;
    }
    const int known = m_current.knownReads.size();
    m_current.knownReads.insert({&node, propertyKey});
    if (m_current.knownReads.size() != known) {
        record(TreeAccess::Kind::Read, node, propertyKey, value);
    }
}

void RunRecorder::propertyWritten(const FileTreeNode &node, const QString &propertyKey,
                                  const QVariant &oldValue, const QVariant &newValue)
{
    WrittenTree &tree = m_trees[&node.tree()];
    if (tree.properties.isEmpty()) {
        m_treeOrder.append(&node.tree());
    }
    if (m_depth > 0 && m_recording != Recording::Outcome) {
        record(TreeAccess::Kind::Write, node, propertyKey, newValue, oldValue);
        m_current.knownReads.remove({&node, propertyKey});
    }
    if (!isKnown(tree, node, propertyKey)) {
        tree.properties.append({node.sharedFromThis(), propertyKey});
    }
}

void RunRecorder::propertyConfirmed(const FileTreeNode &node, const QString &propertyKey,
                                    const QVariant &value)
{
    if (m_depth > 0 && m_recording == Recording::Accesses) {
        record(TreeAccess::Kind::Confirm, node, propertyKey, value, value);
    }
}

void RunRecorder::record(TreeAccess::Kind kind, const FileTreeNode &node,
                         const QString &propertyKey, const QVariant &value,
                         const QVariant &oldValue)
{
    m_current.run.accesses.append(
        {kind, node.tree().identity(), node.path(), propertyKey, value, oldValue,
         m_subject ? &node.tree() == m_subject : !m_commonTrees.contains(&node.tree())});
}

bool RunRecorder::isKnown(WrittenTree &tree, const FileTreeNode &node, const QString &propertyKey)
{
    constexpr int manyProperties = 64;
    const QVector<WrittenProperty> &properties = tree.properties;
    if (properties.size() < manyProperties) {
        return std::any_of(properties.begin(), properties.end(),
                           [&](const WrittenProperty &property) {
                               return property.node.data() == &node && property.key == propertyKey;
                           });
    }
    for (int i = tree.index.size(); i < properties.size(); ++i) {
        tree.index.insert({properties.at(i).node.data(), properties.at(i).key});
    }
    return tree.index.contains({&node, propertyKey});
}

void RunRecorder::treeSaved(const FileTreeNode &root, const QString & /*filePath*/)
{
    m_trees[&root.tree()].fate = Fate::Saved;
    showProgress(QStringLiteral("Writing file"), ++m_savedTrees, m_treeOrder.size());
}

void RunRecorder::treeNotSaved(const FileTreeNode &root, const QString &reason)
{
    WrittenTree &tree = m_trees[&root.tree()];
    tree.fate = Fate::Failed;
    tree.error = reason;
}

void RunRecorder::showProgress(const QString &activity, int done, int total) const
{
    if (m_progress) {
        m_progress(activity, done, total);
    }
}

void RunRecorder::consoleMessage(QtMsgType level, int line, const QString &text)
{
    if (m_current.run.console.size() < s_maximumMessages) {
        m_current.run.console.append({level, line, text, !m_current.run.function.isEmpty()});
    } else if (m_current.run.console.size() == s_maximumMessages) {
        m_current.run.console.append(
            {QtWarningMsg, 0, s_restOmitted, !m_current.run.function.isEmpty()});
    }
}

void RunRecorder::message(const QString &function, const QString &text)
{
    if (m_depth == 0) {
        m_warnings.append(text);
    } else if (isOfHandler(function)) {
        m_current.handlerWarnings.append(text);
    } else {
        // Of a URL in another module, the library tells the module alone, which says nothing
        // without the operation.
        const bool isValueAlone = text.startsWith(QLatin1Char('"'));
        addWarning(isValueAlone ? function + QStringLiteral(": ") + text : text);
    }
}

void RunRecorder::addWarning(const QString &text)
{
    QStringList &warnings = m_current.run.warnings;
    if (warnings.size() <= s_maximumMessages) {
        warnings.append(warnings.size() < s_maximumMessages ? text : s_restOmitted);
    }
}

QVector<PropertyChange> RunRecorder::netChanges(const WrittenTree &tree)
{
    QVector<PropertyChange> changes;
    const FileTreeNode *node = nullptr;
    QString path;
    for (const WrittenProperty &property : tree.properties) {
        const QVariant oldValue = property.node->valueInFile(property.key);
        const QVariant newValue = property.node->value(property.key);
        if (!JsonValue::areEqual(oldValue, newValue)) {
            if (node != property.node.data()) {
                node = property.node.data();
                path = node->path();
            }
            changes.append({path, property.key, oldValue, newValue});
        }
    }
    changes.squeeze();
    return changes;
}
