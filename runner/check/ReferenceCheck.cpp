#include "ReferenceCheck.h"

#include "JavaScript/JavaScriptApi.h"
#include "filehost/FileTreeNode.h"
#include "filehost/InstanceFile.h"
#include "filehost/Project.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"
#include "runner/check/FindingList.h"
#include "runner/check/ScriptScanner.h"

#include <QDir>
#include <QFileInfo>
#include <QMetaMethod>

namespace {

/// Whether the method of the script's API takes an absolute URL first.
bool takesUrl(const QString &method)
{
    const QMetaObject &api = JavaScriptApi::staticMetaObject;
    for (int i = api.methodOffset(); i < api.methodCount(); ++i) {
        if (QString::fromLatin1(api.method(i).name()) == method) {
            return api.method(i).parameterNames().value(0) == "absUrl";
        }
    }
    return false;
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

} // namespace

ReferenceCheck::ReferenceCheck(const Project &project, FindingList &findings)
    : m_project(project)
    , m_findings(findings)
{
}

void ReferenceCheck::checkTexts()
{
    const QStringList languages = m_project.languages();
    for (const QString &language : languages) {
        Diagnostic error;
        m_texts.insert(language, m_project.texts(language, error));
        if (!error.message.isEmpty()) {
            m_findings.add(Finding::Kind::Texts, error);
        }
    }
}

void ReferenceCheck::checkTree(const FileTreeNode &node)
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
        checkTree(*child);
    }
}

void ReferenceCheck::checkScript(const QString &filePath, const QString &text,
                                 bool isDependencyScript)
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
        if (token.text == QLatin1String("setProperty") && isDependencyScript) {
            Diagnostic finding = place();
            finding.message = QStringLiteral("setProperty writes by relative URL, which nobody "
                                             "saves after onSave: use setPropertyExtern");
            m_findings.add(Finding::Kind::UnsavedWrite, finding);
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
void ReferenceCheck::checkUrl(const QString &text, bool isWhole, Diagnostic place)
{
    const SelectorUrlHandler url(text);
    if (!url.isConfigurationScheme() && !url.isProcessDataScheme()) {
        return;
    }
    if (url.getModuleName() != m_project.moduleName()) {
        place.message = QStringLiteral("the URL names the module \"%1\"; scripts reach only \"%2\"")
                            .arg(url.getModuleName(), m_project.moduleName());
        m_findings.add(Finding::Kind::OtherModule, place);
        return;
    }
    const auto objects = m_project.reachableObjects();
    const auto folder = objects.constFind(url.getObjectName());
    if (folder == objects.constEnd()) {
        place.message = QStringLiteral("the URL names the object \"%1\", which project.json and "
                                       "providers.json do not know")
                            .arg(url.getObjectName());
        m_findings.add(Finding::Kind::UnknownObject, place);
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
        m_findings.add(Finding::Kind::UnknownInstance, place);
    }
}

template <typename Place>
void ReferenceCheck::checkText(const QString &textId, Place place)
{
    if (m_knownTexts.contains(textId)) {
        return;
    }
    m_knownTexts.insert(textId);
    QStringList missing;
    for (auto it = m_texts.cbegin(); it != m_texts.cend(); ++it) {
        if (!it.value().contains(textId)) {
            missing.append(QStringLiteral("texts/%1.json").arg(it.key()));
        }
    }
    if (!missing.isEmpty()) {
        missing.sort();
        Diagnostic finding = place();
        finding.message = QStringLiteral("the text \"%1\" is missing in %2")
                              .arg(textId, missing.join(QStringLiteral(", ")));
        m_findings.add(Finding::Kind::MissingText, finding);
    }
}

template <typename Place>
void ReferenceCheck::checkUnit(const QString &unit, Place place)
{
    if (!m_knownUnits.contains(unit) && !m_project.units().contains(unit)) {
        Diagnostic finding = place();
        finding.message = QStringLiteral("the unit \"%1\" is missing in units.json").arg(unit);
        m_findings.add(Finding::Kind::MissingUnit, finding);
    }
    m_knownUnits.insert(unit);
}
