#pragma once

#include "filehost/HostSession.h"
#include "filehost/Project.h"
#include "runner/watch/ProjectWatcher.h"
#include "runner/watch/RoundDifference.h"

#include <QSet>
#include <QVector>

namespace ConfigScript {

class Manifest;
class ScriptGuard;

/**
 * Checks a project and runs its dependency scripts, round by round: after files changed, what they
 * touch. What was known of the rest stays.
 *
 * While project.json, or another file that Project::open() reads, is broken, the project stays as
 * it was; while the manifest is, no script runs.
 */
class ProjectRounds
{
public:
    ProjectRounds(const Project &project, HostSession::Writing writing, ScriptGuard &guard);

    const Project &project() const { return m_project; }
    const Round &last() const { return m_last; }

    /// The first round, in which all scripts run. @return the trees that were stored
    QVector<ChangedTree> begin();

    /// Another round, after files changed. @return the trees that were stored
    QVector<ChangedTree> next(const QVector<FileChange> &changes);

private:
    QVector<ChangedTree> makeRound(const QVector<FileChange> *changes);
    QVector<Finding> check(const Manifest &manifest, const QVector<FileChange> &changes);
    void checkOtherProjects(const QVector<FileChange> &changes, QVector<Finding> &findings);
    QVector<ChangedTree> run(const Manifest &manifest, HostSession &session,
                             const QVector<FileChange> *changes, Round &round) const;

    Project m_project;
    HostSession::Writing m_writing;
    ScriptGuard &m_guard;
    QVector<Finding> m_projectFindings; ///< why the project's own files cannot be read
    QSet<QString> m_brokenTrees; ///< of other projects
    Round m_last;
};

} // namespace ConfigScript
