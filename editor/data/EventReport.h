#pragma once

#include "runner/record/PropertyChange.h"
#include "runner/record/RunRecord.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QVector>

/// What an event did.
struct EventReport
{
    QString instance;
    QDateTime time;
    QVector<PropertyChange> edits; ///< by the user, before the event
    QString refusal; ///< why the edit was not possible; no event was fired then
    ScriptRun run;
    QVector<PropertyChange> answers; ///< what the script wrote into its instance, in order
    QStringList warnings; ///< outside the run
};
