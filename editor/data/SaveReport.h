#pragma once

#include "editor/data/EventReport.h"
#include "editor/data/InstanceSnapshot.h"

#include <QString>

namespace ConfigScript {

/// An instance that was to be saved.
struct SaveReport
{
    QString instance;
    EventReport onOk;
    bool isSaved = false;
    QString error; ///< why it could not be saved although the script agreed
    InstanceSnapshot snapshot; ///< of the tree that was read again, when it is saved
};

} // namespace ConfigScript
