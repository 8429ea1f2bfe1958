#pragma once

#include "runner/check/Finding.h"
#include "runner/record/RunRecord.h"

#include <QString>
#include <QStringList>
#include <QVector>

namespace ConfigScript {

/// What dependency scripts change, or would change.
struct DependencyReport
{
    enum class Kind {
        Preview, ///< inside the unsaved tree; nothing is to be written
        Proposal, ///< in the project's files, not written yet
        Written,
    };

    Kind kind = Kind::Proposal;
    QString instance;
    QStringList selected; ///< the listed instances whose scripts ran
    QString error; ///< why nothing ran, or nothing was written
    QVector<Finding> findings; ///< what is wrong with the scripts, which then did not run
    RunRecord record;

    /// Whether nothing would change, and nothing went wrong.
    bool isQuiet() const;
};

} // namespace ConfigScript
