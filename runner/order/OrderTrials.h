#pragma once

#include "runner/order/OrderRecord.h"
#include "runner/record/RunRecorder.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVector>

#include <memory>

class Project;
class ScriptGuard;

/**
 * Runs a project's dependency scripts on a scratch copy, in one shuffled order after the other, and
 * records what they did.
 *
 * The order is that of a resolver's hash, whose seed is drawn anew for each. Where the environment
 * fixes the seed (QT_HASH_SEED), all orders are the same.
 */
class OrderTrials
{
public:
    /// Properties to the text of their new value.
    using Changes = QMap<PropertyId, QByteArray>;

    /// @param project whose check has found no errors; nothing is written to it
    OrderTrials(const Project &project, ScriptGuard &guard);

    void setProgress(const RunRecorder::Progress &progress);

    /// Makes HostSessions: there must be none. A project with one script knows one order only.
    /// @return null, with @p error set, when the project could not be copied
    std::unique_ptr<OrderRecord> run(int orders, Diagnostic &error) const;

private:
    QVector<RunRecord> runOrder(const Project &copy, QVector<Changes> &quiet) const;

    const Project &m_project;
    ScriptGuard &m_guard;
    RunRecorder::Progress m_progress;
};
