#include "filehost/json/JsonValue.h"
#include "filehost/TypedText.h"
#include "filehost/json/JsonText.h"
#include "support/StrictTest.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QLocale>
#include <QPoint>
#include <QTest>
#include <QTimeZone>
#include <QUrl>

#include <limits>

using namespace ConfigScript;

namespace {

const QString s_a = QStringLiteral("a");

QVariant null()
{
    return QVariant::fromValue(nullptr);
}

template <typename Number>
QVariant largest()
{
    return QVariant::fromValue(std::numeric_limits<Number>::max());
}

} // namespace

class JsonValueTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    // Neither the numbers' nor the dates' texts may depend on where the program runs.
    void initTestCase() { QLocale::setDefault(QLocale(QLocale::French)); }

    void cleanupTestCase() { QLocale::setDefault(QLocale::c()); }

    void normalizesValuesOfAnyType_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("result");
        const auto row = [](const char *name, const QVariant &value, const char *result) {
            QTest::newRow(name) << value << QString::fromUtf8(result);
        };
        row("null", null(), "QVariant(std::nullptr_t, (nullptr))");
        row("true", true, "QVariant(bool, true)");
        row("int", 5, "QVariant(int, 5)");
        row("char", QVariant::fromValue('A'), "QVariant(int, 65)");
        row("signed char", QVariant::fromValue<signed char>(-1), "QVariant(int, -1)");
        row("unsigned char", largest<uchar>(), "QVariant(int, 255)");
        row("short", QVariant::fromValue<short>(-7), "QVariant(int, -7)");
        row("unsigned short", largest<ushort>(), "QVariant(int, 65535)");
        row("unsigned int", 7u, "QVariant(int, 7)");
        row("largest unsigned int", largest<uint>(), "QVariant(qlonglong, 4294967295)");
        row("long", QVariant::fromValue(-7L), "QVariant(int, -7)");
        row("unsigned long", QVariant::fromValue(7UL), "QVariant(int, 7)");
        row("small qlonglong", qlonglong(-5), "QVariant(int, -5)");
        row("2^31", qlonglong(1) << 31, "QVariant(qlonglong, 2147483648)");
        row("-2^31", -(qlonglong(1) << 31), "QVariant(int, -2147483648)");
        row("largest qlonglong", largest<qlonglong>(), "QVariant(qlonglong, 9223372036854775807)");
        row("small qulonglong", qulonglong(5), "QVariant(int, 5)");
        row("2^63", qulonglong(1) << 63, "double 9223372036854776000");
        row("float", 0.5f, "double 0.5");
        row("double", 0.1, "double 0.1");
        row("whole double", 5.0, "QVariant(int, 5)");
        row("negative zero", -0.0, "double -0");
        row("2^53 as double", 9007199254740992.0, "QVariant(qlonglong, 9007199254740992)");
        row("beyond 2^53 as double", 9007199254740994.0, "double 9007199254740994");
        row("text", s_a, "QVariant(QString, \"a\")");
        row("null text", QString(), "QVariant(QString, \"\")");
        row("list", QVariantList{5.0, QVariantList{}, null()},
            "[QVariant(int, 5), [], QVariant(std::nullptr_t, (nullptr))]");
        row("list of texts", QStringList{s_a}, "[QVariant(QString, \"a\")]");
        row("map", QVariantMap{{s_a, 5.0f}}, "{a: QVariant(int, 5)}");
        row("hash", QVariantHash{{s_a, QVariantHash{}}}, "{a: {}}");
        row("JSON null", QJsonValue(QJsonValue::Null), "QVariant(std::nullptr_t, (nullptr))");
        row("JSON number", QJsonValue(1.5), "double 1.5");
        row("JSON whole number", QJsonValue(5), "QVariant(int, 5)");
        row("JSON text", QJsonValue(s_a), "QVariant(QString, \"a\")");
        row("JSON array", QJsonArray{true, QJsonValue()},
            "[QVariant(bool, true), QVariant(std::nullptr_t, (nullptr))]");
        row("JSON object", QJsonObject{{s_a, 1}}, "{a: QVariant(int, 1)}");
        row("JSON document", QJsonDocument(QJsonArray{1}), "[QVariant(int, 1)]");
        row("JSON inside", QVariantList{QJsonObject{{s_a, 1}}}, "[{a: QVariant(int, 1)}]");
        row("UTC date", QDateTime({2024, 2, 29}, {12, 30, 5, 7}, Qt::UTC),
            "QVariant(QString, \"2024-02-29T12:30:05.007Z\")");
        row("date with an offset", QDateTime({2024, 1, 1}, {1, 0}, Qt::OffsetFromUTC, 2 * 3600),
            "QVariant(QString, \"2023-12-31T23:00:00.000Z\")");
        row("date in a zone", QDateTime({2024, 7, 1}, {12, 0}, QTimeZone("Asia/Kolkata")),
            "QVariant(QString, \"2024-07-01T06:30:00.000Z\")");
    }

    void normalizesValuesOfAnyType()
    {
        QFETCH(QVariant, value);
        const QVariant normalized = JsonValue::normalized(value);
        QTEST(typedText(normalized), "result");
        QCOMPARE(typedText(JsonValue::normalized(normalized)), typedText(normalized));
    }

    void refusesWhatHasNoJsonForm_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::newRow("invalid") << QVariant();
        QTest::newRow("NaN") << QVariant(std::numeric_limits<double>::quiet_NaN());
        QTest::newRow("infinity") << QVariant(std::numeric_limits<double>::infinity());
        QTest::newRow("-infinity") << QVariant(-std::numeric_limits<double>::infinity());
        QTest::newRow("infinite float") << QVariant(std::numeric_limits<float>::infinity());
        QTest::newRow("invalid date") << QVariant(QDateTime());
        // Of years without four digits Qt makes an empty text.
        QTest::newRow("date behind the year 9999")
            << QVariant(QDateTime({10000, 1, 1}, {}, Qt::UTC));
        QTest::newRow("date before the year 0") << QVariant(QDateTime({-1, 1, 1}, {}, Qt::UTC));
        QTest::newRow("undefined") << QVariant(QJsonValue(QJsonValue::Undefined));
        QTest::newRow("null document") << QVariant(QJsonDocument());
        QTest::newRow("bytes") << QVariant(QByteArray("a"));
        QTest::newRow("URL") << QVariant(QUrl(QStringLiteral("file:///a")));
        QTest::newRow("point") << QVariant(QPoint(1, 2));
        QTest::newRow("pointer") << QVariant::fromValue<void *>(nullptr);
        QTest::newRow("object") << QVariant::fromValue<QObject *>(nullptr);
    }

    void refusesWhatHasNoJsonForm()
    {
        QFETCH(QVariant, value);
        QVERIFY(!JsonValue::normalized(value).isValid());
        QVERIFY(!JsonValue::normalized(QVariantList{1, value}).isValid());
        QVERIFY(!JsonValue::normalized(QVariantMap{{s_a, value}}).isValid());
        QVERIFY(!JsonValue::normalized(QVariantHash{{s_a, QVariantList{value}}}).isValid());
    }

    void comparesValues_data()
    {
        QTest::addColumn<QVariant>("left");
        QTest::addColumn<QVariant>("right");
        QTest::addColumn<bool>("areEqual");
        const qlonglong beyond = (qlonglong(1) << 53) + 1;
        QTest::newRow("numbers") << QVariant(5) << QVariant(5) << true;
        QTest::newRow("int and double") << QVariant(5) << QVariant(5.0) << true;
        QTest::newRow("int and qlonglong") << QVariant(5) << QVariant(qlonglong(5)) << true;
        QTest::newRow("zeros") << QVariant(0) << QVariant(-0.0) << true;
        QTest::newRow("close numbers") << QVariant(1.0) << QVariant(1.0 + 1e-15) << false;
        QTest::newRow("whole numbers beyond 2^53")
            << QVariant(beyond) << QVariant(beyond - 1) << false;
        QTest::newRow("number and text") << QVariant(5) << QVariant(QStringLiteral("5")) << false;
        QTest::newRow("number and boolean") << QVariant(1) << QVariant(true) << false;
        QTest::newRow("null and 0") << null() << QVariant(0) << false;
        QTest::newRow("null and empty text") << null() << QVariant(QString()) << false;
        QTest::newRow("nulls") << null() << null() << true;
        QTest::newRow("empty texts") << QVariant(QString()) << QVariant(QStringLiteral("")) << true;
        QTest::newRow("case") << QVariant(s_a) << QVariant(QStringLiteral("A")) << false;
        QTest::newRow("lists") << QVariant(QVariantList{1, 2.0}) << QVariant(QVariantList{1, 2})
                               << true;
        QTest::newRow("order") << QVariant(QVariantList{1, 2}) << QVariant(QVariantList{2, 1})
                               << false;
        QTest::newRow("longer list")
            << QVariant(QVariantList{1}) << QVariant(QVariantList{1, 1}) << false;
        QTest::newRow("text in lists")
            << QVariant(QVariantList{1}) << QVariant(QVariantList{QStringLiteral("1")}) << false;
        QTest::newRow("maps") << QVariant(QVariantMap{{s_a, QVariantList{0}}})
                              << QVariant(QVariantMap{{s_a, QVariantList{-0.0}}}) << true;
        QTest::newRow("other key") << QVariant(QVariantMap{{s_a, 1}})
                                   << QVariant(QVariantMap{{QStringLiteral("b"), 1}}) << false;
        QTest::newRow("empty list and map")
            << QVariant(QVariantList{}) << QVariant(QVariantMap{}) << false;
        QTest::newRow("none") << QVariant() << QVariant() << true;
        QTest::newRow("none and null") << QVariant() << null() << false;
        QTest::newRow("none and 0") << QVariant() << QVariant(0) << false;
        QTest::newRow("none and empty text") << QVariant() << QVariant(QString()) << false;
    }

    void comparesValues()
    {
        QFETCH(QVariant, left);
        QFETCH(QVariant, right);
        QTEST(JsonValue::areEqual(left, right), "areEqual");
        QTEST(JsonValue::areEqual(right, left), "areEqual");
    }

    void writesValues_data()
    {
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QByteArray>("spaced");
        QTest::addColumn<QByteArray>("compact");
        const auto row = [](const char *spaced, const QVariant &value, const char *compact) {
            QTest::newRow(spaced) << value << QByteArray(spaced) << QByteArray(compact);
        };
        const auto scalar = [&row](const char *text, const QVariant &value) {
            row(text, value, text);
        };
        scalar("null", null());
        scalar("true", true);
        scalar("false", false);
        scalar("-2147483648", std::numeric_limits<int>::min());
        scalar("9223372036854775807", largest<qlonglong>());
        scalar("0.1", 0.1);
        scalar("-0", -0.0);
        scalar("1234567.5", 1234567.5);
        scalar("0.30000000000000004", 0.1 + 0.2);
        scalar("1.7976931348623157e+308", largest<double>());
        scalar("5e-324", std::numeric_limits<double>::denorm_min());
        scalar("{}", QVariantMap{});
        scalar("[]", QVariantList{});
        scalar("[[]]", QVariantList{QVariantList{}});
        row("[1, [2, 3], {}]", QVariantList{1, QVariantList{2, 3}, QVariantMap{}}, "[1,[2,3],{}]");
        row("{ \"\": null, \"a\": { \"b\": [1] } }",
            QVariantMap{{QString(), null()},
                        {s_a, QVariantMap{{QStringLiteral("b"), QVariantList{1}}}}},
            "{\"\":null,\"a\":{\"b\":[1]}}");
    }

    void writesValues()
    {
        QFETCH(QVariant, value);
        QTEST(JsonValue::toText(value, JsonValue::Layout::Spaced), "spaced");
        QTEST(JsonValue::toText(value, JsonValue::Layout::Compact), "compact");
    }

    void writesStrings_data()
    {
        QTest::addColumn<QString>("string");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("null") << QString() << QByteArray("\"\"");
        QTest::newRow("plain") << QStringLiteral("a/b'c") << QByteArray("\"a/b'c\"");
        QTest::newRow("quote and backslash")
            << QStringLiteral("\"\\") << QByteArray("\"\\\"\\\\\"");
        QTest::newRow("short escapes")
            << QStringLiteral("\b\f\n\r\t") << QByteArray("\"\\b\\f\\n\\r\\t\"");
        QTest::newRow("other control characters")
            << QString(QChar(QChar::Null)) + QStringLiteral("\u0001\u000b\u001f\u007f")
            << QByteArray("\"\\u0000\\u0001\\u000b\\u001f\x7f\"");
        QTest::newRow("beyond ASCII") << QStringLiteral("\u00fc\u6cf5\U0001F6B0\u2028\ufeff")
                                      << QByteArray("\"\xc3\xbc\xe6\xb3\xb5\xf0\x9f\x9a\xb0\xe2\x80"
                                                    "\xa8\xef\xbb\xbf\"");
        QTest::newRow("between plain characters")
            << QStringLiteral("\ufeffab\n\ufeffc\"d\U0001F6B0\\")
            << QByteArray("\"\xef\xbb\xbf"
                          "ab\\n\xef\xbb\xbf"
                          "c\\\"d\xf0\x9f\x9a\xb0\\\\\"");
        QTest::newRow("high surrogate alone")
            << QString(QChar(0xd83d)) + s_a << QByteArray("\"\\ud83da\"");
        QTest::newRow("high surrogate last") << QString(QChar(0xd83d)) << QByteArray("\"\\ud83d\"");
        QTest::newRow("low surrogate alone") << QString(QChar(0xdeb0)) << QByteArray("\"\\udeb0\"");
        QTest::newRow("high surrogate in front of a pair") << QString(QChar(0xd83d))
                + QStringLiteral("\U0001F6B0") << QByteArray("\"\\ud83d\xf0\x9f\x9a\xb0\"");
    }

    void writesStrings()
    {
        QFETCH(QString, string);
        const QByteArray text = JsonValue::toText(string);
        QTEST(text, "text");
        QCOMPARE(JsonValue::toText(QVariant(string), JsonValue::Layout::Compact), text);
        Diagnostic error;
        QCOMPARE(JsonText::parse(text, error).value(0).toString(), string);
    }

    void readsBackEveryDouble_data()
    {
        QTest::addColumn<double>("number");
        for (const double number :
             {0.1, 1.0 / 3, 1e-7, 1e21, 1e22 + 1e7, 123456789.125, 9007199254740993.0, 4.35,
              2.2250738585072014e-308, 1.7976931348623157e308, 5e-324, -1e100}) {
            QTest::addRow("%.17g", number) << number;
        }
    }

    void readsBackEveryDouble()
    {
        QFETCH(double, number);
        const QByteArray text = JsonValue::toText(number, JsonValue::Layout::Compact);
        Diagnostic error;
        const JsonText json = JsonText::parse(text, error);
        QVERIFY2(!json.isNull(), qPrintable(error.toString()));
        const double reread = json.value(0).toDouble();
        QVERIFY2(reread == number, text.constData());
    }
};

QTEST_GUILESS_MAIN(JsonValueTest)

#include "JsonValueTest.moc"
