#include "OrderCheck.h"

#include "filehost/ProjectLayout.h"
#include "filehost/json/JsonValue.h"

#include <QStringList>

#include <algorithm>
#include <iterator>
#include <tuple>

namespace ConfigScript {

namespace {

constexpr int s_shownNames = 4;
constexpr int s_shownValues = 4;
constexpr int s_shownText = 80; ///< characters of a value

QString valueText(const QVariant &value)
{
    if (!value.isValid()) {
        return QStringLiteral("missing");
    }
    const QString text = QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Spaced));
    return text.size() <= s_shownText ? text : text.left(s_shownText) + QStringLiteral("…");
}

bool areEqual(const QVariant &left, const QVariant &right)
{
    return left.isValid() == right.isValid()
        && (!left.isValid() || JsonValue::areEqual(left, right));
}

bool contains(const QVector<QVariant> &values, const QVariant &value)
{
    return std::any_of(values.begin(), values.end(),
                       [&value](const QVariant &other) { return areEqual(other, value); });
}

/// "a", "a and b", "a, b and c"
QString listed(const QStringList &texts)
{
    return texts.size() < 2 ? texts.join(QString())
                            : texts.mid(0, texts.size() - 1).join(QStringLiteral(", "))
            + QStringLiteral(" and ") + texts.constLast();
}

} // namespace

class OrderCheck::Groups
{
public:
    /// @param scripts the first is the place of the finding
    void add(Finding::Severity severity, const char *name, const QStringList &scripts,
             const QString &message)
    {
        const QString key = QString::number(int(severity)) + QLatin1String(name) + QLatin1Char('\n')
            + scripts.join(QLatin1Char('\n'));
        // What is found may be counted up.
        const auto known = m_groups.find(key); // clazy:exclude=detaching-member
        if (known == m_groups.end()) {
            m_groups.insert(
                key,
                {{severity, {scripts.constFirst(), 0, 0, message}, QString::fromLatin1(name)}, 0});
        } else {
            ++known->more;
        }
    }

    QVector<Finding> findings() const
    {
        QVector<Finding> findings;
        for (const Group &group : m_groups) {
            Finding finding = group.finding;
            if (group.more > 0) {
                finding.place.message += group.more == 1
                    ? QStringLiteral("; 1 more property likewise")
                    : QStringLiteral("; %1 more properties likewise").arg(group.more);
            }
            findings.append(finding);
        }
        return findings;
    }

private:
    struct Group
    {
        Finding finding;
        int more;
    };

    QMap<QString, Group> m_groups;
};

OrderCheck::OrderCheck(const Project &project)
    : m_project(project)
    , m_urls(m_project)
{
}

int OrderCheck::distinctOrders() const
{
    QSet<QVector<int>> orders;
    for (const Trial &trial : m_trials) {
        orders.insert(trial.order);
    }
    return orders.size();
}

void OrderCheck::add(const QVector<RunReport> &rounds)
{
    Trial trial;
    trial.rounds = rounds.size();
    for (const ScriptRun &run : rounds.constFirst().runs) {
        const int instance = indexOf(run);
        trial.positions.insert(instance, trial.order.size());
        trial.order.append(instance);
    }
    for (int round = 0; round < rounds.size(); ++round) {
        addRound(rounds.at(round), round, trial);
        addFailures(rounds.at(round));
    }
    m_trials.append(trial);
}

void OrderCheck::addRound(const RunReport &report, int round, Trial &trial)
{
    QHash<int, QMap<int, QVariant>> written; // by property, then instance
    for (const ScriptRun &run : report.runs) {
        addAccesses(run, round == 0, written, trial);
    }
    for (auto writes = written.cbegin(); writes != written.cend(); ++writes) {
        Writers &writers = m_writers[writes.key()]; // clazy:exclude=detaching-member
        for (auto write = writes->cbegin(); write != writes->cend(); ++write) {
            writers.instances.insert(write.key());
            writers.areAtOdds =
                writers.areAtOdds || !areEqual(write.value(), writes->constBegin().value());
        }
    }
    for (const ChangedTree &tree : report.trees) {
        if (!tree.error.isEmpty()) {
            continue;
        }
        for (const PropertyChange &change : tree.changes) {
            const int property = indexOf(tree.identity, change.path, change.key);
            QVector<QVariant> &values = trial.values[property]; // clazy:exclude=detaching-member
            if (values.isEmpty()) {
                // Nobody has changed it in an earlier round of this order.
                m_originals.insert(property, change.oldValue);
                values.fill(change.oldValue, trial.rounds);
            }
            std::fill(values.begin() + round, values.end(), change.newValue);
        }
    }
}

void OrderCheck::addAccesses(const ScriptRun &run, bool isFirst,
                             QHash<int, QMap<int, QVariant>> &written, Trial &trial)
{
    const int instance = indexOf(run);
    for (const TreeAccess &access : run.accesses) {
        const int property = indexOf(access.tree, access.path, access.key);
        if (access.kind != TreeAccess::Kind::Read) {
            // What nobody saves nobody else sees.
            if (!access.isOfOwnCopy) {
                written[property][instance] = access.value;
            }
        } else if (isFirst && !written.value(property).contains(instance)
                   && !trial.reads.contains({instance, property})) {
            trial.reads.insert({instance, property}, access.value);
            m_reads[instance].insert(property);
        }
    }
}

void OrderCheck::addFailures(const RunReport &report)
{
    for (const ScriptRun &run : report.runs) {
        if (run.succeeded) {
            continue;
        }
        Diagnostic place{run.script, 0, 0, QString()};
        if (!run.exceptions.isEmpty()) {
            const ScriptException &exception = run.exceptions.constFirst();
            place = {run.scriptOf(exception.isOfFunction), exception.line, 0, exception.text};
        } else if (!run.warnings.isEmpty()) {
            place.message = run.warnings.constFirst();
        } else {
            place.message = run.function + QStringLiteral(" returned false");
        }
        addFailure(Finding::Severity::Error, QStringLiteral("script-failed"), place, run.instance);
    }
    for (const OmittedRun &omitted : report.notRun) {
        addFailure(
            Finding::Severity::Error, QStringLiteral("script-failed"),
            {ProjectLayout::treeFile(ProjectLayout().configurationFolder(), omitted.instance), 0, 0,
             QStringLiteral("did not run: ") + omitted.reason},
            omitted.instance);
    }
    for (const ChangedTree &tree : report.trees) {
        if (!tree.error.isEmpty()) {
            QString reason = tree.error;
            reason.remove(tree.identity.filePath + QStringLiteral(": "));
            addFailure(Finding::Severity::Error, QStringLiteral("not-saved"),
                       {m_project.relativePath(tree.identity.filePath), 0, 0, reason}, QString());
        }
    }
}

void OrderCheck::addFailure(Finding::Severity severity, const QString &name,
                            const Diagnostic &place, const QString &instance)
{
    Failure &failure = m_failures[name + place.toString()]; // clazy:exclude=detaching-member
    failure.finding = {severity, place, name};
    if (!instance.isEmpty()) {
        failure.instances.insert(instance);
    }
    failure.orders.insert(m_trials.size());
}

int OrderCheck::indexOf(const FileTree::Identity &tree, const QString &path, const QString &key)
{
    const QPair<QString, QPair<QString, QString>> name{tree.filePath, {path, key}};
    const auto known = m_propertyIndices.constFind(name);
    if (known != m_propertyIndices.constEnd()) {
        return *known;
    }
    m_properties.append({tree, path, key});
    return *m_propertyIndices.insert(name, m_properties.size() - 1);
}

int OrderCheck::indexOf(const ScriptRun &run)
{
    const auto known = m_instanceIndices.constFind(run.instance);
    if (known != m_instanceIndices.constEnd()) {
        return *known;
    }
    m_instances.append({run.instance, run.script});
    return *m_instanceIndices.insert(run.instance, m_instances.size() - 1);
}

QVector<Finding> OrderCheck::findings() const
{
    Groups groups;
    const QVector<int> properties = sortedProperties();
    for (const int property : properties) {
        findOrderDependence(property, groups);
        findUnsettled(property, groups);
        findTwoWriters(property, groups);
    }
    QVector<Finding> findings = groups.findings();
    if (m_instances.size() > 1 && m_trials.size() > 1 && distinctOrders() == 1) {
        findings.append({Finding::Severity::Warning,
                         {ProjectLayout().manifestFile(), 0, 0,
                          QStringLiteral("all %1 orders were the same, so nothing is known of "
                                         "others: %2")
                              .arg(QString::number(m_trials.size()),
                                   qEnvironmentVariableIsSet("QT_HASH_SEED")
                                       ? QStringLiteral("the environment variable QT_HASH_SEED "
                                                        "fixes it; unset it")
                                       : QStringLiteral("try again, or more --orders"))},
                         QStringLiteral("same-order")});
    }
    for (const Failure &failure : m_failures) {
        Finding finding = failure.finding;
        QStringList instances = failure.instances.values();
        instances.sort();
        const int more = instances.size() - 1;
        if (!instances.isEmpty()) {
            finding.place.message = instances.constFirst()
                + (more > 0 ? QStringLiteral(" (and %1 more)").arg(more) : QString())
                + QStringLiteral(": ") + finding.place.message;
        }
        finding.place.message += QLatin1Char(',') + ordersText(failure.orders.size());
        findings.append(finding);
    }
    std::stable_sort(findings.begin(), findings.end(), [](const Finding &a, const Finding &b) {
        return std::tie(a.place.file, a.place.line, a.name, a.severity)
            < std::tie(b.place.file, b.place.line, b.name, b.severity);
    });
    return findings;
}

void OrderCheck::findOrderDependence(int property, Groups &groups) const
{
    const bool isSettledAlike = distinctValues(property, Moment::LastRound).size() < 2;
    const bool isUnsettled = stillChanges(property);
    const Moment moment = isSettledAlike || isUnsettled ? Moment::FirstRound : Moment::LastRound;
    if (distinctValues(property, moment).size() < 2) {
        return;
    }
    const QVector<Cause> known = causes(property, moment);
    QStringList scripts;
    QString message;
    if (known.size() == 1) {
        const Cause &cause = known.constFirst();
        scripts =
            QStringList{m_instances.at(cause.second).script, m_instances.at(cause.first).script};
        message = causeText(cause, property, moment);
    } else {
        const QVector<int> writers = sortedInstances(m_writers.value(property).instances);
        for (const int writer : writers) {
            scripts.append(m_instances.at(writer).script);
        }
        scripts.removeDuplicates();
        message = varietyText(property, moment);
        if (known.size() > 1) {
            message +=
                QStringLiteral("; with more --orders it can be told which scripts' order decides");
        }
    }
    if (moment == Moment::LastRound) {
        message += QStringLiteral("; more runs do not change that");
    } else if (!isUnsettled) {
        int rounds = 0;
        for (const Trial &trial : m_trials) {
            rounds = std::max(rounds, roundsUntilSettled(property, trial));
        }
        message += QStringLiteral("; after %1 runs it is %2 in every order")
                       .arg(QString::number(rounds),
                            valueText(valueOf(property, m_trials.constFirst(), Moment::LastRound)));
    }
    groups.add(moment == Moment::LastRound ? Finding::Severity::Error : Finding::Severity::Warning,
               "order-dependent", scripts, message);
}

void OrderCheck::findUnsettled(int property, Groups &groups) const
{
    const Trial *longest = nullptr;
    int count = 0;
    const bool isEndless = stillChanges(property);
    const int enough = isEndless ? maximumRounds : 2;
    for (const Trial &trial : m_trials) {
        const int rounds = roundsUntilSettled(property, trial);
        if (rounds >= enough) {
            ++count;
            if (!longest || rounds > roundsUntilSettled(property, *longest)) {
                longest = &trial;
            }
        }
    }
    if (!longest) {
        return;
    }
    const int rounds = roundsUntilSettled(property, *longest);
    QStringList values;
    for (int round = 0; round < rounds; ++round) {
        values.append(valueText(longest->values.value(property).at(round)));
    }
    const QVector<int> writers = sortedInstances(m_writers.value(property).instances);
    QStringList scripts;
    for (const int writer : writers) {
        scripts.append(m_instances.at(writer).script);
    }
    scripts.removeDuplicates();
    const QString what = isEndless
        ? QStringLiteral("still changes after %1 runs,").arg(rounds)
        : QStringLiteral("settles after %1 runs, after more than one").arg(rounds);
    groups.add(
        isEndless ? Finding::Severity::Error : Finding::Severity::Warning, "not-settling", scripts,
        urlOf(property) + QLatin1Char(' ') + what + ordersText(count)
            + QStringLiteral(": %1; %2 %3 it")
                  .arg(values.join(QStringLiteral(", ")), namesOf(writers),
                       writers.size() == 1 ? QStringLiteral("writes") : QStringLiteral("write")));
}

void OrderCheck::findTwoWriters(int property, Groups &groups) const
{
    const Writers known = m_writers.value(property);
    if (known.instances.size() < 2) {
        return;
    }
    const QVector<int> writers = sortedInstances(known.instances);
    QStringList scripts;
    for (const int writer : writers) {
        scripts.append(m_instances.at(writer).script);
    }
    scripts.sort();
    scripts.removeDuplicates();
    groups.add(Finding::Severity::Warning, "two-writers", scripts,
               QStringLiteral("%1 is written by %2, with %3")
                   .arg(urlOf(property), namesOf(writers),
                        known.areAtOdds ? QStringLiteral("different values")
                                        : QStringLiteral("equal values")));
}

/// Those that anybody wrote, by URL.
QVector<int> OrderCheck::sortedProperties() const
{
    QVector<QPair<QString, int>> named;
    for (auto writers = m_writers.cbegin(); writers != m_writers.cend(); ++writers) {
        named.append({urlOf(writers.key()), writers.key()});
    }
    std::sort(named.begin(), named.end());
    QVector<int> properties;
    for (const auto &property : qAsConst(named)) {
        properties.append(property.second);
    }
    return properties;
}

QVector<int> OrderCheck::sortedInstances(const QSet<int> &instances) const
{
    QVector<int> sorted(instances.cbegin(), instances.cend());
    std::sort(sorted.begin(), sorted.end(),
              [this](int a, int b) { return m_instances.at(a).name < m_instances.at(b).name; });
    return sorted;
}

QVariant OrderCheck::valueOf(int property, const Trial &trial, Moment moment) const
{
    const auto values = trial.values.constFind(property);
    if (values == trial.values.constEnd()) {
        return m_originals.value(property);
    }
    return moment == Moment::FirstRound ? values->constFirst() : values->constLast();
}

QVector<QVariant> OrderCheck::distinctValues(int property, Moment moment) const
{
    QVector<QVariant> values;
    for (const Trial &trial : m_trials) {
        const QVariant value = valueOf(property, trial, moment);
        if (!contains(values, value)) {
            values.append(value);
        }
    }
    return values;
}

/// The last round of the order that changed the property, from 1; 0 when none did.
int OrderCheck::roundsUntilSettled(int property, const Trial &trial) const
{
    const QVector<QVariant> values = trial.values.value(property);
    int round = values.size();
    while (round > 1 && areEqual(values.at(round - 1), values.at(round - 2))) {
        --round;
    }
    return round == 1 && areEqual(values.constFirst(), m_originals.value(property)) ? 0 : round;
}

bool OrderCheck::stillChanges(int property) const
{
    return std::any_of(m_trials.begin(), m_trials.end(), [&](const Trial &trial) {
        return roundsUntilSettled(property, trial) >= maximumRounds;
    });
}

/// Whether what came of every order fits that the order of these two decides.
bool OrderCheck::decides(const Cause &cause, int property, Moment moment) const
{
    QVector<QVariant> values[2]; // when the first one ran before the second, and after it
    QVector<QVariant> reads[2]; // by the second one
    for (const Trial &trial : m_trials) {
        const int first = trial.positions.value(cause.first, -1);
        const int second = trial.positions.value(cause.second, -1);
        if (first < 0 || second < 0) {
            return false;
        }
        const int side = first < second ? 0 : 1;
        const QVariant value = valueOf(property, trial, moment);
        if (!contains(values[side], value)) {
            values[side].append(value);
        }
        reads[side].append(trial.reads.value({cause.second, cause.read}));
    }
    const bool isDecided = values[0].size() == 1 && values[1].size() == 1
        && !areEqual(values[0].constFirst(), values[1].constFirst());
    // What the script computes can only follow from what it read.
    return isDecided
        && (cause.read < 0
            || std::none_of(reads[0].begin(), reads[0].end(),
                            [&reads](const QVariant &value) { return contains(reads[1], value); }));
}

/// The pairs of instances that fit, once each.
QVector<OrderCheck::Cause> OrderCheck::causes(int property, Moment moment) const
{
    QVector<Cause> causes;
    const auto add = [&](const Cause &cause) {
        const bool isKnown =
            std::any_of(causes.cbegin(), causes.cend(), [&cause](const Cause &known) {
                return std::minmax(known.first, known.second)
                    == std::minmax(cause.first, cause.second);
            });
        if (!isKnown && decides(cause, property, moment)) {
            causes.append(cause);
        }
    };
    const QVector<int> writers = sortedInstances(m_writers.value(property).instances);
    for (int i = 0; i < writers.size(); ++i) {
        for (int j = i + 1; j < writers.size(); ++j) {
            add({writers.at(i), writers.at(j), -1});
        }
    }
    for (const int writer : writers) {
        QVector<QPair<QString, int>> reads;
        const QSet<int> known = m_reads.value(writer);
        for (const int read : known) {
            if (m_writers.contains(read)) {
                reads.append({urlOf(read), read});
            }
        }
        std::sort(reads.begin(), reads.end());
        for (const auto &read : qAsConst(reads)) {
            const QVector<int> others = sortedInstances(m_writers.value(read.second).instances);
            for (const int other : others) {
                if (other != writer) {
                    add({other, writer, read.second});
                }
            }
        }
    }
    return causes;
}

/// The instances on whose order the property can depend; empty when they are too many to tell.
QVector<int> OrderCheck::involved(int property) const
{
    QSet<int> instances = m_writers.value(property).instances;
    QVector<int> open(instances.cbegin(), instances.cend());
    while (!open.isEmpty() && instances.size() <= s_shownNames) {
        const int instance = open.takeLast();
        const QSet<int> reads = m_reads.value(instance);
        for (const int read : reads) {
            const auto writers = m_writers.constFind(read);
            const QVariant value = m_trials.constFirst().reads.value({instance, read});
            const bool varies =
                std::any_of(m_trials.cbegin(), m_trials.cend(), [&](const Trial &trial) {
                    return !areEqual(trial.reads.value({instance, read}), value);
                });
            if (writers == m_writers.constEnd() || !varies) {
                continue;
            }
            for (const int writer : writers->instances) {
                if (!instances.contains(writer)) {
                    instances.insert(writer);
                    open.append(writer);
                }
            }
        }
    }
    return instances.size() <= s_shownNames ? sortedInstances(instances) : QVector<int>();
}

QString OrderCheck::urlOf(int property) const
{
    const Property &parts = m_properties.at(property);
    return m_urls.urlOf(parts.tree, parts.path) + QLatin1Char(':') + parts.key;
}

QString OrderCheck::nameOf(int instance) const
{
    return QStringLiteral("%1 (%2)").arg(m_instances.at(instance).name,
                                         m_instances.at(instance).script);
}

/// The scripts behind the names, those of one script together; of many, some.
QString OrderCheck::namesOf(const QVector<int> &instances) const
{
    QStringList scripts;
    QHash<QString, QStringList> names; // by script
    const QVector<int> shown = instances.mid(0, s_shownNames);
    for (const int instance : shown) {
        const Instance &parts = m_instances.at(instance);
        if (!names.contains(parts.script)) {
            scripts.append(parts.script);
        }
        names[parts.script].append(parts.name);
    }
    QStringList texts;
    for (const QString &script : qAsConst(scripts)) {
        texts.append(QStringLiteral("%1 (%2)").arg(listed(names.value(script)), script));
    }
    const int more = instances.size() - s_shownNames;
    if (more > 0) {
        texts.append(QStringLiteral("%1 more").arg(more));
    }
    return listed(texts);
}

QString OrderCheck::causeText(const Cause &cause, int property, Moment moment) const
{
    QVariant before;
    QVariant after;
    for (const Trial &trial : m_trials) {
        const bool isBefore =
            trial.positions.value(cause.first) < trial.positions.value(cause.second);
        (isBefore ? before : after) = valueOf(property, trial, moment);
    }
    // Of maps and lists, the first that differs inside.
    const Property &parts = m_properties.at(property);
    const auto difference =
        PropertyChange{parts.path, parts.key, before, after}.flattened().constFirst();
    const QString reason = cause.read < 0
        ? QStringLiteral("%1 both write it")
              .arg(namesOf(sortedInstances({cause.first, cause.second})))
        : QStringLiteral("%1 reads %2, which %3 writes")
              .arg(nameOf(cause.second), urlOf(cause.read), nameOf(cause.first));
    return QStringLiteral("%1:%2 is %3 when %4 runs before %5, %6 when after it: %7")
        .arg(m_urls.urlOf(parts.tree, parts.path), difference.key, valueText(difference.oldValue),
             m_instances.at(cause.first).name, m_instances.at(cause.second).name,
             valueText(difference.newValue), reason);
}

QString OrderCheck::varietyText(int property, Moment moment) const
{
    const QVector<QVariant> values = distinctValues(property, moment);
    const QVector<int> instances = involved(property);
    QStringList texts;
    const QVector<QVariant> shown = values.mid(0, s_shownValues);
    for (const QVariant &value : shown) {
        QString text = valueText(value);
        if (instances.size() > 1) {
            const Trial &trial =
                *std::find_if(m_trials.cbegin(), m_trials.cend(), [&](const Trial &candidate) {
                    return areEqual(valueOf(property, candidate, moment), value);
                });
            QStringList order;
            for (const int instance : trial.order) {
                if (instances.contains(instance)) {
                    order.append(m_instances.at(instance).name);
                }
            }
            text += QStringLiteral(" in the order ") + order.join(QStringLiteral(", "));
        }
        texts.append(text);
    }
    const int more = values.size() - s_shownValues;
    const QVector<int> writers = sortedInstances(m_writers.value(property).instances);
    return QStringLiteral("%1 varies with the order: %2%3; %4 %5 it")
        .arg(urlOf(property), texts.join(QStringLiteral("; ")),
             more > 0 ? QStringLiteral("; and %1 more").arg(more) : QString(), namesOf(writers),
             writers.size() == 1 ? QStringLiteral("writes") : QStringLiteral("write"));
}

QString OrderCheck::ordersText(int count) const
{
    return count == m_trials.size()
        ? QStringLiteral(" in every order")
        : QStringLiteral(" in %1 of %2 orders").arg(count).arg(m_trials.size());
}

} // namespace ConfigScript
