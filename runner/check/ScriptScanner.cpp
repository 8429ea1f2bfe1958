#include "ScriptScanner.h"

#include <QStringList>

namespace {

bool isWordCharacter(QChar character)
{
    return character.isLetterOrNumber() || character == QLatin1Char('_')
        || character == QLatin1Char('$');
}

bool isQuote(QChar character)
{
    return character == QLatin1Char('"') || character == QLatin1Char('\'')
        || character == QLatin1Char('`');
}

} // namespace

ScriptScanner::ScriptScanner(const QString &text)
    : m_text(text)
{
}

QVector<ScriptToken> ScriptScanner::scan()
{
    while (m_offset < m_text.size()) {
        const QChar character = next();
        if (character.isSpace()) {
            advance();
        } else if (character == QLatin1Char('/') && next(1) == QLatin1Char('/')) {
            skipLine();
        } else if (character == QLatin1Char('/') && next(1) == QLatin1Char('*')) {
            skipBlockComment();
        } else if (character == QLatin1Char('/') && isRegularExpression()) {
            skipRegularExpression();
        } else if (character == QLatin1Char('"') || character == QLatin1Char('\'')) {
            scanString(character);
        } else if (character == QLatin1Char('`')) {
            scanTemplate();
        } else if (character.isDigit()) {
            scanWord(ScriptToken::Kind::Number);
        } else if (isWordCharacter(character)) {
            scanWord(ScriptToken::Kind::Identifier);
        } else {
            m_tokens.append({ScriptToken::Kind::Punctuation, character, m_line});
            advance();
        }
    }
    return m_tokens;
}

void ScriptScanner::skipLine()
{
    while (m_offset < m_text.size() && next() != QLatin1Char('\n')) {
        advance();
    }
}

void ScriptScanner::skipBlockComment()
{
    advance();
    advance();
    while (m_offset < m_text.size()
           && !(next() == QLatin1Char('*') && next(1) == QLatin1Char('/'))) {
        advance();
    }
    advance();
    advance();
}

void ScriptScanner::skipRegularExpression()
{
    bool isInClass = false;
    advance();
    while (m_offset < m_text.size() && next() != QLatin1Char('\n')
           && (isInClass || next() != QLatin1Char('/'))) {
        if (next() == QLatin1Char('\\')) {
            advance();
        } else if (next() == QLatin1Char('[')) {
            isInClass = true;
        } else if (next() == QLatin1Char(']')) {
            isInClass = false;
        }
        advance();
    }
    advance();
}

void ScriptScanner::skipSubstitution()
{
    int depth = 0;
    do {
        if (next() == QLatin1Char('{')) {
            ++depth;
        } else if (next() == QLatin1Char('}')) {
            --depth;
        } else if (isQuote(next())) {
            skipQuoted();
        }
        advance();
    } while (m_offset < m_text.size() && depth > 0);
}

/// Stops at the closing quote.
void ScriptScanner::skipQuoted()
{
    const QChar quote = next();
    advance();
    while (m_offset < m_text.size() && next() != quote) {
        if (next() == QLatin1Char('\\')) {
            advance();
        }
        advance();
    }
}

void ScriptScanner::scanString(QChar quote)
{
    ScriptToken token{ScriptToken::Kind::String, QString(), m_line};
    advance();
    while (m_offset < m_text.size() && next() != quote && next() != QLatin1Char('\n')) {
        if (next() == QLatin1Char('\\')) {
            advance();
        }
        token.text += next();
        advance();
    }
    advance();
    m_tokens.append(token);
}

void ScriptScanner::scanTemplate()
{
    ScriptToken token{ScriptToken::Kind::Template, QString(), m_line};
    bool hasSubstitution = false;
    advance();
    while (m_offset < m_text.size() && next() != QLatin1Char('`')) {
        if (next() == QLatin1Char('$') && next(1) == QLatin1Char('{')) {
            hasSubstitution = true;
            advance();
            skipSubstitution();
            continue;
        }
        if (next() == QLatin1Char('\\')) {
            advance();
        }
        if (!hasSubstitution) {
            token.text += next();
        }
        advance();
    }
    advance();
    m_tokens.append(token);
}

void ScriptScanner::scanWord(ScriptToken::Kind kind)
{
    const int begin = m_offset;
    const int line = m_line;
    while (m_offset < m_text.size() && isWordCharacter(next())) {
        advance();
    }
    m_tokens.append({kind, m_text.mid(begin, m_offset - begin), line});
}

/// Whether a slash begins a regular expression: it divides only behind a value.
bool ScriptScanner::isRegularExpression() const
{
    if (m_tokens.isEmpty()) {
        return true;
    }
    static const QStringList operators{QStringLiteral("return"), QStringLiteral("typeof"),
                                       QStringLiteral("case"),   QStringLiteral("in"),
                                       QStringLiteral("of"),     QStringLiteral("delete"),
                                       QStringLiteral("void"),   QStringLiteral("throw")};
    const ScriptToken &last = m_tokens.constLast();
    switch (last.kind) {
    case ScriptToken::Kind::Identifier:
        return operators.contains(last.text);
    case ScriptToken::Kind::Punctuation:
        return last.text != QLatin1String(")") && last.text != QLatin1String("]")
            && last.text != QLatin1String("}");
    default:
        return false;
    }
}

QChar ScriptScanner::next(int distance) const
{
    const int offset = m_offset + distance;
    return offset < m_text.size() ? m_text.at(offset) : QChar();
}

void ScriptScanner::advance()
{
    if (next() == QLatin1Char('\n')) {
        ++m_line;
    }
    ++m_offset;
}
