#include "OrderTrials.h"

#include "filehost/Manifest.h"
#include "runner/DependencyRun.h"
#include "runner/ScratchCopy.h"

#include <algorithm>

namespace {

bool hasChanges(const RunReport &report)
{
    return std::any_of(report.trees.begin(), report.trees.end(), [](const ChangedTree &tree) {
        return tree.error.isEmpty() && !tree.changes.isEmpty();
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
    for (int order = 0; order < orders; ++order) {
        if (m_progress) {
            m_progress(QStringLiteral("Running the scripts in order"), order + 1, orders);
        }
        if (order > 0 && !copy->restore(error)) {
            return nullptr;
        }
        qSetGlobalQHashSeed(-1);
        check->add(runOrder(copy->project()));
    }
    return check;
}

/// What the scripts did in the order of the present seed, again and again until nothing changed.
QVector<RunReport> OrderTrials::runOrder(const Project &copy) const
{
    const Manifest manifest(copy);
    DependencyRun run(copy, manifest, QString(), m_guard);
    run.setCheck(DependencyRun::Check::WallsOnly);
    run.setRecording(RunRecorder::Recording::Accesses);
    QVector<RunReport> rounds;
    do {
        rounds.append(run.run(HostSession::Writing::Files).report);
    } while (rounds.size() < OrderCheck::maximumRounds && hasChanges(rounds.constLast()));
    return rounds;
}
