#pragma once

#include "host/JsonDataIteratorKeyComparator.h"

#include <QJsonArray>
#include <QJsonValue>

class JsonDataIterator
{
public:
    JsonDataIterator(const JsonDataIteratorKeyComparator &comparator);

    void iterate(const QJsonArray &array);
    QJsonValue getResult() const;

private:
    JsonDataIteratorKeyComparator m_comparator;
    QJsonValue m_found = QJsonValue::Undefined;
};
