#include "OrderTrials.h"

#include "filehost/Manifest.h"
#include "filehost/json/JsonValue.h"
#include "runner/DependencyRun.h"
#include "runner/ScratchCopy.h"

#include <algorithm>

namespace ConfigScript {

namespace {

/// The changes that were saved.
OrderTrials::Changes changesOf(const RunReport &report)
{
    OrderTrials::Changes changes;
    for (const ChangedTree &tree : report.trees) {
        if (!tree.error.isEmpty()) {
            continue;
        }
        for (const PropertyChange &change : tree.changes) {
            changes.insert({tree.identity.filePath, {change.path, change.key}},
                           JsonValue::toText(change.newValue, JsonValue::Layout::Compact));
        }
    }
    return changes;
}

bool hasWrites(const RunReport &report)
{
    return std::any_of(report.runs.begin(), report.runs.end(), [](const ScriptRun &run) {
        return std::any_of(run.accesses.begin(), run.accesses.end(),
                           [](const TreeAccess &access) { return access.isWrite(); });
    });
}

} // namespace

OrderTrials::OrderTrials(const Project &project, ScriptGuard &guard)
    : m_project(project)
    , m_guard(guard)
{
}

void OrderTrials::setProgress(const RunRecorder::Progress &progress)
{
    m_progress = progress;
}

std::unique_ptr<OrderCheck> OrderTrials::run(int orders, Diagnostic &error) const
{
    const auto copy = ScratchCopy::make(m_project, error);
    if (!copy) {
        return nullptr;
    }
    auto check = std::make_unique<OrderCheck>(copy->project());
    QVector<Changes> quiet;
    // One script knows one order.
    for (int order = 0; order < (check->instances() == 1 ? 1 : orders); ++order) {
        if (m_progress) {
            m_progress(QStringLiteral("Running the scripts in order"), order + 1, orders);
        }
        if (order > 0 && !copy->restore(error)) {
            return nullptr;
        }
        qSetGlobalQHashSeed(-1);
        check->add(runOrder(copy->project(), quiet));
    }
    return check;
}

/**
 * What the scripts did in the order of the present seed, again and again until nothing changed.
 * @param quiet what first rounds had changed when no script wrote anything in the next one: none
 *        would then in any order, and there is no need to try, nor to write files; receives more
 */
QVector<RunReport> OrderTrials::runOrder(const Project &copy, QVector<Changes> &quiet) const
{
    const Manifest manifest(copy);
    DependencyRun run(copy, manifest, QString(), m_guard);
    run.setCheck(DependencyRun::Check::WallsOnly);
    run.setRecording(RunRecorder::Recording::Accesses);
    if (!quiet.isEmpty()) {
        const RunReport report = run.run(HostSession::Writing::Nothing).report;
        if (quiet.contains(changesOf(report))) {
            return {report};
        }
    }
    QVector<RunReport> rounds{run.run(HostSession::Writing::Files).report};
    const Changes changes = changesOf(rounds.constFirst());
    while (rounds.size() < OrderCheck::maximumRounds && !changesOf(rounds.constLast()).isEmpty()) {
        rounds.append(run.run(HostSession::Writing::Files).report);
    }
    if (rounds.size() <= 2 && !hasWrites(rounds.constLast())) {
        quiet.append(changes);
    }
    return rounds;
}

} // namespace ConfigScript
