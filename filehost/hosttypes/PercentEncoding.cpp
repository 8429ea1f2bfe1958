#include "PercentEncoding.h"

#include <QTextCodec>

#include <cstring>

namespace ConfigScript {

namespace PercentEncoding {

namespace {

bool isReserved(ushort character, Slash slash)
{
    if (character == '/') {
        return slash == Slash::Encoded;
    }
    return character <= ' ' || character == 0x7f
        || (character < 0x7f && std::strchr("%#?:[]\"<>\\^`{|}", character) != nullptr);
}

int hexValue(QChar digit)
{
    const ushort c = digit.unicode();
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const ushort lower = c | 0x20;
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Appends the text that a run of encoded bytes stands for.
bool appendDecoded(QString &part, const QByteArray &bytes)
{
    static QTextCodec *const utf8 = QTextCodec::codecForName("UTF-8");
    QTextCodec::ConverterState state(QTextCodec::IgnoreHeader);
    part += utf8->toUnicode(bytes.constData(), bytes.size(), &state);
    return state.invalidChars == 0 && state.remainingChars == 0;
}

} // namespace

void append(QString &url, const QString &part, Slash slash)
{
    for (const QChar character : part) {
        const ushort code = character.unicode();
        if (isReserved(code, slash)) {
            static const char digits[] = "0123456789ABCDEF";
            url += QLatin1Char('%');
            url += QLatin1Char(digits[code >> 4]);
            url += QLatin1Char(digits[code & 0xf]);
        } else {
            url += character;
        }
    }
}

bool decode(const QStringRef &text, QString &part)
{
    if (!text.contains(QLatin1Char('%'))) {
        part = text.toString();
        return true;
    }
    part.clear();
    QByteArray bytes;
    for (int i = 0; i < text.size(); ++i) {
        if (text.at(i) != QLatin1Char('%')) {
            if (!bytes.isEmpty() && !appendDecoded(part, bytes)) {
                return false;
            }
            bytes.clear();
            part += text.at(i);
            continue;
        }
        if (i + 2 >= text.size()) {
            return false;
        }
        const int high = hexValue(text.at(i + 1));
        const int low = hexValue(text.at(i + 2));
        if (high < 0 || low < 0) {
            return false;
        }
        bytes += char(high * 16 + low);
        i += 2;
    }
    return bytes.isEmpty() || appendDecoded(part, bytes);
}

} // namespace PercentEncoding

} // namespace ConfigScript
