#include "filehost/FileTreeNode.h"
#include "filehost/TypedText.h"
#include "support/StrictTest.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPoint>
#include <QTest>
#include <QUrl>

#include <limits>

using namespace ConfigScript;

namespace {

const QString s_a = QStringLiteral("a");
const QString s_new = QStringLiteral("new");
const QString s_locked = QStringLiteral("locked");

QSharedPointer<FileTreeNode> parse(const QByteArray &text)
{
    Diagnostic error;
    return FileTree::parse(text, {}, error);
}

/// A tree with a property "a", and a read-only one "locked".
QSharedPointer<FileTreeNode> treeWith(const QByteArray &value)
{
    return parse("{ \"properties\": { \"a\": " + value
                 + ", \"locked\": 7 }, \"readOnly\": [\"locked\", \"missing\"] }");
}

QSharedPointer<FileTreeNode> nodeAt(const QSharedPointer<FileTreeNode> &root, const QString &url)
{
    return root->getNode(url).staticCast<FileTreeNode>();
}

Message addWarning(const QString &text)
{
    return warning(
        QStringLiteral("virtual void ConfigScript::FileTreeNode::addProperty(const QString&, const "
                       "QVariant&)"),
        text);
}

void addValuesWithoutJsonForm()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *text, const QVariant &value) {
        QTest::newRow(text) << value << QString::fromLatin1(text);
    };
    row("QVariant(Invalid)", QVariant());
    row("QVariant(double, nan)", std::numeric_limits<double>::quiet_NaN());
    row("QVariant(double, inf)", std::numeric_limits<double>::infinity());
    row("QVariant(double, -inf)", -std::numeric_limits<double>::infinity());
    row("QVariant(QByteArray, \"a\")", QByteArray("a"));
    row("QVariant(QUrl, QUrl(\"a\"))", QUrl(s_a));
    row("QVariant(QPoint, QPoint(1,2))", QPoint(1, 2));
    row("QVariant(QVariantList, (QVariant(int, 1), QVariant(Invalid)))",
        QVariantList{1, QVariant()});
    row("QVariant(QVariantMap, QMap((\"a\", QVariant(Invalid))))", QVariantMap{{s_a, QVariant()}});
}

} // namespace

class FileTreeNodeTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void writesAChangedValue_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("after");
        const auto row = [](const char *name, const char *before, const QVariant &value,
                            const char *after) {
            QTest::newRow(name) << QByteArray(before) << value << QString::fromLatin1(after);
        };
        row("number", "1", 2, "QVariant(int, 2)");
        row("whole double", "1", 2.0, "QVariant(int, 2)");
        row("text instead of a number", "1", QStringLiteral("1"), "QVariant(QString, \"1\")");
        row("boolean instead of a number", "1", true, "QVariant(bool, true)");
        row("null", "0", QVariant::fromValue(nullptr), "QVariant(std::nullptr_t, (nullptr))");
        row("beyond 2^53", "9007199254740992", qlonglong(9007199254740993),
            "QVariant(qlonglong, 9007199254740993)");
        row("date", "null", QDateTime({2024, 2, 29}, {1, 2, 3, 4}, Qt::UTC),
            "QVariant(QString, \"2024-02-29T01:02:03.004Z\")");
        row("list of texts", "[]", QStringList{s_a}, "[QVariant(QString, \"a\")]");
        row("hash", "{}", QVariantHash{{s_a, 1.0}}, "{a: QVariant(int, 1)}");
        row("JSON array", "{}", QJsonArray{1.5}, "[double 1.5]");
        row("JSON document", "{}", QJsonDocument(QJsonArray{}), "[]");
    }

    void writesAChangedValue()
    {
        QFETCH(QByteArray, before);
        QFETCH(QVariant, value);
        const auto root = treeWith(before);
        QCOMPARE(root->setProperty(s_a, value), 0);
        QTEST(typedText(root->getProperty(s_a)), "after");
        QCOMPARE(root->setProperty(s_a, value), 1);
    }

    void refusesAnEqualValueOfAnyType_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QVariant>("value");
        const auto row = [](const char *before, const QVariant &value) {
            QTest::addRow("%s %s", before, value.typeName()) << QByteArray(before) << value;
        };
        row("5", 5);
        row("5", 5.0);
        row("5", 5.0f);
        row("5", 5u);
        row("5", qlonglong(5));
        row("5", qulonglong(5));
        row("5.0", 5);
        row("0", -0.0);
        row("-0", 0);
        row("0.1", 0.1);
        row("1e3", 1000);
        row("4294967296", 4294967296.0);
        row("4294967295", std::numeric_limits<uint>::max());
        row("true", true);
        row("null", QVariant::fromValue(nullptr));
        row("\"\\u0061\"", s_a);
        row("\"\"", QString());
        row("\"2024-02-29T01:02:03.004Z\"", QDateTime({2024, 2, 29}, {1, 2, 3, 4}, Qt::UTC));
        row("[\"a\"]", QStringList{s_a});
        row("[1, [2.0]]", QVariantList{1.0, QVariantList{2}});
        row("{\"b\": 1, \"a\": 2}", QVariantMap{{s_a, 2.0}, {QStringLiteral("b"), 1u}});
        row("{}", QVariantHash{});
    }

    void refusesAnEqualValueOfAnyType()
    {
        QFETCH(QByteArray, before);
        QFETCH(QVariant, value);
        const auto root = treeWith(before);
        const QByteArray text = root->text();
        QCOMPARE(root->setProperty(s_a, value), 1);
        QCOMPARE(root->text(), text);
    }

    // What is hard to write: a copy of the value reads as the value itself, whose text stays.
    void copiesAValueExactly_data()
    {
        QTest::addColumn<QByteArray>("value");
        for (const char *value :
             {"-0", "-0.0", "1e-400", "5e-324", "1.7976931348623157e308", "0.1", "1.50",
              "9007199254740993", "-9223372036854775808", "9223372036854775808", "\"\\ud83d\"",
              "\"\\udeb0\\ud83d\"", "\"\\ud83d\\ud83d\\udeb0\"", "\"\xf0\x9f\x9a\xb0\"",
              "\"\xef\xbb\xbfx\xef\xbb\xbf\"", "\"\\u0000\\u001f\x7f\"", "\"\xef\xbf\xbf\"",
              "{ \"\\ud83d\": [-0], \"\\udeb0\": {}, \"\": [[]] }"}) {
            QTest::newRow(value) << QByteArray(value);
        }
    }

    void copiesAValueExactly()
    {
        QFETCH(QByteArray, value);
        const auto root = treeWith(value);
        QVERIFY(root);
        const QVariant original = root->getProperty(s_a);
        QCOMPARE(root->setProperty(s_new, original), 0);
        const QByteArray text = root->text();
        QVERIFY2(text.startsWith("{ \"properties\": { \"a\": " + value + ','), text.constData());
        const auto again = parse(text);
        QVERIFY2(again, text.constData());
        QCOMPARE(typedText(again->getProperty(s_a)), typedText(original));
        QCOMPARE(typedText(again->getProperty(s_new)), typedText(original));
    }

    void takesNoValueTooDeepToBeReadAgain_data()
    {
        QTest::addColumn<int>("nodes");
        QTest::addColumn<int>("depth");
        QTest::addColumn<int>("status");
        // A node takes two levels, the object around its properties one.
        QTest::newRow("on the root") << 0 << 510 << 0;
        QTest::newRow("on the root, too deep") << 0 << 511 << 3;
        QTest::newRow("1,000 levels") << 0 << 1000 << 3;
        QTest::newRow("on the deepest node") << 255 << 0 << 0;
        QTest::newRow("on the deepest node, too deep") << 255 << 1 << 3;
    }

    void takesNoValueTooDeepToBeReadAgain()
    {
        QFETCH(int, nodes);
        QFETCH(int, depth);
        const auto root = parse(QByteArray("{\"children\":{\"a\":").repeated(nodes) + "{}"
                                + QByteArray("}}").repeated(nodes));
        const auto node = nodeAt(root, QStringLiteral("a/").repeated(nodes).chopped(nodes ? 1 : 0));
        QVERIFY(node);
        QVariant value = 1;
        for (int i = 0; i < depth; ++i) {
            value = QVariantList{value};
        }
        QTEST(node->setProperty(s_new, value), "status");
        QVERIFY(parse(root->text()));
    }

    void refusesAReadOnlyProperty()
    {
        const auto root = treeWith("1");
        const QByteArray text = root->text();
        QVERIFY(root->isReadOnly(s_locked) && !root->isReadOnly(s_a));
        for (const QVariant &value : {QVariant(8), QVariant(7), QVariant()}) {
            QCOMPARE(root->setProperty(s_locked, value), 2);
        }
        QCOMPARE(root->getProperty(s_locked).toInt(), 7);
        QCOMPARE(root->text(), text);
    }

    void refusesAValueWithoutJsonForm_data() { addValuesWithoutJsonForm(); }

    void refusesAValueWithoutJsonForm()
    {
        QFETCH(QVariant, value);
        const auto root = treeWith("1");
        const QByteArray text = root->text();
        QCOMPARE(root->setProperty(s_a, value), 3);
        QCOMPARE(root->getProperty(s_a).toInt(), 1);
        QCOMPARE(root->text(), text);
    }

    void addsNothingWithoutJsonForm_data() { addValuesWithoutJsonForm(); }

    void addsNothingWithoutJsonForm()
    {
        QFETCH(QVariant, value);
        QFETCH(QString, text);
        const auto root = treeWith("1");
        const QByteArray before = root->text();
        root->addProperty(s_new, value);
        EXPECT_MESSAGES({addWarning(
            QStringLiteral("Can not add property: \"new\" because its value has no JSON form: ")
            + text)});
        QVERIFY(!root->hasProperty(s_new));
        QCOMPARE(root->text(), before);
    }

    void addsNoReadOnlyProperty()
    {
        const auto root = treeWith("1");
        const QByteArray text = root->text();
        root->addProperty(QStringLiteral("missing"), 1);
        EXPECT_MESSAGES(
            {addWarning(QStringLiteral("Can not add read-only property: \"missing\""))});
        QVERIFY(!root->hasProperty(QStringLiteral("missing")));
        QCOMPARE(root->text(), text);
    }

    void addsAPropertyInItsJsonForm()
    {
        const auto root = treeWith("1");
        root->addProperty(s_new, QStringList{s_a});
        QCOMPARE(typedText(root->getProperty(s_new)), QStringLiteral("[QVariant(QString, \"a\")]"));
        QCOMPARE(root->propertyKeys(), QStringList({s_a, s_locked, s_new}));
        QCOMPARE(root->setProperty(s_new, QStringList{s_a}), 1);
        QCOMPARE(root->setProperty(s_new, 5), 0);
        QCOMPARE(parse(root->text())->getProperty(s_new).toInt(), 5);
    }

    // Whoever calls for the wrong one of the two must not make a file that nobody can read.
    void addsAPropertyThatItHasOnlyOnce()
    {
        const auto root = treeWith("1");
        root->addProperty(s_a, 2);
        root->addProperty(s_new, 3);
        root->addProperty(s_new, 4);
        takeMessages();
        QCOMPARE(root->propertyKeys(), QStringList({s_a, s_locked, s_new}));
        const auto reread = parse(root->text());
        QVERIFY2(reread, root->text().constData());
        for (const QString &key : {s_a, s_new}) {
            QCOMPARE(reread->getProperty(key).toInt(), root->getProperty(key).toInt());
        }
    }

    void losesNoValueThatItAcceptsForAMissingProperty()
    {
        const auto root = treeWith("1");
        const bool isWritten = root->setProperty(s_new, 5) == 0;
        QCOMPARE(root->hasProperty(s_new), isWritten);
        QCOMPARE(root->propertyKeys().contains(s_new), isWritten);
        QCOMPARE(parse(root->text())->hasProperty(s_new), isWritten);
    }

    void listsKeysAndNamesInTheOrderOfTheFile()
    {
        const auto root = parse(R"({
            "children": { "z": {}, "a": {}, "M": {} },
            "properties": { "z": 1, "\u0061": 2, "": 3 }
        })");
        QCOMPARE(root->propertyKeys(), QStringList({QStringLiteral("z"), s_a, QString()}));
        QCOMPARE(root->childNames(), QStringList({QStringLiteral("z"), s_a, QStringLiteral("M")}));
        const auto child = nodeAt(root, s_a);
        QVERIFY(child->propertyKeys().isEmpty() && child->childNames().isEmpty());
    }

    void listsItsChildrenInTheOrderOfTheFile()
    {
        const auto root = parse(R"({ "children": { "z": {}, "a": {} } })");
        const auto children = root->children();
        QCOMPARE(children.size(), 2);
        QCOMPARE(children.at(0)->path(), QStringLiteral("z"));
        QCOMPARE(children.at(1)->path(), s_a);
        QVERIFY(children.at(1)->children().isEmpty());
    }

    void tellsWhereAPropertyStands()
    {
        Diagnostic error;
        FileTree::Identity identity;
        identity.filePath = QStringLiteral("pump.json");
        const auto root = FileTree::parse(
            "{ \"properties\": { \"a\": 1 },\n  \"children\": {\n \"motor\": {} } }", identity,
            error);
        root->addProperty(s_new, 1);
        const QString message = QStringLiteral("broken");
        QCOMPARE(root->placeOf(s_a, message).toString(), QStringLiteral("pump.json:1:24: broken"));
        QCOMPARE(root->placeOf(s_new, message).toString(), QStringLiteral("pump.json:1:1: broken"));
        QCOMPARE(nodeAt(root, QStringLiteral("motor"))->placeOf(s_a, message).toString(),
                 QStringLiteral("pump.json:3:11: broken"));
    }

    void knowsItsPath_data()
    {
        QTest::addColumn<QString>("path");
        for (const char *path : {"", "motor", "motor/limits", "motor/limits/upper", "motor/z",
                                 "valve", "valve/motor", "valve/p\xc3\xa4rt 1", "valve/.."}) {
            QTest::newRow(path) << QString::fromUtf8(path);
        }
    }

    void knowsItsPath()
    {
        QFETCH(QString, path);
        const auto root = parse(R"({
            "properties": { "children": { "motor": {} } },
            "children": {
                "motor": {
                    "children": { "limits": { "x": [{}], "children": { "upper": {} } }, "z": {} }
                },
                "valve": { "children": { "motor": {}, "p\u00e4rt 1": {}, "..": {} } }
            }
        })");
        const auto node = nodeAt(root, path);
        QVERIFY(node);
        QCOMPARE(node->path(), path);
    }

    void takesNoDotsForWays()
    {
        const auto root = parse(R"({ "children": { "motor": { "children": { "a": {} } } } })");
        for (const char *url : {".", "..", "motor/..", "motor/./a", "motor/../motor"}) {
            QVERIFY2(!root->isUrlValid(QString::fromLatin1(url)), url);
        }
    }

    void givesTheTextOfOneNode()
    {
        const auto root =
            parse(R"( { "children": { "motor": { "properties": { "a": 1.50 } } } } )");
        const auto motor = nodeAt(root, QStringLiteral("motor"));
        QCOMPARE(motor->text(), QByteArray(R"({ "properties": { "a": 1.50 } })"));
        motor->setProperty(s_a, 2);
        QCOMPARE(motor->text(), QByteArray(R"({ "properties": { "a": 2 } })"));
        QCOMPARE(root->text(),
                 QByteArray(R"( { "children": { "motor": { "properties": { "a": 2 } } } } )"));
    }

    void keepsATreeDeepEnoughForEveryFile()
    {
        const int depth = 255;
        const QByteArray text = QByteArray("{\"children\":{\"a\":").repeated(depth) + "{}"
            + QByteArray("}}").repeated(depth);
        const auto root = parse(text);
        QVERIFY(root);
        const QString url = QStringLiteral("a/").repeated(depth).chopped(1);
        const auto deepest = nodeAt(root, url);
        QVERIFY(deepest);
        QCOMPARE(deepest->path(), url);
        deepest->addProperty(s_new, 1);
        QVERIFY(root->text().contains("{\"properties\":{\"new\":1}}"));
    }
};

QTEST_GUILESS_MAIN(FileTreeNodeTest)

#include "FileTreeNodeTest.moc"
