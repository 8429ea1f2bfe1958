#pragma once

#include "editor/data/EventReport.h"
#include "editor/data/InstanceSnapshot.h"

#include <QString>

namespace ConfigScript {

/// An instance that was opened, or read again.
struct InstanceReport
{
    QString instance;
    QString error; ///< why tree or script cannot be used; empty when they can
    QString treePath;
    QString scriptPath; ///< empty without a script
    QString script; ///< the same as seen from the project
    InstanceSnapshot snapshot; ///< before the event; of the last usable tree when there is an error
    bool keepsHistory = false; ///< whether what was done before can still be undone
    EventReport onOpen;
};

} // namespace ConfigScript
