#pragma once

#include <QString>
#include <QVector>

/// A word of a script.
struct ScriptToken
{
    enum class Kind { Identifier, Number, String, Template, Punctuation };

    Kind kind;
    QString text; ///< of a string, what it stands for; of a template, up to its first substitution
    int line; ///< from 1
};

/**
 * The words of a script, without its comments and regular expressions.
 *
 * It knows enough of the language (ECMAScript 2016, clause 11) to find calls and literals, and is
 * no parser: what stands inside a template's substitutions is not looked at.
 */
class ScriptScanner
{
public:
    explicit ScriptScanner(const QString &text);

    QVector<ScriptToken> scan();

private:
    void skipLine();
    void skipBlockComment();
    void skipRegularExpression();
    void skipSubstitution();
    void skipQuoted();
    void scanString(QChar quote);
    void scanTemplate();
    void scanWord(ScriptToken::Kind kind);
    bool isRegularExpression() const;
    QChar next(int distance = 0) const;
    void advance();

    const QString m_text;
    int m_offset = 0;
    int m_line = 1;
    QVector<ScriptToken> m_tokens;
};
