#pragma once

#include "runner/order/OrderRecord.h"

#include <QVector>

/// Finds out on which instances' order the value of a property depends.
class OrderCauses
{
public:
    /// Two instances whose order decides on the value of a property.
    struct Cause
    {
        int first;
        int second;
        int read; ///< the property that the second one reads and the first one writes; -1 for none:
                  ///< both write the property itself
    };

    /// @param record outlives this object
    explicit OrderCauses(const OrderRecord &record);

    /// The pairs of instances that fit what came of all orders, once each.
    QVector<Cause> of(int property, OrderRecord::Moment moment) const;

    /// The instances on whose order the property can depend, by name; empty when there are more
    /// than @p most.
    QVector<int> involved(int property, int most) const;

private:
    bool decides(const Cause &cause, int property, OrderRecord::Moment moment) const;

    const OrderRecord &m_record;
};
