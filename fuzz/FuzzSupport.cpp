#include "FuzzSupport.h"

#include <QCoreApplication>
#include <QtGlobal>

#include <cstdio>
#include <cstdlib>

namespace Fuzzing {

namespace {

void showFatalMessages(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type == QtFatalMsg) {
        std::fprintf(stderr, "%s\n", qPrintable(text));
    }
}

/// Whether a surrogate, encoded as if it were a character, begins at @p offset.
bool isSurrogateAt(const QByteArray &bytes, int offset)
{
    return offset + 2 < bytes.size() && uchar(bytes.at(offset)) == 0xed
        && (uchar(bytes.at(offset + 1)) & 0xe0) == 0xa0
        && (uchar(bytes.at(offset + 2)) & 0xc0) == 0x80;
}

} // namespace

void setUp()
{
    static int argumentCount = 1;
    static char name[] = "fuzz";
    static char *arguments[] = {name, nullptr};
    static const QtMessageHandler before = qInstallMessageHandler(showFatalMessages);
    static const QCoreApplication application(argumentCount, arguments);
    Q_UNUSED(before)
    Q_UNUSED(application)
}

void fail(const char *expected, const QString &found)
{
    std::fprintf(stderr, "Expected %s\n%s\n", expected, found.toUtf8().constData());
    std::abort();
}

void require(bool condition, const char *expected, const QString &found)
{
    if (!condition) {
        fail(expected, found);
    }
}

QByteArray bytesOf(const std::uint8_t *data, std::size_t size)
{
    return QByteArray::fromRawData(reinterpret_cast<const char *>(data), int(size));
}

QString textOf(const QByteArray &bytes)
{
    QString text;
    int begin = 0;
    for (int i = 0; i < bytes.size(); ++i) {
        if (isSurrogateAt(bytes, i)) {
            text += QString::fromUtf8(bytes.constData() + begin, i - begin);
            text +=
                QChar(ushort(0xd000 | ((bytes.at(i + 1) & 0x3f) << 6) | (bytes.at(i + 2) & 0x3f)));
            begin = i + 3;
            i += 2;
        }
    }
    return text + QString::fromUtf8(bytes.constData() + begin, bytes.size() - begin);
}

int Reader::choice(int count)
{
    return isAtEnd() || count == 0 ? 0 : uchar(m_bytes.at(m_offset++)) % count;
}

QByteArray Reader::line()
{
    int end = m_bytes.indexOf('\n', m_offset);
    if (end < 0) {
        end = m_bytes.size();
    }
    const QByteArray line = m_bytes.mid(m_offset, end - m_offset);
    m_offset = end + 1;
    return line;
}

} // namespace Fuzzing
