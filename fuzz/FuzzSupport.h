#pragma once

#include <QByteArray>
#include <QString>
#include <QVector>

#include <cstddef>
#include <cstdint>

/// One input: must not crash, and must hold what the target requires.
/// @return 0
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

/// What the fuzz targets share.
namespace Fuzzing {

/// Makes the messages of the library silent, and an application object. To be called first.
void setUp();

/// Ends the process: a finding.
[[noreturn]] void fail(const char *expected, const QString &found);

/// Fails when the condition does not hold.
void require(bool condition, const char *expected, const QString &found = QString());

/// The input, without a copy.
QByteArray bytesOf(const std::uint8_t *data, std::size_t size);

/// The text that UTF-8 stands for. A surrogate on its own is encoded as any other character of
/// three bytes; what is no UTF-8 becomes the replacement character.
QString textOf(const QByteArray &bytes);

/// Takes an input apart, from its beginning to its end. Behind the end there are only zeros.
class Reader
{
public:
    explicit Reader(const QByteArray &bytes)
        : m_bytes(bytes)
    {
    }

    bool isAtEnd() const { return m_offset >= m_bytes.size(); }

    /// A number from 0 to @p count - 1; 0 when there is nothing to choose from.
    int choice(int count);

    /// The bytes up to the end of the line.
    QByteArray line();

    QString text() { return textOf(line()); }

private:
    QByteArray m_bytes;
    int m_offset = 0;
};

} // namespace Fuzzing
