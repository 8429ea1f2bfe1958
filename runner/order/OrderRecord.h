#pragma once

#include "filehost/Project.h"
#include "runner/check/Finding.h"
#include "runner/record/PropertyId.h"
#include "runner/record/RunRecord.h"
#include "runner/record/TreeUrls.h"

#include <QHash>
#include <QMap>
#include <QPair>
#include <QSet>
#include <QString>
#include <QVariant>
#include <QVector>

/**
 * What a project's dependency scripts did in several orders, and in each of them several times.
 * Properties, instances and orders are numbered from 0.
 */
class OrderRecord
{
public:
    /// How often scripts run in one order, at most, to see whether they settle.
    static constexpr int maximumRounds = 5;

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

    /// What came of one order.
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
        Finding::Kind kind = Finding::Kind::ScriptFailed;
        Diagnostic place;
        QSet<QString> instances;
        QSet<int> orders;
    };

    enum class Moment { FirstRound, LastRound };

    /// @param project that the scripts ran in
    explicit OrderRecord(const Project &project);

    /**
     * Takes what the scripts did in one more order.
     * @param rounds not empty; the first on the project as it is, each other one, in the same order
     *        of instances, on what the one before left, until one changed nothing or is known to
     *        do so. With Recording::Accesses.
     */
    void add(const QVector<RunRecord> &rounds);

    int distinctOrders() const;
    const QVector<Trial> &trials() const { return m_trials; } ///< one for each order
    const QVector<Instance> &instances() const { return m_instances; }
    const Property &property(int property) const { return m_properties.at(property); }
    const QMap<QString, Failure> &failures() const { return m_failures; }

    Writers writersOf(int property) const { return m_writers.value(property); }

    /// The properties that an instance read in the first rounds and that anybody wrote, by URL.
    QVector<int> sharedReadsOf(int instance) const;

    /// Those that anybody wrote, by URL.
    QVector<int> writtenProperties() const;

    QVector<int> sortedInstances(const QSet<int> &instances) const; ///< by name

    QString urlOf(int property) const; ///< with the key

    QVariant valueOf(int property, const Trial &trial, Moment moment) const;
    QVector<QVariant> distinctValues(int property, Moment moment) const;

    /// The last round of the order that changed the property, from 1; 0 when none did.
    int roundsUntilSettled(int property, const Trial &trial) const;
    bool stillChanges(int property) const;

private:
    int indexOf(const FileTree::Identity &tree, const QString &path, const QString &key);
    int indexOf(const ScriptRun &run);
    void addRound(const RunRecord &record, int round, Trial &trial);
    void addAccesses(const ScriptRun &run, bool isFirst, QHash<int, QMap<int, QVariant>> &written,
                     Trial &trial);
    void addFailures(const RunRecord &record);
    void addFailure(Finding::Kind kind, const Diagnostic &place, const QString &instance);
    QVector<int> sortedByUrl(const QVector<int> &properties) const;

    const Project m_project;
    const TreeUrls m_urls;
    QVector<Property> m_properties;
    QHash<PropertyId, int> m_propertyIndices;
    QVector<Instance> m_instances;
    QHash<QString, int> m_instanceIndices;
    QVector<Trial> m_trials;
    QHash<int, QVariant> m_originals; ///< of the properties that changed
    QHash<int, Writers> m_writers; ///< by property
    QHash<int, QSet<int>> m_reads; ///< of an instance, in the first rounds
    QMap<QString, Failure> m_failures; ///< by what they say, for their order
};
