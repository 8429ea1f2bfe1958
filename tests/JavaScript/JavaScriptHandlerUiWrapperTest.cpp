#include "JavaScript/JavaScriptHandlerUiWrapper.h"

#include "HandlerFixture.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QSignalSpy>
#include <QTest>

namespace {

struct WrapperFixture
{
    explicit WrapperFixture(const QString &javaScript)
        : wrapper(units, texts, nullptr)
        , emissions(&wrapper, &JavaScriptHandlerUiWrapper::parametersChanged)
    {
        wrapper.initializeHandler(root, javaScript, QStringLiteral("the instance"));
    }

    /// The URLs of each emission of parametersChanged since the last time.
    QList<QStringList> takeEmissions() { return takeUrlLists(emissions); }

    ConfigurationAndProcessDataBase::BaseClassSharedPointer root =
        TestHost::makeTree(R"({ "properties": { "name": "pump" }, "children": { "motor": {} } })");
    UnitManagerWrapper units{false, false};
    TextManager texts;
    JavaScriptHandlerUiWrapper wrapper;
    QSignalSpy emissions;
};

} // namespace

/// The one object of a user-interface host, and how it puts the others together.
class JavaScriptHandlerUiWrapperTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void hasTheParentAndNoChildren()
    {
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        QObject parent;
        const JavaScriptHandlerUiWrapper wrapper(units, texts, &parent);
        QCOMPARE(wrapper.parent(), &parent);
        QVERIFY(wrapper.children().isEmpty());
    }

    void succeedsWithoutDoingAnythingBeforeItHasAScript()
    {
        WrapperFixture fixture{QString()};
        QVERIFY(fixture.wrapper.callFunctionOnOpen());
        QVERIFY(fixture.wrapper.callFunctionOnOk());
        QVERIFY(fixture.wrapper.callFunctionOnValueChanged(QStringLiteral("x")));
        QVERIFY(fixture.wrapper.getErrorMesageList().isEmpty());
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>());
    }

    void callsTheFunctionOfEachEventOnTheTree()
    {
        WrapperFixture fixture(QStringLiteral(R"(
            function onOpen(api) { add(api, "onOpen", arguments); }
            function onOk(api) { add(api, "onOk", arguments); }
            function onValueChange(api) { add(api, "onValueChange", arguments); }
            function add(api, name, args) {
                api.setProperty("motor", name, args.length === 1 ? "no argument" : args[1]);
            })"));
        QVERIFY(fixture.wrapper.callFunctionOnOpen());
        QVERIFY(fixture.wrapper.callFunctionOnOk());
        QVERIFY(fixture.wrapper.callFunctionOnValueChanged(QStringLiteral("motor")));

        const auto motor = fixture.root->getNode(QStringLiteral("motor"));
        QCOMPARE(motor->getProperty(QStringLiteral("onOpen")),
                 QVariant(QStringLiteral("no argument")));
        QCOMPARE(motor->getProperty(QStringLiteral("onOk")),
                 QVariant(QStringLiteral("no argument")));
        QCOMPARE(motor->getProperty(QStringLiteral("onValueChange")),
                 QVariant(QStringLiteral("motor")));
    }

    void passesOnTheResultOfEachEvent_data()
    {
        QTest::addColumn<QString>("returned");
        QTest::addColumn<bool>("result");
        QTest::newRow("false") << "false" << false;
        QTest::newRow("true") << "true" << true;
    }

    void passesOnTheResultOfEachEvent()
    {
        QFETCH(QString, returned);
        QFETCH(bool, result);
        WrapperFixture fixture(QStringLiteral("function onOpen() { return %1; }"
                                              "function onOk() { return %1; }"
                                              "function onValueChange() { return %1; }")
                                   .arg(returned));
        QCOMPARE(fixture.wrapper.callFunctionOnOpen(), result);
        QCOMPARE(fixture.wrapper.callFunctionOnOk(), result);
        QCOMPARE(fixture.wrapper.callFunctionOnValueChanged(QString()), result);
    }

    void emitsTheWrittenUrlsOncePerEvent()
    {
        WrapperFixture fixture(QStringLiteral(R"(
            function onValueChange(api, value) {
                api.setProperty("motor", "speed", value);
                api.setProperty("", "speed", value);
            }
            function onOk() {})"));
        fixture.wrapper.callFunctionOnValueChanged(QStringLiteral("1"));
        QCOMPARE(fixture.takeEmissions(),
                 QList<QStringList>({{QStringLiteral("motor"), QString()}}));

        fixture.wrapper.callFunctionOnValueChanged(QStringLiteral("2"));
        fixture.wrapper.callFunctionOnOk();
        QCOMPARE(fixture.takeEmissions(),
                 QList<QStringList>({{QStringLiteral("motor"), QString()}, {}}));
    }

    void handsTheErrorsOfTheLastEventOutOnce()
    {
        WrapperFixture fixture(QStringLiteral(R"(
            function onOpen(api) { api.setError("motor", "unread"); }
            function onOk(api) {
                api.setError("motor", "id.1", 42);
                api.setError("", "id.2");
                return false;
            })"));
        fixture.wrapper.callFunctionOnOpen();
        QVERIFY(!fixture.wrapper.callFunctionOnOk());
        const QList<JavaScriptApi::ErrorMessage> errors = fixture.wrapper.getErrorMesageList();
        QCOMPARE(errors.size(), 2);
        QCOMPARE(errors[0].relUrl, QStringLiteral("motor"));
        QCOMPARE(errors[0].errorLabelTextId, QStringLiteral("id.1"));
        QCOMPARE(errors[0].value, QVariant(42));
        QCOMPARE(errors[1].relUrl, QString());
        QCOMPARE(errors[1].errorLabelTextId, QStringLiteral("id.2"));
        QVERIFY(!errors[1].value.isValid());
        QVERIFY(fixture.wrapper.getErrorMesageList().isEmpty());
    }

    void reachesOnlyTheNamelessModule()
    {
        // Of the nameless module, every object passes; but no object's folder is known.
        WrapperFixture fixture(QStringLiteral(
            "function onValueChange(api, url) { api.getPropertyExtern(url, 'k'); }"));
        fixture.wrapper.callFunctionOnValueChanged(TestHost::configUrl(
            QStringLiteral("pumps"), QStringLiteral("station"), QStringLiteral("line1")));
        EXPECT_MESSAGES({warning(
            QStringLiteral(
                "QVariant JavaScriptApi::getPropertyExtern(const QString&, const QString&) const"),
            QStringLiteral("\"pumps\""))});

        for (const QString &objectName : {QStringLiteral("station"), QStringLiteral("network")}) {
            fixture.wrapper.callFunctionOnValueChanged(
                TestHost::configUrl(QString(), objectName, QStringLiteral("line1")));
            EXPECT_MESSAGES(
                {warning(QStringLiteral("ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                                        "JavaScriptRootPointerHandler::getRootPointerInternal("
                                        "bool, const QString&, UrlToRootMap&) const"),
                         QStringLiteral("Couldn't find object \"%1\" in otherfiles mapping!")
                             .arg(objectName)),
                 ApiWarnings::rootIsNull(ApiWarnings::read)});
        }
    }

    void servesTheUnitsOfTheHost()
    {
        TestHost::useUnits(
            {{QStringLiteral("bar"), {{QStringLiteral("en"), QStringLiteral("Bar")}}}});
        WrapperFixture fixture(QStringLiteral(
            "function onOpen(api) { api.setError('', api.getAllUnitTexts('bar').en); }"));
        TestHost::useUnits({});
        fixture.wrapper.callFunctionOnOpen();
        QCOMPARE(fixture.wrapper.getErrorMesageList().value(0).errorLabelTextId,
                 QStringLiteral("Bar"));
    }

    void bindsASecondInstanceInTheSameEngine()
    {
        WrapperFixture fixture(
            QStringLiteral("function onOpen(api) { api.setProperty('', 'a', 1); }"
                           "function onOk() {}"));
        fixture.wrapper.callFunctionOnOpen();
        fixture.takeEmissions();
        const auto second = TestHost::makeTree("{}");
        fixture.wrapper.initializeHandler(
            second, QStringLiteral("function onOpen(api) { api.setProperty('', 'b', 2); }"),
            QString());

        // The changed flag and the first script's other functions stay.
        QVERIFY(fixture.wrapper.callFunctionOnOk());
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({QStringList()}));
        fixture.wrapper.callFunctionOnOpen();
        QCOMPARE(second->getProperty(QStringLiteral("b")), QVariant(2));
        QVERIFY(!fixture.root->hasProperty(QStringLiteral("b")));
    }

    void keepsTheFirstInstanceWhenTheSecondHasNeitherTreeNorScript()
    {
        WrapperFixture fixture(
            QStringLiteral("function onOpen(api) { api.setProperty('', 'a', 1); }"));
        fixture.wrapper.initializeHandler({}, QStringLiteral("no script"), QString());
        EXPECT_MESSAGES(
            {HandlerWarnings::uncaughtException(HandlerWarnings::evaluation, 1,
                                                QStringLiteral("SyntaxError: Expected token `;'")),
             ApiWarnings::newRootIsNull()});
        QVERIFY(fixture.wrapper.callFunctionOnOpen());
        QCOMPARE(fixture.root->getProperty(QStringLiteral("a")), QVariant(1));
    }

    void leavesTheTreeToTheHost()
    {
        const auto root = TestHost::makeTree("{}");
        {
            const UnitManagerWrapper units(false, false);
            const TextManager texts;
            JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
            wrapper.initializeHandler(
                root, QStringLiteral("function onOpen(api) { api.setProperty('', 'a', 1); }"),
                QString());
            wrapper.callFunctionOnOpen();
        }
        QCOMPARE(root->getProperty(QStringLiteral("a")), QVariant(1));
    }
};

TEST_CLASS(JavaScriptHandlerUiWrapperTest)

#include "JavaScriptHandlerUiWrapperTest.moc"
