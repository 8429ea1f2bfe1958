#include "ScriptTestRun.h"

#include "filehost/FileTreeNode.h"
#include "filehost/JsonEdit.h"
#include "filehost/JsonValue.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "host/SelectorUrlHandler.h"
#include "runner/record/TreeUrls.h"
#include "runner/run/DependencyRun.h"
#include "runner/run/EventRun.h"
#include "runner/run/ScratchCopy.h"
#include "runner/scripttest/StepOutcome.h"

#include <QFile>

#include <algorithm>

namespace {

/// Puts a property into a tree, given as the JSON value of its file.
void put(QVariantMap &node, const QStringList &path, const QString &key, const QVariant &value)
{
    const QString member =
        path.isEmpty() ? QStringLiteral("properties") : QStringLiteral("children");
    QVariantMap map = node.value(member).toMap();
    if (path.isEmpty()) {
        map.insert(key, value);
    } else {
        QVariantMap child = map.value(path.constFirst()).toMap();
        put(child, path.mid(1), key, value);
        map.insert(path.constFirst(), child);
    }
    node.insert(member, map);
}

/// A tree that a test puts values into.
struct SetTree
{
    QSharedPointer<FileTreeNode> root;
    QVariantMap value;
};

} // namespace

bool ScriptTestRun::Step::hasPassed() const
{
    return JsonValue::areEqual(StepOutcome::completed(expected), StepOutcome::completed(found));
}

bool ScriptTestRun::Result::hasPassed() const
{
    return error.message.isEmpty() && std::all_of(steps.begin(), steps.end(), [](const Step &step) {
               return step.hasPassed();
           });
}

ScriptTestRun::ScriptTestRun(ScratchCopy &copy, ScriptGuard &guard)
    : m_copy(copy)
    , m_project(copy.project())
    , m_guard(guard)
{
}

ScriptTestRun::Result ScriptTestRun::run(const ScriptTest &test)
{
    using Clock = std::chrono::steady_clock;
    const Clock::time_point begin = Clock::now();
    Result result;
    result.error = test.error();
    bool isRunning = !test.hasFailed() && m_copy.restore(result.error) && apply(test, result.error)
        && checkEdits(test, result.error);
    const QVector<ScriptTest::Step> &steps = test.steps();
    for (int i = 0; isRunning && i < steps.size();) {
        int end = i;
        while (end < steps.size() && steps.at(end).isEvent()) {
            ++end;
        }
        isRunning = end > i ? runDialog(test, i, end, result) : resolve(test, i, result);
        i = std::max(end, i + 1);
    }
    result.error.file = m_copy.originalOf(result.error.file);
    result.error.message.remove(m_project.path() + QLatin1Char('/'));
    result.duration = Clock::now() - begin;
    return result;
}

/// Writes what the test sets into the trees' files.
bool ScriptTestRun::apply(const ScriptTest &test, Diagnostic &error)
{
    const TreeUrls urls(m_project);
    QMap<QString, SetTree> trees; // by file
    for (const ScriptTest::Setting &setting : test.settings()) {
        const auto fail = [&](const QString &message) {
            error = test.placeOfKey(setting.element, message);
            return false;
        };
        const bool isRelative = !setting.url.contains(QLatin1String("://"));
        FileTree::Identity identity{
            m_project.treePath(FileTree::Kind::Configuration, test.instance()), test.instance(),
            FileTree::Kind::Configuration};
        QString path = setting.url;
        if (!isRelative) {
            const SelectorUrlHandler url(setting.url);
            QString urlError;
            identity = urls.treeOf(url, urlError);
            if (!urlError.isEmpty()) {
                return fail(urlError);
            }
            path = url.getUrl();
        }
        SetTree &tree = trees[identity.filePath];
        if (tree.root.isNull()) {
            Diagnostic treeError;
            tree.root = FileTree::read(identity, treeError);
            if (!treeError.message.isEmpty()) {
                error = treeError;
                return false;
            }
            if (tree.root.isNull() && isRelative) {
                error =
                    test.placeOfInstance(QStringLiteral("no instance \"%1\"").arg(test.instance()));
                return false;
            }
            if (tree.root.isNull()) {
                return fail(QStringLiteral("no instance \"%1\"").arg(identity.instance));
            }
            tree.value = tree.root->tree().json().value(0).toMap();
        }
        if (!tree.root->isUrlValid(path)) {
            return fail(QStringLiteral("no node \"%1\" in %2").arg(path, identity.instance));
        }
        put(tree.value, path.split(QLatin1Char('/'), Qt::SkipEmptyParts), setting.key,
            setting.value);
    }
    for (auto tree = trees.cbegin(); tree != trees.cend(); ++tree) {
        JsonEdit edit(tree->root->tree().json());
        edit.setValue(0, tree->value);
        QFile file(tree.key());
        const QByteArray text = edit.result();
        if (!file.open(QFile::WriteOnly) || file.write(text) != text.size() || !file.flush()) {
            error = {tree.key(), 0, 0, file.errorString()};
            return false;
        }
    }
    return true;
}

bool ScriptTestRun::checkEdits(const ScriptTest &test, Diagnostic &error) const
{
    if (test.instance().isEmpty()) {
        return true;
    }
    Diagnostic treeError;
    const auto root = m_project.readTree(FileTree::Kind::Configuration, test.instance(), treeError);
    if (root.isNull()) {
        error = treeError.message.isEmpty()
            ? test.placeOfInstance(QStringLiteral("no instance \"%1\"").arg(test.instance()))
            : treeError;
        return false;
    }
    for (const ScriptTest::Step &step : test.steps()) {
        for (const ScriptTest::Setting &setting : step.settings) {
            const auto node = root->getNode(setting.url).dynamicCast<FileTreeNode>();
            if (node.isNull() || node->isReadOnly(setting.key)) {
                error = test.placeOfKey(
                    setting.element,
                    node.isNull()
                        ? QStringLiteral("no node \"%1\" in %2").arg(setting.url, test.instance())
                        : QStringLiteral("the user cannot edit \"%1\": it is read-only")
                              .arg(setting.key));
                return false;
            }
        }
    }
    return true;
}

/// @param end behind the dialog's last step
bool ScriptTestRun::runDialog(const ScriptTest &test, int begin, int end, Result &result)
{
    QVector<EventRun::Event> events;
    for (int i = begin; i < end; ++i) {
        const ScriptTest::Step &step = test.steps().at(i);
        EventRun::Event event{{}, step.event, step.argument};
        for (const ScriptTest::Setting &setting : step.settings) {
            event.edits.append({setting.url, setting.key, setting.value});
        }
        events.append(event);
    }
    EventRun run(m_project, test.instance(), test.reach(), m_guard);
    run.setRecording(RunRecorder::Recording::Accesses);
    QString error;
    const auto record = run.run(events, writingBefore(test, end), error);
    if (!record) {
        result.error = test.placeOfInstance(error);
        return false;
    }
    const QVector<QVariantMap> outcomes =
        StepOutcome::ofDialog(m_project, test.instance(), *record);
    for (const QVariantMap &outcome : outcomes) {
        addStep(test, outcome, result);
    }
    return true;
}

bool ScriptTestRun::resolve(const ScriptTest &test, int index, Result &result)
{
    const ScriptTest::Step &step = test.steps().at(index);
    const Manifest manifest(m_project);
    if (manifest.hasFailed()) {
        result.error = manifest.error();
        return false;
    }
    const DependencyRun run(m_project, manifest, step.resolved, m_guard);
    if (run.instances().isEmpty()) {
        result.error =
            test.placeOf(step.element,
                         step.resolved.isEmpty()
                             ? QStringLiteral("the manifest lists no instance")
                             : QStringLiteral("no listed instance is \"%1\" or begins with it")
                                   .arg(step.resolved));
        return false;
    }
    addStep(test,
            StepOutcome::ofResolve(m_project, test.instance(), step.resolved,
                                   run.run(writingBefore(test, index + 1))),
            result);
    return true;
}

/// Files are written only for the steps behind.
HostSession::Writing ScriptTestRun::writingBefore(const ScriptTest &test, int index)
{
    return index < test.steps().size() ? HostSession::Writing::Files
                                       : HostSession::Writing::Nothing;
}

void ScriptTestRun::addStep(const ScriptTest &test, const QVariantMap &outcome,
                            Result &result) const
{
    const QVariantMap &expected = test.steps().at(result.steps.size()).expected;
    result.steps.append(
        {expected, StepOutcome::inTermsOf(m_project, test.instance(), expected, outcome)});
}
