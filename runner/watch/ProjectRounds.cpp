#include "ProjectRounds.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "runner/check/ProjectCheck.h"
#include "runner/watch/SeparateRuns.h"
#include "runner/watch/TouchedInstances.h"

#include <algorithm>
#include <iterator>
#include <utility>

ProjectRounds::ProjectRounds(const Project &project, HostSession::Writing writing,
                             ScriptGuard &guard)
    : m_project(project)
    , m_writing(writing)
    , m_guard(guard)
{
}

QVector<ChangedTree> ProjectRounds::begin()
{
    return makeRound(nullptr);
}

QVector<ChangedTree> ProjectRounds::next(const QVector<FileChange> &changes)
{
    Diagnostic error;
    m_projectFindings.clear();
    auto project = Project::open(m_project.path(), error);
    if (project) {
        m_project = *project;
    } else {
        if (error.file != m_project.path()) {
            error = m_project.relative(error);
        }
        m_projectFindings.append(Finding::of(Finding::Kind::Project, error));
    }
    return makeRound(&changes);
}

/// @param changes null for the first round
QVector<ChangedTree> ProjectRounds::makeRound(const QVector<FileChange> *changes)
{
    const Manifest manifest(m_project);
    HostSession session(m_project.units(), m_writing);
    Round round = m_last;
    round.findings = check(manifest, changes ? *changes : QVector<FileChange>());
    QVector<ChangedTree> stored;
    if (!manifest.hasFailed()) {
        stored = run(manifest, session, changes, round);
    }
    m_last = round;
    return stored;
}

QVector<Finding> ProjectRounds::check(const Manifest &manifest, const QVector<FileChange> &changes)
{
    QVector<Finding> findings = m_projectFindings;
    const QVector<Finding> found = ProjectCheck(m_project, m_guard).checkAll(manifest);
    std::copy_if(found.begin(), found.end(), std::back_inserter(findings),
                 [&](const Finding &finding) {
                     // A broken manifest lists nothing; a broken text file is known already.
                     return !(manifest.hasFailed() && finding.kind == Finding::Kind::NotListed)
                         && std::none_of(m_projectFindings.cbegin(), m_projectFindings.cend(),
                                         [&finding](const Finding &known) {
                                             return known.place.file == finding.place.file;
                                         });
                 });
    checkOtherProjects(changes, findings);
    return findings;
}

/// Trees of other projects are not the check's business, until one that was watched breaks.
void ProjectRounds::checkOtherProjects(const QVector<FileChange> &changes,
                                       QVector<Finding> &findings)
{
    for (const FileChange &change : changes) {
        if (!change.filePath.startsWith(m_project.path() + QLatin1Char('/'))) {
            m_brokenTrees.insert(change.filePath);
        }
    }
    const QSet<QString> suspects = std::exchange(m_brokenTrees, {});
    for (const QString &filePath : suspects) {
        Diagnostic error;
        FileTree::read({filePath, QString(), FileTree::Kind::Configuration}, error);
        if (!error.message.isEmpty()) {
            m_brokenTrees.insert(filePath);
            findings.append(Finding::of(Finding::Kind::MalformedTree, m_project.relative(error)));
        }
    }
}

QVector<ChangedTree> ProjectRounds::run(const Manifest &manifest, HostSession &session,
                                        const QVector<FileChange> *changes, Round &round) const
{
    const TouchedInstances touched(m_project, manifest, m_last);
    const QStringList listed = touched.all();
    const QSet<QString> known(listed.begin(), listed.end());
    const QStringList instances = round.records.keys();
    for (const QString &instance : instances) {
        if (!known.contains(instance)) {
            round.records.remove(instance);
        }
    }
    round.waiting.intersect(known);

    SeparateRuns runs(m_project, manifest, session, m_guard);
    QVector<ChangedTree> stored;
    const QStringList selected = changes ? touched.of(*changes) : listed;
    for (const QString &instance : selected) {
        auto record = runs.run(instance);
        if (!record) {
            round.waiting.insert(instance);
            continue;
        }
        round.waiting.remove(instance);
        if (m_writing == HostSession::Writing::Files) {
            QVector<ChangedTree> notStored;
            std::partition_copy(record->trees.cbegin(), record->trees.cend(),
                                std::back_inserter(stored), std::back_inserter(notStored),
                                [](const ChangedTree &tree) { return tree.error.isEmpty(); });
            record->trees = notStored;
        }
        round.records.insert(instance, *record);
    }
    return stored;
}
