#pragma once

#include "runner/Finding.h"
#include "runner/RunReport.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

namespace ConfigScript {

/// What is known of a project at one time.
struct Round
{
    QVector<Finding> findings;
    QMap<QString, RunReport> reports; ///< by instance; what its script did when it ran last, alone
    QSet<QString> waiting; ///< instances that cannot run before a mistake is mended
};

/// What differs between two rounds.
struct RoundDifference
{
    /// A finding that is at another line is the same; an error is told again.
    QVector<Finding> newFindings;
    QVector<Finding> fixedFindings;

    /// Runs: those that have something new to say, and only that; what is said of a failure is
    /// whole. Trees: the values that would change now, or change to something else.
    RunReport report;

    QStringList mended; ///< instances whose scripts failed, and do not any more
    QVector<ScriptRun> withdrawn; ///< with the errors that are not reported any more; no more
    QVector<ChangedTree> dropped; ///< with the changes that do not come any more

    static RoundDifference between(const Round &before, const Round &after);

    bool isEmpty() const;
};

} // namespace ConfigScript
