#pragma once

#include "host/JsonDataIteratorKeyComparator.h"

#include <QJsonArray>
#include <QJsonValue>

/// Searches nested JSON data for the first member that the comparator accepts.
class JsonDataIterator
{
public:
    explicit JsonDataIterator(const JsonDataIteratorKeyComparator &comparator);

    void iterate(const QJsonArray &array);

    /// The value of the member found; undefined when there is none.
    QJsonValue getResult() const;

private:
    bool search(const QJsonValue &value);

    JsonDataIteratorKeyComparator m_comparator;
    QJsonValue m_result;
};
