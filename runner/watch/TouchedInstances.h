#pragma once

#include "runner/watch/ProjectWatcher.h"
#include "runner/watch/RoundDifference.h"

#include <QStringList>
#include <QVector>

namespace ConfigScript {

class Manifest;
class Project;

/// Finds the instances whose dependency scripts may do something else after files changed.
class TouchedInstances
{
public:
    /// @param manifest could be read
    /// @param before what is known from before the changes
    TouchedInstances(const Project &project, const Manifest &manifest, const Round &before);

    /// Listed ones, in the manifest's order, each once.
    QStringList of(const QVector<FileChange> &changes) const;

    /// The listed instances, each once.
    QStringList all() const { return m_listed; }

private:
    bool touchesAll(const FileChange &change) const;
    bool touches(const FileChange &change, const QString &instance) const;
    bool isBroken(const QString &treePath) const;
    bool isTree(const QString &filePath) const;
    bool liesIn(const QString &filePath, const QString &folder) const;

    const Project &m_project;
    const Round &m_before;
    QStringList m_listed;
};

} // namespace ConfigScript
