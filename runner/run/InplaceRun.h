#pragma once

#include "runner/check/Finding.h"
#include "runner/record/RunRecord.h"

#include <QMap>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVector>

class FileTreeNode;
class Project;
class ScriptGuard;

/// Runs dependency scripts inside one tree in memory. They reach nothing outside the tree, and no
/// file is written.
class InplaceRun
{
public:
    struct Result
    {
        QVector<Finding> findings; ///< errors that kept the scripts from running, if any
        RunRecord record; ///< sorted; what the scripts changed counts as stored
    };

    /**
     * @param instance what is resolved: this instance if the manifest lists it, else those whose
     *        names begin with it, else the same for its parent
     */
    InplaceRun(const Project &project, const QString &instance, ScriptGuard &guard);

    /// The listed instances that are selected, whether the tree holds them or not.
    const QStringList &instances() const { return m_instances; }

    /// Makes a HostSession: there must be none.
    /// @param root of the tree, whose identity tells which instance it is; the scripts change it
    Result run(const QSharedPointer<FileTreeNode> &root) const;

private:
    using Nodes = QMap<QString, QSharedPointer<FileTreeNode>>; ///< by instance

    Nodes nodesBelow(const FileTreeNode &root) const;
    RunRecord resolve(const QSharedPointer<FileTreeNode> &root, const Nodes &nodes) const;

    const Project &m_project;
    const QString m_instance;
    ScriptGuard &m_guard;
    const QStringList m_instances;
};
