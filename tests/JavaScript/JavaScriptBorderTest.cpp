#include "HandlerFixture.h"
#include "HostValue.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

namespace {

const QString motor = QStringLiteral("motor");
const QString speed = QStringLiteral("speed");

} // namespace

/// Values on their way between scripts and the host.
class JavaScriptBorderTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void scriptsSeeAHostValueAsTheirOwn_data()
    {
        QTest::addColumn<QVariant>("stored");
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QString>("result");

        const QVariant limits = QVariantMap{
            {QStringLiteral("min"), 0},
            {QStringLiteral("max"), 3000},
            {QStringLiteral("of"), QVariantList{1, QVariantMap{{QStringLiteral("a"), true}}}},
            {QStringLiteral("none"), QVariant::fromValue(nullptr)}};
        QTest::newRow("map: type") << limits << "typeof v"
                                   << "object";
        QTest::newRow("map: member") << limits << "v.max + 1"
                                     << "3001";
        QTest::newRow("map: missing member") << limits << "v.unknown"
                                             << "undefined";
        QTest::newRow("map: nested list") << limits << "v.of.length + ' ' + Array.isArray(v.of)"
                                          << "2 true";
        QTest::newRow("map: nested map") << limits << "v.of[1].a"
                                         << "true";
        QTest::newRow("map: null member") << limits << "v.none === null"
                                          << "true";
        QTest::newRow("map: keys") << limits << "Object.keys(v).join()"
                                   << "max,min,none,of";
        QTest::newRow("map: enumeration")
            << limits << "var keys = []; for (var key in v) { keys.push(key); } keys.join()"
            << "max,min,none,of";
        QTest::newRow("map: as JSON") << limits << "JSON.stringify(v)"
                                      << R"({"max":3000,"min":0,"none":null,"of":[1,{"a":true}]})";
        QTest::newRow("map: in") << limits << "('min' in v) + ' ' + ('mid' in v)"
                                 << "true false";
        QTest::newRow("map: change of the copy")
            << limits << "v.max = 5; v.more = 6; v.max + v.more"
            << "11";
        QTest::newRow("empty map") << QVariant(QVariantMap()) << "JSON.stringify(v)"
                                   << "{}";
        QTest::newRow("JSON document of an object")
            << QVariant(QJsonDocument(QJsonObject{{QStringLiteral("a"), 1}})) << "v.a"
            << "1";
        QTest::newRow("JSON document of an array")
            << QVariant(QJsonDocument(QJsonArray{1, 2})) << "Array.isArray(v) + ' ' + v.join()"
            << "true 1,2";
        QTest::newRow("empty JSON array") << QVariant(QJsonDocument(QJsonArray())) << "v.length"
                                          << "0";
        QTest::newRow("null JSON document") << QVariant(QJsonDocument()) << "v === null"
                                            << "true";
        QTest::newRow("list") << QVariant(QVariantList{1, QStringLiteral("a")})
                              << "Array.isArray(v) + ' ' + v.join()"
                              << "true 1,a";
        QTest::newRow("text list")
            << QVariant(QStringList{QStringLiteral("a")}) << "v.length + v[0]"
            << "1a";
        QTest::newRow("number") << QVariant(1200) << "typeof v + v"
                                << "number1200";
        QTest::newRow("fraction") << QVariant(0.1) << "v === 0.1"
                                  << "true";
        QTest::newRow("2^31") << QVariant(2147483648.0) << "v"
                              << "2147483648";
        QTest::newRow("2^53") << QVariant(9007199254740992.0) << "v"
                              << "9007199254740992";
        QTest::newRow("text") << QVariant(QStringLiteral("Ω \"q\"")) << "typeof v + v"
                              << "stringΩ \"q\"";
        QTest::newRow("bool") << QVariant(false) << "v === false"
                              << "true";
        QTest::newRow("null") << QVariant::fromValue(nullptr) << "v === null"
                              << "true";
        QTest::newRow("no value") << QVariant() << "v === undefined"
                                  << "true";
        QTest::newRow("date") << QVariant(QDateTime(QDate(2020, 2, 29), QTime(12, 0), Qt::UTC))
                              << "v.toISOString()"
                              << "2020-02-29T12:00:00.000Z";
    }

    void scriptsSeeAHostValueAsTheirOwn()
    {
        QFETCH(QVariant, stored);
        QFETCH(QString, expression);
        QFETCH(QString, result);
        HandlerFixture fixture;
        const auto root = fixture.makeRoot(stored);
        fixture.rootPointerHandler.root = root;
        fixture.handler.initializeHandler(root, QStringLiteral(R"(
            function onOpen(api) { report(api, api.getProperty("motor", "speed")); }
            function onSave(api, url) { report(api, api.getPropertyExtern(url, "speed")); }
            function report(api, value) {
                api.setError("", (function(v) { return String(eval(expression)); })(value));
            })"),
                                          QString());
        fixture.handler.initializeJavaScriptEngine(
            QStringLiteral("var expression = %1;").arg(argumentText(expression)));

        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({result}));
        QVERIFY(fixture.handler.callFunctionOnSave(ownUrl()));
        QCOMPARE(fixture.takeErrorIds(), QStringList({result}));
    }

    void scriptsSeeUnitTextsAsAnObject()
    {
        TestHost::useUnits(
            {{QStringLiteral("bar"), {{QStringLiteral("en"), QStringLiteral("Bar")}}}});
        HandlerFixture fixture;
        TestHost::useUnits({});
        fixture.initialize(QStringLiteral(R"(
            function onOpen(api) {
                api.setError("", JSON.stringify(api.getAllUnitTexts("bar")));
                api.setError("", String(api.getAllUnitTexts("unknown")));
                api.setError("", String(api.getAllUnitTexts({ name: "bar" })));
                api.setError("", String(api.getAllUnitTexts([1, 2])));
            })"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const QString unitTexts =
            QStringLiteral("QVariant JavaScriptApi::getAllUnitTexts(const QVariant&) const");
        EXPECT_MESSAGES({warning(unitTexts,
                                 QStringLiteral("Can not convert to string: QVariant(QVariantMap, "
                                                "QMap((\"name\", QVariant(QString, \"bar\"))))")),
                         warning(unitTexts,
                                 QStringLiteral("Can not convert to string: QVariant(QVariantList, "
                                                "(QVariant(int, 1), QVariant(int, 2)))"))});
        QCOMPARE(fixture.takeErrorIds(),
                 QStringList({QStringLiteral("{\"en\":\"Bar\"}"), QStringLiteral("null"),
                              QStringLiteral("undefined"), QStringLiteral("undefined")}));
    }

    void scriptsSeeAListingAsAnArrayOfObjects()
    {
        HandlerFixture fixture;
        const auto root = fixture.makeNode(QStringLiteral("root"));
        const auto child = fixture.makeNode(QStringLiteral("child"));
        child->properties.insert(QStringLiteral("labelTextId"), QStringLiteral("id"));
        root->children.insert(QStringLiteral("child"), child);
        fixture.rootPointerHandler.root = root;
        fixture.initialize(QStringLiteral(R"(
            function onSave(api, url) {
                var list = api.getListOfNodeInstancesWithText(url, true);
                api.setError("", Array.isArray(list) + " " + list.length);
                api.setError(list[0].url, list[0].text);
                api.setError("", Object.keys(list[0]).sort().join());
                api.setError("", String(api.getListOfNodeInstancesWithText(url, false)[0].text));
            })"));
        QVERIFY(fixture.handler.callFunctionOnSave(ownUrl()));
        QCOMPARE(fixture.takeErrorIds(),
                 QStringList({QStringLiteral("true 1"), QStringLiteral("text of id"),
                              QStringLiteral("text,url"), QStringLiteral("id")}));
    }

    void scriptsSeeTheOtherResults()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onOpen(api) {
                api.setError("", String(api.isUrlValid("motor") === true));
                api.setError("", String(api.getHostTypeName() === "sorbAVEN"));
                api.setError("", String(api.setProperty("motor", "speed", 1) === undefined));
                api.setError("", String(api.setError("", "itself") === undefined));
            })"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const QString yes = QStringLiteral("true");
        QCOMPARE(fixture.takeErrorIds(),
                 QStringList({yes, yes, yes, QStringLiteral("itself"), yes}));
    }

    void theHostReceivesAScriptsValueAsPlainData_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::addColumn<QVariant>("received");
        QTest::newRow("object") << "{ min: 0, max: 0.5 }"
                                << QVariant(QVariantMap{{QStringLiteral("min"), 0},
                                                        {QStringLiteral("max"), 0.5}});
        QTest::newRow("empty object") << "{}" << QVariant(QVariantMap());
        QTest::newRow("object without prototype")
            << "Object.assign(Object.create(null), { a: 1 })"
            << QVariant(QVariantMap{{QStringLiteral("a"), 1}});
        QTest::newRow("array") << "[1, 'a', true]"
                               << QVariant(QVariantList{1, QStringLiteral("a"), true});
        QTest::newRow("empty array") << "[]" << QVariant(QVariantList());
        QTest::newRow("array of one text")
            << "['a']" << QVariant(QVariantList{QStringLiteral("a")});
        QTest::newRow("array of texts")
            << "['a', 'b']" << QVariant(QVariantList{QStringLiteral("a"), QStringLiteral("b")});
        QTest::newRow("array of arrays")
            << "[[1], []]"
            << QVariant(QVariantList{QVariant(QVariantList{1}), QVariant(QVariantList())});
        QTest::newRow("nested")
            << "{ list: [{ deep: ['a'] }, null], of: { a: 'b' } }"
            << QVariant(QVariantMap{{QStringLiteral("list"),
                                     QVariantList{QVariantMap{{QStringLiteral("deep"),
                                                               QVariantList{QStringLiteral("a")}}},
                                                  QVariant::fromValue(nullptr)}},
                                    {QStringLiteral("of"),
                                     QVariantMap{{QStringLiteral("a"), QStringLiteral("b")}}}});
        QTest::newRow("instance of a class")
            << "new (class { constructor() { this.a = 1; } twice() { return 2 * this.a; } })"
            << QVariant(QVariantMap{{QStringLiteral("a"), 1}});
        QTest::newRow("parsed JSON")
            << "JSON.parse('{ \"a\": [1] }')"
            << QVariant(QVariantMap{{QStringLiteral("a"), QVariantList{1}}});
        QTest::newRow("number") << "1200" << QVariant(1200);
        QTest::newRow("fraction") << "0.1" << QVariant(0.1);
        QTest::newRow("2^31 - 1") << "2147483647" << QVariant(2147483647);
        QTest::newRow("2^31") << "2147483648" << QVariant(2147483648.0);
        QTest::newRow("2^53") << "9007199254740992" << QVariant(9007199254740992.0);
        QTest::newRow("text") << "'Ω'" << QVariant(QStringLiteral("Ω"));
        QTest::newRow("text like JSON") << "'[1]'" << QVariant(QStringLiteral("[1]"));
        QTest::newRow("empty text") << "''" << QVariant(QString());
        QTest::newRow("true") << "true" << QVariant(true);
        QTest::newRow("null") << "null" << QVariant::fromValue(nullptr);
        QTest::newRow("undefined") << "undefined" << QVariant();
        QTest::newRow("date") << "new Date(Date.UTC(2020, 1, 29, 12))"
                              << QVariant(QDateTime(QDate(2020, 2, 29), QTime(12, 0), Qt::UTC));
        QTest::newRow("date inside")
            << "[new Date(Date.UTC(2020, 1, 29, 12))]"
            << QVariant(QVariantList{QDateTime(QDate(2020, 2, 29), QTime(12, 0), Qt::UTC)});
        QTest::newRow("what is no data, inside")
            << "[Symbol('a'), function() {}, api, class {}, undefined]"
            << QVariant(QVariantList{QVariant(), QVariant(), QVariant(), QVariant(), QVariant()});
        QTest::newRow("sparse array") << "[1, , 3]" << QVariant(QVariantList{1, QVariant(), 3});
        QTest::newRow("array with members")
            << "Object.assign([1], { a: 2 })" << QVariant(QVariantList{1});
        QTest::newRow("members that are hidden, inherited or named by a symbol")
            << "Object.assign(Object.defineProperty(Object.create({ a: 1 }), 'b', { value: 2 }),"
               " { c: 3, [Symbol('d')]: 4 })"
            << QVariant(QVariantMap{{QStringLiteral("c"), 3}});
        QTest::newRow("name of a prototype")
            << "JSON.parse('{ \"__proto__\": [1] }')"
            << QVariant(QVariantMap{{QStringLiteral("__proto__"), QVariantList{1}}});
        QTest::newRow("objects of a kind")
            << "[new Number(1), new String('a'), new Map([[1, 2]]), new Error('b'), new "
               "Uint8Array(1)]"
            << QVariant(QVariantList{
                   QVariantMap(), QVariantMap{{QStringLiteral("0"), QStringLiteral("a")}},
                   QVariantMap(), QVariantMap(), QVariantMap{{QStringLiteral("0"), 0}}});
        QTest::newRow("buffer inside")
            << "[new ArrayBuffer(2)]" << QVariant(QVariantList{QByteArray(2, '\0')});
        QTest::newRow("twice the same object")
            << "(function(o) { return [o, o]; })({ a: 1 })"
            << QVariant(QVariantList{QVariantMap{{QStringLiteral("a"), 1}},
                                     QVariantMap{{QStringLiteral("a"), 1}}});
        QTest::newRow("object inside itself")
            << "(function(o) { o.o = [o]; return o; })({})"
            << QVariant(QVariantMap{{QStringLiteral("o"), QVariantList{QVariantMap()}}});
        QTest::newRow("array inside itself")
            << "(function(a) { a.push({ a: a }); return a; })([])"
            << QVariant(QVariantList{QVariantMap{{QStringLiteral("a"), QVariantList()}}});
    }

    void theHostReceivesAScriptsValueAsPlainData()
    {
        QFETCH(QString, expression);
        QFETCH(QVariant, received);
        for (const QVariant &value : valuesReceived(expression)) {
            QCOMPARE(value.userType(), received.userType());
            QCOMPARE(value, received);
            QVERIFY(!holdsReference(value));
        }
    }

    void theHostNeverReceivesAReference_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::newRow("function") << "function() { return 1; }";
        QTest::newRow("regular expression") << "/a+/";
        QTest::newRow("symbol") << "Symbol('a')";
        QTest::newRow("the API") << "api";
        QTest::newRow("the API inside") << "{ a: [api] }";
        QTest::newRow("error") << "new Error('a')";
        QTest::newRow("number object") << "new Number(1)";
        QTest::newRow("map") << "new Map([[1, 2]])";
        QTest::newRow("typed array") << "new Uint8Array(2)";
        QTest::newRow("promise") << "Promise.resolve(1)";
        QTest::newRow("proxy") << "new Proxy({}, {})";
        QTest::newRow("functions inside") << "{ f: function() {}, list: [function() {}] }";
        QTest::newRow("object that contains itself")
            << "(function() { var a = { b: 1 }; a.self = a; return a; })()";
    }

    void theHostNeverReceivesAReference()
    {
        QFETCH(QString, expression);
        for (const QVariant &value : valuesReceived(expression)) {
            QVERIFY(!holdsReference(value));
        }
    }

    void whatTheHostReceivedOutlivesTheEngine()
    {
        ApiFixture fixture;
        const auto root = fixture.makeRoot();
        {
            JavaScriptHandler handler(fixture.api, nullptr);
            handler.initializeHandler(
                root,
                QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', { a: "
                               "[{ b: 'c' }] }); }"),
                QString());
            QVERIFY(handler.callFunctionOnOpen());
        }
        QCOMPARE(QJsonDocument::fromVariant(root->nodes[motor]->getProperty(speed)),
                 QJsonDocument::fromJson(R"({ "a": [ { "b": "c" } ] })"));
    }

    void aMapReadChangedAndWrittenIsAPlainMapInTheTree()
    {
        const auto tree = TestHost::makeTree(R"({ "properties": {
            "limits": { "min": 0, "max": 3000, "steps": [ 1, { "at": 2 } ] } } })");
        HandlerFixture fixture;
        fixture.handler.initializeHandler(tree, QStringLiteral(R"(
            function onOpen(api) {
                var limits = api.getProperty("", "limits");
                limits.max = 3500;
                limits.steps[1].at = "late";
                limits.steps.push(["x", "y"]);
                delete limits.min;
                api.setProperty("", "limits", limits);
                api.setProperty("", "copy", api.getProperty("", "limits"));
            })"),
                                          QString());
        QVERIFY(fixture.handler.callFunctionOnOpen());

        const QJsonDocument expected = QJsonDocument::fromJson(
            R"({ "max": 3500, "steps": [ 1, { "at": "late" }, [ "x", "y" ] ] })");
        for (const QString &key : {QStringLiteral("limits"), QStringLiteral("copy")}) {
            const QVariant value = tree->getProperty(key);
            QCOMPARE(value.userType(), int(QMetaType::QVariantMap));
            QCOMPARE(QJsonDocument::fromVariant(value), expected);
            QVERIFY(!holdsReference(value));
        }
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{QString(), QString()}}));
    }

    void aTextListReadAndWrittenIsAList()
    {
        HandlerFixture fixture;
        const auto root = fixture.makeRoot(QStringList{QStringLiteral("a")});
        fixture.handler.initializeHandler(
            root,
            QStringLiteral("function onOpen(api) {"
                           "    api.setProperty('', 'speed', api.getProperty('motor', 'speed'));"
                           "}"),
            QString());
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const QVariant value = root->nodes[QString()]->getProperty(speed);
        QCOMPARE(value.userType(), int(QMetaType::QVariantList));
        QCOMPARE(value, QVariant(QVariantList{QStringLiteral("a")}));
    }

    void ordinaryParametersAreNotTouched()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("function onOpen(api) { api.setError(1, true, 'value'); }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const JavaScriptApi::ErrorMessage error = fixture.handler.getErrorMesageList().value(0);
        QCOMPARE(error.relUrl, QStringLiteral("1"));
        QCOMPARE(error.errorLabelTextId, QStringLiteral("true"));
        QCOMPARE(error.value, QVariant(QStringLiteral("value")));
    }

    void callsFromCppSeeTheJsonDocument()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(QVariantMap{{QStringLiteral("a"), 1}}),
                                            QString());
        QCOMPARE(fixture.api.getProperty(motor, speed).userType(), int(QMetaType::QJsonDocument));
        QCOMPARE(fixture.api.getAllUnitTexts(QStringLiteral("unknown")).userType(),
                 int(QMetaType::QJsonDocument));

        QVariant value;
        QVERIFY(QMetaObject::invokeMethod(&fixture.api, "getProperty",
                                          Q_RETURN_ARG(QVariant, value), Q_ARG(QString, motor),
                                          Q_ARG(QString, speed)));
        QCOMPARE(value.userType(), int(QMetaType::QJsonDocument));
    }

    void aCallMayHaveNoReturnSlot()
    {
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(QVariantMap{{QStringLiteral("a"), 1}}),
                                            QString());
        QString relUrl = motor;
        QString propertyKey = speed;
        void *arguments[] = {nullptr, &relUrl, &propertyKey};
        const int index = JavaScriptApi::staticMetaObject.methodOffset();
        QVERIFY(QMetaObject::metacall(&fixture.api, QMetaObject::InvokeMetaMethod, index, arguments)
                < 0);
        QCOMPARE(fixture.takeCalls().last(), QStringLiteral("motor.getProperty(\"speed\")"));
    }

    void theObjectsOwnMembersStillWork()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { api.objectName = 'named'; "
                                          "api.setError('', api.objectName); }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("named")}));
        QCOMPARE(fixture.api.objectName(), QStringLiteral("named"));
    }

private:
    static QString ownUrl()
    {
        return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                   QStringLiteral("line1"), motor);
    }

    /// What the host gets for a script's value by each way: written, added, written and added by
    /// absolute URL, attached to an error.
    static QVariantList valuesReceived(const QString &expression)
    {
        HandlerFixture fixture;
        const auto root = fixture.makeRoot(QStringLiteral("overwritten"));
        const auto externRoot = fixture.makeRoot(QStringLiteral("overwritten"));
        fixture.rootPointerHandler.root = externRoot;
        fixture.handler.initializeHandler(root,
                                          QStringLiteral(R"(
            function onSave(api, url) {
                var value = (%1);
                api.setProperty("motor", "speed", value);
                api.setProperty("motor", "added", value);
                api.setPropertyExtern(url, "speed", value);
                api.setPropertyExtern(url, "added", value);
                api.setError("", "", value);
            })")
                                              .arg(expression),
                                          QString());
        QVariantList values;
        if (fixture.handler.callFunctionOnSave(ownUrl())) {
            for (const auto &treeRoot : {root, externRoot}) {
                for (const QString &key : {speed, QStringLiteral("added")}) {
                    values.append(treeRoot->nodes[motor]->getProperty(key));
                }
            }
            values.append(fixture.handler.getErrorMesageList().value(0).value);
        }
        if (values.size() != 5) {
            QTest::qFail("the script failed", __FILE__, __LINE__);
        }
        return values;
    }
};

TEST_CLASS(JavaScriptBorderTest)

#include "JavaScriptBorderTest.moc"
