#include "host/JsonDataIterator.h"

#include <QJsonObject>

JsonDataIterator::JsonDataIterator(const JsonDataIteratorKeyComparator &comparator)
    : m_comparator(comparator)
{
}

void JsonDataIterator::iterate(const QJsonArray &array)
{
    m_result = QJsonValue::Undefined;
    for (QJsonArray level = array; !level.isEmpty();) {
        QJsonArray nextLevel;
        for (const QJsonValue &value : qAsConst(level)) {
            const QJsonArray elements = value.toArray();
            for (const QJsonValue &element : elements) {
                nextLevel.append(element);
            }
            const QJsonObject members = value.toObject();
            for (auto member = members.begin(); member != members.end(); ++member) {
                if (m_comparator.accepts(member.key())) {
                    m_result = member.value();
                    return;
                }
                nextLevel.append(member.value());
            }
        }
        level = nextLevel;
    }
}

QJsonValue JsonDataIterator::getResult() const
{
    return m_result;
}
