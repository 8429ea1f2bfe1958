#include "RoundDifference.h"

#include "filehost/JsonValue.h"

#include <algorithm>
#include <utility>

namespace {

bool areEqual(const QVariant &left, const QVariant &right)
{
    return left.isValid() == right.isValid()
        && JsonValue::areEqual(JsonValue::normalized(left), JsonValue::normalized(right));
}

bool areEqual(const Finding &left, const Finding &right)
{
    return left.severity == right.severity && left.kind == right.kind
        && left.place.file == right.place.file && left.place.message == right.place.message;
}

bool areEqualInPlace(const Finding &left, const Finding &right)
{
    return areEqual(left, right)
        && (left.severity == Finding::Severity::Warning
            || (left.place.line == right.place.line && left.place.column == right.place.column));
}

bool areEqual(const ScriptException &left, const ScriptException &right)
{
    return left.line == right.line && left.text == right.text;
}

bool areEqual(const JavaScriptApi::ErrorMessage &left, const JavaScriptApi::ErrorMessage &right)
{
    return left.relUrl == right.relUrl && left.errorLabelTextId == right.errorLabelTextId
        && areEqual(left.value, right.value);
}

bool areEqual(const ConsoleMessage &left, const ConsoleMessage &right)
{
    return left.level == right.level && left.text == right.text;
}

bool areEqual(const QString &left, const QString &right)
{
    return left == right;
}

bool areEqual(const PropertyChange &left, const PropertyChange &right)
{
    return left.path == right.path && left.key == right.key
        && areEqual(left.oldValue, right.oldValue) && areEqual(left.newValue, right.newValue);
}

/// The elements of a list that another one does not have, or fewer times.
template <typename List, typename Equal>
List added(const List &list, List others, Equal equal)
{
    List result;
    for (const auto &element : list) {
        const auto other = std::find_if(others.begin(), others.end(), [&](const auto &candidate) {
            return equal(element, candidate);
        });
        if (other == others.end()) {
            result.append(element);
        } else {
            others.erase(other);
        }
    }
    return result;
}

template <typename List>
List added(const List &list, const List &others)
{
    using Element = typename List::value_type;
    return added(list, others,
                 [](const Element &left, const Element &right) { return areEqual(left, right); });
}

template <typename List>
bool haveEqual(const List &left, const List &right)
{
    return added(left, right).isEmpty() && added(right, left).isEmpty();
}

/// What a script's run says, and did not say before.
ScriptRun news(const ScriptRun &now, const ScriptRun &before)
{
    ScriptRun run = now;
    run.errors = added(now.errors, before.errors);
    run.console = added(now.console, before.console);
    if (haveEqual(now.unsavedChanges, before.unsavedChanges)) {
        run.unsavedChanges.clear();
    }
    if (now.succeeded) {
        run.warnings = added(now.warnings, before.warnings);
    }
    return run;
}

bool isNews(const ScriptRun &news, const ScriptRun &now, const ScriptRun &before)
{
    const bool isNewFailure = !now.succeeded
        && (before.succeeded || before.function.isEmpty()
            || !haveEqual(now.exceptions, before.exceptions)
            || !haveEqual(now.warnings, before.warnings));
    return isNewFailure || !news.errors.isEmpty() || !news.console.isEmpty()
        || !news.unsavedChanges.isEmpty() || (now.succeeded && !news.warnings.isEmpty());
}

ScriptRun runOf(const RunRecord &record)
{
    return record.runs.isEmpty() ? ScriptRun() : record.runs.constFirst();
}

bool isOmitted(const QVector<OmittedRun> &list, const OmittedRun &run)
{
    return std::any_of(list.begin(), list.end(),
                       [&run](const OmittedRun &other) { return other.reason == run.reason; });
}

void compareRuns(const QString &instance, const RunRecord &before, const RunRecord &after,
                 RoundDifference &difference)
{
    const ScriptRun now = runOf(after);
    const ScriptRun earlier = runOf(before);
    if (!after.runs.isEmpty()) {
        const ScriptRun run = news(now, earlier);
        if (isNews(run, now, earlier)) {
            difference.record.runs.append(run);
        }
    }
    for (const OmittedRun &omitted : after.notRun) {
        if (!isOmitted(before.notRun, omitted)) {
            difference.record.notRun.append(omitted);
        }
    }
    if (!before.succeeded() && after.succeeded()) {
        difference.mended.append(instance);
    }
    ScriptRun withdrawn;
    withdrawn.instance = earlier.instance;
    withdrawn.script = earlier.script;
    withdrawn.errors = added(earlier.errors, now.errors);
    if (!withdrawn.errors.isEmpty()) {
        difference.withdrawn.append(withdrawn);
    }
}

/// The trees that all reports together change, by file and error; each change once.
QMap<QPair<QString, QString>, ChangedTree> treesOf(const Round &round)
{
    QMap<QPair<QString, QString>, ChangedTree> trees;
    for (const RunRecord &record : round.records) {
        for (const ChangedTree &tree : record.trees) {
            ChangedTree &known = trees[{tree.identity.filePath, tree.error}];
            known.identity = tree.identity;
            known.error = tree.error;
            known.changes += added(tree.changes, known.changes);
        }
    }
    return trees;
}

/// The trees of one round with the changes that the other round does not have.
QVector<ChangedTree> addedTrees(const QMap<QPair<QString, QString>, ChangedTree> &trees,
                                const QMap<QPair<QString, QString>, ChangedTree> &others)
{
    QVector<ChangedTree> result;
    for (auto tree = trees.cbegin(); tree != trees.cend(); ++tree) {
        ChangedTree rest = *tree;
        rest.changes = added(tree->changes, others.value(tree.key()).changes);
        if (!rest.changes.isEmpty() || (!rest.error.isEmpty() && !others.contains(tree.key()))) {
            result.append(rest);
        }
    }
    return result;
}

/// Without the changes of properties that change to something else now.
QVector<ChangedTree> withoutReplaced(const QVector<ChangedTree> &gone,
                                     const QVector<ChangedTree> &trees)
{
    QVector<ChangedTree> result;
    for (ChangedTree tree : gone) {
        const auto other =
            std::find_if(trees.begin(), trees.end(), [&tree](const ChangedTree &candidate) {
                return candidate.identity.filePath == tree.identity.filePath;
            });
        if (other != trees.end()) {
            tree.changes = added(tree.changes, other->changes,
                                 [](const PropertyChange &left, const PropertyChange &right) {
                                     return left.path == right.path && left.key == right.key;
                                 });
        }
        if (tree.error.isEmpty() && !tree.changes.isEmpty()) {
            result.append(tree);
        }
    }
    return result;
}

} // namespace

RoundDifference RoundDifference::between(const Round &before, const Round &after)
{
    RoundDifference difference;
    difference.newFindings = added(after.findings, before.findings, areEqualInPlace);
    const auto areSame = [](const Finding &left, const Finding &right) {
        return areEqual(left, right);
    };
    difference.fixedFindings = added(before.findings, after.findings, areSame);

    QSet<QString> instances;
    for (const Round *round : {&before, &after}) {
        for (auto name = round->records.keyBegin(); name != round->records.keyEnd(); ++name) {
            instances.insert(*name);
        }
    }
    for (const QString &instance : qAsConst(instances)) {
        compareRuns(instance, before.records.value(instance), after.records.value(instance),
                    difference);
    }
    difference.mended.sort();
    std::sort(difference.withdrawn.begin(), // clazy:exclude=detaching-member
              difference.withdrawn.end(), // clazy:exclude=detaching-member
              [](const ScriptRun &a, const ScriptRun &b) { return a.instance < b.instance; });

    const auto treesBefore = treesOf(before);
    const auto treesAfter = treesOf(after);
    difference.record.trees = addedTrees(treesAfter, treesBefore);
    difference.dropped =
        withoutReplaced(addedTrees(treesBefore, treesAfter), difference.record.trees);
    difference.record.sort();
    return difference;
}

bool RoundDifference::isEmpty() const
{
    return newFindings.isEmpty() && fixedFindings.isEmpty() && record.runs.isEmpty()
        && record.notRun.isEmpty() && record.trees.isEmpty() && mended.isEmpty()
        && withdrawn.isEmpty() && dropped.isEmpty();
}
