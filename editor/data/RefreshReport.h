#pragma once

#include "editor/data/InstanceReport.h"

namespace ConfigScript {

/// An open instance that was compared with its files.
struct RefreshReport
{
    enum class Outcome {
        Unchanged, ///< the files hold what was read
        Stale, ///< the tree's file has changed; it was not read, because something is unsaved
        ReadAgain,
    };

    Outcome outcome = Outcome::Unchanged;
    InstanceReport instance; ///< when it was read again
};

} // namespace ConfigScript
