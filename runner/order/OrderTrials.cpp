#include "OrderTrials.h"

#include "filehost/JsonValue.h"
#include "filehost/Manifest.h"
#include "runner/run/DependencyRun.h"
#include "runner/run/ScratchCopy.h"

#include <algorithm>

namespace {

/// The changes that were saved.
OrderTrials::Changes changesOf(const RunRecord &record)
{
    OrderTrials::Changes changes;
    for (const ChangedTree &tree : record.trees) {
        if (!tree.error.isEmpty()) {
            continue;
        }
        for (const PropertyChange &change : tree.changes) {
            changes.insert({tree.identity.filePath, change.path, change.key},
                           JsonValue::toText(change.newValue, JsonValue::Layout::Compact));
        }
    }
    return changes;
}

bool hasWrites(const RunRecord &record)
{
    return std::any_of(record.runs.begin(), record.runs.end(), [](const ScriptRun &run) {
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

std::unique_ptr<OrderRecord> OrderTrials::run(int orders, Diagnostic &error) const
{
    const auto copy = ScratchCopy::make(m_project, error);
    if (!copy) {
        return nullptr;
    }
    auto record = std::make_unique<OrderRecord>(copy->project());
    QVector<Changes> quiet;
    // One script knows one order.
    for (int order = 0; order < (record->instances().size() == 1 ? 1 : orders); ++order) {
        if (m_progress) {
            m_progress(QStringLiteral("Running the scripts in order"), order + 1, orders);
        }
        if (order > 0 && !copy->restore(error)) {
            return nullptr;
        }
        qSetGlobalQHashSeed(-1);
        record->add(runOrder(copy->project(), quiet));
    }
    return record;
}

/**
 * What the scripts did in the order of the present seed, again and again until nothing changed.
 * @param quiet what first rounds had changed when no script wrote anything in the next one: none
 *        would then in any order, and there is no need to try, nor to write files; receives more
 */
QVector<RunRecord> OrderTrials::runOrder(const Project &copy, QVector<Changes> &quiet) const
{
    const Manifest manifest(copy);
    DependencyRun run(copy, manifest, QString(), m_guard);
    run.setCheck(DependencyRun::Check::WallsOnly);
    run.setRecording(RunRecorder::Recording::Accesses);
    if (!quiet.isEmpty()) {
        const RunRecord record = run.run(HostSession::Writing::Nothing).record;
        if (quiet.contains(changesOf(record))) {
            return {record};
        }
    }
    QVector<RunRecord> rounds{run.run(HostSession::Writing::Files).record};
    const Changes changes = changesOf(rounds.constFirst());
    while (rounds.size() < OrderRecord::maximumRounds && !changesOf(rounds.constLast()).isEmpty()) {
        rounds.append(run.run(HostSession::Writing::Files).record);
    }
    if (rounds.size() <= 2 && !hasWrites(rounds.constLast())) {
        quiet.append(changes);
    }
    return rounds;
}
