#include "Output.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstdio>
#include <utility>

#include <unistd.h>

Output::Output(Color color)
    : m_isColored(color == Color::Automatic && isatty(STDOUT_FILENO) != 0
                  && qEnvironmentVariableIsEmpty("NO_COLOR"))
{
}

QString Output::styled(Style style, const QString &text) const
{
    if (!m_isColored || style == Style::Plain) {
        return text;
    }
    const char *code = "0";
    switch (style) {
    case Style::Bold:
        code = "1";
        break;
    case Style::Dim:
        code = "2";
        break;
    case Style::Good:
        code = "32";
        break;
    case Style::Bad:
        code = "1;31";
        break;
    case Style::Warning:
        code = "33";
        break;
    case Style::Plain:
        break;
    }
    return QStringLiteral("\033[%1m%2\033[0m").arg(QLatin1String(code), text);
}

void Output::line(const QString &text)
{
    this->text(text + QLatin1Char('\n'));
}

void Output::text(const QString &text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void Output::json(const QJsonObject &object)
{
    text(QString::fromUtf8(QJsonDocument(object).toJson()));
}

QString Output::printable(const QString &text)
{
    QString result;
    for (const QChar character : text) {
        if (character == QLatin1Char('\n')) {
            result += QStringLiteral("\n           ");
        } else if (character.category() == QChar::Other_Control && character != QLatin1Char('\t')) {
            result += QStringLiteral("\\x%1").arg(character.unicode(), 2, 16, QLatin1Char('0'));
        } else {
            result += character;
        }
    }
    return result;
}

QString Output::shortened(const QString &text)
{
    constexpr int shownSize = 1000;
    if (text.size() <= shownSize) {
        return printable(text);
    }
    return printable(text.left(shownSize)) + QStringLiteral("… (%1 characters)").arg(text.size());
}

QString Output::milliseconds(std::chrono::nanoseconds duration)
{
    return QString::number(std::chrono::duration<double, std::milli>(duration).count(), 'f', 1)
        + QStringLiteral(" ms");
}

QString Output::counted(int count, const QString &noun)
{
    return QStringLiteral("%1 %2%3").arg(count).arg(noun,
                                                    count == 1 ? QString() : QStringLiteral("s"));
}

bool Output::finish()
{
    static bool s_isTold = false;
    errno = 0;
    if (std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
        return true;
    }
    if (std::exchange(s_isTold, true)) {
        return false;
    }
    const QString reason = errno != 0 ? QStringLiteral(": ") + qt_error_string(errno) : QString();
    error(QStringLiteral("cannot write to standard output") + reason);
    return false;
}

void Output::error(const QString &text)
{
    std::fflush(stdout);
    const QByteArray bytes = "configscript: " + text.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stderr);
}
