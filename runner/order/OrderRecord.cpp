#include "OrderRecord.h"

#include "filehost/JsonValue.h"

#include <algorithm>

OrderRecord::OrderRecord(const Project &project)
    : m_project(project)
    , m_urls(m_project)
{
}

int OrderRecord::distinctOrders() const
{
    QSet<QVector<int>> orders;
    for (const Trial &trial : m_trials) {
        orders.insert(trial.order);
    }
    return orders.size();
}

void OrderRecord::add(const QVector<RunRecord> &rounds)
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

void OrderRecord::addRound(const RunRecord &record, int round, Trial &trial)
{
    QHash<int, QMap<int, QVariant>> written; // by property, then instance
    for (const ScriptRun &run : record.runs) {
        addAccesses(run, round == 0, written, trial);
    }
    for (auto writes = written.cbegin(); writes != written.cend(); ++writes) {
        Writers &writers = m_writers[writes.key()]; // clazy:exclude=detaching-member
        for (auto write = writes->cbegin(); write != writes->cend(); ++write) {
            writers.instances.insert(write.key());
            writers.areAtOdds = writers.areAtOdds
                || !JsonValue::areEqual(write.value(), writes->constBegin().value());
        }
    }
    for (const ChangedTree &tree : record.trees) {
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

void OrderRecord::addAccesses(const ScriptRun &run, bool isFirst,
                              QHash<int, QMap<int, QVariant>> &written, Trial &trial)
{
    const int instance = indexOf(run);
    for (const TreeAccess &access : run.accesses) {
        const int property = indexOf(access.tree, access.path, access.key);
        if (access.kind != TreeAccess::Kind::Read) {
            // A write into the own copy is not saved: no other script sees it.
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

void OrderRecord::addFailures(const RunRecord &record)
{
    for (const ScriptRun &run : record.runs) {
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
        addFailure(Finding::Kind::ScriptFailed, place, run.instance);
    }
    for (const OmittedRun &omitted : record.notRun) {
        addFailure(Finding::Kind::ScriptFailed,
                   {QStringLiteral("configuration/%1.json").arg(omitted.instance), 0, 0,
                    QStringLiteral("did not run: ") + omitted.reason},
                   omitted.instance);
    }
    for (const ChangedTree &tree : record.trees) {
        if (!tree.error.isEmpty()) {
            QString reason = tree.error;
            reason.remove(tree.identity.filePath + QStringLiteral(": "));
            addFailure(Finding::Kind::NotSaved,
                       {m_project.relativePath(tree.identity.filePath), 0, 0, reason}, QString());
        }
    }
}

void OrderRecord::addFailure(Finding::Kind kind, const Diagnostic &place, const QString &instance)
{
    Failure &failure =
        m_failures[Finding::of(kind, place).toString()]; // clazy:exclude=detaching-member
    failure.kind = kind;
    failure.place = place;
    if (!instance.isEmpty()) {
        failure.instances.insert(instance);
    }
    failure.orders.insert(m_trials.size());
}

int OrderRecord::indexOf(const FileTree::Identity &tree, const QString &path, const QString &key)
{
    const PropertyId name{tree.filePath, path, key};
    const auto known = m_propertyIndices.constFind(name);
    if (known != m_propertyIndices.constEnd()) {
        return *known;
    }
    m_properties.append({tree, path, key});
    return *m_propertyIndices.insert(name, m_properties.size() - 1);
}

int OrderRecord::indexOf(const ScriptRun &run)
{
    const auto known = m_instanceIndices.constFind(run.instance);
    if (known != m_instanceIndices.constEnd()) {
        return *known;
    }
    m_instances.append({run.instance, run.script});
    return *m_instanceIndices.insert(run.instance, m_instances.size() - 1);
}

QVector<int> OrderRecord::sortedByUrl(const QVector<int> &properties) const
{
    QVector<QPair<QString, int>> named;
    for (const int property : properties) {
        named.append({urlOf(property), property});
    }
    std::sort(named.begin(), named.end());
    QVector<int> sorted;
    for (const auto &property : qAsConst(named)) {
        sorted.append(property.second);
    }
    return sorted;
}

QVector<int> OrderRecord::writtenProperties() const
{
    QVector<int> properties;
    for (auto writers = m_writers.keyBegin(); writers != m_writers.keyEnd(); ++writers) {
        properties.append(*writers);
    }
    return sortedByUrl(properties);
}

QVector<int> OrderRecord::sharedReadsOf(int instance) const
{
    QVector<int> properties;
    const QSet<int> reads = m_reads.value(instance);
    for (const int read : reads) {
        if (m_writers.contains(read)) {
            properties.append(read);
        }
    }
    return sortedByUrl(properties);
}

QVector<int> OrderRecord::sortedInstances(const QSet<int> &instances) const
{
    QVector<int> sorted(instances.cbegin(), instances.cend());
    std::sort(sorted.begin(), sorted.end(),
              [this](int a, int b) { return m_instances.at(a).name < m_instances.at(b).name; });
    return sorted;
}

QString OrderRecord::urlOf(int property) const
{
    const Property &parts = m_properties.at(property);
    return m_urls.urlOf(parts.tree, parts.path) + QLatin1Char(':') + parts.key;
}

QVariant OrderRecord::valueOf(int property, const Trial &trial, Moment moment) const
{
    const auto values = trial.values.constFind(property);
    if (values == trial.values.constEnd()) {
        return m_originals.value(property);
    }
    return moment == Moment::FirstRound ? values->constFirst() : values->constLast();
}

QVector<QVariant> OrderRecord::distinctValues(int property, Moment moment) const
{
    QVector<QVariant> values;
    for (const Trial &trial : m_trials) {
        const QVariant value = valueOf(property, trial, moment);
        const bool isKnown =
            std::any_of(values.cbegin(), values.cend(), [&value](const QVariant &known) {
                return JsonValue::areEqual(known, value);
            });
        if (!isKnown) {
            values.append(value);
        }
    }
    return values;
}

int OrderRecord::roundsUntilSettled(int property, const Trial &trial) const
{
    const QVector<QVariant> values = trial.values.value(property);
    int round = values.size();
    while (round > 1 && JsonValue::areEqual(values.at(round - 1), values.at(round - 2))) {
        --round;
    }
    return round == 1 && JsonValue::areEqual(values.constFirst(), m_originals.value(property))
        ? 0
        : round;
}

bool OrderRecord::stillChanges(int property) const
{
    return std::any_of(m_trials.begin(), m_trials.end(), [&](const Trial &trial) {
        return roundsUntilSettled(property, trial) >= maximumRounds;
    });
}
