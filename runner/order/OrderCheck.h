#pragma once

#include "filehost/Project.h"
#include "runner/Finding.h"
#include "runner/RunReport.h"
#include "runner/TreeUrls.h"

#include <QHash>
#include <QMap>
#include <QPair>
#include <QSet>
#include <QString>
#include <QVariant>
#include <QVector>

namespace ConfigScript {

/**
 * Tells from what a project's scripts did, in several orders, where the order matters: results that
 * depend on it, values that do not settle when all scripts run again, properties that more than one
 * instance writes.
 */
class OrderCheck
{
public:
    /// How often scripts run in one order, at most, to see whether they settle.
    static constexpr int maximumRounds = 5;

    /// @param project that the scripts ran in
    explicit OrderCheck(const Project &project);

    /**
     * Takes what the scripts did in one more order.
     * @param rounds not empty; the first on the project as it is, each other one, in the same order
     *        of instances, on what the one before left, until one changed nothing or is known to
     *        do so. With Recording::Accesses.
     */
    void add(const QVector<RunReport> &rounds);

    int orders() const { return m_trials.size(); }
    int distinctOrders() const;
    int instances() const { return m_instances.size(); }

    /// By file and line; the files relative to the project.
    QVector<Finding> findings() const;

private:
    struct Property
    {
        FileTree::Identity tree;
        QString path;
        QString key;
    };

    struct Instance
    {
        QString name;
        QString script;
    };

    /// What came of one order. Properties and instances are indices.
    struct Trial
    {
        QVector<int> order;
        QHash<int, int> positions; ///< of instances in the order
        int rounds = 0;
        /// Of the properties that changed: the value after each round.
        QHash<int, QVector<QVariant>> values;
        QHash<QPair<int, int>, QVariant> reads; ///< in the first round, by instance and property
    };

    /// Who wrote a property, and whether two of them wrote different values in one round.
    struct Writers
    {
        QSet<int> instances;
        bool areAtOdds = false;
    };

    /// A script that failed, or an instance that could not run, or a file not saved.
    struct Failure
    {
        Finding finding;
        QSet<QString> instances;
        QSet<int> orders;
    };

    /// Two instances whose order decides on the value of a property.
    struct Cause
    {
        int first;
        int second;
        int read; ///< the property that the second one reads and the first one writes; -1 for none:
                  ///< both write the property itself
    };

    /// Findings of the same kind about the same scripts become one.
    class Groups;

    enum class Moment { FirstRound, LastRound };

    int indexOf(const FileTree::Identity &tree, const QString &path, const QString &key);
    int indexOf(const ScriptRun &run);
    void addRound(const RunReport &report, int round, Trial &trial);
    void addAccesses(const ScriptRun &run, bool isFirst, QHash<int, QMap<int, QVariant>> &written,
                     Trial &trial);
    void addFailures(const RunReport &report);
    void addFailure(Finding::Severity severity, const QString &name, const Diagnostic &place,
                    const QString &instance);

    QVector<int> sortedProperties() const;
    QVector<int> sortedInstances(const QSet<int> &instances) const;
    QVariant valueOf(int property, const Trial &trial, Moment moment) const;
    QVector<QVariant> distinctValues(int property, Moment moment) const;
    int roundsUntilSettled(int property, const Trial &trial) const;
    bool stillChanges(int property) const;
    bool decides(const Cause &cause, int property, Moment moment) const;
    QVector<Cause> causes(int property, Moment moment) const;
    QVector<int> involved(int property) const;

    void findOrderDependence(int property, Groups &groups) const;
    void findUnsettled(int property, Groups &groups) const;
    void findTwoWriters(int property, Groups &groups) const;

    QString urlOf(int property) const;
    QString nameOf(int instance) const;
    QString namesOf(const QVector<int> &instances) const;
    QString causeText(const Cause &cause, int property, Moment moment) const;
    QString varietyText(int property, Moment moment) const;
    QString ordersText(int count) const;

    const Project m_project;
    const TreeUrls m_urls;
    QVector<Property> m_properties;
    QHash<QPair<QString, QPair<QString, QString>>, int> m_propertyIndices;
    QVector<Instance> m_instances;
    QHash<QString, int> m_instanceIndices;
    QVector<Trial> m_trials;
    QHash<int, QVariant> m_originals; ///< of the properties that changed
    QHash<int, Writers> m_writers; ///< by property
    QHash<int, QSet<int>> m_reads; ///< of an instance, in the first rounds
    QMap<QString, Failure> m_failures;
};

} // namespace ConfigScript
