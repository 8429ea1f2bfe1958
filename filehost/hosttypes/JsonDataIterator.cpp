#include "host/JsonDataIterator.h"

#include <QJsonObject>

JsonDataIteratorKeyComparator::JsonDataIteratorKeyComparator(const QString &key)
    : m_key(key)
{
}

JsonDataIterator::JsonDataIterator(const JsonDataIteratorKeyComparator &comparator)
    : m_comparator(comparator)
    , m_result(QJsonValue::Undefined)
{
}

void JsonDataIterator::iterate(const QJsonArray &array)
{
    m_result = QJsonValue(QJsonValue::Undefined);
    search(array);
}

QJsonValue JsonDataIterator::getResult() const
{
    return m_result;
}

// Depth first; an object's own member goes before those of its members' values.
bool JsonDataIterator::search(const QJsonValue &value)
{
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        for (const QJsonValue &element : array) {
            if (search(element)) {
                return true;
            }
        }
    } else if (value.isObject()) {
        const QJsonObject object = value.toObject();
        const auto member = object.constFind(m_comparator.m_key);
        if (member != object.constEnd()) {
            m_result = member.value();
            return true;
        }
        for (const QJsonValue &element : object) {
            if (search(element)) {
                return true;
            }
        }
    }
    return false;
}
