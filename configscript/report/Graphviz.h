#pragma once

#include <QByteArray>
#include <QString>

/// The program "dot" of graphviz, which draws DOT.
class Graphviz
{
public:
    /// Looks for the program in PATH.
    Graphviz();

    /// Why nothing can be drawn; empty when it can.
    QString error() const;

    /**
     * What the program says of @p dot goes to standard error.
     * @param format such as "svg"
     * @return false, after a message, when @p filePath was not written; it is as it was, then
     */
    bool draw(const QByteArray &dot, const QString &format, const QString &filePath) const;

private:
    const QString m_program;
};
