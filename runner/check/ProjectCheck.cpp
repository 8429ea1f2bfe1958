#include "ProjectCheck.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "filehost/TextFile.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "runner/check/ScriptScanner.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>

namespace {

constexpr auto s_error = Finding::Severity::Error;
constexpr auto s_warning = Finding::Severity::Warning;

int lineOfName(const QString &script, const QString &name)
{
    const QVector<ScriptToken> tokens = ScriptScanner(script).scan();
    const auto token =
        std::find_if(tokens.begin(), tokens.end(), [&name](const ScriptToken &candidate) {
            return candidate.kind == ScriptToken::Kind::Identifier && candidate.text == name;
        });
    return token == tokens.end() ? 0 : token->line;
}

} // namespace

ProjectCheck::ProjectCheck(const Project &project, ScriptGuard &guard)
    : m_project(project)
    , m_guard(guard)
    , m_findings(project)
    , m_references(project, m_findings)
{
}

QVector<Finding> ProjectCheck::checkInstances(const Manifest &manifest,
                                              const QStringList &instances)
{
    checkManifestEntries(manifest);
    const auto selected = QSet<QString>(instances.begin(), instances.end());
    QSet<QString> known;
    for (const Manifest::Entry &entry : manifest.entries()) {
        const QString &instance = entry.instanceName;
        if (!selected.contains(instance) || known.contains(instance)) {
            continue;
        }
        known.insert(instance);
        if (checkListedInstance(manifest, entry)) {
            const auto root = checkTree(FileTree::Kind::Configuration, instance);
            if (!root.isNull()) {
                checkDependencyScript(*root, true);
            }
        }
    }
    for (const NamedScript &script : qAsConst(m_scripts)) {
        checkScript(script);
    }
    return m_findings.sorted();
}

QVector<Finding> ProjectCheck::checkWalls(const QList<QSharedPointer<FileTreeNode>> &instances)
{
    for (const auto &instance : instances) {
        nameScript(*instance, ScriptKind::Dependency);
    }
    for (const NamedScript &script : qAsConst(m_scripts)) {
        const QFileInfo file(scriptPath(script.kind, script.fileName));
        if (checkPlace(script) && file.exists() && !file.isFile()) { // the library would wait
            m_findings.add(
                Kind::MissingScript,
                {file.filePath(), 0, 0, QStringLiteral("cannot be read: it is no file")});
        }
    }
    return m_findings.sorted();
}

QVector<Finding> ProjectCheck::checkAll(const Manifest &manifest)
{
    m_references.checkTexts();
    checkManifest(manifest);
    QSet<QString> listed;
    for (const Manifest::Entry &entry : manifest.entries()) {
        listed.insert(entry.instanceName);
    }
    const QStringList configurations = m_project.instances(FileTree::Kind::Configuration);
    for (const QString &instance : configurations) {
        const auto root = checkTree(FileTree::Kind::Configuration, instance);
        if (!root.isNull()) {
            checkDependencyScript(*root, listed.contains(instance));
            nameScript(*root, ScriptKind::UserInterface);
            m_references.checkTree(*root);
        }
    }
    const QStringList processes = m_project.instances(FileTree::Kind::Process);
    for (const QString &instance : processes) {
        const auto root = checkTree(FileTree::Kind::Process, instance);
        if (!root.isNull()) {
            m_references.checkTree(*root);
        }
    }
    for (const NamedScript &script : qAsConst(m_scripts)) {
        const QString text = checkScript(script);
        m_references.checkScript(scriptPath(script.kind, script.fileName), text,
                                 script.kind == ScriptKind::Dependency);
    }
    if (!m_hasUnreadableTree) { // it might name any of them
        checkUnusedScripts();
    }
    return m_findings.sorted();
}

void ProjectCheck::checkManifest(const Manifest &manifest)
{
    if (manifest.hasFailed()) {
        m_findings.add(Kind::Manifest, manifest.error());
    }
    for (const Diagnostic &warning : manifest.warnings()) {
        m_findings.add(Kind::ManifestEntry, s_warning, warning);
    }
    checkManifestEntries(manifest);
    QSet<QString> known;
    for (const Manifest::Entry &entry : manifest.entries()) {
        const QString &instance = entry.instanceName;
        if (known.contains(instance)) {
            continue;
        }
        known.insert(instance);
        if (checkListedInstance(manifest, entry) && !isFile(instance)) {
            checkTree(FileTree::Kind::Configuration, instance); // finds out what it is
        }
    }
}

void ProjectCheck::checkManifestEntries(const Manifest &manifest)
{
    for (const Diagnostic &error : manifest.entryErrors()) {
        m_findings.add(Kind::ManifestEntry, s_error, error);
    }
}

bool ProjectCheck::isFile(const QString &instance) const
{
    return QFileInfo(m_project.treePath(FileTree::Kind::Configuration, instance)).isFile();
}

bool ProjectCheck::checkListedInstance(const Manifest &manifest, const Manifest::Entry &entry)
{
    const QString &instance = entry.instanceName;
    QString error;
    const QString filePath = m_project.treePath(FileTree::Kind::Configuration, instance, error);
    if (!filePath.isEmpty() && QFileInfo::exists(filePath)) {
        return true;
    }
    Diagnostic place = manifest.placeOf(entry);
    place.message = filePath.isEmpty()
        ? QStringLiteral("\"%1\": %2")
              .arg(instance, error.remove(m_project.path() + QLatin1Char('/')))
        : QStringLiteral("\"%1\" is listed, but there is no %2")
              .arg(instance, m_project.relativePath(filePath));
    m_findings.add(Kind::MissingTree, place);
    return false;
}

QSharedPointer<FileTreeNode> ProjectCheck::checkTree(FileTree::Kind kind, const QString &instance)
{
    Diagnostic error;
    auto root = m_project.readTree(kind, instance, error);
    if (!error.message.isEmpty()) {
        m_findings.add(Kind::MalformedTree, error);
        m_hasUnreadableTree = true;
    }
    return root;
}

void ProjectCheck::checkDependencyScript(const FileTreeNode &root, bool isListed)
{
    const bool hasScript = nameScript(root, ScriptKind::Dependency);
    const QString key = keyOf(ScriptKind::Dependency);
    if (isListed && !hasScript) {
        m_findings.add(Kind::NoScript,
                       root.placeOf(key,
                                    QStringLiteral("the manifest lists \"%1\", but its tree has no "
                                                   "property \"%2\" with the name of a script")
                                        .arg(root.tree().identity().instance, key)));
    } else if (!isListed && hasScript) {
        m_findings.add(
            Kind::NotListed,
            root.placeOf(key,
                         QStringLiteral("\"%1\" names a dependency script, but the manifest "
                                        "does not list it: the script never runs")
                             .arg(root.tree().identity().instance)));
    }
}

/// Whether the script may lie where it lies.
bool ProjectCheck::checkPlace(const NamedScript &script)
{
    Diagnostic place = script.place;
    place.message = m_project.scriptError(folderOf(script.kind), script.fileName);
    if (!place.message.isEmpty()) {
        m_findings.add(Kind::MissingScript, place);
    }
    return place.message.isEmpty();
}

/// @return the script's text
QString ProjectCheck::checkScript(const NamedScript &script)
{
    if (!checkPlace(script)) {
        return QString();
    }
    const QString filePath = scriptPath(script.kind, script.fileName);
    QByteArray content;
    Diagnostic error;
    Diagnostic place = script.place;
    switch (TextFile::read(filePath, FileTree::maximumFileSize, content, error)) {
    case TextFile::ReadResult::Missing:
        place.message = QStringLiteral("there is no script %1/%2")
                            .arg(m_project.relativePath(folderOf(script.kind)), script.fileName);
        m_findings.add(Kind::MissingScript, place);
        return QString();
    case TextFile::ReadResult::Unreadable:
        m_findings.add(Kind::MissingScript, error);
        return QString();
    case TextFile::ReadResult::Read:
        break;
    }
    if (content.isEmpty()) {
        m_findings.add(Kind::EmptyScript,
                       script.kind == ScriptKind::Dependency ? s_error : s_warning,
                       {filePath, 0, 0, QStringLiteral("the script is empty")});
        return QString();
    }
    QString text = QString::fromUtf8(content);
    checkFunctions(script, filePath, text);
    return text;
}

void ProjectCheck::checkFunctions(const NamedScript &script, const QString &filePath,
                                  const QString &text)
{
    const ScriptProbe probe(text, m_project.relativePath(filePath), m_guard);
    if (!isEvaluated(probe, filePath)) {
        return;
    }
    const bool isDependency = script.kind == ScriptKind::Dependency;
    const QStringList needed = isDependency
        ? QStringList{QStringLiteral("onSave")}
        : QStringList{QStringLiteral("onOpen"), QStringLiteral("onValueChange"),
                      QStringLiteral("onOk")};
    for (const QString &function : needed) {
        if (probe.isHidden(function)) {
            m_findings.add(
                Kind::HiddenFunction,
                {filePath, lineOfName(text, function), 0,
                 QStringLiteral("%1 is invisible to the host: declare it with \"function %1\", "
                                "not with const, let or class")
                     .arg(function)});
        } else if (!probe.functions.contains(function)) {
            m_findings.add(
                Kind::MissingFunction, isDependency ? s_error : s_warning,
                {filePath, 0, 0, QStringLiteral("the script has no function %1").arg(function)});
        }
    }
}

bool ProjectCheck::isEvaluated(const ScriptProbe &probe, const QString &filePath)
{
    if (!probe.isEvaluated) {
        m_findings.add(Kind::ScriptError, {filePath, probe.errorLine, 0, probe.error});
    }
    return probe.isEvaluated;
}

void ProjectCheck::checkUnusedScripts()
{
    for (const auto kind : {ScriptKind::Dependency, ScriptKind::UserInterface}) {
        QDirIterator files(folderOf(kind), {QStringLiteral("*.js")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString filePath = files.next();
            if (!m_scriptPaths.contains(filePath)) {
                m_findings.add(Kind::UnusedScript,
                               {filePath, 0, 0, QStringLiteral("no tree names this script")});
                QByteArray text;
                Diagnostic error;
                if (TextFile::read(filePath, FileTree::maximumFileSize, text, error)
                    == TextFile::ReadResult::Read) {
                    isEvaluated(ScriptProbe(QString::fromUtf8(text),
                                            m_project.relativePath(filePath), m_guard),
                                filePath);
                }
            }
        }
    }
}

/// Keeps the script that a tree names, for later. @return whether it names one
bool ProjectCheck::nameScript(const FileTreeNode &root, ScriptKind kind)
{
    const QString key = keyOf(kind);
    const QString fileName = root.getProperty(key).toString();
    if (fileName.isEmpty()) {
        return false;
    }
    const QString script = key + QLatin1Char('=') + fileName;
    if (!m_namedScripts.contains(script)) {
        m_namedScripts.insert(script);
        m_scriptPaths.insert(QDir::cleanPath(scriptPath(kind, fileName)));
        m_scripts.append({kind, fileName, root.placeOf(key, QString())});
    }
    return true;
}

QString ProjectCheck::keyOf(ScriptKind kind) const
{
    return kind == ScriptKind::Dependency
        ? ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern()
        : Project::keyOfUserInterfaceScript();
}

QString ProjectCheck::folderOf(ScriptKind kind) const
{
    return kind == ScriptKind::Dependency
        ? PropertyManagerConst::getDependencyFolderPath(m_project.path())
        : m_project.userInterfaceScriptFolder();
}

QString ProjectCheck::scriptPath(ScriptKind kind, const QString &fileName) const
{
    // Not cleaned: the library opens the path as it stands.
    return folderOf(kind) + QLatin1Char('/') + fileName;
}
