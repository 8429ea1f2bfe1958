#include "runner/check/ScriptScanner.h"
#include "support/StrictTest.h"

#include <QStringList>
#include <QTest>

namespace {

/// Kind and text of a token, and its line where that is not the first.
QString toString(const ScriptToken &token)
{
    QString text;
    switch (token.kind) {
    case ScriptToken::Kind::Identifier:
    case ScriptToken::Kind::Number:
        text = token.text;
        break;
    case ScriptToken::Kind::String:
        text = QLatin1Char('"') + token.text + QLatin1Char('"');
        break;
    case ScriptToken::Kind::Template:
        text = QLatin1Char('`') + token.text + QLatin1Char('`');
        break;
    case ScriptToken::Kind::Punctuation:
        text = QLatin1Char('<') + token.text + QLatin1Char('>');
        break;
    }
    return token.line == 1 ? text : text + QLatin1Char('@') + QString::number(token.line);
}

QStringList scan(const QByteArray &script)
{
    QStringList words;
    const QVector<ScriptToken> tokens = ScriptScanner(QString::fromUtf8(script)).scan();
    for (const ScriptToken &token : tokens) {
        words.append(toString(token));
    }
    return words;
}

} // namespace

class ScriptScannerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheWords_data();
    void findsTheWords();
    void endsWithAnUnfinishedText_data();
    void endsWithAnUnfinishedText();
};

void ScriptScannerTest::findsTheWords_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QString>("words"); // separated by a line break

    const auto add = [](const char *name, const char *script, const char *words) {
        QTest::newRow(name) << QByteArray(script) << QString::fromUtf8(words);
    };
    add("nothing", "", "");
    add("blanks", " \t\r\n\f ", "");
    add("call", "api.set(a, 'b');", "api\n<.>\nset\n<(>\na\n<,>\n\"b\"\n<)>\n<;>");
    add("names", "$a _b c1 größe", "$a\n_b\nc1\ngröße");
    add("numbers", "1 0x1F 3", "1\n0x1F\n3");
    add("lines", "a\nb\r\nc 'd'\n\n`e`", "a\nb@2\nc@3\n\"d\"@3\n`e`@5");
    add("line comment", "a // b 'c' `d` /* e\nf", "a\nf@2");
    add("line comment at the end", "a // b", "a");
    add("block comment", "a /* 'b'\n `c` // */ d", "a\nd@2");
    add("block comment that ends with two stars", "/** a **/ b", "b");
    add("comment marks in strings", "'//' \"/*\" `//` a", "\"//\"\n\"/*\"\n`//`\na");
    add("quotes in the other quotes", "'a\"b' \"c'd\" `e'f\"`", "\"a\"b\"\n\"c'd\"\n`e'f\"`");
    add("escaped quotes", "'a\\'b' \"c\\\"d\" `e\\`f`", "\"a'b\"\n\"c\"d\"\n`e`f`");
    add("escaped backslash", "'a\\\\' b", "\"a\\\"\nb");
    add("empty strings", "'' \"\" ``", "\"\"\n\"\"\n``");
    add("template", "`a${b}c` d", "`a`\nd");
    add("template over lines", "`a\n${b}\n` c", "`a\n`\nc@3");
    add("template with braces", "`${ { a: { b: 1 } } }c` d", "``\nd");
    add("dollar sign in a template", "`$5 {a}` b", "`$5 {a}`\nb");
    add("regular expression", "a = /b'c/g;", "a\n<=>\ng\n<;>");
    add("regular expression with a class", "a = /[/'\\]]`/.b", "a\n<=>\n<.>\nb");
    add("regular expression with an escaped slash", "(/\\/'/)", "<(>\n<)>");
    add("regular expression first", "/'/.a", "<.>\na");
    add("regular expression behind a word", "return /'/; typeof /`/", "return\n<;>\ntypeof");
    add("division", "a / b / c", "a\n</>\nb\n</>\nc");
    add("division behind brackets", "f() / a[0] / 2 / 'b'",
        "f\n<(>\n<)>\n</>\na\n<[>\n0\n<]>\n</>\n2\n</>\n\"b\"");
    add("string in a substitution", "`${a(\"}\")}b` c", "``\nc");
    add("brace in a string in a substitution", "`${a(\"{\")}b` c", "``\nc");
    add("template in a substitution", "`${a.map((b) => `<${b}>`)}` c", "``\nc");
}

void ScriptScannerTest::findsTheWords()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QString, words);

    QCOMPARE(scan(script).join(QLatin1Char('\n')), words);
}

void ScriptScannerTest::endsWithAnUnfinishedText_data()
{
    QTest::addColumn<QByteArray>("script");
    QTest::addColumn<QStringList>("words");

    const auto add = [](const char *script, const QStringList &words) {
        QTest::newRow(script) << QByteArray(script) << words;
    };
    add("a 'b", {QStringLiteral("a"), QStringLiteral("\"b\"")});
    add("a 'b\nc", {QStringLiteral("a"), QStringLiteral("\"b\""), QStringLiteral("c@2")});
    add("a `b", {QStringLiteral("a"), QStringLiteral("`b`")});
    add("a `b${c", {QStringLiteral("a"), QStringLiteral("`b`")});
    add("a /* b", {QStringLiteral("a")});
    add("= /b", {QStringLiteral("<=>")});
    add("= /b[", {QStringLiteral("<=>")});
    add("/", {});
}

void ScriptScannerTest::endsWithAnUnfinishedText()
{
    QFETCH(const QByteArray, script);
    QFETCH(const QStringList, words);

    QCOMPARE(scan(script), words);
}

QTEST_APPLESS_MAIN(ScriptScannerTest)
#include "ScriptScannerTest.moc"
