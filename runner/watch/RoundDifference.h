#pragma once

#include "runner/check/Finding.h"
#include "runner/record/RunRecord.h"

#include <QMap>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

/// What is known of a project at one time.
struct Round
{
    QVector<Finding> findings;
    QMap<QString, RunRecord> records; ///< by instance; what its script did when it ran last, alone
    QSet<QString> waiting; ///< instances that cannot run before a mistake is mended
};

/// What differs between two rounds.
struct RoundDifference
{
    /// A finding that only moved to another line is not new, unless it is an error.
    QVector<Finding> newFindings;
    QVector<Finding> fixedFindings;

    /// Of the runs only what is new, but all of a run that failed; of the trees the values that
    /// would change now, or change to something else.
    RunRecord record;

    QStringList mended; ///< instances whose scripts failed before and succeed now
    QVector<ScriptRun> withdrawn; ///< holding only the errors that the scripts no longer report
    QVector<ChangedTree> dropped; ///< holding only the changes that the scripts no longer make

    static RoundDifference between(const Round &before, const Round &after);

    bool isEmpty() const;
};
