#include "filehost/json/JsonText.h"
#include "filehost/RowName.h"
#include "filehost/TypedText.h"
#include "support/StrictTest.h"

#include <QTest>

using namespace ConfigScript;

namespace {

QByteArray nested(int depth, const QByteArray &open, const QByteArray &close)
{
    return open.repeated(depth) + close.repeated(depth);
}

QByteArray quoted(const QByteArray &content)
{
    return '"' + content + '"';
}

} // namespace

class JsonTextTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void decodesEveryKindOfValue_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *text, const char *value) {
            QTest::newRow(rowName(text).constData())
                << QByteArray(text) << QString::fromUtf8(value);
        };
        row("null", "QVariant(std::nullptr_t, (nullptr))");
        row("true", "QVariant(bool, true)");
        row("false", "QVariant(bool, false)");
        row("[]", "[]");
        row("{}", "{}");
        row(" \t\r\n[ \t\r\n] \t\r\n", "[]");
        row("[1,[2,{\"a\":[]}],null]",
            "[QVariant(int, 1), [QVariant(int, 2), {a: []}], QVariant(std::nullptr_t, (nullptr))]");
        row("{\"b\":{\"c\":1},\"\":true,\"a\":[0]}",
            "{: QVariant(bool, true), a: [QVariant(int, 0)], b: {c: QVariant(int, 1)}}");
        row("\"\"", "QVariant(QString, \"\")");
        row("\xef\xbb\xbf[]", "[]");
        row("\xef\xbb\xbf {\r\n}\r\n", "{}");
    }

    void decodesEveryKindOfValue()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, value);
        Diagnostic error;
        const JsonText json = JsonText::parse(text, error);
        QVERIFY2(!json.isNull(), qPrintable(error.toString()));
        QCOMPARE(typedText(json.value(0)), value);
        QCOMPARE(json.text(), text);
    }

    void decodesNumbers_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("value");
        const auto row = [](const char *text, const char *value) {
            QTest::newRow(text) << QByteArray(text) << QString::fromLatin1(value);
        };
        row("0", "QVariant(int, 0)");
        row("-1", "QVariant(int, -1)");
        row("5.0", "QVariant(int, 5)");
        row("1e3", "QVariant(int, 1000)");
        row("1E+3", "QVariant(int, 1000)");
        row("12e-1", "double 1.2");
        row("0.1", "double 0.1");
        row("-0", "double -0");
        row("-0.0", "double -0");
        row("0e5", "QVariant(int, 0)");
        row("2147483647", "QVariant(int, 2147483647)");
        row("2147483648", "QVariant(qlonglong, 2147483648)");
        row("-2147483648", "QVariant(int, -2147483648)");
        row("-2147483649", "QVariant(qlonglong, -2147483649)");
        row("2147483648.0", "QVariant(qlonglong, 2147483648)");
        row("4294967295", "QVariant(qlonglong, 4294967295)");
        row("4294967296", "QVariant(qlonglong, 4294967296)");
        row("9007199254740991", "QVariant(qlonglong, 9007199254740991)");
        row("9007199254740992", "QVariant(qlonglong, 9007199254740992)");
        row("9007199254740993", "QVariant(qlonglong, 9007199254740993)");
        row("-9007199254740993", "QVariant(qlonglong, -9007199254740993)");
        row("9007199254740992.0", "QVariant(qlonglong, 9007199254740992)");
        row("9007199254740994.0", "double 9007199254740994");
        row("9223372036854775807", "QVariant(qlonglong, 9223372036854775807)");
        row("-9223372036854775808", "QVariant(qlonglong, -9223372036854775808)");
        row("9223372036854775808", "double 9223372036854776000");
        row("1e300", "double 1e+300");
        row("1.7976931348623157e308", "double 1.7976931348623157e+308");
        row("5e-324", "double 5e-324");
    }

    void decodesNumbers()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, value);
        Diagnostic error;
        const JsonText json = JsonText::parse(text, error);
        QVERIFY2(!json.isNull(), qPrintable(error.toString()));
        QCOMPARE(typedText(json.value(0)), value);
    }

    // Below the smallest double there is nothing but 0, as for a script.
    void takesATinyNumberForZero()
    {
        Diagnostic error;
        QCOMPARE(JsonText::parse("1e-400", error).value(0).toDouble(), 0.0);
    }

    void decodesStrings_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("string");
        QTest::newRow("plain") << QByteArray("pump") << QStringLiteral("pump");
        QTest::newRow("beyond ASCII") << QByteArray("\xc3\xbc\xe6\xb3\xb5\xf0\x9f\x9a\xb0")
                                      << QStringLiteral("\u00fc\u6cf5\U0001F6B0");
        QTest::newRow("all short escapes")
            << QByteArray(R"(\"\\\/\b\f\n\r\t)") << QStringLiteral("\"\\/\b\f\n\r\t");
        QTest::newRow("hexadecimal escapes")
            << QByteArray(R"(\u0041\u00fC\u6CF5)") << QStringLiteral("A\u00fc\u6cf5");
        QTest::newRow("NUL") << QByteArray(R"(a\u0000b)")
                             << QStringLiteral("a%1b").arg(QChar(QChar::Null));
        QTest::newRow("pair") << QByteArray(R"(\ud83d\uDEB0)") << QStringLiteral("\U0001F6B0");
        QTest::newRow("high surrogate alone")
            << QByteArray(R"(\ud83d!)") << QString(QChar(0xd83d)) + QLatin1Char('!');
        QTest::newRow("low surrogate alone") << QByteArray(R"(\udeb0)") << QString(QChar(0xdeb0));
        QTest::newRow("surrogates in the wrong order")
            << QByteArray(R"(\udeb0\ud83d)") << QString(QChar(0xdeb0)) + QChar(0xd83d);
        QTest::newRow("escape in front of more")
            << QByteArray(R"(\u00411)") << QStringLiteral("A1");
        QTest::newRow("an escaped backslash in front of u")
            << QByteArray(R"(\\u0041)") << QStringLiteral("\\u0041");
        QTest::newRow("DEL") << QByteArray("\x7f") << QStringLiteral("\u007f");
        QTest::newRow("byte order marks")
            << QByteArray("\xef\xbb\xbf\xef\xbb\xbf!") << QStringLiteral("\ufeff\ufeff!");
        QTest::newRow("byte order mark behind an escape")
            << QByteArray("\\n\xef\xbb\xbf") << QStringLiteral("\n\ufeff");
    }

    void decodesStrings()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, string);
        Diagnostic error;
        const JsonText json = JsonText::parse(quoted(text), error);
        QVERIFY2(!json.isNull(), qPrintable(error.toString()));
        QCOMPARE(json.value(0).toString(), string);
        QCOMPARE(json.string(0), string);

        const JsonText object = JsonText::parse('{' + quoted(text) + ":7}", error);
        QVERIFY2(!object.isNull(), qPrintable(error.toString()));
        QCOMPARE(object.value(object.member(0, string)).toInt(), 7);
        QCOMPARE(object.value(0).toMap().value(string).toInt(), 7);
    }

    void tellsWhatIsWrongAndWhere_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        const auto row = [](const QByteArray &text, const char *error) {
            QTest::newRow(rowName(text).constData()) << text << QString::fromUtf8(error);
        };
        // Values
        row("", "1:1: expected a value, found the end of the file");
        row(" \n  ", "2:3: expected a value, found the end of the file");
        row("nul", "1:1: expected a value, found 'n'");
        row("True", "1:1: expected a value, found 'T'");
        row("[NaN]", "1:2: expected a value, found 'N'");
        row("[,1]", "1:2: expected a value, found ','");
        row("['a']", "1:2: expected a value, found '''");
        row("// note\n{}", "1:1: expected a value, found '/'");
        row("[1,]", "1:4: expected a value, found ']'");
        row("{\"a\":}", "1:6: expected a value, found '}'");
        row("[\xc3\xa4]", "1:2: expected a value, found '\xc3\xa4'");
        row("[\x01]", "1:2: expected a value, found the control character U+0001");
        row(QByteArray("[\0]", 3), "1:2: expected a value, found the control character U+0000");
        row("{} {}", "1:4: expected nothing behind the outermost value, found '{'");
        row("nullx", "1:5: expected nothing behind the outermost value, found 'x'");
        row(QByteArray("1\0", 2),
            "1:2: expected nothing behind the outermost value, found the control character U+0000");
        // Arrays and objects
        row("[", "1:2: expected a value, found the end of the file");
        row("[1", "1:3: expected ',' or ']' after the element, found the end of the file");
        row("[1 2]", "1:4: expected ',' or ']' after the element, found '2'");
        row("[1}", "1:3: expected ',' or ']' after the element, found '}'");
        row("{",
            "1:2: expected a member's name in double quotes, or '}', found the end of the "
            "file");
        row("{a: 1}", "1:2: expected a member's name in double quotes, or '}', found 'a'");
        row("{\"a\":1,}", "1:8: expected a member's name in double quotes, found '}'");
        row("{\"a\" 1}", "1:6: expected ':' after the member's name, found '1'");
        row("{\"a\"", "1:5: expected ':' after the member's name, found the end of the file");
        row("{\"a\":1 \"b\":2}", "1:8: expected ',' or '}' after the member, found '\"'");
        row("{\"a\":1]", "1:7: expected ',' or '}' after the member, found ']'");
        // Members
        row("{\"a\":1,\"b\":2,\"a\":3}", "1:14: expected each member once, found a second \"a\"");
        row("{\"a\":1,\"\\u0061\":3}", "1:8: expected each member once, found a second \"a\"");
        row("[{\"o\":{\"x\":1,\n\"x\":1}}]",
            "2:1: expected each member once, found a second \"x\"");
        row("{\"\":1,\"\":1}", "1:7: expected each member once, found a second \"\"");
        // Numbers
        row("-", "1:2: expected a digit after '-', found the end of the file");
        row("[-a]", "1:3: expected a digit after '-', found 'a'");
        row("[+1]", "1:2: expected a value, found '+'");
        row("[.5]", "1:2: expected a value, found '.'");
        row("[1.]", "1:4: expected a digit after the decimal point, found ']'");
        row("[1.e5]", "1:4: expected a digit after the decimal point, found 'e'");
        row("[1e]", "1:4: expected a digit in the exponent, found ']'");
        row("[1e+]", "1:5: expected a digit in the exponent, found ']'");
        row("[0x10]", "1:3: expected ',' or ']' after the element, found 'x'");
        row("[007]", "1:2: expected a number without leading zeros");
        row("[-00]", "1:2: expected a number without leading zeros");
        row("[1e999]", "1:2: expected a number that a double can hold, found 1e999");
        row("[-1e309]", "1:2: expected a number that a double can hold, found -1e309");
        // Strings
        row("[\"a]",
            "1:2: expected '\"' at the end of the string that begins here, found the end "
            "of the file");
        row("[\"a\\\"]",
            "1:2: expected '\"' at the end of the string that begins here, found the "
            "end of the file");
        row("\"a\nb\"",
            "1:3: expected an escape sequence such as \\u000a in a string, found the "
            "control character itself");
        row(QByteArray("\"\0\"", 3),
            "1:2: expected an escape sequence such as \\u0000 in a "
            "string, found the control character itself");
        row("\"\x1f\"",
            "1:2: expected an escape sequence such as \\u001f in a string, found the "
            "control character itself");
        row("\"\\x41\"",
            "1:2: expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX after a "
            "backslash, found 'x'");
        row("\"\\U0041\"",
            "1:2: expected one of \\\" \\\\ \\/ \\b \\f \\n \\r \\t \\uXXXX after a "
            "backslash, found 'U'");
        row("\"\\u12g4\"", "1:6: expected four hexadecimal digits after \\u, found 'g'");
        row("\"\\u12\"", "1:6: expected four hexadecimal digits after \\u, found '\"'");
        row("\"\\u-123\"", "1:4: expected four hexadecimal digits after \\u, found '-'");
        // Places
        row("{\r\n\"a\": x}", "2:6: expected a value, found 'x'");
        row("{\n\n\t\"a\": x}", "3:7: expected a value, found 'x'");
        row("[\"\xc3\xa4\xe6\xb3\xb5\xf0\x9f\x9a\xb0\" x]",
            "1:8: expected ',' or ']' after the element, found 'x'");
        row("\xef\xbb\xbfx", "1:1: expected a value, found 'x'");
        row("\xef\xbb\xbf\n x", "2:2: expected a value, found 'x'");
        // What nobody sees on the screen
        row("[\xc2\xa0]", "1:2: expected a value, found the character U+00A0");
        row("[\xef\xbb\xbf]", "1:2: expected a value, found the character U+FEFF");
        row("[\x7f]", "1:2: expected a value, found the control character U+007F");
    }

    void tellsWhatIsWrongAndWhere()
    {
        QFETCH(QByteArray, text);
        Diagnostic error;
        QVERIFY(JsonText::parse(text, error).isNull());
        QTEST(QStringLiteral("%1:%2: %3").arg(error.line).arg(error.column).arg(error.message),
              "error");
        QCOMPARE(error.file, QString());
    }

    void namesARepeatedMemberOnOneLine()
    {
        Diagnostic error;
        QVERIFY(JsonText::parse(R"({ "a\nb": 1, "a\nb": 2 })", error).isNull());
        QVERIFY2(!error.message.contains(QLatin1Char('\n')), qPrintable(error.message));
    }

    void refusesWhatIsNotUtf8_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("column");
        QTest::newRow("continuation alone") << QByteArray("\x80") << 2;
        QTest::newRow("last continuation alone") << QByteArray("\xbf") << 2;
        QTest::newRow("behind other characters") << QByteArray("a\xc3\xa4\x80") << 4;
        QTest::newRow("2 bytes, overlong") << QByteArray("\xc0\x80") << 2;
        QTest::newRow("2 bytes, overlong, highest") << QByteArray("\xc1\xbf") << 2;
        QTest::newRow("3 bytes, overlong") << QByteArray("\xe0\x9f\xbf") << 2;
        QTest::newRow("4 bytes, overlong") << QByteArray("\xf0\x8f\xbf\xbf") << 2;
        QTest::newRow("high surrogate") << QByteArray("\xed\xa0\x80") << 2;
        QTest::newRow("pair of surrogates") << QByteArray("\xed\xa0\xbd\xed\xb8\x80") << 2;
        QTest::newRow("beyond Unicode") << QByteArray("\xf4\x90\x80\x80") << 2;
        QTest::newRow("5 bytes") << QByteArray("\xf8\x88\x80\x80\x80") << 2;
        QTest::newRow("0xfe") << QByteArray("\xfe") << 2;
        QTest::newRow("0xff") << QByteArray("\xff") << 2;
        QTest::newRow("2 bytes cut off") << QByteArray("\xc3") << 2;
        QTest::newRow("3 bytes cut off") << QByteArray("\xe6\xb3") << 2;
        QTest::newRow("4 bytes cut off") << QByteArray("\xf0\x9f\x9a") << 2;
        QTest::newRow("Latin-1") << QByteArray("f\xfcr") << 3;
    }

    void refusesWhatIsNotUtf8()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, column);
        Diagnostic error;
        for (const QByteArray &text : {quoted(bytes), '"' + bytes}) {
            QVERIFY(JsonText::parse(text, error).isNull());
            QCOMPARE(error.line, 1);
            QCOMPARE(error.column, column);
            QVERIFY2(error.message.startsWith(QLatin1String("expected UTF-8, found the byte 0x")),
                     qPrintable(error.message));
        }
    }

    void acceptsTheEdgesOfUtf8()
    {
        Diagnostic error;
        const QByteArray text("\"\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xed\x9f\xbf\xee\x80\x80\xef\xbf"
                              "\xbf\xf0\x90\x80\x80\xf4\x8f\xbf\xbf\"");
        const JsonText json = JsonText::parse(text, error);
        QVERIFY2(!json.isNull(), qPrintable(error.toString()));
        QCOMPARE(
            json.string(0).toUcs4(),
            QVector<uint>({0x7f, 0x80, 0x7ff, 0x800, 0xd7ff, 0xe000, 0xffff, 0x10000, 0x10ffff}));
    }

    void namesTheByteThatIsNotUtf8()
    {
        Diagnostic error;
        QVERIFY(JsonText::parse("[\"\xfc\"]", error).isNull());
        QCOMPARE(error.message, QStringLiteral("expected UTF-8, found the byte 0xfc"));
        // UTF-16 with its mark, as some editors save it.
        QVERIFY(JsonText::parse(QByteArray("\xff\xfe{\0}\0", 6), error).isNull());
        QCOMPARE(error.message, QStringLiteral("expected UTF-8, found the byte 0xff"));
    }

    void nestsTo512Levels()
    {
        Diagnostic error;
        const QByteArray arrays = nested(512, "[", "]");
        const QByteArray objects = nested(511, "{\"a\":", "}").replace(":}", ":{}}");
        for (const QByteArray &text : {arrays, objects}) {
            const JsonText json = JsonText::parse(text, error);
            QVERIFY2(!json.isNull(), qPrintable(error.toString()));
            QVERIFY(json.value(0).isValid());
            QCOMPARE(json.rawText(0), text);
        }
    }

    void refusesDeeperNesting_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("column");
        QTest::newRow("513 arrays") << nested(513, "[", "]") << 513;
        QTest::newRow("513 objects") << nested(513, "{\"a\":", "}") << 512 * 5 + 1;
        QTest::newRow("10,000 arrays") << nested(10000, "[", "]") << 513;
        QTest::newRow("100,000 arrays") << nested(100000, "[", "]") << 513;
        QTest::newRow("100,000 arrays without end") << nested(100000, "[", "") << 513;
        QTest::newRow("100,000 objects") << nested(100000, "{\"a\":", "}") << 512 * 5 + 1;
    }

    void refusesDeeperNesting()
    {
        QFETCH(QByteArray, text);
        Diagnostic error;
        QVERIFY(JsonText::parse(text, error).isNull());
        QCOMPARE(error.message, QStringLiteral("expected no nesting deeper than 512 levels"));
        QCOMPARE(error.line, 1);
        QTEST(error.column, "column");
    }

    void takesManyContainersSideBySide()
    {
        Diagnostic error;
        const QByteArray text = '[' + QByteArray("{},[],").repeated(10000) + "[]]";
        const JsonText json = JsonText::parse(text, error);
        QVERIFY2(!json.isNull(), qPrintable(error.toString()));
        QCOMPARE(json.value(0).toList().size(), 20001);
    }

    void refusesATextCutOffAnywhere()
    {
        const QByteArray text =
            "\xef\xbb\xbf{ \"a\\n\\u00e4\xc3\xa4\": [ -12.5e+3, true, false, "
            "null, {}, [] ],\r\n\t\"\xf0\x9f\x9a\xb0\" : { \"x\" : \"\\\\\" } }";
        Diagnostic whole;
        QVERIFY2(!JsonText::parse(text, whole).isNull(), qPrintable(whole.toString()));
        for (int size = 0; size < text.size(); ++size) {
            Diagnostic error;
            QVERIFY2(JsonText::parse(text.left(size), error).isNull(),
                     qPrintable(QString::number(size)));
            QVERIFY(!error.message.isEmpty() && error.line > 0 && error.column > 0);
        }
    }

    void givesTheRawTextOfItsElements()
    {
        Diagnostic error;
        const JsonText json = JsonText::parse(R"( { "\u0061" : 1.50 , "b" : [ 1e3 ] } )", error);
        const int a = json.member(0, QStringLiteral("a"));
        QCOMPARE(json.rawText(a), QByteArray("1.50"));
        QCOMPARE(json.rawText(a - 1), QByteArray(R"("\u0061")"));
        const int b = json.member(0, QStringLiteral("b"));
        QCOMPARE(json.rawText(b), QByteArray("[ 1e3 ]"));
        QCOMPARE(json.rawText(0), QByteArray(R"({ "\u0061" : 1.50 , "b" : [ 1e3 ] })"));
        QCOMPARE(json.member(0, QStringLiteral("c")), -1);
        QVERIFY(!json.isEmpty(0) && !json.isEmpty(b) && json.element(0).next == b + 2);
    }

    void findsOnlyMembersOfTheObjectItself()
    {
        Diagnostic error;
        const JsonText json = JsonText::parse(R"({ "a": { "b": 1 }, "c": "b" })", error);
        QCOMPARE(json.member(0, QStringLiteral("b")), -1);
        QVERIFY(json.member(json.member(0, QStringLiteral("a")), QStringLiteral("b")) > 0);
    }

    void placesAByteByLineAndCharacter()
    {
        Diagnostic error;
        const QByteArray text = "[\r\n \"\xc3\xa4\",\n1]";
        const JsonText json = JsonText::parse(text, error);
        const auto place = [&](const char *piece) {
            const Diagnostic diagnostic = json.placeOf(text.indexOf(piece), QStringLiteral("m"));
            return QStringLiteral("%1:%2 %3")
                .arg(diagnostic.line)
                .arg(diagnostic.column)
                .arg(diagnostic.message);
        };
        QCOMPARE(place("["), QStringLiteral("1:1 m"));
        QCOMPARE(place("\""), QStringLiteral("2:2 m"));
        QCOMPARE(place(","), QStringLiteral("2:5 m"));
        QCOMPARE(place("1]"), QStringLiteral("3:1 m"));
    }

    void looksAtNothingBehindTheText()
    {
        const QByteArray text("[true, false, null, 12]");
        for (int size = 0; size < text.size(); ++size) {
            Diagnostic expected;
            JsonText::parse(text.left(size), expected);
            Diagnostic error;
            // The same bytes, but in the middle of more, without a NUL at their end.
            JsonText::parse(QByteArray::fromRawData(text.constData(), size), error);
            QCOMPARE(error.toString(), expected.toString());
        }
    }
};

QTEST_GUILESS_MAIN(JsonTextTest)

#include "JsonTextTest.moc"
