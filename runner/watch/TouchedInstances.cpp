#include "TouchedInstances.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "host/PropertyManagerConst.h"

#include <QDir>

#include <algorithm>
#include <iterator>

TouchedInstances::TouchedInstances(const Project &project, const Manifest &manifest,
                                   const Round &before)
    : m_project(project)
    , m_before(before)
{
    for (const Manifest::Entry &entry : manifest.entries()) {
        m_listed.append(entry.instanceName);
    }
    m_listed.removeDuplicates();
}

QStringList TouchedInstances::of(const QVector<FileChange> &changes) const
{
    QVector<FileChange> telling;
    for (const FileChange &change : changes) {
        if (liesIn(change.filePath, m_project.userInterfaceScriptFolder())) {
            continue;
        }
        if (touchesAll(change)) {
            return m_listed;
        }
        // What read a tree that is broken now, goes on with it when it is whole again.
        if (!isTree(change.filePath) || !isBroken(change.filePath)) {
            telling.append(change);
        }
    }
    QStringList touched;
    std::copy_if(
        m_listed.begin(), m_listed.end(), std::back_inserter(touched),
        [&](const QString &instance) {
            return m_before.waiting.contains(instance)
                || std::any_of(telling.begin(), telling.end(),
                               [&](const FileChange &change) { return touches(change, instance); });
        });
    return touched;
}

bool TouchedInstances::touchesAll(const FileChange &change) const
{
    const bool isScript =
        liesIn(change.filePath, PropertyManagerConst::getDependencyFolderPath(m_project.path()));
    if (change.kind != FileChange::Kind::Changed) {
        return true; // scripts may have looked for it, or found it
    }
    if (!isTree(change.filePath)) {
        return !isScript; // what all share
    }
    // While it was malformed, no script could read it: any of them may now.
    const QString file = m_project.relativePath(change.filePath);
    const QVector<Finding> &findings = m_before.findings;
    return !isBroken(change.filePath)
        && std::any_of(findings.begin(), findings.end(), [&file](const Finding &finding) {
               return finding.kind == Finding::Kind::MalformedTree && finding.place.file == file;
           });
}

bool TouchedInstances::touches(const FileChange &change, const QString &instance) const
{
    const RunRecord record = m_before.records.value(instance);
    if (record.treesRead.contains(change.filePath)) {
        return true;
    }
    if (isTree(change.filePath)) {
        return change.filePath == m_project.treePath(FileTree::Kind::Configuration, instance)
            || change.filePath == m_project.treePath(FileTree::Kind::Process, instance);
    }
    const QString script = m_project.relativePath(change.filePath);
    return std::any_of(record.runs.begin(), record.runs.end(), [&script](const ScriptRun &run) {
        return QDir::cleanPath(run.script) == script;
    });
}

bool TouchedInstances::isBroken(const QString &treePath) const
{
    Diagnostic error;
    FileTree::read({treePath, QString(), FileTree::Kind::Configuration}, error);
    return !error.message.isEmpty();
}

/// Of this project, or of another one.
bool TouchedInstances::isTree(const QString &filePath) const
{
    const QString manifest = PropertyManagerConst::getConfigurationFolderPath(m_project.path())
        + QLatin1Char('/') + PropertyManagerConst::getConfigurationManifestFilename();
    if (filePath == manifest) {
        return false;
    }
    QStringList projects = m_project.reachableObjects().values();
    projects.append(m_project.path());
    return std::any_of(projects.begin(), projects.end(), [&](const QString &project) {
        return liesIn(filePath, PropertyManagerConst::getConfigurationFolderPath(project))
            || liesIn(filePath, PropertyManagerConst::getProcessFolderPath(project));
    });
}

bool TouchedInstances::liesIn(const QString &filePath, const QString &folder) const
{
    return filePath.startsWith(folder + QLatin1Char('/'));
}
