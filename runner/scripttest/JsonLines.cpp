#include "JsonLines.h"

#include "filehost/JsonValue.h"

#include <QVector>

namespace JsonLines {

namespace {

constexpr int s_width = 100;

struct Item
{
    QByteArray key; ///< of an object's member, with the colon
    QVariant value;
};

QVector<Item> itemsOf(const QVariant &value)
{
    QVector<Item> items;
    if (value.userType() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        for (auto member = map.cbegin(); member != map.cend(); ++member) {
            items.append({JsonValue::toText(member.key()) + ": ", *member});
        }
    } else if (value.userType() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            items.append({QByteArray(), element});
        }
    }
    return items;
}

/// @param used how much of the first line is taken
QByteArray toText(const QVariant &value, const QByteArray &indentation, int openLevels, int used)
{
    const QVector<Item> items = itemsOf(value);
    if (items.isEmpty() || openLevels <= 0) {
        QByteArray line = JsonValue::toText(value, JsonValue::Layout::Spaced);
        if (items.isEmpty() || used + line.size() <= s_width) {
            return line;
        }
    }
    const bool isObject = value.userType() == QMetaType::QVariantMap;
    const QByteArray inner = indentation + "  ";
    QByteArray text(isObject ? "{" : "[");
    for (int i = 0; i < items.size(); ++i) {
        const Item &item = items.at(i);
        text += (i > 0 ? ",\n" : "\n") + inner + item.key
            + toText(item.value, inner, openLevels - 1, inner.size() + item.key.size() + 1);
    }
    return text + '\n' + indentation + (isObject ? '}' : ']');
}

} // namespace

QByteArray toText(const QVariant &value, const QByteArray &indentation, int openLevels)
{
    return toText(value, indentation, openLevels, indentation.size());
}

} // namespace JsonLines
