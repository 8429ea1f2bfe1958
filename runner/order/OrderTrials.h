#pragma once

#include "runner/RunRecorder.h"
#include "runner/order/OrderCheck.h"

#include <QByteArray>
#include <QMap>
#include <QPair>
#include <QString>
#include <QVector>

#include <memory>

namespace ConfigScript {

class Project;
class ScriptGuard;

/**
 * Runs a project's dependency scripts on a scratch copy, in one shuffled order after the other, and
 * looks at what they did.
 *
 * The order is that of a resolver's hash, whose seed is drawn anew for each. Where the environment
 * fixes the seed (QT_HASH_SEED), all orders are the same.
 */
class OrderTrials
{
public:
    /// File, path and key of properties to the text of their new value.
    using Changes = QMap<QPair<QString, QPair<QString, QString>>, QByteArray>;

    /// @param project whose check has found no errors; nothing is written to it
    OrderTrials(const Project &project, ScriptGuard &guard);

    void setProgress(const RunRecorder::Progress &progress);

    /// Makes HostSessions: there must be none. A project with one script knows one order only.
    /// @return null, with @p error set, when the project could not be copied
    std::unique_ptr<OrderCheck> run(int orders, Diagnostic &error) const;

private:
    QVector<RunReport> runOrder(const Project &copy, QVector<Changes> &quiet) const;

    const Project &m_project;
    ScriptGuard &m_guard;
    RunRecorder::Progress m_progress;
};

} // namespace ConfigScript
