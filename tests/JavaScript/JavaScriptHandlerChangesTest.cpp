#include "HandlerFixture.h"
#include "support/StrictTest.h"

#include <QTest>

/// What an event leaves behind for the owner: written URLs, errors, changes to save.
class JavaScriptHandlerChangesTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void emitsTheWrittenUrlsOncePerEvent()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onValueChange(api) {
                api.setProperty("motor", "speed", 1);
                api.setProperty("", "speed", 2);
                api.setProperty("motor", "speed", 3);
            })"));
        QVERIFY(fixture.handler.callFunctionOnValueChanged(QString()));
        QCOMPARE(
            fixture.takeEmissions(),
            QList<QStringList>({{QStringLiteral("motor"), QString(), QStringLiteral("motor")}}));
        QCOMPARE(fixture.handler.getChangedLocalUrls(), QStringList());
        QCOMPARE(fixture.handler.hasInstanceChanged(), true);
    }

    void emitsAnEmptyListForALaterEventThatWritesNothing()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onOpen(api) { api.setProperty("motor", "speed", 1); }
            function onOk() {})"));
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{QStringLiteral("motor")}}));
        fixture.handler.callFunctionOnOk();
        fixture.handler.callFunctionOnOk();
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({QStringList(), QStringList()}));
    }

    void emitsNothingWhileTheInstanceIsUnchanged()
    {
        HandlerFixture fixture;
        fixture.handler.initializeHandler(fixture.makeRoot(1200, 1), QStringLiteral(R"(
            function onOpen(api) {
                api.setProperty("motor", "speed", 1);
                api.setError("motor", "id");
            }
            function onOk() { throw new Error("no"); })"),
                                          QString());
        fixture.handler.callFunctionOnOpen();
        fixture.handler.callFunctionOnOk();
        fixture.handler.callFunctionOnSave(QString());
        QCOMPARE(takeMessages().size(), 3);
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>());
    }

    void emitsWhatWasWrittenBeforeAnException()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onOpen(api) {
                api.setProperty("motor", "speed", 1);
                api.setError("motor", "reported");
                throw new Error("no");
            })"));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        QCOMPARE(takeMessages().size(), 2);
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{QStringLiteral("motor")}}));
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("reported")}));
    }

    void emitsAfterEveryOutcomeOfAnEvent_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("empty script") << "";
        QTest::newRow("not evaluated") << "throw new Error('no')";
        QTest::newRow("an error in place of the function") << "var onOpen = new Error('no')";
        QTest::newRow("no function") << "var onOpen = 1";
        QTest::newRow("false") << "function onOpen() { return false; }";
    }

    void emitsAfterEveryOutcomeOfAnEvent()
    {
        QFETCH(QString, script);
        HandlerFixture fixture;
        fixture.initialize(script);
        fixture.api.setProperty(QStringLiteral("motor"), QStringLiteral("speed"), 5);
        fixture.handler.callFunctionOnOpen();
        takeMessages();
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{QStringLiteral("motor")}}));
        QCOMPARE(fixture.handler.getChangedLocalUrls(), QStringList());
    }

    void emptiesTheWrittenUrlsAfterTheEmission()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', 1); }"));
        QStringList urlsDuringEmission;
        connect(&fixture.handler, &JavaScriptHandler::parametersChanged, this, [&] {
            urlsDuringEmission = fixture.handler.getChangedLocalUrls();
            // A write of a receiver belongs to no event and is forgotten with the others.
            fixture.api.setProperty(QString(), QStringLiteral("speed"), 5);
        });
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(urlsDuringEmission, QStringList({QStringLiteral("motor")}));
        QCOMPARE(fixture.handler.getChangedLocalUrls(), QStringList());
    }

    void startsEveryEventWithoutErrors_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("empty script") << "";
        QTest::newRow("not evaluated") << "throw new Error('no')";
        QTest::newRow("an error in place of the function") << "var onOpen = new Error('no')";
        QTest::newRow("no function") << "var onOpen = 1";
        QTest::newRow("function") << "function onOpen() {}";
    }

    void startsEveryEventWithoutErrors()
    {
        QFETCH(QString, script);
        HandlerFixture fixture;
        fixture.initialize(script);
        fixture.api.setError(QString(), QStringLiteral("old"));
        fixture.handler.callFunctionOnOpen();
        takeMessages();
        QCOMPARE(fixture.takeErrorIds(), QStringList());
    }

    void doesNotCarryErrorsFromOneEventToTheNext()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onValueChange(api) { api.setError("a", "1"); api.setError("b", "2"); }
            function onOk(api) { api.setError("c", "3"); }
            function onOpen() {})"));
        fixture.handler.callFunctionOnValueChanged(QString());
        fixture.handler.callFunctionOnOk();
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("3")}));

        fixture.handler.callFunctionOnValueChanged(QString());
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeErrorIds(), QStringList());
    }

    void handsTheErrorsOutOnce()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onOpen(api) {
                api.setError("motor", "id", 42);
                api.setError("motor", "id", 42);
                api.setError("", "plain");
            })"));
        fixture.handler.callFunctionOnOpen();

        const QList<JavaScriptApi::ErrorMessage> errors = fixture.handler.getErrorMesageList();
        QCOMPARE(errors.size(), 3);
        QCOMPARE(errors[0].relUrl, QStringLiteral("motor"));
        QCOMPARE(errors[0].errorLabelTextId, QStringLiteral("id"));
        QCOMPARE(errors[0].value, QVariant(42));
        QCOMPARE(errors[1].relUrl, QStringLiteral("motor"));
        QCOMPARE(errors[1].errorLabelTextId, QStringLiteral("id"));
        QCOMPARE(errors[1].value, QVariant(42));
        QCOMPARE(errors[2].relUrl, QString());
        QCOMPARE(errors[2].errorLabelTextId, QStringLiteral("plain"));
        QVERIFY(!errors[2].value.isValid());
        QVERIFY(fixture.handler.getErrorMesageList().isEmpty());
        QVERIFY(fixture.api.getListOfErrors().isEmpty());
    }

    void forwardsToTheApi()
    {
        HandlerFixture fixture;
        fixture.initialize(QString());
        fixture.rootPointerHandler.changedConfigUrls = QStringList{QStringLiteral("c")};
        fixture.rootPointerHandler.changedProcessUrls = QStringList{QStringLiteral("p")};

        QCOMPARE(fixture.handler.hasInstanceChanged(), false);
        QCOMPARE(fixture.handler.getChangedLocalUrls(), QStringList());
        fixture.api.setProperty(QStringLiteral("motor"), QStringLiteral("speed"), 5);
        fixture.takeCalls();
        QCOMPARE(fixture.handler.hasInstanceChanged(), true);
        QCOMPARE(fixture.handler.getChangedLocalUrls(), QStringList({QStringLiteral("motor")}));
        QCOMPARE(fixture.takeCalls(), QStringList());

        QCOMPARE(fixture.handler.getChangedExternalConfigAbsoluteUrls(),
                 QStringList({QStringLiteral("c")}));
        QCOMPARE(fixture.handler.getChangedExternalProcessAbsoluteUrls(),
                 QStringList({QStringLiteral("p")}));
        fixture.handler.saveChangedFiles();
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("handler.getChangedExternalConfigUrls()"),
                              QStringLiteral("handler.getChangedExternalProcessUrls()"),
                              QStringLiteral("handler.saveChangedInstances()")}));
    }

    void savesNothingByItself()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("function onSave(api) { api.setProperty('motor', 'speed', 1); }"));
        fixture.handler.callFunctionOnSave(QStringLiteral("x"));
        QVERIFY(fixture.takeCalls().filter(QStringLiteral("handler.")).isEmpty());
    }
};

TEST_CLASS(JavaScriptHandlerChangesTest)

#include "JavaScriptHandlerChangesTest.moc"
