#include "StepOutcome.h"

#include "filehost/Project.h"
#include "filehost/json/JsonValue.h"
#include "host/SelectorUrlHandler.h"
#include "runner/EventRun.h"
#include "runner/TreeUrls.h"
#include "runner/test/JsonLines.h"

#include <QSet>

#include <algorithm>
#include <cmath>

namespace ConfigScript {

namespace StepOutcome {

namespace {

/// @p text without the absolute paths of the project, and of those that its scripts reach.
QString portable(const Project &project, QString text)
{
    const QHash<QString, QString> folders = project.otherFiles();
    for (const QString &folder : folders) {
        const QString relative = project.relativePath(folder);
        const QString prefix = folder == project.path() ? QString() : relative + QLatin1Char('/');
        text.replace(folder + QLatin1Char('/'), prefix);
        text.replace(folder, relative);
    }
    return text;
}

/// A value of a script, whatever it is: what JSON does not have stands as a text.
QVariant jsonForm(const QVariant &value)
{
    QVariant normalized = JsonValue::normalized(value);
    if (normalized.isValid()) {
        return normalized;
    }
    switch (value.userType()) {
    case QMetaType::Float:
    case QMetaType::Double: {
        const double number = value.toDouble();
        return std::isnan(number) ? QStringLiteral("NaN")
            : number < 0          ? QStringLiteral("-Infinity")
                                  : QStringLiteral("Infinity");
    }
    case QMetaType::QVariantMap: {
        QVariantMap map = value.toMap();
        for (QVariant &member : map) {
            member = jsonForm(member);
        }
        return map;
    }
    case QMetaType::QVariantList: {
        QVariantList list = value.toList();
        for (QVariant &element : list) {
            element = jsonForm(element);
        }
        return list;
    }
    default:
        return value.toString();
    }
}

/// The URLs of properties, relative for one instance's own tree.
class Urls
{
public:
    Urls(const Project &project, const QString &instance)
        : m_urls(project)
        , m_ownUrl(instance.isEmpty() ? QString()
                                      : m_urls.urlOf(configurationTree(project, instance), {}))
    {
    }

    static FileTree::Identity configurationTree(const Project &project, const QString &instance)
    {
        return {project.treePath(FileTree::Kind::Configuration, instance), instance,
                FileTree::Kind::Configuration};
    }

    QString urlOf(const FileTree::Identity &tree, const QString &path) const
    {
        return !m_ownUrl.isEmpty() && m_urls.urlOf(tree, {}) == m_ownUrl ? path
                                                                         : m_urls.urlOf(tree, path);
    }

    /// A URL as urlOf() writes it; unchanged when it names no tree.
    QString canonical(const QString &url) const
    {
        if (!url.contains(QLatin1String("://"))) {
            return url;
        }
        QString error;
        const SelectorUrlHandler handler(url);
        const FileTree::Identity tree = m_urls.treeOf(handler, error);
        return tree.filePath.isEmpty() ? url : urlOf(tree, handler.getUrl());
    }

private:
    const TreeUrls m_urls;
    const QString m_ownUrl;
};

/// Values by URL and key.
void insert(QVariantMap &values, const QString &url, const QString &key, const QVariant &value)
{
    QVariantMap properties = values.value(url).toMap();
    properties.insert(key, value);
    values.insert(url, properties);
}

QVariantMap writesOf(const Urls &urls, const ScriptRun &run)
{
    struct Write
    {
        const TreeAccess *first;
        const TreeAccess *last;
    };
    QMap<QPair<QString, QString>, Write> all;
    for (const TreeAccess &access : run.accesses) {
        if (access.isWrite()) {
            auto &write = all[{urls.urlOf(access.tree, access.path), access.key}];
            write = {write.first ? write.first : &access, &access};
        }
    }
    QVariantMap values;
    for (auto write = all.cbegin(); write != all.cend(); ++write) {
        if (!JsonValue::areEqual(write->first->oldValue, write->last->value)) {
            insert(values, write.key().first, write.key().second, write->last->value);
        }
    }
    return values;
}

/// What the run found when it began: of what it wrote itself first, nothing.
QVariantMap readsOf(const Urls &urls, const ScriptRun &run)
{
    QSet<QPair<QString, QString>> known;
    QVariantMap values;
    for (const TreeAccess &access : run.accesses) {
        const QString url = urls.urlOf(access.tree, access.path);
        const int knownBefore = known.size();
        known.insert({url, access.key});
        if (access.kind == TreeAccess::Kind::Read && access.value.isValid()
            && known.size() != knownBefore) {
            insert(values, url, access.key, access.value);
        }
    }
    return values;
}

/// @param instance stands with each error; empty for none
QVariantList errorsOf(const ScriptRun &run, const QString &instance)
{
    QVariantList list;
    for (const auto &error : run.errors) {
        QVariantMap object{{QStringLiteral("url"), error.relUrl},
                           {QStringLiteral("textId"), error.errorLabelTextId}};
        if (error.value.isValid()) {
            object.insert(QStringLiteral("value"), jsonForm(error.value));
        }
        if (!instance.isEmpty()) {
            object.insert(QStringLiteral("instance"), instance);
        }
        list.append(object);
    }
    return list;
}

QString place(const QString &file, int line, const QString &text)
{
    return Diagnostic{file, line, 0, text}.toString();
}

/// What runs said.
struct Texts
{
    QVariantList exceptions;
    QVariantList warnings;
    QVariantList console;
};

/// @param prefix of each text
void addTexts(const Project &project, const ScriptRun &run, const QString &prefix, Texts &texts)
{
    for (const ScriptException &exception : run.exceptions) {
        const QString file = run.scriptOf(exception.isOfFunction);
        texts.exceptions.append(prefix
                                + portable(project, place(file, exception.line, exception.text)));
    }
    for (const QString &warning : run.warnings) {
        texts.warnings.append(prefix + portable(project, warning));
    }
    for (const ConsoleMessage &message : run.console) {
        texts.console.append(prefix + portable(project, message.text));
    }
}

void insertTexts(const Texts &texts, QVariantMap &outcome)
{
    outcome.insert(exceptions(), texts.exceptions);
    outcome.insert(warnings(), texts.warnings);
    outcome.insert(console(), texts.console);
}

QVariantList portableList(const Project &project, const QStringList &texts)
{
    QVariantList list;
    for (const QString &text : texts) {
        list.append(portable(project, text));
    }
    return list;
}

/// The trees that could not be stored.
QStringList failuresOf(const Project &project, const RunReport &report)
{
    QStringList texts;
    for (const ChangedTree &tree : report.trees) {
        if (!tree.error.isEmpty()) {
            texts.append(place(project.relativePath(tree.identity.filePath), 0, tree.error));
        }
    }
    return texts;
}

/// A line for each error, its members in the order of the arguments of setError().
QByteArray errorsText(const QVariantList &errors, const QByteArray &indentation)
{
    QByteArray text;
    for (const QVariant &error : errors) {
        const QVariantMap object = error.toMap();
        QByteArray members;
        for (const char *key : {"instance", "url", "textId", "value"}) {
            const auto member = object.find(QLatin1String(key));
            if (member != object.end()) {
                members += (members.isEmpty() ? "\"" : ", \"") + QByteArray(key)
                    + "\": " + JsonValue::toText(*member, JsonValue::Layout::Spaced);
            }
        }
        text += (text.isEmpty() ? "\n" : ",\n") + indentation + "  { " + members + " }";
    }
    return text.isEmpty() ? QByteArrayLiteral("[]") : '[' + text + '\n' + indentation + ']';
}

/// @p values by URL with the URLs as @p expected spells them.
QVariantMap respelt(const Urls &urls, const QVariantMap &expected, QVariantMap values)
{
    for (auto spelt = expected.cbegin(); spelt != expected.cend(); ++spelt) {
        const QString canonical = urls.canonical(spelt.key());
        if (canonical != spelt.key() && values.contains(canonical)) {
            values.insert(spelt.key(), values.take(canonical));
        }
    }
    return values;
}

} // namespace

QString result()
{
    return QStringLiteral("result");
}

QString writes()
{
    return QStringLiteral("writes");
}

QString unsaved()
{
    return QStringLiteral("unsaved");
}

QString errors()
{
    return QStringLiteral("errors");
}

QString announced()
{
    return QStringLiteral("announced");
}

QString exceptions()
{
    return QStringLiteral("exceptions");
}

QString warnings()
{
    return QStringLiteral("warnings");
}

QString problems()
{
    return QStringLiteral("problems");
}

QString console()
{
    return QStringLiteral("console");
}

QString reads()
{
    return QStringLiteral("reads");
}

const QStringList &members()
{
    static const QStringList names{result(),     writes(),   unsaved(),  errors(),  announced(),
                                   exceptions(), warnings(), problems(), console(), reads()};
    return names;
}

bool isOptional(const QString &member)
{
    return member == console() || member == reads();
}

QVariant defaultOf(const QString &member)
{
    if (member == result()) {
        return true;
    }
    return member == writes() || member == unsaved() || member == reads() ? QVariant(QVariantMap())
                                                                          : QVariantList();
}

QVector<QVariantMap> ofDialog(const Project &project, const QString &instance,
                              const RunReport &report)
{
    const Urls urls(project, instance);
    QVector<QVariantMap> outcomes;
    for (const ScriptRun &run : report.runs) {
        const bool isLast = &run == &report.runs.constLast();
        QVariantMap outcome = completed({});
        outcome.insert(result(), run.succeeded);
        outcome.insert(writes(), writesOf(urls, run));
        outcome.insert(reads(), readsOf(urls, run));
        outcome.insert(errors(), errorsOf(run, QString()));
        Texts texts;
        addTexts(project, run, QString(), texts);
        if (isLast) { // what became known when the dialog was saved
            QStringList reasons = failuresOf(project, report);
            if (!report.refusal.isEmpty() && EventRun::isToBeSaved(report.runs)) {
                reasons.prepend(report.refusal);
            }
            outcome.insert(problems(), portableList(project, reasons));
        }
        insertTexts(texts, outcome);
        outcomes.append(outcome);
    }
    return outcomes;
}

QVariantMap ofResolve(const Project &project, const QString &instance, const QString &resolved,
                      DependencyRun::Result result)
{
    RunReport &report = result.report;
    report.sort();
    const Urls urls(project, instance);
    QVariantMap outcome = completed({});
    outcome.insert(StepOutcome::result(), result.findings.isEmpty() && report.succeeded());

    QVariantMap written;
    for (const ChangedTree &tree : qAsConst(report.trees)) {
        for (const PropertyChange &change : tree.changes) {
            if (tree.error.isEmpty()) {
                insert(written, urls.urlOf(tree.identity, change.path), change.key,
                       change.newValue);
            }
        }
    }
    outcome.insert(writes(), written);

    QVariantMap lost;
    QVariantList list;
    Texts texts;
    for (const ScriptRun &run : qAsConst(report.runs)) {
        const FileTree::Identity tree = Urls::configurationTree(project, run.instance);
        for (const PropertyChange &change : run.unsavedChanges) {
            insert(lost, urls.urlOf(tree, change.path), change.key, change.newValue);
        }
        const bool isOther = run.instance != resolved;
        list += errorsOf(run, isOther ? run.instance : QString());
        addTexts(project, run, isOther ? run.instance + QStringLiteral(": ") : QString(), texts);
    }
    outcome.insert(unsaved(), lost);
    outcome.insert(errors(), list);
    outcome.insert(announced(), portableList(project, report.announced));
    insertTexts(texts, outcome);

    QStringList reasons;
    for (const Finding &finding : qAsConst(result.findings)) {
        reasons.append(finding.toString());
    }
    for (const OmittedRun &omitted : qAsConst(report.notRun)) {
        reasons.append(omitted.instance + QStringLiteral(": ") + omitted.reason);
    }
    outcome.insert(problems(), portableList(project, reasons + failuresOf(project, report)));
    return outcome;
}

QVariantMap inTermsOf(const Project &project, const QString &instance, const QVariantMap &expected,
                      const QVariantMap &outcome)
{
    const Urls urls(project, instance);
    QVariantMap found;
    for (const QString &member : members()) {
        const bool isExpected = expected.contains(member);
        QVariant value = outcome.value(member);
        if (isExpected && value.userType() == QMetaType::QVariantMap) {
            value = respelt(urls, expected.value(member).toMap(), value.toMap());
        }
        if (isExpected || (!isOptional(member) && !JsonValue::areEqual(value, defaultOf(member)))) {
            found.insert(member, value);
        }
    }
    return found;
}

QVariantMap completed(QVariantMap outcome)
{
    for (const QString &member : members()) {
        if (!outcome.contains(member)) {
            outcome.insert(member, defaultOf(member));
        }
    }
    return outcome;
}

QVariantMap recorded(const QVariantMap &outcome)
{
    QVariantMap result;
    for (auto member = outcome.cbegin(); member != outcome.cend(); ++member) {
        if (member.key() != console() && !JsonValue::areEqual(*member, defaultOf(member.key()))) {
            result.insert(member.key(), *member);
        }
    }
    return result;
}

QByteArray toText(const QVariantMap &outcome, const QByteArray &indentation)
{
    const QByteArray inner = indentation + "  ";
    QByteArray text;
    for (const QString &member : members()) {
        const auto value = outcome.find(member);
        if (value != outcome.end()) {
            text += (text.isEmpty() ? "\n" : ",\n") + inner + JsonValue::toText(member) + ": "
                + (member == errors()
                       ? errorsText(value->toList(), inner)
                       : JsonLines::toText(*value, inner, member == announced() ? 0 : 1));
        }
    }
    return text.isEmpty() ? QByteArrayLiteral("{}") : '{' + text + '\n' + indentation + '}';
}

QList<QByteArray> toLines(const QVariantMap &outcome)
{
    QVariantMap shown;
    for (auto member = outcome.cbegin(); member != outcome.cend(); ++member) {
        if (!JsonValue::areEqual(*member, defaultOf(member.key()))) {
            shown.insert(member.key(), *member);
        }
    }
    shown.insert(result(), outcome.value(result(), true));
    QList<QByteArray> lines = toText(shown, QByteArray()).split('\n');
    for (QByteArray &line : lines) {
        if (line.endsWith(',')) {
            line.chop(1);
        }
    }
    return lines;
}

} // namespace StepOutcome

} // namespace ConfigScript
