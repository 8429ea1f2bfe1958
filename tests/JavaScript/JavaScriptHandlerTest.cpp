#include "HandlerFixture.h"
#include "support/StrictTest.h"

#include <QJSEngine>
#include <QTest>

namespace {

const QString onOpen = QStringLiteral("onOpen");

} // namespace

/// Evaluation of a script, calls of its event functions, their results.
class JavaScriptHandlerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void callsNothingWhenConstructedOrDestroyed()
    {
        ApiFixture fixture;
        fixture.api.setError(QString(), QStringLiteral("kept"));
        QObject parent;
        {
            const JavaScriptHandler handler(fixture.api, &parent);
            QCOMPARE(handler.parent(), &parent);
        }
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(fixture.api.getListOfErrors().size(), 1);
    }

    void succeedsWithoutDoingAnythingWhenFresh()
    {
        HandlerFixture fixture;
        expectFresh(fixture);
    }

    void bindsTheApiButCallsNothingForAnEmptyScript_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("empty") << QStringLiteral("");
        QTest::newRow("null") << QString();
    }

    void bindsTheApiButCallsNothingForAnEmptyScript()
    {
        QFETCH(QString, script);
        HandlerFixture fixture;
        fixture.initialize(script);
        expectFresh(fixture);
        QCOMPARE(fixture.api.getProperty(QStringLiteral("motor"), QStringLiteral("speed")),
                 QVariant(1200));
    }

    void anEmptyScriptLeavesAReadyHandlerReady()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { api.setError('', 'called'); }"));
        fixture.handler.initializeJavaScriptEngine(QString());
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("called")}));
    }

    void anEmptyScriptLeavesAFailedHandlerFailed()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("throw new Error('no')"));
        takeMessages();
        fixture.handler.initializeJavaScriptEngine(QString());
        EXPECT_NO_MESSAGES();
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({HandlerWarnings::notEvaluated()});
    }

    void aBlankScriptIsNotEmpty()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(" \n"));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({HandlerWarnings::noFunction(onOpen)});
    }

    void warnsOfAScriptThatCannotBeEvaluated_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("text");
        QTest::newRow("thrown in the first line")
            << "throw new Error('no \"way\"')" << 1 << "Error: no \"way\"";
        QTest::newRow("thrown in the third line")
            << "var a;\n\nthrow new RangeError('far')" << 3 << "RangeError: far";
        QTest::newRow("unknown name")
            << "\nunknownName" << 2 << "ReferenceError: unknownName is not defined";
        QTest::newRow("syntax") << "function onOpen() {\n  return 1 +;\n}" << 2
                                << "SyntaxError: Expected token `numeric literal'";
        QTest::newRow("an error as the script's value")
            << "new TypeError('value')" << 1 << "TypeError: value";
    }

    void warnsOfAScriptThatCannotBeEvaluated()
    {
        QFETCH(QString, script);
        QFETCH(int, line);
        QFETCH(QString, text);
        HandlerFixture fixture;
        fixture.initialize(script);
        EXPECT_MESSAGES(
            {HandlerWarnings::uncaughtException(HandlerWarnings::evaluation, line, text)});

        for (int i = 0; i < 2; ++i) {
            QVERIFY(!fixture.handler.callFunctionOnOpen());
            EXPECT_MESSAGES({HandlerWarnings::notEvaluated()});
        }
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>());
        QCOMPARE(fixture.takeErrorIds(), QStringList());
    }

    void bindsTheApiThoughTheScriptCannotBeEvaluated()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("throw new Error('no')"));
        takeMessages();
        QCOMPARE(fixture.api.getProperty(QStringLiteral("motor"), QStringLiteral("speed")),
                 QVariant(1200));
    }

    void evaluatesBeforeItBinds()
    {
        HandlerFixture fixture;
        fixture.handler.initializeHandler({}, QStringLiteral("throw new Error('no')"), QString());
        EXPECT_MESSAGES({HandlerWarnings::uncaughtException(HandlerWarnings::evaluation, 1,
                                                            QStringLiteral("Error: no")),
                         ApiWarnings::newRootIsNull()});
    }

    void evaluatesOnlyOnce()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("var evaluations = 0; ++evaluations;"
                           "function onOpen(api) { api.setError('', evaluations); }"));
        fixture.handler.callFunctionOnOpen();
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("1")}));
    }

    void countsAThrownTextAsEvaluated()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("function onOpen(api) { api.setError('', 'called'); } throw 'text';"));
        EXPECT_NO_MESSAGES();
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("called")}));
    }

    void aFailedSecondScriptLeavesTheFirstOnesFunctions()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { api.setError('', 'first'); }"));
        fixture.initialize(QStringLiteral("function onOpen( {"));
        QCOMPARE(takeMessages().size(), 1);
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("first")}));
    }

    void aGoodSecondScriptMakesAFailedHandlerReady()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("throw new Error('no')"));
        takeMessages();
        fixture.initialize(QStringLiteral("function onOpen(api) { api.setError('', 'second'); }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("second")}));
    }

    void aSecondScriptIsEvaluatedIntoTheSameEngine()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("var kept = 'kept'; function onOpen() {}"));
        fixture.initialize(QStringLiteral("function onOk(api) { api.setError('', kept); }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QVERIFY(fixture.handler.callFunctionOnOk());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("kept")}));
    }

    void givesScriptsTheConsole()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() { console.log('hello', 5); }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        const QVector<Message> messages = takeMessages();
        QCOMPARE(messages.size(), 1);
        QCOMPARE(messages[0].type, QtDebugMsg);
        QCOMPARE(messages[0].text, QStringLiteral("hello 5"));
    }

    void addsNothingButTheConsoleToTheGlobalObject()
    {
        const QString script = QStringLiteral(
            "function onOpen(api) { api.setError('', globalNames()); }"
            "function globalNames() {"
            "    return Object.getOwnPropertyNames(Function('return this')()).sort().join(' ');"
            "}");
        QJSEngine bare;
        bare.installExtensions(QJSEngine::ConsoleExtension);
        bare.evaluate(script);
        const QString names =
            bare.globalObject().property(QStringLiteral("globalNames")).call().toString();
        QVERIFY(names.contains(QLatin1String("console")));

        HandlerFixture fixture;
        fixture.initialize(script);
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeErrorIds(), QStringList({names}));
    }

    void callsTheFunctionOfTheEvent_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QString>("said");
        QTest::newRow("open") << "open"
                              << ""
                              << "onOpen 1";
        QTest::newRow("ok") << "ok"
                            << ""
                            << "onOk 1";
        QTest::newRow("value changed") << "valueChanged"
                                       << "x"
                                       << "onValueChange 2 string x";
        QTest::newRow("value changed, no argument") << "valueChanged"
                                                    << ""
                                                    << "onValueChange 1";
        QTest::newRow("save") << "save"
                              << "x"
                              << "onSave 2 string x";
        QTest::newRow("save, no argument") << "save"
                                           << ""
                                           << "onSave 1";
        QTest::newRow("argument like a number") << "save"
                                                << "042"
                                                << "onSave 2 string 042";
        QTest::newRow("blank argument") << "save"
                                        << " "
                                        << "onSave 2 string  ";
        QTest::newRow("argument with quotes and Greek") << "valueChanged"
                                                        << "'\"Ω"
                                                        << "onValueChange 2 string '\"Ω";
    }

    void callsTheFunctionOfTheEvent()
    {
        QFETCH(QString, event);
        QFETCH(QString, argument);
        QFETCH(QString, said);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function say(name, args) {
                var text = name + " " + args.length;
                for (var i = 1; i < args.length; ++i) {
                    text += " " + typeof args[i] + " " + args[i];
                }
                args[0].setError("", text);
            }
            function onOpen() { say("onOpen", arguments); }
            function onOk() { say("onOk", arguments); }
            function onValueChange() { say("onValueChange", arguments); }
            function onValueChanged() { say("onValueChanged", arguments); }
            function onSave() { say("onSave", arguments); }
        )"));
        QVERIFY(fire(fixture.handler, event, argument));
        QCOMPARE(fixture.takeErrorIds(), QStringList({said}));
    }

    void callsAnyGlobalFunctionByName()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(
            "var other = (api, text) => { api.setError('', text); return text === 'yes'; };"));
        QVERIFY(fixture.handler.callFunction(QStringLiteral("other"), QStringLiteral("yes")));
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("yes")}));
        QVERIFY(!fixture.handler.callFunction(QStringLiteral("other"), QStringLiteral("no")));
    }

    void givesNoThisOfItsOwn()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("var globalObject = this;"
                                          "function onOpen() { return this === globalObject; }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
    }

    void succeedsUnlessFalseIsReturned_data()
    {
        QTest::addColumn<QString>("returned");
        QTest::addColumn<bool>("result");
        QTest::newRow("nothing") << "" << true;
        QTest::newRow("undefined") << "undefined" << true;
        QTest::newRow("null") << "null" << true;
        QTest::newRow("true") << "true" << true;
        QTest::newRow("false") << "false" << false;
        QTest::newRow("0") << "0" << true;
        QTest::newRow("1") << "1" << true;
        QTest::newRow("NaN") << "NaN" << true;
        QTest::newRow("empty text") << "''" << true;
        QTest::newRow("\"false\"") << "'false'" << true;
        QTest::newRow("object") << "{}" << true;
        QTest::newRow("array") << "[]" << true;
        QTest::newRow("the API") << "api" << true;
        QTest::newRow("negation") << "!1" << false;
    }

    void succeedsUnlessFalseIsReturned()
    {
        QFETCH(QString, returned);
        QFETCH(bool, result);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { return %1; }").arg(returned));
        QCOMPARE(fixture.handler.callFunctionOnOpen(), result);
        EXPECT_NO_MESSAGES();
    }

    void passesOnTheResultOfEachEvent_data()
    {
        QTest::addColumn<QString>("event");
        QTest::addColumn<QString>("functionName");
        QTest::newRow("open") << "open"
                              << "onOpen";
        QTest::newRow("ok") << "ok"
                            << "onOk";
        QTest::newRow("value changed") << "valueChanged"
                                       << "onValueChange";
        QTest::newRow("save") << "save"
                              << "onSave";
    }

    void passesOnTheResultOfEachEvent()
    {
        QFETCH(QString, event);
        QFETCH(QString, functionName);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function %1() { return false; }").arg(functionName));
        QVERIFY(!fire(fixture.handler, event, QStringLiteral("x")));
        EXPECT_NO_MESSAGES();

        fixture.initialize(QStringLiteral("function %1() { return true; }").arg(functionName));
        QVERIFY(fire(fixture.handler, event, QStringLiteral("x")));
    }

    void warnsOfAFunctionThatIsNotThere_data() { passesOnTheResultOfEachEvent_data(); }

    void warnsOfAFunctionThatIsNotThere()
    {
        QFETCH(QString, event);
        QFETCH(QString, functionName);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function unrelated() {}"));
        QVERIFY(!fire(fixture.handler, event, QStringLiteral("x")));
        EXPECT_MESSAGES({HandlerWarnings::noFunction(functionName)});
    }

    void warnsOfWhatIsNoFunction_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("text") << "var onOpen = 'onOpen';";
        QTest::newRow("object") << "var onOpen = { call: function() {} };";
        QTest::newRow("null") << "var onOpen = null;";
        QTest::newRow("const is not global") << "const onOpen = function() {};";
        QTest::newRow("let is not global") << "let onOpen = function() {};";
        QTest::newRow("member") << "var object = { onOpen: function() {} };";
    }

    void warnsOfWhatIsNoFunction()
    {
        QFETCH(QString, script);
        HandlerFixture fixture;
        fixture.initialize(script);
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({HandlerWarnings::noFunction(onOpen)});
    }

    void warnsOfAnErrorInPlaceOfAFunction()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("var onOpen = new Error('stored');"));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES(
            {warning(HandlerWarnings::call, QStringLiteral("No property: \"onOpen\""))});
    }

    void warnsOfAFunctionThatThrows_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("text");
        QTest::newRow("own error") << "\n throw new Error('\"no\"');" << 2 << "Error: \"no\"";
        QTest::newRow("unknown name")
            << "unknownName;" << 1 << "ReferenceError: unknownName is not defined";
        QTest::newRow("too few arguments")
            << "api.getProperty('motor');" << 1 << "Error: Insufficient arguments";
        QTest::newRow("returned, not thrown")
            << "\n\n return new TypeError('value');" << 3 << "TypeError: value";
    }

    void warnsOfAFunctionThatThrows()
    {
        QFETCH(QString, body);
        QFETCH(int, line);
        QFETCH(QString, text);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onValueChange(api) { %1 }").arg(body));

        QVERIFY(!fixture.handler.callFunctionOnValueChanged(QStringLiteral("a \"b\"")));
        EXPECT_MESSAGES({HandlerWarnings::errorOnCalling(QStringLiteral("onValueChange"),
                                                         QStringLiteral("a \"b\"")),
                         HandlerWarnings::uncaughtException(HandlerWarnings::call, line, text)});
    }

    // To ask an Error for its line and its text runs the script's code.
    void warnsOfTheCallBeforeItAsksTheError()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onOk() {
                var error = new Error('no');
                Object.defineProperty(error, 'lineNumber',
                                      { get() { console.warn('line'); return 7; } });
                error.toString = function() { console.warn('text'); return 'shown'; };
                throw error;
            })"));
        QVERIFY(!fixture.handler.callFunctionOnOk());
        const QVector<Message> messages = takeMessages();
        QCOMPARE(messages.size(), 4);
        QCOMPARE(messages[0], HandlerWarnings::errorOnCalling(QStringLiteral("onOk"), QString()));
        QCOMPARE(messages[1].text, QStringLiteral("line"));
        QCOMPARE(messages[2].text, QStringLiteral("text"));
        QCOMPARE(
            messages[3],
            HandlerWarnings::uncaughtException(HandlerWarnings::call, 7, QStringLiteral("shown")));
    }

    void warningsNameTheirSourceFileAndLine()
    {
        HandlerFixture fixture;
        fixture.handler.initializeHandler(fixture.makeRoot(),
                                          QStringLiteral("throw new Error('no')"), QString());
        fixture.api.getProperty(QStringLiteral("nowhere"), QString());
        const QVector<Message> messages = takeMessages();
        QCOMPARE(messages.size(), 2);
        QVERIFY2(messages[0].file.endsWith(QLatin1String("JavaScript/JavaScriptHandler.cpp")),
                 qPrintable(messages[0].file));
        QVERIFY2(messages[1].file.endsWith(QLatin1String("JavaScript/JavaScriptApi.cpp")),
                 qPrintable(messages[1].file));
        QVERIFY(messages[0].line > 0);
        QVERIFY(messages[1].line > 0);
    }

    void warnsOfAThrowingFunctionWithoutArgument()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOk() { throw new Error('no'); }"));
        QVERIFY(!fixture.handler.callFunctionOnOk());
        EXPECT_MESSAGES({HandlerWarnings::errorOnCalling(QStringLiteral("onOk"), QString()),
                         HandlerWarnings::uncaughtException(HandlerWarnings::call, 1,
                                                            QStringLiteral("Error: no"))});
    }

    void takesAThrownValueThatIsNoErrorForAReturnedOne_data()
    {
        QTest::addColumn<QString>("thrown");
        QTest::addColumn<bool>("result");
        QTest::newRow("text") << "'text'" << true;
        QTest::newRow("number") << "42" << true;
        QTest::newRow("undefined") << "undefined" << true;
        QTest::newRow("false") << "false" << false;
    }

    void takesAThrownValueThatIsNoErrorForAReturnedOne()
    {
        QFETCH(QString, thrown);
        QFETCH(bool, result);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() { throw %1; }").arg(thrown));
        QCOMPARE(fixture.handler.callFunctionOnOpen(), result);
        EXPECT_NO_MESSAGES();
    }

    void worksAfterAFunctionThrew()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() { throw new Error('no'); }"
                                          "function onOk() {}"));
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(takeMessages().size(), 2);
        QVERIFY(fixture.handler.callFunctionOnOk());
    }

    void isFreshAfterAReset()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(
            "function onOpen(api) { api.setProperty('motor', 'speed', 1); return false; }"));
        fixture.handler.callFunctionOnOpen();
        fixture.takeEmissions();
        fixture.takeCalls();

        fixture.handler.resetState();
        QCOMPARE(fixture.takeCalls(), QStringList({QStringLiteral("handler.resetState()")}));
        QCOMPARE(fixture.handler.hasInstanceChanged(), false);
        expectFresh(fixture);
    }

    void isFreshAfterAResetOfAFailedScript()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("throw new Error('no')"));
        takeMessages();
        fixture.handler.resetState();
        fixture.takeCalls();
        expectFresh(fixture);
    }

    void keepsGlobalDefinitionsThroughAReset()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("var kept = 'kept';"
                                          "function onOpen(api) { api.setError('', kept); }"));
        fixture.handler.resetState();
        fixture.initialize(QStringLiteral("function onOk() {}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("kept")}));
    }

    void isNotEvaluatedWhenTheScriptAfterAResetFails()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() {}"));
        fixture.handler.resetState();
        fixture.initialize(QStringLiteral("throw new Error('no')"));
        takeMessages();
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({HandlerWarnings::notEvaluated()});
    }

    void evaluatingAloneDoesNotBindTheApi()
    {
        HandlerFixture fixture;
        fixture.handler.initializeJavaScriptEngine(
            QStringLiteral("function onOpen(api) { return api.isUrlValid('motor'); }"));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({ApiWarnings::rootIsNull(
            QStringLiteral("bool JavaScriptApi::isUrlValid(const QString&) const"))});
    }

private:
    static bool fire(JavaScriptHandler &handler, const QString &event, const QString &argument)
    {
        if (event == QLatin1String("open")) {
            return handler.callFunctionOnOpen();
        }
        if (event == QLatin1String("ok")) {
            return handler.callFunctionOnOk();
        }
        if (event == QLatin1String("valueChanged")) {
            return handler.callFunctionOnValueChanged(argument);
        }
        return handler.callFunctionOnSave(argument);
    }

    /// Every event succeeds without doing anything.
    void expectFresh(HandlerFixture &fixture)
    {
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QVERIFY(fixture.handler.callFunctionOnOk());
        QVERIFY(fixture.handler.callFunctionOnValueChanged(QStringLiteral("x")));
        QVERIFY(fixture.handler.callFunctionOnSave(QStringLiteral("x")));
        QVERIFY(fixture.handler.callFunction(QStringLiteral("unknown"), QString()));
        EXPECT_NO_MESSAGES();
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>());
        QCOMPARE(fixture.takeErrorIds(), QStringList());
    }
};

TEST_CLASS(JavaScriptHandlerTest)

#include "JavaScriptHandlerTest.moc"
