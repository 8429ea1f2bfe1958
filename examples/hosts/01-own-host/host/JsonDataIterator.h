#pragma once

#include "host/JsonDataIteratorKeyComparator.h"

#include <QJsonArray>
#include <QJsonValue>

/// Finds the first member that the comparator accepts, those of outer objects before inner ones.
class JsonDataIterator
{
public:
    explicit JsonDataIterator(const JsonDataIteratorKeyComparator &comparator);

    void iterate(const QJsonArray &array);
    QJsonValue getResult() const;

private:
    JsonDataIteratorKeyComparator m_comparator;
    QJsonValue m_result = QJsonValue::Undefined;
};
