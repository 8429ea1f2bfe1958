#include "ProjectCheck.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "filehost/ProjectLayout.h"
#include "filehost/store/InstanceFile.h"
#include "filehost/store/TextFile.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"
#include "runner/ScriptScanner.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>
#include <tuple>

namespace ConfigScript {

namespace {

constexpr auto s_error = Finding::Severity::Error;
constexpr auto s_warning = Finding::Severity::Warning;

/// Whether the method of the script's API takes a URL first.
bool takesUrl(const QString &method)
{
    return method == QLatin1String("getPropertyExtern")
        || method == QLatin1String("setPropertyExtern")
        || method == QLatin1String("getListOfNodeInstancesWithText");
}

bool isPunctuation(const ScriptToken &token, char character)
{
    return token.kind == ScriptToken::Kind::Punctuation
        && token.text == QLatin1String(&character, 1);
}

/// The index of the second argument's first token in the call whose "(" stands at @p open; -1 when
/// there is none.
int secondArgument(const QVector<ScriptToken> &tokens, int open)
{
    int depth = 0;
    for (int i = open; i < tokens.size(); ++i) {
        const ScriptToken &token = tokens.at(i);
        if (isPunctuation(token, '(') || isPunctuation(token, '[') || isPunctuation(token, '{')) {
            ++depth;
        } else if (isPunctuation(token, ')') || isPunctuation(token, ']')
                   || isPunctuation(token, '}')) {
            if (--depth == 0) {
                return -1;
            }
        } else if (depth == 1 && isPunctuation(token, ',')) {
            return i + 1 < tokens.size() ? i + 1 : -1;
        }
    }
    return -1;
}

/// Whether the argument that begins with a token is a string, and nothing else.
bool isWholeArgument(const QVector<ScriptToken> &tokens, int index)
{
    return tokens.at(index).kind == ScriptToken::Kind::String && index + 1 < tokens.size()
        && (isPunctuation(tokens.at(index + 1), ',') || isPunctuation(tokens.at(index + 1), ')'));
}

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
    return sorted();
}

QVector<Finding> ProjectCheck::checkWalls(const QList<QSharedPointer<FileTreeNode>> &instances)
{
    for (const auto &instance : instances) {
        nameScript(*instance, ScriptKind::Dependency);
    }
    for (const NamedScript &script : qAsConst(m_scripts)) {
        const QFileInfo file(scriptPath(script.kind, script.fileName));
        if (checkPlace(script) && file.exists() && !file.isFile()) { // the library would wait
            add(s_error, "missing-script",
                {file.filePath(), 0, 0, QStringLiteral("cannot be read: it is no file")});
        }
    }
    return sorted();
}

QVector<Finding> ProjectCheck::checkAll(const Manifest &manifest)
{
    checkTexts();
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
            checkNode(*root);
        }
    }
    const QStringList processes = m_project.instances(FileTree::Kind::Process);
    for (const QString &instance : processes) {
        const auto root = checkTree(FileTree::Kind::Process, instance);
        if (!root.isNull()) {
            checkNode(*root);
        }
    }
    for (const NamedScript &script : qAsConst(m_scripts)) {
        const QString text = checkScript(script);
        checkTokens(script.kind, scriptPath(script.kind, script.fileName), text);
    }
    if (!m_hasUnreadableTree) { // it might name any of them
        checkUnusedScripts();
    }
    return sorted();
}

void ProjectCheck::checkTexts()
{
    const QStringList languages = m_project.languages();
    for (const QString &language : languages) {
        Diagnostic error;
        m_texts.insert(language, m_project.texts(language, error));
        if (!error.message.isEmpty()) {
            add(s_error, "texts", error);
        }
    }
}

void ProjectCheck::checkManifest(const Manifest &manifest)
{
    if (manifest.hasFailed()) {
        add(s_error, "manifest", manifest.error());
    }
    for (const Diagnostic &warning : manifest.warnings()) {
        add(s_warning, "manifest-entry", warning);
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
        add(s_error, "manifest-entry", error);
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
    add(s_error, "missing-tree", place);
    return false;
}

QSharedPointer<FileTreeNode> ProjectCheck::checkTree(FileTree::Kind kind, const QString &instance)
{
    Diagnostic error;
    auto root = m_project.readTree(kind, instance, error);
    if (!error.message.isEmpty()) {
        add(s_error, "malformed-tree", error);
        m_hasUnreadableTree = true;
    }
    return root;
}

void ProjectCheck::checkDependencyScript(const FileTreeNode &root, bool isListed)
{
    const bool hasScript = nameScript(root, ScriptKind::Dependency);
    const QString key = keyOf(ScriptKind::Dependency);
    if (isListed && !hasScript) {
        add(s_error, "no-script",
            root.placeOf(key,
                         QStringLiteral("the manifest lists \"%1\", but its tree has no "
                                        "property \"%2\" with the name of a script")
                             .arg(root.tree().identity().instance, key)));
    } else if (!isListed && hasScript) {
        add(s_warning, "not-listed",
            root.placeOf(key,
                         QStringLiteral("\"%1\" names a dependency script, but the manifest "
                                        "does not list it: the script never runs")
                             .arg(root.tree().identity().instance)));
    }
}

void ProjectCheck::checkNode(const FileTreeNode &node)
{
    const QStringList keys = node.propertyKeys();
    for (const QString &key : keys) {
        const QVariant value = node.getProperty(key);
        if (value.userType() != QMetaType::QString) {
            continue;
        }
        if (key.endsWith(QLatin1String("TextId"))) {
            checkText(value.toString(), [&] { return node.placeOf(key, QString()); });
        } else if (key == QLatin1String("unit")) {
            checkUnit(value.toString(), [&] { return node.placeOf(key, QString()); });
        }
    }
    const auto children = node.children();
    for (const auto &child : children) {
        checkNode(*child);
    }
}

/// Whether the script may lie where it lies.
bool ProjectCheck::checkPlace(const NamedScript &script)
{
    Diagnostic place = script.place;
    place.message = m_project.scriptError(folderOf(script.kind), script.fileName);
    if (!place.message.isEmpty()) {
        add(s_error, "missing-script", place);
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
    switch (TextFile::read(filePath, TextFile::maximumSize, content, error)) {
    case TextFile::ReadResult::Missing:
        place.message = QStringLiteral("there is no script %1/%2")
                            .arg(m_project.relativePath(folderOf(script.kind)), script.fileName);
        add(s_error, "missing-script", place);
        return QString();
    case TextFile::ReadResult::Unreadable:
        add(s_error, "missing-script", error);
        return QString();
    case TextFile::ReadResult::Read:
        break;
    }
    if (content.isEmpty()) {
        add(script.kind == ScriptKind::Dependency ? s_error : s_warning, "empty-script",
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
            add(s_error, "hidden-function",
                {filePath, lineOfName(text, function), 0,
                 QStringLiteral("%1 is invisible to the host: declare it with \"function %1\", "
                                "not with const, let or class")
                     .arg(function)});
        } else if (!probe.functions.contains(function)) {
            add(isDependency ? s_error : s_warning, "missing-function",
                {filePath, 0, 0, QStringLiteral("the script has no function %1").arg(function)});
        }
    }
}

bool ProjectCheck::isEvaluated(const ScriptProbe &probe, const QString &filePath)
{
    if (!probe.isEvaluated) {
        add(s_error, "script-error", {filePath, probe.errorLine, 0, probe.error});
    }
    return probe.isEvaluated;
}

void ProjectCheck::checkTokens(ScriptKind kind, const QString &filePath, const QString &text)
{
    const QVector<ScriptToken> tokens = ScriptScanner(text).scan();
    for (int i = 0; i < tokens.size(); ++i) {
        const ScriptToken &token = tokens.at(i);
        const auto place = [&] {
            return Diagnostic{filePath, token.line, 0, QString()};
        };
        if (token.kind == ScriptToken::Kind::String || token.kind == ScriptToken::Kind::Template) {
            const bool isWhole = i >= 2 && isPunctuation(tokens.at(i - 1), '(')
                && takesUrl(tokens.at(i - 2).text) && isWholeArgument(tokens, i);
            checkUrl(token.text, isWhole, place());
            continue;
        }
        const bool isCall = token.kind == ScriptToken::Kind::Identifier && i > 0
            && isPunctuation(tokens.at(i - 1), '.') && i + 2 < tokens.size()
            && isPunctuation(tokens.at(i + 1), '(');
        if (!isCall) {
            continue;
        }
        if (token.text == QLatin1String("setProperty") && kind == ScriptKind::Dependency) {
            Diagnostic finding = place();
            finding.message = QStringLiteral("setProperty writes by relative URL, which nobody "
                                             "saves after onSave: use setPropertyExtern");
            add(s_warning, "unsaved-write", finding);
        } else if (token.text == QLatin1String("setError")) {
            const int argument = secondArgument(tokens, i + 1);
            if (argument >= 0 && isWholeArgument(tokens, argument)) {
                checkText(tokens.at(argument).text, place);
            }
        } else if (token.text == QLatin1String("getAllUnitTexts")
                   && isWholeArgument(tokens, i + 2)) {
            checkUnit(tokens.at(i + 2).text, place);
        }
    }
}

/// @param isWhole whether nothing is appended to the text
void ProjectCheck::checkUrl(const QString &text, bool isWhole, Diagnostic place)
{
    const SelectorUrlHandler url(text);
    if (!url.isConfigurationScheme() && !url.isProcessDataScheme()) {
        return;
    }
    if (url.getModuleName() != m_project.moduleName()) {
        place.message = QStringLiteral("the URL names the module \"%1\"; scripts reach only \"%2\"")
                            .arg(url.getModuleName(), m_project.moduleName());
        add(s_warning, "other-module", place);
        return;
    }
    const auto objects = m_project.reachableObjects();
    const auto folder = objects.constFind(url.getObjectName());
    if (folder == objects.constEnd()) {
        place.message = QStringLiteral("the URL names the object \"%1\", which project.json and "
                                       "providers.json do not know")
                            .arg(url.getObjectName());
        add(s_warning, "unknown-object", place);
        return;
    }
    if (!isWhole || !url.isValid()) {
        return;
    }
    QString error;
    const QDir trees(url.isProcessDataScheme()
                         ? PropertyManagerConst::getProcessFolderPath(*folder)
                         : PropertyManagerConst::getConfigurationFolderPath(*folder));
    const QString filePath = InstanceFile::path(trees, url.getInstance(), error);
    if (filePath.isEmpty() || !QFileInfo::exists(filePath)) {
        place.message = QStringLiteral("the URL names the instance \"%1\", which has no tree there")
                            .arg(url.getInstance());
        add(s_warning, "unknown-instance", place);
    }
}

void ProjectCheck::checkUnusedScripts()
{
    for (const auto kind : {ScriptKind::Dependency, ScriptKind::UserInterface}) {
        QDirIterator files(folderOf(kind), {QStringLiteral("*.js")}, QDir::Files,
                           QDirIterator::Subdirectories);
        while (files.hasNext()) {
            const QString filePath = files.next();
            if (!m_scriptPaths.contains(filePath)) {
                add(s_warning, "unused-script",
                    {filePath, 0, 0, QStringLiteral("no tree names this script")});
                QByteArray text;
                Diagnostic error;
                if (TextFile::read(filePath, TextFile::maximumSize, text, error)
                    == TextFile::ReadResult::Read) {
                    isEvaluated(ScriptProbe(QString::fromUtf8(text),
                                            m_project.relativePath(filePath), m_guard),
                                filePath);
                }
            }
        }
    }
}

template <typename Place>
void ProjectCheck::checkText(const QString &textId, Place place)
{
    if (m_knownTexts.contains(textId)) {
        return;
    }
    m_knownTexts.insert(textId);
    QStringList missing;
    for (auto it = m_texts.cbegin(); it != m_texts.cend(); ++it) {
        if (!it.value().contains(textId)) {
            missing.append(ProjectLayout().textsFile(it.key()));
        }
    }
    if (!missing.isEmpty()) {
        missing.sort();
        Diagnostic finding = place();
        finding.message = QStringLiteral("the text \"%1\" is missing in %2")
                              .arg(textId, missing.join(QStringLiteral(", ")));
        add(s_warning, "missing-text", finding);
    }
}

template <typename Place>
void ProjectCheck::checkUnit(const QString &unit, Place place)
{
    if (!m_knownUnits.contains(unit) && !m_project.units().contains(unit)) {
        Diagnostic finding = place();
        finding.message = QStringLiteral("the unit \"%1\" is missing in units.json").arg(unit);
        add(s_warning, "missing-unit", finding);
    }
    m_knownUnits.insert(unit);
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

void ProjectCheck::add(Finding::Severity severity, const char *name, const Diagnostic &place)
{
    Finding finding{severity, place, QString::fromLatin1(name)};
    finding.place.file = m_project.relativePath(place.file);
    m_findings.append(finding);
}

QVector<Finding> ProjectCheck::sorted() const
{
    QVector<Finding> findings = m_findings;
    std::stable_sort(findings.begin(), findings.end(), [](const Finding &a, const Finding &b) {
        return std::tie(a.place.file, a.place.line) < std::tie(b.place.file, b.place.line);
    });
    return findings;
}

} // namespace ConfigScript
