#include "runner/scripttest/JsonLines.h"
#include "filehost/JsonText.h"
#include "support/StrictTest.h"

#include <QTest>

class JsonLinesTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void laysOutValues_data();
    void laysOutValues();
    void keepsTheValue_data();
    void keepsTheValue();
};

void JsonLinesTest::laysOutValues_data()
{
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<int>("openLevels");
    QTest::addColumn<QByteArray>("text");
    const auto add = [](const char *name, const QByteArray &value, int openLevels,
                        const QByteArray &text) {
        QTest::newRow(name) << value << openLevels << text;
    };
    add("scalar", "5.0", 3, "5");
    add("empty object", "{ }", 3, "{}");
    add("empty array", "[ ]", 3, "[]");
    add("on one line", "{\"b\":[1,2],\"a\":{}}", 0, "{ \"a\": {}, \"b\": [1, 2] }");
    add("one level open", "{\"b\":[1,2],\"a\":{}}", 1, "{\n    \"a\": {},\n    \"b\": [1, 2]\n  }");
    add("two levels open", "{\"b\":[1,{}]}", 2, "{\n    \"b\": [\n      1,\n      {}\n    ]\n  }");
    // The first line begins behind two blanks.
    const QByteArray fitting = '"' + QByteArray(94, 'x') + '"';
    const QByteArray tooLong = '"' + QByteArray(95, 'x') + '"';
    add("line that is full", '[' + fitting + ']', 0, '[' + fitting + ']');
    add("line that is too long", '[' + tooLong + ']', 0, "[\n    " + tooLong + "\n  ]");
    add("long text", tooLong + ' ', 0, tooLong);
    add("inner line that is too long", "{ \"a\": [" + tooLong + "], \"b\": [1] }", 1,
        "{\n    \"a\": [\n      " + tooLong + "\n    ],\n    \"b\": [1]\n  }");
}

void JsonLinesTest::laysOutValues()
{
    QFETCH(const QByteArray, value);
    QFETCH(const int, openLevels);
    QFETCH(const QByteArray, text);
    Diagnostic error;
    QCOMPARE(JsonLines::toText(JsonText::parse(value, error).value(0), "  ", openLevels), text);
}

void JsonLinesTest::keepsTheValue_data()
{
    QTest::addColumn<int>("openLevels");
    for (int levels = 0; levels < 5; ++levels) {
        QTest::addRow("%d", levels) << levels;
    }
}

void JsonLinesTest::keepsTheValue()
{
    QFETCH(const int, openLevels);
    const QByteArray text("{ \"a\": [1, [], {}, { \"b\": null, \"\\\"\": \"\\n\" }], \"c\": \""
                          + QByteArray(200, 'x') + "\", \"d\": { \"e\": [-0.0, 1e300] } }");
    Diagnostic error;
    const QVariant value = JsonText::parse(text, error).value(0);
    const QByteArray lines = JsonLines::toText(value, "      ", openLevels);
    QCOMPARE(JsonText::parse(lines, error).value(0), value);
}

QTEST_GUILESS_MAIN(JsonLinesTest)
#include "JsonLinesTest.moc"
