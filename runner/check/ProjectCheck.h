#pragma once

#include "filehost/FileTree.h"
#include "filehost/Manifest.h"
#include "runner/check/FindingList.h"
#include "runner/check/ReferenceCheck.h"
#include "runner/check/ScriptProbe.h"

#include <QSet>
#include <QStringList>
#include <QVector>

class Project;
class ScriptGuard;

/// Looks at a project before its scripts run, for what would go wrong, or has gone wrong already.
class ProjectCheck
{
public:
    ProjectCheck(const Project &project, ScriptGuard &guard);

    /// What keeps the dependency scripts of @p instances from running as they should: errors only.
    QVector<Finding> checkInstances(const Manifest &manifest, const QStringList &instances);

    /// Which of these instances' scripts must not be opened, because of what they are or where they
    /// lie. Nothing is evaluated.
    QVector<Finding> checkWalls(const QList<QSharedPointer<FileTreeNode>> &instances);

    /// Everything, by file and line.
    QVector<Finding> checkAll(const Manifest &manifest);

private:
    using Kind = Finding::Kind;

    enum class ScriptKind { Dependency, UserInterface };

    /// A script that trees name.
    struct NamedScript
    {
        ScriptKind kind;
        QString fileName;
        Diagnostic place; ///< of the property that named it first
    };

    void checkManifest(const Manifest &manifest);
    void checkManifestEntries(const Manifest &manifest);
    bool isFile(const QString &instance) const;
    bool checkListedInstance(const Manifest &manifest, const Manifest::Entry &entry);
    QSharedPointer<FileTreeNode> checkTree(FileTree::Kind kind, const QString &instance);
    void checkDependencyScript(const FileTreeNode &root, bool isListed);
    bool checkPlace(const NamedScript &script);
    QString checkScript(const NamedScript &script);
    void checkFunctions(const NamedScript &script, const QString &filePath, const QString &text);
    bool isEvaluated(const ScriptProbe &probe, const QString &filePath);
    void checkUnusedScripts();

    bool nameScript(const FileTreeNode &root, ScriptKind kind);
    QString keyOf(ScriptKind kind) const;
    QString folderOf(ScriptKind kind) const;
    QString scriptPath(ScriptKind kind, const QString &fileName) const;

    const Project &m_project;
    ScriptGuard &m_guard;
    QVector<NamedScript> m_scripts;
    QSet<QString> m_namedScripts; ///< property and value, as in the trees
    QSet<QString> m_scriptPaths; ///< of the scripts named
    bool m_hasUnreadableTree = false;
    FindingList m_findings;
    ReferenceCheck m_references;
};
