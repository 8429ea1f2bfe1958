#pragma once

#include "filehost/HostSession.h"
#include "runner/record/RunRecord.h"
#include "runner/run/RecordedResolver.h"

#include <QHash>
#include <QString>

#include <optional>

class Manifest;
class Project;
class ScriptGuard;

/**
 * Runs the dependency scripts of single instances, each by itself: what one changes is saved before
 * the next one runs. When nothing is written, none sees what another one would change; so what an
 * instance's script does depends on nothing but the files.
 */
class SeparateRuns
{
public:
    /// @param manifest could be read
    /// @param session without an observer and a batch
    SeparateRuns(const Project &project, const Manifest &manifest, HostSession &session,
                 ScriptGuard &guard);

    /// @param instance one that the manifest lists
    /// @return nothing, and nothing has run, when its tree or its script has a mistake that
    ///         ProjectCheck finds
    std::optional<RunRecord> run(const QString &instance);

private:
    QString scriptOf(const QString &instance) const;
    bool isSound(const QString &script, const QString &instance);

    const Project &m_project;
    const Manifest &m_manifest;
    ScriptGuard &m_guard;
    RecordedResolver m_resolver;
    QHash<QString, bool> m_isSound; ///< by script, as the trees name it
};
