#include "HandlerFixture.h"
#include "HostValue.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QCoreApplication>
#include <QEvent>
#include <QJsonDocument>
#include <QMetaMethod>
#include <QTest>

#include <algorithm>

namespace {

QString ownUrl()
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                               QStringLiteral("line1"), QStringLiteral("motor"));
}

/// Whether a call is one that a write by the API explains.
bool isWrite(const QString &call)
{
    return call.contains(QLatin1String(".setProperty("))
        || call.contains(QLatin1String(".addProperty("))
        || call.startsWith(QLatin1String("handler.setChangedUrl("));
}

/// One operation with one of its parameters.
struct Place
{
    QMetaMethod method;
    int parameter;

    bool writes() const { return method.name().startsWith("setProperty"); }

    /// The call with @p expression as this argument, and harmless ones as the others.
    QString call(const QString &expression) const
    {
        QStringList arguments;
        const QList<QByteArray> names = method.parameterNames();
        for (int i = 0; i < method.parameterCount(); ++i) {
            arguments.append(i == parameter ? expression
                                 : names.at(i) == "absUrl"
                                 ? QLatin1Char('\'') + ownUrl() + QLatin1Char('\'')
                                 : names.at(i) == "relUrl" ? QStringLiteral("'motor'")
                                                           : QStringLiteral("'speed'"));
        }
        return QStringLiteral("api.%1(%2)")
            .arg(QString::fromUtf8(method.name()), arguments.join(QStringLiteral(", ")));
    }
};

/// Every parameter of every operation that scripts can call, whichever they are.
QVector<Place> allPlaces()
{
    QVector<Place> places;
    const QMetaObject &metaObject = JavaScriptApi::staticMetaObject;
    for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
        for (int j = 0; j < metaObject.method(i).parameterCount(); ++j) {
            places.append({metaObject.method(i), j});
        }
    }
    return places;
}

} // namespace

/// Scripts that attack the API and the engine. The process survives, no operation does anything
/// besides its own work, and the next event works.
class JavaScriptHostileScriptTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void takesAnyValueForAnyArgument_data()
    {
        QTest::addColumn<QString>("expression");
        QTest::newRow("object that contains itself")
            << "(function() { var o = {}; o.o = o; return o; })()";
        QTest::newRow("proxy of an object") << "new Proxy({ a: 1 }, {})";
        QTest::newRow("proxy of an array") << "new Proxy([1, 2], {})";
        QTest::newRow("proxy of a function") << "new Proxy(function() {}, {})";
        QTest::newRow("proxy of the API") << "new Proxy(api, {})";
        QTest::newRow("proxy that was revoked")
            << "(function() { var r = Proxy.revocable({}, {}); r.revoke(); return r.proxy; })()";
        QTest::newRow("proxy whose traps throw")
            << "new Proxy({ a: 1 }, new Proxy({}, { get() { throw new Error('trap'); } }))";
        QTest::newRow("getter that throws") << "({ get a() { throw new Error('getter'); } })";
        QTest::newRow("getter in an array that throws")
            << "Object.defineProperty([1], 0, { get() { throw new Error('getter'); } })";
        QTest::newRow("toString that throws") << "({ toString() { throw new Error('no'); } })";
        QTest::newRow("toString that is none") << "({ toString: 5, valueOf: 5 })";
        QTest::newRow("valueOf that throws") << "({ valueOf() { throw new Error('no'); } })";
        QTest::newRow("toJSON that throws") << "({ toJSON() { throw new Error('no'); } })";
        QTest::newRow("no prototype") << "Object.create(null)";
        QTest::newRow("symbol") << "Symbol('a')";
        QTest::newRow("function") << "(function() {})";
        QTest::newRow("function of the API") << "api.setProperty";
        QTest::newRow("class") << "(class {})";
        QTest::newRow("generator") << "(function*() { yield 1; })()";
        QTest::newRow("date") << "new Date(0)";
        QTest::newRow("date that is none") << "new Date(NaN)";
        QTest::newRow("regular expression") << "/a/g";
        QTest::newRow("typed array") << "new Float64Array(3)";
        QTest::newRow("array buffer") << "new ArrayBuffer(3)";
        QTest::newRow("map") << "new Map([[1, 2]])";
        QTest::newRow("set") << "new Set([1])";
        QTest::newRow("promise") << "Promise.resolve(1)";
        QTest::newRow("error") << "new Error('error')";
        QTest::newRow("the API") << "api";
        QTest::newRow("object with the API") << "({ a: [api] })";
        QTest::newRow("global object") << "Function('return this')()";
        QTest::newRow("not a number") << "NaN";
        QTest::newRow("infinite") << "-Infinity";
        QTest::newRow("null") << "null";
        QTest::newRow("undefined") << "undefined";
        QTest::newRow("sparse array") << "(function() { var a = []; a[100] = 1; return a; })()";
        QTest::newRow("lone surrogate") << "'\\ud800'";
        QTest::newRow("null character") << "'a\\0b'";
    }

    void takesAnyValueForAnyArgument()
    {
        QFETCH(QString, expression);
        for (const Place &place : allPlaces()) {
            const QString call = place.call(expression);
            HandlerFixture fixture;
            const auto root = fixture.makeRoot();
            fixture.rootPointerHandler.root = root;
            fixture.handler.initializeHandler(
                root,
                QStringLiteral("function onOpen(api) { try { %1 } catch (error) {} }"
                               "function onOk(api) { api.setProperty('', 'speed', 'alive'); }")
                    .arg(call),
                QString());
            fixture.takeCalls();
            QVERIFY2(fixture.handler.callFunctionOnOpen(), qPrintable(call));
            const QVector<Message> messages = takeMessages();
            for (const Message &message : messages) {
                QVERIFY2(message.function.contains(QLatin1String("JavaScriptApi::")),
                         qPrintable(call + QLatin1String(": ") + message.text));
            }
            const QStringList calls = fixture.takeCalls();
            const auto writes = std::count_if(calls.cbegin(), calls.cend(), isWrite);
            QVERIFY2(writes == 0 || (place.writes() && writes <= 2), qPrintable(call));
            for (const auto &node : qAsConst(root->nodes)) {
                const auto properties = node.staticCast<RecordingNode>()->properties;
                QVERIFY2(std::none_of(properties.cbegin(), properties.cend(), holdsReference),
                         qPrintable(call));
            }
            for (const JavaScriptApi::ErrorMessage &error : fixture.api.getListOfErrors()) {
                QVERIFY2(!holdsReference(error.value), qPrintable(call));
            }

            QVERIFY2(fixture.handler.callFunctionOnOk(), qPrintable(call));
            QCOMPARE(root->nodes.value(QString())->getProperty(QStringLiteral("speed")),
                     QVariant(QStringLiteral("alive")));
            EXPECT_NO_MESSAGES();
        }
    }

    void takesAHundredMegabytesForAnyText_data()
    {
        QTest::addColumn<int>("index");
        const QVector<Place> places = allPlaces();
        for (int i = 0; i < places.size(); ++i) {
            const Place &place = places.at(i);
            const int type = place.method.parameterType(place.parameter);
            if (type == QMetaType::QString || type == QMetaType::QVariant) {
                QTest::addRow("%s, %s", place.method.methodSignature().constData(),
                              place.method.parameterNames().at(place.parameter).constData())
                    << i;
            }
        }
    }

    void takesAHundredMegabytesForAnyText()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("AddressSanitizer keeps what was freed");
#endif
        if (sizeof(void *) < 8) {
            QSKIP("several copies do not fit into the address space");
        }
        QFETCH(int, index);
        const Place place = allPlaces().at(index);
        HandlerFixture fixture;
        const auto root = fixture.makeRoot();
        fixture.rootPointerHandler.root = root;
        fixture.handler.initializeHandler(
            root,
            QStringLiteral("var text = 'a'.repeat(50 << 20);" // of two bytes each

                           "function onOpen(api) { %1; }"
                           "function onOk(api) { text = ''; api.setError('', 'alive'); }")
                .arg(place.call(QStringLiteral("text"))),
            QString());
        fixture.takeCalls();
        QVERIFY(fixture.handler.callFunctionOnOpen());
        takeMessages();
        const QStringList calls = fixture.takeCalls();
        QVERIFY(place.writes() || std::none_of(calls.cbegin(), calls.cend(), isWrite));
        QVERIFY(fixture.handler.callFunctionOnOk());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("alive")}));
    }

    void writesNothingOfAValueThatThrows_data()
    {
        QTest::addColumn<QString>("value");
        QTest::newRow("getter") << "{ get a() { throw new Error('no'); }, b: 1 }";
        QTest::newRow("getter inside") << "[{ list: [{ get a() { throw new Error('no'); } }] }]";
        QTest::newRow("members of a proxy")
            << "new Proxy({ a: 1 }, { ownKeys() { throw new Error('no'); } })";
    }

    // The script gets an exception: what it wanted to write is not known.
    void writesNothingOfAValueThatThrows()
    {
        QFETCH(QString, value);
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', %1); }")
                .arg(value));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({HandlerWarnings::errorOnCalling(QStringLiteral("onOpen"), QString()),
                         HandlerWarnings::uncaughtException(HandlerWarnings::call, 1,
                                                            QStringLiteral("Error: no"))});
        const QStringList calls = fixture.takeCalls();
        QVERIFY2(std::none_of(calls.cbegin(), calls.cend(), isWrite),
                 qPrintable(calls.join(QLatin1Char('\n'))));
    }

    void aScriptCatchesWhatItsValueThrew_data()
    {
        QTest::addColumn<QString>("thrown");
        QTest::newRow("Error") << "new Error('no')";
        QTest::newRow("TypeError") << "new TypeError('no')";
        QTest::newRow("subclass of Error") << "new (class extends Error {})('no')";
        QTest::newRow("object") << "{ a: 1 }";
        QTest::newRow("number") << "42";
        QTest::newRow("text") << "'no'";
        QTest::newRow("false") << "false";
        QTest::newRow("undefined") << "undefined";
        QTest::newRow("null") << "null";
        QTest::newRow("symbol") << "Symbol('no')";
        QTest::newRow("the API") << "api";
    }

    void aScriptCatchesWhatItsValueThrew()
    {
        QFETCH(QString, thrown);
        for (const char *const value :
             {"{ get a() { throw thrown; } }", "[1, { b: [{ get a() { throw thrown; } }] }]",
              "new Proxy({ a: 1 }, { ownKeys() { throw thrown; } })",
              "new Proxy({ a: 1 }, { get() { throw thrown; } })"}) {
            HandlerFixture fixture;
            fixture.initialize(QStringLiteral("function onOpen(api) {"
                                              "    var thrown = %1;"
                                              "    try {"
                                              "        api.setProperty('motor', 'speed', %2);"
                                              "        api.setError('', 'called');"
                                              "    } catch (error) {"
                                              "        api.setError('', String(error === thrown));"
                                              "    }"
                                              "}")
                                   .arg(thrown, QLatin1String(value)));
            QVERIFY(fixture.handler.callFunctionOnOpen());
            QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("true")}));
            const QStringList calls = fixture.takeCalls();
            QVERIFY2(std::none_of(calls.cbegin(), calls.cend(), isWrite),
                     qPrintable(calls.join(QLatin1Char('\n'))));
        }
    }

    void readsEachMemberOnce()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) {"
                                          "    var count = 0;"
                                          "    var value = [{ get a() { return [++count]; } }];"
                                          "    api.setError('', '', value);"
                                          "    api.setError('', String(count), value);"
                                          "}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const auto errors = fixture.handler.getErrorMesageList();
        QCOMPARE(errors.size(), 2);
        for (int i = 0; i < 2; ++i) {
            QCOMPARE(QJsonDocument::fromVariant(errors[i].value).toJson(QJsonDocument::Compact),
                     QByteArray("[{\"a\":[") + QByteArray::number(i + 1) + "]}]");
        }
        QCOMPARE(errors[1].errorLabelTextId, QStringLiteral("1"));
    }

    void noPrototypeTakesPartInReadingAValue_data()
    {
        QTest::addColumn<QString>("hostile");
        QTest::newRow("exception") << "Object.prototype.exception = 'boo';";
        QTest::newRow("members") << "Object.prototype.members = 'boo';";
        QTest::newRow("getter of members")
            << "Object.defineProperty(Object.prototype, 'members', { get() { throw 1; } });";
        QTest::newRow("setter of a name")
            << "Object.defineProperty(Object.prototype, 'a', { set(value) { throw 2; } });";
        QTest::newRow("setter of an index")
            << "Object.defineProperty(Array.prototype, '0', { set(value) { throw 3; } });";
        QTest::newRow("get and set of a descriptor")
            << "Object.prototype.get = Object.prototype.set = function() { throw 4; };";
        QTest::newRow("traps") << "Object.prototype.has = function() { throw 5; };";
        QTest::newRow("Object.keys") << "Object.keys = Object.create = null;"
                                        "Object.setPrototypeOf = null;";
        QTest::newRow("iterator") << "Array.prototype[Symbol.iterator] = null;";
        QTest::newRow("toJSON") << "Object.prototype.toJSON = function() { return 6; };";
    }

    void noPrototypeTakesPartInReadingAValue()
    {
        QFETCH(QString, hostile);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("var object = { a: [7, { b: 8 }], c: undefined };"
                                          "%1"
                                          "function onOpen(api) {"
                                          "    api.setError('', '', null);"
                                          "    api.setError('', '', object);"
                                          "    api.setError('', '', undefined);"
                                          "}")
                               .arg(hostile));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const auto errors = fixture.handler.getErrorMesageList();
        QCOMPARE(errors.size(), 3);
        QCOMPARE(errors[0].value, QVariant::fromValue(nullptr));
        QCOMPARE(errors[1].value,
                 QVariant(QVariantMap{
                     {QStringLiteral("a"), QVariantList{7, QVariantMap{{QStringLiteral("b"), 8}}}},
                     {QStringLiteral("c"), QVariant()}}));
        QCOMPARE(errors[2].value, QVariant());
    }

    void readsValuesOfAnyDepthOrRefusesThem_data()
    {
        QTest::addColumn<QString>("nest");
        QTest::addColumn<int>("depth");
        QTest::addColumn<bool>("isRead");
        const QVector<QPair<const char *, const char *>> kinds{
            {"array", "[v]"},
            {"object", "{ a: v }"},
            {"instance of a class", "new Instance(v)"},
            {"getter", "(function(inner) { return { get a() { return inner; } }; })(v)"},
            {"proxy", "new Proxy([v], {})"},
            {"array and object", "[[], { a: 1, b: v }]"}};
        for (const auto &kind : kinds) {
            const int levels = qstrcmp(kind.first, "array and object") == 0 ? 2 : 1;
            const int most = 512 / levels;
            QTest::addRow("%s, as deep as can be", kind.first) << kind.second << most << true;
            QTest::addRow("%s, one deeper", kind.first) << kind.second << most + 1 << false;
            QTest::addRow("%s, very deep", kind.first) << kind.second << 100000 << false;
        }
    }

    void readsValuesOfAnyDepthOrRefusesThem()
    {
        QFETCH(QString, nest);
        QFETCH(int, depth);
        QFETCH(bool, isRead);
        for (const char *const call :
             {"api.setProperty('motor', 'speed', v)", "api.setProperty('motor', 'added', v)",
              "api.setError('', 'told', v)", "api.getAllUnitTexts(v)"}) {
            HandlerFixture fixture;
            fixture.initialize(QStringLiteral("class Instance { constructor(v) { this.a = v; } }"
                                              "function onOpen(api) {"
                                              "    var v = 1;"
                                              "    for (var i = 0; i < %1; ++i) { v = %2; }"
                                              "    try { %3; return true; } catch (error) {"
                                              "        api.setError('', String(error));"
                                              "        return false;"
                                              "    }"
                                              "}")
                                   .arg(depth)
                                   .arg(nest, QLatin1String(call)));
            QCOMPARE(fixture.handler.callFunctionOnOpen(), isRead);
            takeMessages();
            if (!isRead) {
                QCOMPARE(fixture.takeErrorIds(),
                         QStringList({QStringLiteral("RangeError: Objects and arrays are nested "
                                                     "more than 512 deep")}));
                const QStringList calls = fixture.takeCalls();
                QVERIFY(std::none_of(calls.cbegin(), calls.cend(), isWrite));
            }
        }
    }

    // The engine, and with it what a script defines, lives as long as the handler.
    void keepsWhatAnEarlierScriptReplaced_data()
    {
        QTest::addColumn<QString>("hostile");
        QTest::newRow("console") << "console.log = console.warn = null;";
        QTest::newRow("no console") << "console = undefined;";
        QTest::newRow("Object.prototype")
            << "Object.prototype.a = 5;"
               "Object.defineProperty(Object.prototype, 'b', { get() { throw 1; } });";
        QTest::newRow("Array.prototype.push") << "Array.prototype.push = null;";
        QTest::newRow("Array.prototype.push that throws")
            << "Array.prototype.push = function() { throw new Error('no'); };";
        QTest::newRow("Array.prototype") << "Array.prototype[0] = 5; Array = null;";
        QTest::newRow("JSON") << "JSON = { parse: null, stringify: null };";
        QTest::newRow("Function.prototype") << "Function.prototype.call = null;";
        QTest::newRow("Error") << "Error = null;";
        QTest::newRow("Error.prototype")
            << "Error.prototype.toString = function() { throw 1; };"
               "Object.defineProperty(Error.prototype, 'lineNumber', { get() { throw 1; } });";
        QTest::newRow("kept API") << "function onOpen(api) { this.kept = api; }";
        QTest::newRow("frozen API") << "function onOpen(api) { Object.freeze(api); }";
        QTest::newRow("member of the API") << "function onOpen(api) { api.more = api; }";
        QTest::newRow("function of the API")
            << "function onOpen(api) { try { api.setProperty = null; } catch (error) {} }";
        QTest::newRow("deleted function of the API")
            << "function onOpen(api) { delete api.setProperty; }";
        QTest::newRow("name of the API") << "function onOpen(api) { api.objectName = 'x'; }";
        QTest::newRow("destroyed API")
            << "function onOpen(api) { try { api.destroy(); } catch (error) {} }";
        QTest::newRow("connected API")
            << "function onOpen(api) { api.objectNameChanged.connect(function() { throw 1; }); }";
    }

    void keepsWhatAnEarlierScriptReplaced()
    {
        QFETCH(QString, hostile);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) {}") + hostile);
        QVERIFY(fixture.handler.callFunctionOnOpen());
        fixture.handler.resetState();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        fixture.takeCalls();

        const auto next = fixture.makeRoot();
        fixture.handler.initializeHandler(
            next,
            QStringLiteral("function onOpen(api) {"
                           "    api.setProperty('motor', 'speed', [1, { c: 'text' }]);"
                           "    api.setError('motor', typeof api.getProperty('', 'speed'));"
                           "}"),
            QString());
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(
            next->nodes.value(QStringLiteral("motor"))->getProperty(QStringLiteral("speed")),
            QVariant(QVariantList{1, QVariantMap{{QStringLiteral("c"), QStringLiteral("text")}}}));
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("number")}));
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{QStringLiteral("motor")}}));
    }

    // There is one API: a script that keeps it reaches the instance that is bound now.
    void aKeptApiReachesTheInstanceThatIsBound()
    {
        HandlerFixture fixture;
        const auto first = fixture.makeRoot();
        const auto second = fixture.makeRoot();
        fixture.handler.initializeHandler(
            first,
            QStringLiteral("var kept;"
                           "function onOpen(api) { kept = kept || api; }"
                           "function onOk(api) {"
                           "    kept.setProperty('motor', 'speed', kept === api ? 1 : 2);"
                           "}"),
            QString());
        QVERIFY(fixture.handler.callFunctionOnOpen());
        fixture.handler.initializeHandler(second, QString(), QString());
        QVERIFY(fixture.handler.callFunctionOnOk());
        const QString motor = QStringLiteral("motor");
        const QString speed = QStringLiteral("speed");
        QCOMPARE(first->nodes.value(motor)->getProperty(speed), QVariant(1200));
        QCOMPARE(second->nodes.value(motor)->getProperty(speed), QVariant(1));

        fixture.handler.resetState();
        fixture.handler.initializeJavaScriptEngine(QStringLiteral("1"));
        QVERIFY(fixture.handler.callFunctionOnOk());
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(ApiWarnings::write)});
    }

    // Called on the way to an event, the API does what the call says.
    void aKeptApiWorksWhileATextIsEvaluated()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("var kept; function onOpen(api) { kept = api; }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        fixture.handler.initializeJavaScriptEngine(
            QStringLiteral("kept.setProperty('motor', 'speed', 7);"));
        QCOMPARE(fixture.takeCalls().last(),
                 QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 7))"));
    }

    void survivesEndlessRecursion_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("function") << "(function f() { f(); })();";
        QTest::newRow("two functions") << "function f() { g(); } function g() { f(); } f();";
        QTest::newRow("getter") << "({ get a() { return this.a; } }).a;";
        QTest::newRow("toString") << "String({ toString() { return String(this); } });";
        QTest::newRow("getter of an argument")
            << "(function f() { api.setError('', '', { get a() { f(); } }); })();";
        QTest::newRow("text of an argument")
            << "(function f() { api.isUrlValid({ toString() { f(); } }); })(); f();";
        QTest::newRow("callback") << "(function f() { [1].forEach(f); })();";
    }

    void survivesEndlessRecursion()
    {
        QFETCH(QString, body);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { %1 }"
                                          "function onOk(api) { api.setError('', 'alive'); }")
                               .arg(body));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        QCOMPARE(takeMessages().first(),
                 HandlerWarnings::errorOnCalling(QStringLiteral("onOpen"), QString()));
        QVERIFY(fixture.handler.callFunctionOnOk());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("alive")}));
    }
};

TEST_CLASS(JavaScriptHostileScriptTest)

#include "JavaScriptHostileScriptTest.moc"
