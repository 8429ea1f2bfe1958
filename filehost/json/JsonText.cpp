#include "JsonText.h"

#include "filehost/json/JsonParser.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace ConfigScript {

namespace {

QVariant integerValue(qlonglong number)
{
    if (number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max()) {
        return int(number);
    }
    return number;
}

bool isPartOfNumber(char character)
{
    return (character >= '0' && character <= '9') || character == '.' || character == '-'
        || character == '+' || character == 'e' || character == 'E';
}

/// QString::fromUtf8() drops a byte order mark; inside a text it is a character like any other.
QString fromUtf8(const char *begin, const char *end)
{
    static constexpr char mark[] = "\xef\xbb\xbf";
    QString text;
    while (end - begin >= 3 && std::memcmp(begin, mark, 3) == 0) {
        text += QChar(QChar::ByteOrderMark);
        begin += 3;
    }
    return text + QString::fromUtf8(begin, int(end - begin));
}

} // namespace

JsonText JsonText::parse(const QByteArray &text, Diagnostic &error)
{
    return JsonParser(text).parse(error);
}

int JsonText::end(int index) const
{
    const Entry &entry = m_elements.at(index);
    int offset = int(entry.place);
    switch (Type(entry.type)) {
    case Type::Object:
    case Type::Array:
        return endOfContainer(m_containers.at(int(entry.place)).begin);
    case Type::String:
        return endOfString(offset);
    case Type::Number:
        while (offset < m_text.size() && isPartOfNumber(m_text.at(offset))) {
            ++offset;
        }
        return offset;
    case Type::False:
        return offset + 5;
    case Type::True:
    case Type::Null:
        break;
    }
    return offset + 4;
}

int JsonText::endOfString(int begin) const
{
    const char *character = m_text.constData() + begin + 1;
    while (*character != '"') {
        character += *character == '\\' ? 2 : 1;
    }
    return int(character - m_text.constData()) + 1;
}

int JsonText::endOfContainer(int begin) const
{
    int depth = 0;
    int offset = begin;
    do {
        switch (m_text.at(offset)) {
        case '"':
            offset = endOfString(offset);
            continue;
        case '{':
        case '[':
            ++depth;
            break;
        case '}':
        case ']':
            --depth;
            break;
        default:
            break;
        }
        ++offset;
    } while (depth > 0);
    return offset;
}

QByteArray JsonText::rawText(int index) const
{
    const int begin = element(index).begin;
    return m_text.mid(begin, end(index) - begin);
}

int JsonText::member(int index, const QString &key) const
{
    constexpr int manyMembers = 64;
    const int end = element(index).next;
    int count = 0;
    for (int i = firstChild(index); i < end; i = element(i + 1).next) {
        if (isString(i, key)) {
            return i + 1;
        }
        if (++count == manyMembers) {
            return largeObject(index).value(key, -1);
        }
    }
    return -1;
}

const JsonText::Members &JsonText::largeObject(int index) const
{
    // Nobody else shares the table.
    Members &members = m_largeObjects[index]; // clazy:exclude=detaching-member
    if (members.isEmpty()) {
        const int end = element(index).next;
        for (int i = firstChild(index); i < end; i = element(i + 1).next) {
            members.insert(string(i), i + 1);
        }
    }
    return members;
}

QLatin1String JsonText::rawString(int index) const
{
    const int begin = element(index).begin;
    return QLatin1String(m_text.constData() + begin + 1, end(index) - begin - 2);
}

bool JsonText::isString(int index, const QString &text) const
{
    const Entry &entry = m_elements.at(index);
    if (entry.isPlain == 0) {
        return string(index) == text;
    }
    const char *character = m_text.constData() + entry.place + 1;
    for (const QChar wanted : text) {
        if (*character == '"' || wanted != QLatin1Char(*character)) {
            return false;
        }
        ++character;
    }
    return *character == '"';
}

QString JsonText::string(int index) const
{
    const QLatin1String raw = rawString(index);
    if (m_elements.at(index).isPlain == 1) {
        return raw;
    }
    const char *character = raw.begin();
    const char *end = raw.end();

    QString result;
    while (character < end) {
        const char *plain = character;
        while (character < end && *character != '\\') {
            ++character;
        }
        result += fromUtf8(plain, character);
        if (character == end) {
            break;
        }
        ++character;
        switch (*character++) {
        case 'b':
            result += QLatin1Char('\b');
            break;
        case 'f':
            result += QLatin1Char('\f');
            break;
        case 'n':
            result += QLatin1Char('\n');
            break;
        case 'r':
            result += QLatin1Char('\r');
            break;
        case 't':
            result += QLatin1Char('\t');
            break;
        case 'u':
            result += QChar(QByteArray::fromRawData(character, 4).toUShort(nullptr, 16));
            character += 4;
            break;
        default:
            result += QLatin1Char(character[-1]);
        }
    }
    return result;
}

QVariant JsonText::value(int index) const
{
    const Element element = this->element(index);
    switch (element.type) {
    case Type::Null:
        return QVariant::fromValue(nullptr);
    case Type::True:
        return true;
    case Type::False:
        return false;
    case Type::String:
        return string(index);
    case Type::Number: {
        const char *begin = m_text.constData() + element.begin;
        const char *end = m_text.constData() + this->end(index);
        qlonglong integer = 0;
        const auto result = std::from_chars(begin, end, integer);
        if (result.ec == std::errc() && result.ptr == end && !(integer == 0 && *begin == '-')) {
            return integerValue(integer);
        }
        double number = 0;
        if (std::from_chars(begin, end, number).ec != std::errc()) {
            number = rawText(index).toDouble(); // too small: 0
        }
        return numberValue(number);
    }
    case Type::Array: {
        QVariantList list;
        for (int i = firstChild(index); i < element.next; i = this->element(i).next) {
            list.append(value(i));
        }
        return list;
    }
    case Type::Object: {
        QVariantMap map;
        for (int i = firstChild(index); i < element.next; i = this->element(i + 1).next) {
            map.insert(string(i), value(i + 1));
        }
        return map;
    }
    }
    return QVariant();
}

QVariant JsonText::numberValue(double number)
{
    constexpr double exactIntegers = 9007199254740992.0; // 2^53
    const bool isNegativeZero = number == 0 && std::signbit(number);
    if (std::trunc(number) == number && std::fabs(number) <= exactIntegers && !isNegativeZero) {
        return integerValue(qlonglong(number));
    }
    return number;
}

Diagnostic JsonText::unexpected(int index, const QString &expected) const
{
    static const char *const names[] = {"an object", "an array", "a string", "a number",
                                        "true",      "false",    "null"};
    const Element element = this->element(index);
    return placeOf(element.begin,
                   QStringLiteral("expected %1, found %2")
                       .arg(expected, QLatin1String(names[int(element.type)])));
}

Diagnostic JsonText::placeOf(int offset, const QString &message) const
{
    int line = 1;
    int lineBegin = m_text.startsWith("\xef\xbb\xbf") ? 3 : 0;
    for (int i = m_text.indexOf('\n'); i >= 0 && i < offset; i = m_text.indexOf('\n', i + 1)) {
        ++line;
        lineBegin = i + 1;
    }
    int column = 1;
    for (int i = lineBegin; i < offset; ++i) {
        // Continuation bytes of UTF-8 belong to the character before them.
        if ((uchar(m_text.at(i)) & 0xc0) != 0x80) {
            ++column;
        }
    }
    return {QString(), line, column, message};
}

} // namespace ConfigScript
