#pragma once

#include "runner/check/Finding.h"
#include "runner/order/OrderCauses.h"
#include "runner/order/OrderRecord.h"

#include <QString>
#include <QStringList>
#include <QVector>

/**
 * Tells from what a project's scripts did, in several orders, where the order matters: results that
 * depend on it, values that do not settle when all scripts run again, properties that more than one
 * instance writes.
 */
class OrderFindings
{
public:
    /// @param record outlives this object
    explicit OrderFindings(const OrderRecord &record);

    /// By file and line; the files relative to the project.
    QVector<Finding> findings() const;

private:
    using Cause = OrderCauses::Cause;
    using Moment = OrderRecord::Moment;
    using Trial = OrderRecord::Trial;

    /// Findings of the same kind about the same scripts become one.
    class Groups;

    QVector<Finding> failures() const;
    void findOrderDependence(int property, Groups &groups) const;
    void findUnsettled(int property, Groups &groups) const;
    void findTwoWriters(int property, Groups &groups) const;

    QVector<int> writersOf(int property) const;
    QStringList scriptsOf(const QVector<int> &instances) const;
    QString nameOf(int instance) const;
    QString namesOf(const QVector<int> &instances) const;
    QString causeText(const Cause &cause, int property, Moment moment) const;
    QString varietyText(int property, Moment moment) const;
    QString ordersText(int count) const;

    const OrderRecord &m_record;
    const OrderCauses m_causes;
};
