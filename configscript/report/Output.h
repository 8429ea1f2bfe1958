#pragma once

#include <QString>

#include <chrono>

class QJsonObject;

/// Text for people, in UTF-8, coloured where a terminal shows it.
class Output
{
public:
    enum class Style { Plain, Bold, Dim, Good, Bad, Warning };
    enum class Color { Automatic, Never };

    /// Writes to standard output. Automatic colour: on a terminal, unless NO_COLOR is set.
    explicit Output(Color color);

    QString styled(Style style, const QString &text) const;
    void line(const QString &text = QString());
    void text(const QString &text); ///< lines as they are
    void json(const QJsonObject &object);

    /// A text from outside, without what would drive a terminal: control characters as \xNN, lines
    /// indented.
    static QString printable(const QString &text);

    /// The same of a text of any length: of a long one the beginning, and how long it is.
    static QString shortened(const QString &text);

    /// "12.3 ms"
    static QString milliseconds(std::chrono::nanoseconds duration);

    /// "1 file", "2 files"
    static QString counted(int count, const QString &noun);

    /// Writes out what is left. @return false, after a message (the first time), when standard
    /// output does not take what was written to it
    static bool finish();

    /// A line on standard error, with the program's name in front.
    static void error(const QString &text);

private:
    bool m_isColored;
};
