#include "filehost/FileTreeNode.h"
#include "filehost/json/JsonText.h"
#include "support/StrictTest.h"

#include <QTest>

using namespace ConfigScript;

namespace {

QVariant parse(const QByteArray &text)
{
    Diagnostic error;
    return JsonText::parse(text, error).value(0);
}

QSharedPointer<FileTreeNode> parseTree(const QByteArray &text)
{
    Diagnostic error;
    return FileTree::parse(text, {}, error);
}

/// Writes a property as the library does: a new one is added.
void write(FileTreeNode &root, const QString &relUrl, const QString &key, const QVariant &value)
{
    const auto node = root.getNode(relUrl);
    if (node->hasProperty(key)) {
        node->setProperty(key, value);
    } else {
        node->addProperty(key, value);
    }
}

const QByteArray s_pump = R"({
    "note": "kept as it is",
    "properties": {
        "speed": 1200,
        "ratio": 1.50,
        "limits": { "min": 0.0, "max": 3e3 },
        "name": "pump"
    },
    "children": {
        "motor": { "properties": { "current": 2.50 }, "x": [ ] },
        "valve": {}
    },
    "readOnly": []
}
)";

} // namespace

class JsonEditTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    // Each row: a node's text, a property "a" (JSON), the text that is expected.
    void changesOnlyTheValue_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QByteArray>("after");
        const auto row = [](const char *name, const char *before, const char *value,
                            const char *after) {
            QTest::newRow(name) << QByteArray(before) << QByteArray(value) << QByteArray(after);
        };
        const auto scalar = [&row](const char *name, const QByteArray &before, const char *value,
                                   const QByteArray &after) {
            row(name, "{\"properties\": {\"x\": 1, \"a\": " + before + ", \"b\": 2}}", value,
                "{\"properties\": {\"x\": 1, \"a\": " + after + ", \"b\": 2}}");
        };
        // Scalars
        scalar("number", "1200", "1300", "1300");
        scalar("fraction", "1.50", "1.25", "1.25");
        scalar("equal fraction", "1.50", "1.5", "1.50");
        scalar("equal exponent", "1e3", "1000", "1e3");
        scalar("equal whole number", "5.0", "5", "5.0");
        scalar("equal large number", "9007199254740993", "9007199254740993", "9007199254740993");
        scalar("neighbour of a large number", "9007199254740993", "9007199254740994",
               "9007199254740994");
        scalar("negative zero", "-0.0", "0", "-0.0");
        scalar("text", "\"p\\u0075mp\"", "\"valve\"", "\"valve\"");
        scalar("equal text", "\"p\\u0075mp\"", "\"pump\"", "\"p\\u0075mp\"");
        scalar("text to escape", "\"\"", "\"\\\"\\n\\u00e4\"", "\"\\\"\\n\xc3\xa4\"");
        scalar("number to text", "5", "\"5\"", "\"5\"");
        scalar("anything to null", "[ 1 ]", "null", "null");
        scalar("null to boolean", "null", "false", "false");
        // Maps
        scalar("one member of a map", "{\"max\": 1e3, \"min\": 0.0}", "{\"min\":1,\"max\":1000}",
               "{\"max\": 1e3, \"min\": 1}");
        scalar("equal map", "{ \"b\":1.0 ,\"a\" : [ 2e0 ] }", "{\"a\":[2],\"b\":1}",
               "{ \"b\":1.0 ,\"a\" : [ 2e0 ] }");
        scalar("map inside a map", "{\"in\": {\"b\": 1.0, \"a\": 2}, \"c\": 3.0}",
               "{\"in\":{\"a\":5,\"b\":1},\"c\":3}",
               "{\"in\": {\"b\": 1.0, \"a\": 5}, \"c\": 3.0}");
        scalar("escaped key", "{\"m\\u0069n\": 1, \"max\": 2.0}", "{\"min\":7,\"max\":2}",
               "{\"m\\u0069n\": 7, \"max\": 2.0}");
        scalar("first member removed", "{\"a\": 1.0, \"b\": 2.0}", "{\"b\":2}", "{\"b\": 2.0}");
        scalar("middle member removed", "{\"a\": 1.0, \"b\": 2.0, \"c\": 3.0}", "{\"a\":1,\"c\":3}",
               "{\"a\": 1.0, \"c\": 3.0}");
        scalar("last member removed", "{ \"a\": 1.0, \"b\": 2.0 }", "{\"a\":1}", "{ \"a\": 1.0 }");
        scalar("all members removed", "{ \"a\": 1.0, \"b\": 2.0 }", "{}", "{}");
        scalar("member added", "{ \"b\": 1.0, \"a\": 2 }", "{\"a\":2,\"b\":1,\"c\":[3]}",
               "{ \"b\": 1.0, \"a\": 2, \"c\": [3] }");
        scalar("member added to the only one", "{\"b\": 1.0}", "{\"a\":{\"x\":0},\"b\":1}",
               "{\"b\": 1.0, \"a\": { \"x\": 0 }}");
        scalar("member added to none", "{}", "{\"a\":1}", "{ \"a\": 1 }");
        scalar("member replaced", "{ \"a\": 1.0, \"b\": 2.0 }", "{\"b\":2,\"c\":3}",
               "{ \"b\": 2.0, \"c\": 3 }");
        scalar("all members replaced", "{ \"a\": 1, \"b\": 2 }", "{\"c\":3}", "{ \"c\": 3 }");
        scalar("map to list", "{\"a\": 1}", "[1]", "[1]");
        scalar("number to map", "1", "{\"b\":[1,2],\"a\":{}}", "{ \"a\": {}, \"b\": [1, 2] }");
        // Arrays
        scalar("one element", "[1.0, 2.0, 3.0]", "[1,5,3]", "[1.0, 5, 3.0]");
        scalar("element added", "[1.0, 2]", "[1,2,3]", "[1.0, 2, 3]");
        scalar("elements added to the only one", "[ 1.0 ]", "[1,2,3]", "[ 1.0, 2, 3 ]");
        scalar("element added to the only one, tight", "[1.0]", "[1,2]", "[1.0, 2]");
        scalar("element added to none", "[ ]", "[1,2]", "[1, 2]");
        scalar("last element removed", "[ 1.0, 2.0 ]", "[1]", "[ 1.0 ]");
        scalar("first element removed", "[ 1.50, 2.50, 3.50 ]", "[2.5,3.5]", "[ 2.50, 3.50 ]");
        scalar("element put in front", "[2.50, 3.50]", "[1,2.5,3.5]", "[1, 2.50, 3.50]");
        scalar("all elements removed", "[1, 2]", "[]", "[]");
        scalar("map inside an array", "[{\"b\": 1.0, \"a\": 2}, {}]", "[{\"a\":3,\"b\":1},{}]",
               "[{\"b\": 1.0, \"a\": 3}, {}]");
    }

    void changesOnlyTheValue()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, value);
        const auto root = parseTree(before);
        QVERIFY(root);
        write(*root, QString(), QStringLiteral("a"), parse(value));
        QTEST(root->text(), "after");
    }

    // Each row: a tree's text, a relative URL and a property, the text that is expected.
    void keepsTheLayout_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QString>("url");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QByteArray>("after");
        const auto row = [](const char *name, const char *before, const char *url,
                            const char *value, const char *after) {
            QTest::newRow(name) << QByteArray(before) << QString::fromLatin1(url)
                                << QByteArray(value) << QByteArray(after);
        };
        row("value in lines", "{\n  \"properties\": {\n    \"a\": 1\n  }\n}\n", "", "2",
            "{\n  \"properties\": {\n    \"a\": 2\n  }\n}\n");
        row("no line break at the end", "{\n \"properties\": {\n  \"a\": 1\n }\n}", "", "2",
            "{\n \"properties\": {\n  \"a\": 2\n }\n}");
        row("blanks around everything", " \n{ \"properties\" : { \"a\" :1 , \"b\":\t2 } }\n\n", "",
            "3", " \n{ \"properties\" : { \"a\" :3 , \"b\":\t2 } }\n\n");
        row("byte order mark", "\xef\xbb\xbf{\"properties\":{\"a\":1}}", "", "2",
            "\xef\xbb\xbf{\"properties\":{\"a\":2}}");
        row("added in lines", "{\n  \"properties\": {\n    \"b\": 1.0\n  }\n}\n", "", "2",
            "{\n  \"properties\": {\n    \"b\": 1.0,\n    \"a\": 2\n  }\n}\n");
        row("added with tabs", "{\n\t\"properties\": {\n\t\t\"b\": 1\n\t}\n}\n", "", "2",
            "{\n\t\"properties\": {\n\t\t\"b\": 1,\n\t\t\"a\": 2\n\t}\n}\n");
        row("added with CRLF", "{\r\n  \"properties\": {\r\n    \"b\": 1\r\n  }\r\n}\r\n", "", "2",
            "{\r\n  \"properties\": {\r\n    \"b\": 1,\r\n    \"a\": 2\r\n  }\r\n}\r\n");
        row("added on one line", "{ \"properties\": { \"b\": 1 } }", "", "2",
            "{ \"properties\": { \"b\": 1, \"a\": 2 } }");
        row("added on one line, tight", "{\"properties\": {\"b\": 1}}", "", "2",
            "{\"properties\": {\"b\": 1, \"a\": 2}}");
        row("added compactly", "{\"properties\":{\"b\":1}}", "", "{\"x\":[1,2]}",
            "{\"properties\":{\"b\":1,\"a\":{\"x\":[1,2]}}}");
        row("added to none in lines", "{\n    \"properties\": {}\n}", "", "2",
            "{\n    \"properties\": {\n        \"a\": 2\n    }\n}");
        row("added to none with tabs", "{\n\t\"properties\": { }\n}", "", "2",
            "{\n\t\"properties\": {\n\t\t\"a\": 2\n\t}\n}");
        row("added to none with CRLF", "{\r\n  \"properties\": {}\r\n}", "", "2",
            "{\r\n  \"properties\": {\r\n    \"a\": 2\r\n  }\r\n}");
        row("added to none on one line", "{ \"properties\": {} }", "", "2",
            "{ \"properties\": { \"a\": 2 } }");
        row("added to none compactly", "{\"properties\":{}}", "", "2",
            "{\"properties\":{\"a\":2}}");
        row("no properties in lines", "{\n  \"readOnly\": [ \"x\" ]\n}\n", "", "2",
            "{\n  \"properties\": {\n    \"a\": 2\n  },\n  \"readOnly\": [ \"x\" ]\n}\n");
        row("no properties with CRLF", "{\r\n\t\"x\": 0\r\n}", "", "2",
            "{\r\n\t\"properties\": {\r\n\t\t\"a\": 2\r\n\t},\r\n\t\"x\": 0\r\n}");
        row("no properties on one line", "{ \"readOnly\": [] }", "", "2",
            "{ \"properties\": { \"a\": 2 }, \"readOnly\": [] }");
        row("no properties compactly", "{\"readOnly\":[]}", "", "2",
            "{\"properties\":{\"a\":2},\"readOnly\":[]}");
        row("nothing", "{}", "", "2", "{\n  \"properties\": {\n    \"a\": 2\n  }\n}");
        row("no properties in a child", "{\n  \"children\": {\n    \"m\": {}\n  }\n}", "m", "2",
            "{\n  \"children\": {\n    \"m\": {\n      \"properties\": {\n        \"a\": 2\n"
            "      }\n    }\n  }\n}");
        row("no properties in a child on one line", "{ \"children\": { \"m\": {} } }", "m", "2",
            "{ \"children\": { \"m\": { \"properties\": { \"a\": 2 } } } }");
        row("array in lines grown",
            "{\n  \"properties\": {\n    \"a\": [\n      1.0,\n      2.0\n    ]\n  }\n}", "",
            "[1,2,3]",
            "{\n  \"properties\": {\n    \"a\": [\n      1.0,\n      2.0,\n      3\n    ]\n  }\n}");
        row("array in lines shrunk",
            "{\n  \"properties\": {\n    \"a\": [\n      1.0,\n      2.0\n    ]\n  }\n}", "", "[1]",
            "{\n  \"properties\": {\n    \"a\": [\n      1.0\n    ]\n  }\n}");
        row("member in lines removed",
            "{\n  \"properties\": {\n    \"a\": {\n      \"x\": 1.0,\n      \"y\": 2.0\n    }\n"
            "  }\n}",
            "", "{\"y\":2}",
            "{\n  \"properties\": {\n    \"a\": {\n      \"y\": 2.0\n    }\n  }\n}");
        row("last member in lines removed",
            "{\n  \"properties\": {\n    \"a\": {\n      \"x\": 1.0,\n      \"y\": 2.0\n    }\n"
            "  }\n}",
            "", "{\"x\":1}",
            "{\n  \"properties\": {\n    \"a\": {\n      \"x\": 1.0\n    }\n  }\n}");
        row("member in lines added",
            "{\n  \"properties\": {\n    \"a\": {\n      \"x\" : 1.0\n    }\n  }\n}", "",
            "{\"x\":1,\"y\":2}",
            "{\n  \"properties\": {\n    \"a\": {\n      \"x\" : 1.0,\n      \"y\" : 2\n    }\n"
            "  }\n}");
        row("new map in lines", "{\n  \"properties\": {\n    \"a\": 1\n  }\n}", "",
            "{\"x\":1,\"y\":[]}",
            "{\n  \"properties\": {\n    \"a\": { \"x\": 1, \"y\": [] }\n  }\n}");
        row("new key to escape", "{ \"properties\": { \"a\": {} } }", "", "{\"\\\"\\n\":1}",
            "{ \"properties\": { \"a\": { \"\\\"\\n\": 1 } } }");
    }

    void keepsTheLayout()
    {
        QFETCH(QByteArray, before);
        QFETCH(QString, url);
        QFETCH(QByteArray, value);
        const auto root = parseTree(before);
        QVERIFY(root);
        write(*root, url, QStringLiteral("a"), parse(value));
        QTEST(root->text(), "after");
    }

    void keepsAllThatItDoesNotKnow()
    {
        const auto root = parseTree(s_pump);
        write(*root, QString(), QStringLiteral("speed"), 1300);
        write(*root, QStringLiteral("motor"), QStringLiteral("current"), 3);
        QByteArray expected = s_pump;
        expected.replace("1200", "1300").replace("2.50", "3");
        QCOMPARE(root->text(), expected);
    }

    void changesManyPlacesAtOnce()
    {
        const auto root = parseTree(s_pump);
        write(*root, QString(), QStringLiteral("name"), QStringLiteral("valve"));
        write(*root, QString(), QStringLiteral("power"), 5.5);
        write(*root, QString(), QStringLiteral("area"), QVariant::fromValue(nullptr));
        write(*root, QStringLiteral("motor"), QStringLiteral("power"), 1);
        write(*root, QStringLiteral("valve"), QStringLiteral("isOpen"), true);
        write(*root, QString(), QStringLiteral("limits"),
              QVariantMap{{QStringLiteral("min"), 0}, {QStringLiteral("max"), 9}});
        QByteArray expected = s_pump;
        expected.replace("\"pump\"", "\"valve\",\n        \"power\": 5.5,\n        \"area\": null")
            .replace("2.50", "2.50, \"power\": 1")
            .replace("3e3", "9")
            .replace("{}",
                     "{\n            \"properties\": {\n                \"isOpen\": true\n"
                     "            }\n        }");
        QCOMPARE(root->text(), expected);
    }

    void changesAValueAddedBefore()
    {
        const auto root = parseTree("{ \"properties\": {} }");
        for (const int value : {1, 2, 2}) {
            write(*root, QString(), QStringLiteral("a"), value);
        }
        QCOMPARE(root->text(), QByteArray("{ \"properties\": { \"a\": 2 } }"));
    }

    void givesTheSameTextWithoutAChange()
    {
        for (const QByteArray &text :
             {s_pump, QByteArray("{}"), QByteArray("\xef\xbb\xbf {\r\n}\r\n")}) {
            QCOMPARE(parseTree(text)->text(), text);
        }
    }

    void givesTheSameTextAfterAChangeAndBack()
    {
        const auto root = parseTree(s_pump);
        const QVariant limits = root->getProperty(QStringLiteral("limits"));
        write(*root, QString(), QStringLiteral("ratio"), 2);
        write(*root, QString(), QStringLiteral("limits"), QVariantList{});
        write(*root, QStringLiteral("motor"), QStringLiteral("current"), QStringLiteral("none"));
        QVERIFY(root->text() != s_pump);
        write(*root, QString(), QStringLiteral("ratio"), 1.5);
        write(*root, QString(), QStringLiteral("limits"), limits);
        write(*root, QStringLiteral("motor"), QStringLiteral("current"), 2.5);
        QCOMPARE(root->text(), s_pump);
    }

    void givesATextThatReadsBackAsTheSameValue_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("after");
        const QVector<QByteArray> values{
            "0",
            "{}",
            "[]",
            "[1]",
            "[[1], [2, 3]]",
            "{ \"a\": { \"b\": 1, \"c\": [] }, \"d\": null }",
            "{\n\"d\": 1,\n\"a\": { \"b\": \",\" }\n}",
            "[\n{ \"a\": \"]\" },\n{}\n]",
            "[{\"a\":1},{\"b\":2}]",
        };
        for (int i = 0; i < values.size(); ++i) {
            for (int j = 0; j < values.size(); ++j) {
                QTest::addRow("%d to %d", i, j) << values.at(i) << values.at(j);
            }
        }
    }

    void givesATextThatReadsBackAsTheSameValue()
    {
        QFETCH(QByteArray, before);
        QFETCH(QByteArray, after);
        const QString a = QStringLiteral("a");
        const auto root = parseTree("{\n \"properties\": { \"a\": " + before + ", \"z\": 0 }\n}");
        write(*root, QString(), a, parse(after));
        const QByteArray text = root->text();
        const auto reread = parseTree(text);
        QVERIFY2(reread, text.constData());
        QCOMPARE(reread->getProperty(a), parse(after));
        QCOMPARE(reread->getProperty(QStringLiteral("z")).toInt(), 0);
        QCOMPARE(reread->setProperty(a, parse(after)), 1);
    }

    void givesTheTextOfAnInnerNode()
    {
        const auto root = parseTree(s_pump);
        write(*root, QString(), QStringLiteral("speed"), 1300);
        write(*root, QStringLiteral("motor"), QStringLiteral("current"), 3);
        const auto motor = root->getNode(QStringLiteral("motor")).staticCast<FileTreeNode>();
        QCOMPARE(motor->text(), QByteArray("{ \"properties\": { \"current\": 3 }, \"x\": [ ] }"));
    }
};

QTEST_GUILESS_MAIN(JsonEditTest)

#include "JsonEditTest.moc"
