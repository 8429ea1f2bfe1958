#include "host/JsonDataIterator.h"

#include "memoryhost/CallLog.h"
#include "support/CallText.h"

#include <QJsonObject>

JsonDataIteratorKeyComparator::JsonDataIteratorKeyComparator(const QString &key)
    : m_acceptedKey(key)
{
    CallLog::add(callText("JsonDataIteratorKeyComparator", key));
}

bool JsonDataIteratorKeyComparator::accepts(const QString &key) const
{
    return key == m_acceptedKey;
}

JsonDataIterator::JsonDataIterator(const JsonDataIteratorKeyComparator &comparator)
    : m_comparator(comparator)
{
    CallLog::add(callText("JsonDataIterator"));
}

void JsonDataIterator::iterate(const QJsonArray &array)
{
    CallLog::add(callText("iterate", array));
    QJsonArray level = array;
    while (!level.isEmpty()) {
        QJsonArray nextLevel;
        for (const QJsonValue &value : qAsConst(level)) {
            const QJsonArray elements = value.toArray();
            for (const QJsonValue &element : elements) {
                nextLevel.append(element);
            }
            const QJsonObject members = value.toObject();
            for (auto member = members.begin(); member != members.end(); ++member) {
                if (m_comparator.accepts(member.key())) {
                    m_found = member.value();
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
    CallLog::add(callText("getResult"));
    return m_found;
}
