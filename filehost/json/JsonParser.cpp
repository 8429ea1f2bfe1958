#include "JsonParser.h"

#include "filehost/json/JsonValue.h"

#include <QSet>
#include <QVarLengthArray>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace ConfigScript {

namespace {

bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isHexDigit(char character)
{
    const char lower = char(character | 0x20);
    return isDigit(character) || (lower >= 'a' && lower <= 'f');
}

/// Whether a byte stands for itself in a string, as a character of ASCII.
bool isPlainCharacter(char character)
{
    return uchar(character) >= 0x20 && uchar(character) < 0x80 && character != '"'
        && character != '\\';
}

/// Length of the valid UTF-8 sequence (RFC 3629) at @p bytes; 0 when there is none.
int sequenceLength(const uchar *bytes, int available)
{
    const uchar first = bytes[0];
    const int length = first < 0x80 ? 1
        : first < 0xc2              ? 0
        : first < 0xe0              ? 2
        : first < 0xf0              ? 3
        : first < 0xf5              ? 4
                                    : 0;
    if (length == 0 || length > available) {
        return 0;
    }
    for (int i = 1; i < length; ++i) {
        if ((bytes[i] & 0xc0) != 0x80) {
            return 0;
        }
    }
    const bool isOverlong =
        (first == 0xe0 && bytes[1] < 0xa0) || (first == 0xf0 && bytes[1] < 0x90);
    const bool isSurrogate = first == 0xed && bytes[1] > 0x9f;
    const bool isBeyondUnicode = first == 0xf4 && bytes[1] > 0x8f;
    return isOverlong || isSurrogate || isBeyondUnicode ? 0 : length;
}

} // namespace

JsonParser::JsonParser(const QByteArray &text)
{
    m_json.m_text = text;
    m_begin = m_json.m_text.constData();
    m_size = m_json.m_text.size();
}

JsonText JsonParser::parse(Diagnostic &error)
{
    if (checkSize() && checkEncoding() && parseElements()) {
        m_json.m_elements.squeeze();
        m_json.m_containers.squeeze();
        return m_json;
    }
    error = m_error;
    return JsonText();
}

bool JsonParser::checkSize()
{
    return m_size <= JsonText::maximumSize
        || fail(0,
                QStringLiteral("expected at most %1 bytes, found %2")
                    .arg(JsonText::maximumSize)
                    .arg(m_size));
}

bool JsonParser::checkEncoding()
{
    const auto *bytes = reinterpret_cast<const uchar *>(m_begin);
    for (int i = 0; i < m_size;) {
        quint64 eight = 0;
        if (m_size - i >= int(sizeof eight)) {
            std::memcpy(&eight, bytes + i, sizeof eight);
            if ((eight & Q_UINT64_C(0x8080808080808080)) == 0) {
                i += int(sizeof eight);
                continue;
            }
        }
        const int length = sequenceLength(bytes + i, m_size - i);
        if (length == 0) {
            return fail(i,
                        QStringLiteral("expected UTF-8, found the byte 0x%1")
                            .arg(bytes[i], 2, 16, QLatin1Char('0')));
        }
        i += length;
    }
    return true;
}

bool JsonParser::parseElements()
{
    if (m_json.m_text.startsWith("\xef\xbb\xbf")) {
        m_offset = 3;
    }
    do {
        skipWhitespace();
        bool ok = false;
        switch (m_expecting) {
        case Expecting::Value:
            ok = parseValue();
            break;
        case Expecting::FirstElementOrEnd:
            ok = current() == ']' ? close() : parseValue();
            break;
        case Expecting::FirstKeyOrEnd:
            ok = current() == '}' ? close() : parseKey();
            break;
        case Expecting::Key:
            ok = parseKey();
            break;
        case Expecting::CommaOrEnd:
            ok = parseCommaOrEnd();
            break;
        }
        if (!ok) {
            return false;
        }
    } while (!m_open.isEmpty());

    skipWhitespace();
    return m_offset == m_size || failExpected(QStringLiteral("nothing behind the outermost value"));
}

bool JsonParser::parseValue()
{
    bool ok = false;
    switch (current()) {
    case '{':
        return open(JsonText::Type::Object);
    case '[':
        return open(JsonText::Type::Array);
    case '"':
        ok = parseString();
        break;
    case 't':
        ok = parseLiteral("true", JsonText::Type::True);
        break;
    case 'f':
        ok = parseLiteral("false", JsonText::Type::False);
        break;
    case 'n':
        ok = parseLiteral("null", JsonText::Type::Null);
        break;
    default:
        ok = parseNumber();
    }
    m_expecting = Expecting::CommaOrEnd;
    return ok;
}

bool JsonParser::parseString()
{
    const int begin = m_offset++;
    bool isPlain = true;
    for (;;) {
        while (isPlainCharacter(current())) {
            ++m_offset;
        }
        const char character = current();
        if (m_offset == m_size) {
            return fail(begin,
                        QStringLiteral("expected '\"' at the end of the string that begins "
                                       "here, found the end of the file"));
        }
        if (character == '"') {
            break;
        }
        if (uchar(character) < 0x20) {
            return fail(m_offset,
                        QStringLiteral("expected an escape sequence such as \\u%1 in a string, "
                                       "found the control character itself")
                            .arg(uint(character), 4, 16, QLatin1Char('0')));
        }
        ++m_offset;
        isPlain = false;
        if (character != '\\') {
            continue;
        }
        const char escape = current();
        if (escape == '\0' || std::strchr("\"\\/bfnrtu", escape) == nullptr) {
            return fail(m_offset - 1,
                        QStringLiteral("expected one of \\\" \\\\ \\/ \\b \\f \\n "
                                       "\\r \\t \\uXXXX after a backslash, found %1")
                            .arg(found()));
        }
        ++m_offset;
        if (escape == 'u') {
            for (int i = 0; i < 4; ++i, ++m_offset) {
                if (!isHexDigit(current())) {
                    return failExpected(QStringLiteral("four hexadecimal digits after \\u"));
                }
            }
        }
    }
    ++m_offset;
    appendScalar(begin, JsonText::Type::String, isPlain);
    return true;
}

bool JsonParser::parseNumber()
{
    const int begin = m_offset;
    const auto digits = [this] {
        const int first = m_offset;
        while (isDigit(current())) {
            ++m_offset;
        }
        return m_offset > first;
    };
    if (current() == '-') {
        ++m_offset;
    }
    const int firstDigit = m_offset;
    if (!digits()) {
        return failExpected(firstDigit == begin ? QStringLiteral("a value")
                                                : QStringLiteral("a digit after '-'"));
    }
    if (m_begin[firstDigit] == '0' && m_offset - firstDigit > 1) {
        return fail(begin, QStringLiteral("expected a number without leading zeros"));
    }
    if (current() == '.') {
        ++m_offset;
        if (!digits()) {
            return failExpected(QStringLiteral("a digit after the decimal point"));
        }
    }
    constexpr int certainlyFinite = 300; // digits, when there is no exponent
    bool mayBeInfinite = m_offset - begin > certainlyFinite;
    if (current() == 'e' || current() == 'E') {
        mayBeInfinite = true;
        ++m_offset;
        if (current() == '+' || current() == '-') {
            ++m_offset;
        }
        if (!digits()) {
            return failExpected(QStringLiteral("a digit in the exponent"));
        }
    }
    if (mayBeInfinite) {
        const QByteArray number = QByteArray::fromRawData(m_begin + begin, m_offset - begin);
        if (!std::isfinite(number.toDouble())) {
            return fail(begin,
                        QStringLiteral("expected a number that a double can hold, found %1")
                            .arg(QLatin1String(number)));
        }
    }
    appendScalar(begin, JsonText::Type::Number);
    return true;
}

bool JsonParser::parseLiteral(const char *literal, JsonText::Type type)
{
    const int length = int(std::strlen(literal));
    if (m_size - m_offset < length
        || std::memcmp(m_begin + m_offset, literal, size_t(length)) != 0) {
        return failExpected(QStringLiteral("a value"));
    }
    m_offset += length;
    appendScalar(m_offset - length, type);
    return true;
}

bool JsonParser::parseKey()
{
    if (current() != '"') {
        return failExpected(m_expecting == Expecting::Key
                                ? QStringLiteral("a member's name in double quotes")
                                : QStringLiteral("a member's name in double quotes, or '}'"));
    }
    if (!parseString()) {
        return false;
    }
    skipWhitespace();
    if (current() != ':') {
        return failExpected(QStringLiteral("':' after the member's name"));
    }
    ++m_offset;
    m_expecting = Expecting::Value;
    return true;
}

bool JsonParser::parseCommaOrEnd()
{
    if (current() == ',') {
        ++m_offset;
        m_expecting = insideObject() ? Expecting::Key : Expecting::Value;
        return true;
    }
    if (current() == (insideObject() ? '}' : ']')) {
        return close();
    }
    return failExpected(insideObject() ? QStringLiteral("',' or '}' after the member")
                                       : QStringLiteral("',' or ']' after the element"));
}

void JsonParser::appendScalar(int begin, JsonText::Type type, bool isPlain)
{
    m_json.m_elements.append({quint32(begin), quint32(type), quint32(isPlain)});
}

bool JsonParser::open(JsonText::Type type)
{
    if (m_open.size() == JsonText::maximumDepth) {
        return fail(m_offset,
                    QStringLiteral("expected no nesting deeper than %1 levels")
                        .arg(JsonText::maximumDepth));
    }
    m_open.append(m_json.m_elements.size());
    m_json.m_elements.append({quint32(m_json.m_containers.size()), quint32(type), 0});
    m_json.m_containers.append({m_offset, 0});
    ++m_offset;
    m_expecting =
        type == JsonText::Type::Object ? Expecting::FirstKeyOrEnd : Expecting::FirstElementOrEnd;
    return true;
}

bool JsonParser::close()
{
    ++m_offset;
    const int index = m_open.takeLast();
    m_json.m_containers[int(m_json.m_elements.at(index).place)].next = m_json.m_elements.size();
    m_expecting = Expecting::CommaOrEnd;
    return m_json.element(index).type == JsonText::Type::Array || checkKeysDiffer(index);
}

bool JsonParser::checkKeysDiffer(int objectIndex)
{
    const int key = secondOfEqualKeys(objectIndex);
    return key < 0
        || fail(m_json.element(key).begin,
                QStringLiteral("expected each member once, found a second %1")
                    .arg(QString::fromUtf8(JsonValue::toText(m_json.string(key)))));
}

/// The first key that stands a second time; -1 when there is none.
int JsonParser::secondOfEqualKeys(int objectIndex) const
{
    constexpr int maximumForPairs = 64;
    const int end = m_json.element(objectIndex).next;
    QVarLengthArray<QLatin1String, maximumForPairs> seen;
    int key = m_json.firstChild(objectIndex);
    for (; key < end; key = m_json.element(key + 1).next) {
        if (!m_json.element(key).isPlain || seen.size() == maximumForPairs) {
            break;
        }
        const QLatin1String name = m_json.rawString(key);
        if (std::find(seen.cbegin(), seen.cend(), name) != seen.cend()) {
            return key;
        }
        seen.append(name);
    }
    if (key >= end) {
        return -1;
    }
    QSet<QString> names;
    for (key = m_json.firstChild(objectIndex); key < end; key = m_json.element(key + 1).next) {
        const int known = names.size();
        names.insert(m_json.string(key));
        if (names.size() == known) {
            return key;
        }
    }
    return -1;
}

void JsonParser::skipWhitespace()
{
    while (m_offset < m_size
           && (m_begin[m_offset] == ' ' || m_begin[m_offset] == '\n' || m_begin[m_offset] == '\r'
               || m_begin[m_offset] == '\t')) {
        ++m_offset;
    }
}

bool JsonParser::fail(int offset, const QString &message)
{
    m_error = m_json.placeOf(offset, message);
    return false;
}

bool JsonParser::failExpected(const QString &expected)
{
    return fail(m_offset, QStringLiteral("expected %1, found %2").arg(expected, found()));
}

QString JsonParser::found() const
{
    if (m_offset >= m_size) {
        return QStringLiteral("the end of the file");
    }
    const int length =
        sequenceLength(reinterpret_cast<const uchar *>(m_begin) + m_offset, m_size - m_offset);
    // Behind another character, a byte order mark is a character like any other.
    const QByteArray bytes = ' ' + QByteArray(m_begin + m_offset, length);
    const uint character = QString::fromUtf8(bytes.constData(), bytes.size()).toUcs4().constLast();
    if (!QChar::isPrint(character) || QChar::isSpace(character)) {
        const bool isControl = QChar::category(character) == QChar::Other_Control;
        return (isControl ? QStringLiteral("the control character U+")
                          : QStringLiteral("the character U+"))
            + QString::number(character, 16).toUpper().rightJustified(4, QLatin1Char('0'));
    }
    return QStringLiteral("'%1'").arg(QString::fromUcs4(&character, 1));
}

bool JsonParser::insideObject() const
{
    return m_json.element(m_open.last()).type == JsonText::Type::Object;
}

} // namespace ConfigScript
