#include "OrderCauses.h"

#include "filehost/JsonValue.h"

#include <algorithm>

namespace {

bool contains(const QVector<QVariant> &values, const QVariant &value)
{
    return std::any_of(values.begin(), values.end(), [&value](const QVariant &other) {
        return JsonValue::areEqual(other, value);
    });
}

} // namespace

OrderCauses::OrderCauses(const OrderRecord &record)
    : m_record(record)
{
}

/// Whether what came of every order fits that the order of these two decides.
bool OrderCauses::decides(const Cause &cause, int property, OrderRecord::Moment moment) const
{
    QVector<QVariant> values[2]; // when the first one ran before the second, and after it
    QVector<QVariant> reads[2]; // by the second one
    for (const OrderRecord::Trial &trial : m_record.trials()) {
        const int first = trial.positions.value(cause.first, -1);
        const int second = trial.positions.value(cause.second, -1);
        if (first < 0 || second < 0) {
            return false;
        }
        const int side = first < second ? 0 : 1;
        const QVariant value = m_record.valueOf(property, trial, moment);
        if (!contains(values[side], value)) {
            values[side].append(value);
        }
        reads[side].append(trial.reads.value({cause.second, cause.read}));
    }
    const bool isDecided = values[0].size() == 1 && values[1].size() == 1
        && !JsonValue::areEqual(values[0].constFirst(), values[1].constFirst());
    // What the script computes can only follow from what it read.
    return isDecided
        && (cause.read < 0
            || std::none_of(reads[0].begin(), reads[0].end(),
                            [&reads](const QVariant &value) { return contains(reads[1], value); }));
}

QVector<OrderCauses::Cause> OrderCauses::of(int property, OrderRecord::Moment moment) const
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
    const QVector<int> writers = m_record.sortedInstances(m_record.writersOf(property).instances);
    for (int i = 0; i < writers.size(); ++i) {
        for (int j = i + 1; j < writers.size(); ++j) {
            add({writers.at(i), writers.at(j), -1});
        }
    }
    for (const int writer : writers) {
        const QVector<int> reads = m_record.sharedReadsOf(writer);
        for (const int read : reads) {
            const QVector<int> others =
                m_record.sortedInstances(m_record.writersOf(read).instances);
            for (const int other : others) {
                if (other != writer) {
                    add({other, writer, read});
                }
            }
        }
    }
    return causes;
}

QVector<int> OrderCauses::involved(int property, int most) const
{
    const QVector<OrderRecord::Trial> &trials = m_record.trials();
    QSet<int> instances = m_record.writersOf(property).instances;
    QVector<int> open(instances.cbegin(), instances.cend());
    while (!open.isEmpty() && instances.size() <= most) {
        const int instance = open.takeLast();
        const QVector<int> reads = m_record.sharedReadsOf(instance);
        for (const int read : reads) {
            const QVariant value = trials.constFirst().reads.value({instance, read});
            const bool varies =
                std::any_of(trials.cbegin(), trials.cend(), [&](const OrderRecord::Trial &trial) {
                    return !JsonValue::areEqual(trial.reads.value({instance, read}), value);
                });
            if (!varies) {
                continue;
            }
            const QSet<int> writers = m_record.writersOf(read).instances;
            for (const int writer : writers) {
                if (!instances.contains(writer)) {
                    instances.insert(writer);
                    open.append(writer);
                }
            }
        }
    }
    return instances.size() <= most ? m_record.sortedInstances(instances) : QVector<int>();
}
