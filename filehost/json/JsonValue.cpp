#include "JsonValue.h"

#include "filehost/json/JsonText.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>

#include <algorithm>
#include <cmath>
#include <limits>

namespace ConfigScript {

namespace JsonValue {

namespace {

QVariant normalized(const QVariant &value, int levels);

QVariant normalizedList(const QVariantList &list, int levels)
{
    QVariantList result;
    result.reserve(list.size());
    for (const QVariant &element : list) {
        const QVariant value = normalized(element, levels);
        if (!value.isValid()) {
            return QVariant();
        }
        result.append(value);
    }
    return result;
}

template <typename Map>
QVariant normalizedMap(const Map &map, int levels)
{
    QVariantMap result;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const QVariant value = normalized(it.value(), levels);
        if (!value.isValid()) {
            return QVariant();
        }
        result.insert(it.key(), value);
    }
    return result;
}

QVariant normalizedInteger(qlonglong number)
{
    if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
        return int(number);
    }
    return number;
}

/// Of a value that holds no others.
QVariant normalizedScalar(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Nullptr:
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::QString:
        return value;
    case QMetaType::SChar:
    case QMetaType::Char:
    case QMetaType::UChar:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return normalizedInteger(value.toLongLong());
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const qulonglong number = value.toULongLong();
        if (number <= qulonglong(std::numeric_limits<qlonglong>::max())) {
            return normalizedInteger(qlonglong(number));
        }
        return double(number);
    }
    case QMetaType::Float:
    case QMetaType::Double: {
        const double number = value.toDouble();
        return std::isfinite(number) ? JsonText::numberValue(number) : QVariant();
    }
    case QMetaType::QDateTime: {
        const QDateTime dateTime = value.toDateTime().toUTC();
        const QString text = dateTime.toString(Qt::ISODateWithMs);
        return text.isEmpty() ? QVariant() : QVariant(text); // of years with four digits only
    }
    default:
        return QVariant();
    }
}

/// @param levels how deep the value may nest: more would use up the stack
QVariant normalized(const QVariant &value, int levels)
{
    if (levels < 0) {
        return QVariant();
    }
    switch (value.userType()) {
    case QMetaType::QStringList:
    case QMetaType::QVariantList:
        return normalizedList(value.toList(), levels - 1);
    case QMetaType::QVariantMap:
        return normalizedMap(value.toMap(), levels - 1);
    case QMetaType::QVariantHash:
        return normalizedMap(value.toHash(), levels - 1);
    case QMetaType::QJsonValue:
        return normalized(value.toJsonValue().toVariant(), levels);
    case QMetaType::QJsonObject:
        return normalizedMap(value.toJsonObject().toVariantMap(), levels - 1);
    case QMetaType::QJsonArray:
        return normalizedList(value.toJsonArray().toVariantList(), levels - 1);
    case QMetaType::QJsonDocument:
        return normalized(value.toJsonDocument().toVariant(), levels);
    default:
        return normalizedScalar(value);
    }
}

bool isInteger(int type)
{
    return type == QMetaType::Int || type == QMetaType::LongLong;
}

bool isNumber(int type)
{
    return isInteger(type) || type == QMetaType::Double;
}

bool areListsEqual(const QVariantList &left, const QVariantList &right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(), areEqual);
}

bool areMapsEqual(const QVariantMap &left, const QVariantMap &right)
{
    if (left.size() != right.size()) {
        return false;
    }
    for (auto l = left.cbegin(), r = right.cbegin(); l != left.cend(); ++l, ++r) {
        if (l.key() != r.key() || !areEqual(l.value(), r.value())) {
            return false;
        }
    }
    return true;
}

/// The escape sequence of a character that cannot stand for itself in a JSON string.
QByteArray escaped(QChar character)
{
    switch (character.unicode()) {
    case '"':
        return QByteArrayLiteral("\\\"");
    case '\\':
        return QByteArrayLiteral("\\\\");
    case '\b':
        return QByteArrayLiteral("\\b");
    case '\f':
        return QByteArrayLiteral("\\f");
    case '\n':
        return QByteArrayLiteral("\\n");
    case '\r':
        return QByteArrayLiteral("\\r");
    case '\t':
        return QByteArrayLiteral("\\t");
    default: // a control, or a surrogate on its own, which has no UTF-8 form
        return "\\u" + QByteArray::number(character.unicode(), 16).rightJustified(4, '0');
    }
}

} // namespace

QVariant normalized(const QVariant &value)
{
    return normalized(value, JsonText::maximumDepth);
}

int depth(const QVariant &value)
{
    int deepest = 0;
    switch (value.userType()) {
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            deepest = std::max(deepest, depth(element));
        }
        return 1 + deepest;
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        for (const QVariant &member : map) {
            deepest = std::max(deepest, depth(member));
        }
        return 1 + deepest;
    }
    default:
        return 0;
    }
}

bool areEqual(const QVariant &left, const QVariant &right)
{
    const int leftType = left.userType();
    const int rightType = right.userType();
    if (isNumber(leftType) && isNumber(rightType)) {
        return isInteger(leftType) && isInteger(rightType) ? left.toLongLong() == right.toLongLong()
                                                           : left.toDouble() == right.toDouble();
    }
    if (leftType != rightType) {
        return false;
    }
    switch (leftType) {
    case QMetaType::Nullptr:
        return true;
    case QMetaType::QVariantList:
        return areListsEqual(left.toList(), right.toList());
    case QMetaType::QVariantMap:
        return areMapsEqual(left.toMap(), right.toMap());
    default:
        return left == right;
    }
}

CommonEnds commonEnds(const QVariantList &left, const QVariantList &right)
{
    const int shorter = std::min(left.size(), right.size());
    CommonEnds common{0, 0};
    while (common.begin < shorter && areEqual(left.at(common.begin), right.at(common.begin))) {
        ++common.begin;
    }
    while (common.end < shorter - common.begin
           && areEqual(left.at(left.size() - 1 - common.end),
                       right.at(right.size() - 1 - common.end))) {
        ++common.end;
    }
    return common;
}

QByteArray toText(const QVariant &value, Layout layout)
{
    const bool isSpaced = layout == Layout::Spaced;
    switch (value.userType()) {
    case QMetaType::Nullptr:
        return QByteArrayLiteral("null");
    case QMetaType::Bool:
        return value.toBool() ? QByteArrayLiteral("true") : QByteArrayLiteral("false");
    case QMetaType::Int:
    case QMetaType::LongLong:
        return QByteArray::number(value.toLongLong());
    case QMetaType::Double: {
        const double number = value.toDouble();
        return number == 0 && std::signbit(number)
            ? QByteArrayLiteral("-0")
            : QByteArray::number(number, 'g', QLocale::FloatingPointShortest);
    }
    case QMetaType::QVariantList: {
        const QVariantList list = value.toList();
        QByteArray text("[");
        for (const QVariant &element : list) {
            if (text.size() > 1) {
                text += isSpaced ? ", " : ",";
            }
            text += toText(element, layout);
        }
        return text + ']';
    }
    case QMetaType::QVariantMap: {
        const QVariantMap map = value.toMap();
        if (map.isEmpty()) {
            return QByteArrayLiteral("{}");
        }
        QByteArray text;
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            text += text.isEmpty() ? "" : isSpaced ? ", " : ",";
            text += toText(it.key()) + (isSpaced ? ": " : ":") + toText(it.value(), layout);
        }
        return isSpaced ? "{ " + text + " }" : '{' + text + '}';
    }
    default:
        return toText(value.toString());
    }
}

QByteArray toText(const QString &string)
{
    QByteArray text("\"");
    int begin = 0; // of what stands for itself and is not in the text yet
    for (int i = 0; i < string.size(); ++i) {
        const QChar character = string.at(i);
        if (character >= QLatin1Char(' ') && character != QLatin1Char('"')
            && character != QLatin1Char('\\') && !character.isSurrogate()) {
            continue;
        }
        if (character.isHighSurrogate() && i + 1 < string.size()
            && string.at(i + 1).isLowSurrogate()) {
            ++i;
            continue;
        }
        text += string.midRef(begin, i - begin).toUtf8() + escaped(character);
        begin = i + 1;
    }
    return text + string.midRef(begin).toUtf8() + '"';
}

} // namespace JsonValue

} // namespace ConfigScript
