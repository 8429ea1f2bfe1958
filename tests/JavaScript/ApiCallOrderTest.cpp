#include "HandlerFixture.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "memoryhost/CallLog.h"
#include "memoryhost/MemoryHost.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

namespace {

const QString speed = QStringLiteral("speed");

/// Units that are there for the life of the object.
struct Units
{
    Units()
    {
        MemoryHost::setUnits(
            {{QStringLiteral("42"), {{QStringLiteral("en"), QStringLiteral("Forty-two")}}}});
    }
    ~Units() { MemoryHost::setUnits({}); }
};

} // namespace

/// Which of the host's operations the API calls, and in which order.
class ApiCallOrderTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        CallLog::take();
    }

    void constructingTheApiCallsNothing()
    {
        const CallLog::UrlHandlerCalls urlHandlerCalls;
        ApiFixture fixture;
        QCOMPARE(CallLog::take(),
                 QStringList({QStringLiteral("UnitManagerWrapper(false, false)")}));
        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), QString());
        fixture.api.setError(QString(), QString());
        fixture.api.getHostTypeName();
        fixture.api.resetState();
        QCOMPARE(CallLog::take(), QStringList());
    }

    void relativeAccessNeedsNoUrlHandler()
    {
        const auto root =
            TestHost::makeTree(R"({ "children": { "motor": { "properties": { "speed": 1 } } } })");
        ApiFixture fixture;
        fixture.api.initializeJavaScriptApi(root, QString());
        CallLog::take();
        const CallLog::UrlHandlerCalls urlHandlerCalls;
        fixture.api.isUrlValid(QStringLiteral("motor"));
        fixture.api.getProperty(QStringLiteral("motor"), speed);
        fixture.api.setProperty(QStringLiteral("motor"), speed, 2);
        fixture.api.setProperty(QStringLiteral("motor"), QStringLiteral("new"), 3);
        QCOMPARE(CallLog::take(),
                 QStringList({QStringLiteral("isUrlValid(\"motor\")"),
                              QStringLiteral("getNode(\"motor\")"),
                              QStringLiteral("motor: getProperty(\"speed\")"),
                              QStringLiteral("getNode(\"motor\")"),
                              QStringLiteral("motor: hasProperty(\"speed\")"),
                              QStringLiteral("motor: setProperty(\"speed\", QVariant(int, 2))"),
                              QStringLiteral("getNode(\"motor\")"),
                              QStringLiteral("motor: hasProperty(\"new\")"),
                              QStringLiteral("motor: addProperty(\"new\", QVariant(int, 3))")}));
    }

    void checksAnAbsoluteUrlInOrder_data()
    {
        QTest::addColumn<QString>("url");
        QTest::addColumn<bool>("acceptAllObjects");
        QTest::addColumn<QStringList>("parserCalls");
        const QString valid = QStringLiteral("url: isValid()");
        const QString module = QStringLiteral("url: getModuleName()");
        const QString object = QStringLiteral("url: getObjectName()");
        QTest::newRow("not valid") << "cfg|pumps||line1|" << false << QStringList{valid};
        QTest::newRow("another module")
            << "cfg|fans|station|line1|" << false << QStringList{valid, module};
        QTest::newRow("another object")
            << "cfg|pumps|network|line1|" << false << QStringList{valid, module, object};
    }

    void checksAnAbsoluteUrlInOrder()
    {
        QFETCH(QString, url);
        QFETCH(bool, acceptAllObjects);
        QFETCH(QStringList, parserCalls);
        ApiFixture fixture(acceptAllObjects);
        CallLog::take();
        const CallLog::UrlHandlerCalls urlHandlerCalls;
        const QStringList calls = QStringList{callText("SelectorUrlHandler", url)} + parserCalls;

        fixture.api.getPropertyExtern(url, speed);
        QCOMPARE(CallLog::take(), calls);
        fixture.api.setPropertyExtern(url, speed, 1);
        QCOMPARE(CallLog::take(), calls);
        fixture.api.getListOfNodeInstancesWithText(url, true);
        QCOMPARE(CallLog::take(), calls);
        QCOMPARE(fixture.takeCalls(), QStringList());
        takeMessages();
    }

    void doesNotLookAtTheObjectWhenAllAreAccepted()
    {
        ApiFixture fixture(true);
        fixture.rootPointerHandler.root = fixture.makeRoot();
        CallLog::take();
        const CallLog::UrlHandlerCalls urlHandlerCalls;
        fixture.api.getPropertyExtern(QStringLiteral("cfg|pumps|network|line1|motor"), speed);
        QVERIFY(!CallLog::take().contains(QStringLiteral("url: getObjectName()")));
    }

    void handsAnUnusuallySpelledUrlOnAsItIs()
    {
        ApiFixture fixture;
        fixture.rootPointerHandler.root = fixture.makeRoot();
        const QString url = QStringLiteral("cfg|pu\\mps|station|line1|mo\\tor");
        fixture.api.setPropertyExtern(url, speed, 1);
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QLatin1String("handler.") + callText("getRootPointer", url),
                              QStringLiteral("root.getNode(\"motor\")"),
                              QStringLiteral("motor.hasProperty(\"speed\")"),
                              QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1))"),
                              QLatin1String("handler.") + callText("setChangedUrl", url)}));
    }

    void looksUnitTextsUpWithTheInstancesUrl()
    {
        const Units units;
        ApiFixture fixture;
        const QStringList calls{
            QStringLiteral("getUnitTextJsonMap(\"42\")"),
            QStringLiteral("TranslateableTextHelper(\"%1\", no parent)"),
            QStringLiteral("setTranslateableTextObject(QVariant(QVariantMap, "
                           "QMap((\"en\", QVariant(QString, \"Forty-two\")))))"),
            QStringLiteral("getTranslateableTextObjectAsJsonString()"),
            QStringLiteral("~TranslateableTextHelper()")};
        const auto callsFor = [&calls](const QString &instanceUrl) {
            return QStringList(calls).replaceInStrings(QStringLiteral("%1"), instanceUrl);
        };

        CallLog::take();
        fixture.api.getAllUnitTexts(42);
        QCOMPARE(CallLog::take(), callsFor(QString()));

        fixture.api.initializeJavaScriptApi(fixture.makeRoot(), QStringLiteral("first"));
        fixture.api.getAllUnitTexts(42);
        QCOMPARE(CallLog::take(), callsFor(QStringLiteral("first")));

        fixture.api.initializeJavaScriptApi({}, QStringLiteral("second"));
        EXPECT_MESSAGES({ApiWarnings::newRootIsNull()});
        fixture.api.getAllUnitTexts(42);
        QCOMPARE(CallLog::take(), callsFor(QStringLiteral("second")));

        fixture.api.resetState();
        fixture.api.getAllUnitTexts(42);
        QCOMPARE(CallLog::take(), callsFor(QString()));
    }

    void asksTheHostEvenForAnUnknownUnit()
    {
        ApiFixture fixture;
        CallLog::take();
        fixture.api.getAllUnitTexts(QStringLiteral("unknown"));
        QCOMPARE(CallLog::take(),
                 QStringList({QStringLiteral("getUnitTextJsonMap(\"unknown\")"),
                              QStringLiteral("TranslateableTextHelper(\"\", no parent)"),
                              QStringLiteral("setTranslateableTextObject(QVariant(Invalid))"),
                              QStringLiteral("getTranslateableTextObjectAsJsonString()"),
                              QStringLiteral("~TranslateableTextHelper()")}));
    }

    void asksNobodyForAUnitWithoutTextForm()
    {
        ApiFixture fixture;
        CallLog::take();
        fixture.api.getAllUnitTexts(QVariantMap());
        QCOMPARE(takeMessages().size(), 1);
        QCOMPARE(CallLog::take(), QStringList());
    }

    void listsWithTheHostsTexts()
    {
        const auto root = TestHost::makeTree(
            R"({ "children": { "motor": { "properties": { "labelTextId": "m.1" },
                                          "children": { "shaft": {} } } } })");
        const auto texts =
            TestHost::makeTextManager({{QStringLiteral("m.1"), QStringLiteral("Motor")}});
        ApiFixture fixture;
        const JavaScriptApi api(fixture.units, fixture.rootPointerHandler, *texts, QString(),
                                QString(), true, nullptr);
        CallLog::take();
        QCOMPARE(api.getListOfNodeInstancesWithTextInternal(root, true)
                     .first()
                     .toObject()
                     .value(QLatin1String("text"))
                     .toString(),
                 QStringLiteral("Motor"));
        QCOMPARE(CallLog::take(),
                 QStringList({QStringLiteral("getChildMap()"),
                              QStringLiteral("motor: getProperty(\"labelTextId\")"),
                              QStringLiteral("getText(\"m.1\", \"\")")}));
        api.getListOfNodeInstancesWithTextInternal(root, false);
        QCOMPARE(CallLog::take(),
                 QStringList({QStringLiteral("getChildMap()"),
                              QStringLiteral("motor: getProperty(\"labelTextId\")")}));
    }

    void theHandlerPassesTheInstancesUrlOn_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("good script") << "var a;";
        QTest::newRow("empty script") << "";
        QTest::newRow("failing script") << "throw new Error('no')";
    }

    void theHandlerPassesTheInstancesUrlOn()
    {
        QFETCH(QString, script);
        HandlerFixture fixture;
        fixture.handler.initializeHandler(fixture.makeRoot(), script, QStringLiteral("own url"));
        takeMessages();
        CallLog::take();
        fixture.api.getAllUnitTexts(42);
        QCOMPARE(CallLog::take().value(1),
                 QStringLiteral("TranslateableTextHelper(\"own url\", no parent)"));
    }

    void theWrapperPassesTheInstancesUrlOn()
    {
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
        wrapper.initializeHandler(
            TestHost::makeTree("{}"),
            QStringLiteral("function onOpen(api) { api.getAllUnitTexts('bar'); }"),
            QStringLiteral("own url"));
        CallLog::take();
        wrapper.callFunctionOnOpen();
        QCOMPARE(CallLog::take().value(1),
                 QStringLiteral("TranslateableTextHelper(\"own url\", no parent)"));
    }

    void theWrapperReadsNoFiles()
    {
        CallLog::take();
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
        wrapper.initializeHandler(TestHost::makeTree("{}"),
                                  QStringLiteral("function onOpen(api) {"
                                                 "    api.setProperty('', 'a', 1);"
                                                 "}"),
                                  QString());
        wrapper.callFunctionOnOpen();
        QCOMPARE(CallLog::take(),
                 QStringList({QStringLiteral("UnitManagerWrapper(false, false)"),
                              QStringLiteral("getNode(\"\")"), QStringLiteral("hasProperty(\"a\")"),
                              QStringLiteral("addProperty(\"a\", QVariant(int, 1))")}));
    }
};

TEST_CLASS(ApiCallOrderTest)

#include "ApiCallOrderTest.moc"
