#include "OrderFindings.h"

#include "filehost/JsonValue.h"
#include "runner/record/PropertyChange.h"

#include <algorithm>
#include <tuple>

namespace {

constexpr int s_shownNames = 4;
constexpr int s_shownValues = 4;
constexpr int s_shownText = 80; ///< characters of a value

QString shortText(const QVariant &value)
{
    if (!value.isValid()) {
        return QStringLiteral("missing");
    }
    const QString text = QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Spaced));
    return text.size() <= s_shownText ? text : text.left(s_shownText) + QStringLiteral("…");
}

/// "a", "a and b", "a, b and c"
QString listed(const QStringList &texts)
{
    return texts.size() < 2 ? texts.join(QString())
                            : texts.mid(0, texts.size() - 1).join(QStringLiteral(", "))
            + QStringLiteral(" and ") + texts.constLast();
}

} // namespace

class OrderFindings::Groups
{
public:
    /// @param scripts the first is the place of the finding
    void add(Finding::Severity severity, Finding::Kind kind, const QStringList &scripts,
             const QString &message)
    {
        const QString key = QString::number(int(severity)) + Finding{severity, {}, kind}.name()
            + QLatin1Char('\n') + scripts.join(QLatin1Char('\n'));
        // What is found may be counted up.
        const auto known = m_groups.find(key); // clazy:exclude=detaching-member
        if (known == m_groups.end()) {
            m_groups.insert(key, {{severity, {scripts.constFirst(), 0, 0, message}, kind}, 0});
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

OrderFindings::OrderFindings(const OrderRecord &record)
    : m_record(record)
    , m_causes(record)
{
}

QVector<Finding> OrderFindings::findings() const
{
    Groups groups;
    const QVector<int> properties = m_record.writtenProperties();
    for (const int property : properties) {
        findOrderDependence(property, groups);
        findUnsettled(property, groups);
        findTwoWriters(property, groups);
    }
    QVector<Finding> findings = groups.findings();
    if (m_record.instances().size() > 1 && m_record.trials().size() > 1
        && m_record.distinctOrders() == 1) {
        findings.append(
            Finding::of(Finding::Kind::SameOrder,
                        {QStringLiteral("configuration/manifest.json"), 0, 0,
                         QStringLiteral("all %1 orders were the same, so nothing is known of "
                                        "others: %2")
                             .arg(QString::number(m_record.trials().size()),
                                  qEnvironmentVariableIsSet("QT_HASH_SEED")
                                      ? QStringLiteral("the environment variable QT_HASH_SEED "
                                                       "fixes it; unset it")
                                      : QStringLiteral("try again, or more --orders"))}));
    }
    findings += failures();
    std::stable_sort(findings.begin(), findings.end(), [](const Finding &a, const Finding &b) {
        return std::make_tuple(a.place.file, a.place.line, a.name(), a.severity)
            < std::make_tuple(b.place.file, b.place.line, b.name(), b.severity);
    });
    return findings;
}

QVector<Finding> OrderFindings::failures() const
{
    QVector<Finding> findings;
    for (const OrderRecord::Failure &failure : m_record.failures()) {
        Diagnostic place = failure.place;
        QStringList instances = failure.instances.values();
        instances.sort();
        const int more = instances.size() - 1;
        if (!instances.isEmpty()) {
            place.message = instances.constFirst()
                + (more > 0 ? QStringLiteral(" (and %1 more)").arg(more) : QString())
                + QStringLiteral(": ") + place.message;
        }
        place.message += QLatin1Char(',') + ordersText(failure.orders.size());
        findings.append(Finding::of(failure.kind, place));
    }
    return findings;
}

void OrderFindings::findOrderDependence(int property, Groups &groups) const
{
    const bool isSettledAlike = m_record.distinctValues(property, Moment::LastRound).size() < 2;
    const bool isUnsettled = m_record.stillChanges(property);
    const Moment moment = isSettledAlike || isUnsettled ? Moment::FirstRound : Moment::LastRound;
    if (m_record.distinctValues(property, moment).size() < 2) {
        return;
    }
    const QVector<Cause> known = m_causes.of(property, moment);
    QStringList scripts;
    QString message;
    if (known.size() == 1) {
        const Cause &cause = known.constFirst();
        scripts = QStringList{m_record.instances().at(cause.second).script,
                              m_record.instances().at(cause.first).script};
        message = causeText(cause, property, moment);
    } else {
        scripts = scriptsOf(writersOf(property));
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
        for (const Trial &trial : m_record.trials()) {
            rounds = std::max(rounds, m_record.roundsUntilSettled(property, trial));
        }
        message += QStringLiteral("; after %1 runs it is %2 in every order")
                       .arg(QString::number(rounds),
                            shortText(m_record.valueOf(property, m_record.trials().constFirst(),
                                                       Moment::LastRound)));
    }
    groups.add(moment == Moment::LastRound ? Finding::Severity::Error : Finding::Severity::Warning,
               Finding::Kind::OrderDependent, scripts, message);
}

void OrderFindings::findUnsettled(int property, Groups &groups) const
{
    const Trial *longest = nullptr;
    int count = 0;
    const bool isEndless = m_record.stillChanges(property);
    const int enough = isEndless ? OrderRecord::maximumRounds : 2;
    for (const Trial &trial : m_record.trials()) {
        const int rounds = m_record.roundsUntilSettled(property, trial);
        if (rounds >= enough) {
            ++count;
            if (!longest || rounds > m_record.roundsUntilSettled(property, *longest)) {
                longest = &trial;
            }
        }
    }
    if (!longest) {
        return;
    }
    const int rounds = m_record.roundsUntilSettled(property, *longest);
    QStringList values;
    for (int round = 0; round < rounds; ++round) {
        values.append(shortText(longest->values.value(property).at(round)));
    }
    const QVector<int> writers = writersOf(property);
    const QStringList scripts = scriptsOf(writers);
    const QString what = isEndless
        ? QStringLiteral("still changes after %1 runs,").arg(rounds)
        : QStringLiteral("settles after %1 runs, after more than one").arg(rounds);
    groups.add(
        isEndless ? Finding::Severity::Error : Finding::Severity::Warning,
        Finding::Kind::NotSettling, scripts,
        m_record.urlOf(property) + QLatin1Char(' ') + what + ordersText(count)
            + QStringLiteral(": %1; %2 %3 it")
                  .arg(values.join(QStringLiteral(", ")), namesOf(writers),
                       writers.size() == 1 ? QStringLiteral("writes") : QStringLiteral("write")));
}

void OrderFindings::findTwoWriters(int property, Groups &groups) const
{
    const OrderRecord::Writers known = m_record.writersOf(property);
    if (known.instances.size() < 2) {
        return;
    }
    const QVector<int> writers = writersOf(property);
    QStringList scripts = scriptsOf(writers);
    scripts.sort();
    groups.add(Finding::Severity::Warning, Finding::Kind::TwoWriters, scripts,
               QStringLiteral("%1 is written by %2, with %3")
                   .arg(m_record.urlOf(property), namesOf(writers),
                        known.areAtOdds ? QStringLiteral("different values")
                                        : QStringLiteral("equal values")));
}

QVector<int> OrderFindings::writersOf(int property) const
{
    return m_record.sortedInstances(m_record.writersOf(property).instances);
}

/// Once each, in the order of the instances.
QStringList OrderFindings::scriptsOf(const QVector<int> &instances) const
{
    QStringList scripts;
    for (const int instance : instances) {
        scripts.append(m_record.instances().at(instance).script);
    }
    scripts.removeDuplicates();
    return scripts;
}

QString OrderFindings::nameOf(int instance) const
{
    return QStringLiteral("%1 (%2)").arg(m_record.instances().at(instance).name,
                                         m_record.instances().at(instance).script);
}

/// The scripts behind the names, those of one script together; of many, some.
QString OrderFindings::namesOf(const QVector<int> &instances) const
{
    QStringList scripts;
    QHash<QString, QStringList> names; // by script
    const QVector<int> shown = instances.mid(0, s_shownNames);
    for (const int instance : shown) {
        const OrderRecord::Instance &parts = m_record.instances().at(instance);
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

QString OrderFindings::causeText(const Cause &cause, int property, Moment moment) const
{
    QVariant before;
    QVariant after;
    for (const Trial &trial : m_record.trials()) {
        const bool isBefore =
            trial.positions.value(cause.first) < trial.positions.value(cause.second);
        (isBefore ? before : after) = m_record.valueOf(property, trial, moment);
    }
    // Of maps and lists, the first that differs inside.
    const OrderRecord::Property &parts = m_record.property(property);
    const auto difference =
        PropertyChange{parts.path, parts.key, before, after}.flattened().constFirst();
    const QString reason = cause.read < 0
        ? QStringLiteral("%1 both write it")
              .arg(namesOf(m_record.sortedInstances({cause.first, cause.second})))
        : QStringLiteral("%1 reads %2, which %3 writes")
              .arg(nameOf(cause.second), m_record.urlOf(cause.read), nameOf(cause.first));
    // The URL with the part of the key that differs.
    const QString url = m_record.urlOf(property);
    return QStringLiteral("%1%2 is %3 when %4 runs before %5, %6 when after it: %7")
        .arg(url.left(url.size() - parts.key.size()), difference.key,
             shortText(difference.oldValue), m_record.instances().at(cause.first).name,
             m_record.instances().at(cause.second).name, shortText(difference.newValue), reason);
}

QString OrderFindings::varietyText(int property, Moment moment) const
{
    const QVector<QVariant> values = m_record.distinctValues(property, moment);
    const QVector<int> instances = m_causes.involved(property, s_shownNames);
    QStringList texts;
    const QVector<QVariant> shown = values.mid(0, s_shownValues);
    for (const QVariant &value : shown) {
        QString text = shortText(value);
        if (instances.size() > 1) {
            const Trial &trial = *std::find_if(
                m_record.trials().cbegin(), m_record.trials().cend(), [&](const Trial &candidate) {
                    return JsonValue::areEqual(m_record.valueOf(property, candidate, moment),
                                               value);
                });
            QStringList order;
            for (const int instance : trial.order) {
                if (instances.contains(instance)) {
                    order.append(m_record.instances().at(instance).name);
                }
            }
            text += QStringLiteral(" in the order ") + order.join(QStringLiteral(", "));
        }
        texts.append(text);
    }
    const int more = values.size() - s_shownValues;
    const QVector<int> writers = writersOf(property);
    return QStringLiteral("%1 varies with the order: %2%3; %4 %5 it")
        .arg(m_record.urlOf(property), texts.join(QStringLiteral("; ")),
             more > 0 ? QStringLiteral("; and %1 more").arg(more) : QString(), namesOf(writers),
             writers.size() == 1 ? QStringLiteral("writes") : QStringLiteral("write"));
}

QString OrderFindings::ordersText(int count) const
{
    return count == m_record.trials().size()
        ? QStringLiteral(" in every order")
        : QStringLiteral(" in %1 of %2 orders").arg(count).arg(m_record.trials().size());
}
