#include "StepOutcome.h"

#include "filehost/JsonValue.h"
#include "filehost/Project.h"
#include "host/SelectorUrlHandler.h"
#include "runner/record/TreeUrls.h"
#include "runner/run/DialogSession.h"
#include "runner/scripttest/OutcomeMember.h"

#include <QSet>

#include <algorithm>
#include <cmath>

namespace StepOutcome {

namespace {

using Id = OutcomeMember::Id;

QString nameOf(Id id)
{
    return OutcomeMember::of(id).name;
}

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
    outcome.insert(nameOf(Id::Exceptions), texts.exceptions);
    outcome.insert(nameOf(Id::Warnings), texts.warnings);
    outcome.insert(nameOf(Id::Console), texts.console);
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
QStringList failuresOf(const Project &project, const RunRecord &record)
{
    QStringList texts;
    for (const ChangedTree &tree : record.trees) {
        if (!tree.error.isEmpty()) {
            texts.append(place(project.relativePath(tree.identity.filePath), 0, tree.error));
        }
    }
    return texts;
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

QVector<QVariantMap> ofDialog(const Project &project, const QString &instance,
                              const RunRecord &record)
{
    const Urls urls(project, instance);
    QVector<QVariantMap> outcomes;
    for (const ScriptRun &run : record.runs) {
        const bool isLast = &run == &record.runs.constLast();
        QVariantMap outcome = completed({});
        outcome.insert(nameOf(Id::Result), run.succeeded);
        outcome.insert(nameOf(Id::Writes), writesOf(urls, run));
        outcome.insert(nameOf(Id::Reads), readsOf(urls, run));
        outcome.insert(nameOf(Id::Errors), errorsOf(run, QString()));
        Texts texts;
        addTexts(project, run, QString(), texts);
        if (isLast) { // what became known when the dialog was saved
            QStringList reasons = failuresOf(project, record);
            if (!record.refusal.isEmpty() && DialogSession::isToBeSaved(record.runs)) {
                reasons.prepend(record.refusal);
            }
            outcome.insert(nameOf(Id::Problems), portableList(project, reasons));
        }
        insertTexts(texts, outcome);
        outcomes.append(outcome);
    }
    return outcomes;
}

QVariantMap ofResolve(const Project &project, const QString &instance, const QString &resolved,
                      DependencyRun::Result result)
{
    RunRecord &record = result.record;
    record.sort();
    const Urls urls(project, instance);
    QVariantMap outcome = completed({});
    outcome.insert(nameOf(Id::Result), result.findings.isEmpty() && record.succeeded());

    QVariantMap written;
    for (const ChangedTree &tree : qAsConst(record.trees)) {
        for (const PropertyChange &change : tree.changes) {
            if (tree.error.isEmpty()) {
                insert(written, urls.urlOf(tree.identity, change.path), change.key,
                       change.newValue);
            }
        }
    }
    outcome.insert(nameOf(Id::Writes), written);

    QVariantMap lost;
    QVariantList list;
    Texts texts;
    for (const ScriptRun &run : qAsConst(record.runs)) {
        const FileTree::Identity tree = Urls::configurationTree(project, run.instance);
        for (const PropertyChange &change : run.unsavedChanges) {
            insert(lost, urls.urlOf(tree, change.path), change.key, change.newValue);
        }
        const bool isOther = run.instance != resolved;
        list += errorsOf(run, isOther ? run.instance : QString());
        addTexts(project, run, isOther ? run.instance + QStringLiteral(": ") : QString(), texts);
    }
    outcome.insert(nameOf(Id::Unsaved), lost);
    outcome.insert(nameOf(Id::Errors), list);
    outcome.insert(nameOf(Id::Announced), portableList(project, record.announced));
    insertTexts(texts, outcome);

    QStringList reasons;
    for (const Finding &finding : qAsConst(result.findings)) {
        reasons.append(finding.toString());
    }
    for (const OmittedRun &omitted : qAsConst(record.notRun)) {
        reasons.append(omitted.instance + QStringLiteral(": ") + omitted.reason);
    }
    outcome.insert(nameOf(Id::Problems),
                   portableList(project, reasons + failuresOf(project, record)));
    return outcome;
}

QVariantMap inTermsOf(const Project &project, const QString &instance, const QVariantMap &expected,
                      const QVariantMap &outcome)
{
    const Urls urls(project, instance);
    QVariantMap found;
    for (const OutcomeMember &member : OutcomeMember::all()) {
        const bool isExpected = expected.contains(member.name);
        QVariant value = outcome.value(member.name);
        if (isExpected && value.userType() == QMetaType::QVariantMap) {
            value = respelt(urls, expected.value(member.name).toMap(), value.toMap());
        }
        if (isExpected
            || (!member.isOptional && !JsonValue::areEqual(value, member.defaultValue))) {
            found.insert(member.name, value);
        }
    }
    return found;
}

QVariantMap completed(QVariantMap outcome)
{
    for (const OutcomeMember &member : OutcomeMember::all()) {
        if (!outcome.contains(member.name)) {
            outcome.insert(member.name, member.defaultValue);
        }
    }
    return outcome;
}

QVariantMap recorded(const QVariantMap &outcome)
{
    QVariantMap result;
    for (const OutcomeMember &member : OutcomeMember::all()) {
        const QVariant value = outcome.value(member.name, member.defaultValue);
        if (member.id != Id::Console && !JsonValue::areEqual(value, member.defaultValue)) {
            result.insert(member.name, value);
        }
    }
    return result;
}

} // namespace StepOutcome
