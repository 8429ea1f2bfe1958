#pragma once

#include "filehost/FileTree.h"
#include "filehost/Manifest.h"
#include "runner/Finding.h"
#include "runner/ScriptProbe.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <QVector>

namespace ConfigScript {

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
    enum class ScriptKind { Dependency, UserInterface };

    /// A script that trees name.
    struct NamedScript
    {
        ScriptKind kind;
        QString fileName;
        Diagnostic place; ///< of the property that named it first
    };

    void checkTexts();
    void checkManifest(const Manifest &manifest);
    void checkManifestEntries(const Manifest &manifest);
    bool isFile(const QString &instance) const;
    bool checkListedInstance(const Manifest &manifest, const Manifest::Entry &entry);
    QSharedPointer<FileTreeNode> checkTree(FileTree::Kind kind, const QString &instance);
    void checkDependencyScript(const FileTreeNode &root, bool isListed);
    void checkNode(const FileTreeNode &node);
    bool checkPlace(const NamedScript &script);
    QString checkScript(const NamedScript &script);
    void checkFunctions(const NamedScript &script, const QString &filePath, const QString &text);
    bool isEvaluated(const ScriptProbe &probe, const QString &filePath);
    void checkTokens(ScriptKind kind, const QString &filePath, const QString &text);
    void checkUrl(const QString &text, bool isWhole, Diagnostic place);
    void checkUnusedScripts();
    template <typename Place>
    void checkText(const QString &textId, Place place);
    template <typename Place>
    void checkUnit(const QString &unit, Place place);

    bool nameScript(const FileTreeNode &root, ScriptKind kind);
    QString keyOf(ScriptKind kind) const;
    QString folderOf(ScriptKind kind) const;
    QString scriptPath(ScriptKind kind, const QString &fileName) const;
    void add(Finding::Severity severity, const char *name, const Diagnostic &place);
    QVector<Finding> sorted() const;

    const Project &m_project;
    ScriptGuard &m_guard;
    QVector<NamedScript> m_scripts;
    QSet<QString> m_namedScripts; ///< property and value, as in the trees
    QSet<QString> m_scriptPaths; ///< of the scripts named
    QHash<QString, QHash<QString, QString>> m_texts; ///< by language, then identifier
    QSet<QString> m_knownTexts; ///< looked at already
    QSet<QString> m_knownUnits;
    bool m_hasUnreadableTree = false;
    QVector<Finding> m_findings;
};

} // namespace ConfigScript
