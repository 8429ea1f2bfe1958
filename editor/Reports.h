#pragma once

#include "editor/InstanceSnapshot.h"
#include "runner/Finding.h"
#include "runner/PropertyChange.h"
#include "runner/RunReport.h"

#include <QDateTime>
#include <QMetaType>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVector>

namespace ConfigScript {

// What the worker's thread tells the window's: plain data, which shares nothing.

/// Which instances a project has.
struct ProjectReport
{
    QStringList instances;
    QSet<QString> listed; ///< those in the manifest
    QString manifestError; ///< why the manifest cannot be used; empty when it can
};

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

/// An instance that was opened, or read again.
struct InstanceReport
{
    QString instance;
    QString error; ///< why tree or script cannot be used; empty when they can
    QString treePath;
    QString scriptPath; ///< empty without a script
    QString script; ///< the same as seen from the project
    InstanceSnapshot snapshot; ///< before the event; also what is unsaved beside an error
    bool keepsHistory = false; ///< whether what was done before can still be undone
    EventReport onOpen;
};

/// An instance that was to be saved.
struct SaveReport
{
    QString instance;
    EventReport onOk;
    bool isSaved = false;
    QString error; ///< why it could not be saved although the script agreed
    InstanceSnapshot snapshot; ///< of the tree that was read again, when it is saved
};

/// What dependency scripts change.
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
    RunReport report;
};

/// A test that was to be recorded.
struct RecordingReport
{
    QString instance;
    QString file; ///< as seen from the project
    QString error; ///< why it was not written; empty when it was
    QString difference; ///< why it does not pass when it is replayed, in lines; empty when it does
};

} // namespace ConfigScript

Q_DECLARE_METATYPE(ConfigScript::ProjectReport)
Q_DECLARE_METATYPE(ConfigScript::EventReport)
Q_DECLARE_METATYPE(ConfigScript::InstanceReport)
Q_DECLARE_METATYPE(ConfigScript::SaveReport)
Q_DECLARE_METATYPE(ConfigScript::DependencyReport)
Q_DECLARE_METATYPE(ConfigScript::RecordingReport)
