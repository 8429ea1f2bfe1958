#include "JavaScript/JavaScriptRunObserver.h"

#include "HandlerFixture.h"
#include "support/StrictTest.h"

#include <QTest>

namespace {

/// Records what it is told in a list shared with others.
class RecordingObserver : public JavaScriptRunObserver
{
public:
    explicit RecordingObserver(QStringList &calls)
        : m_calls(calls)
    {
    }

    void runBegins(const QString &functionName, const QString &argument) override
    {
        m_calls.append(callText("runBegins", functionName, argument));
    }

    void exceptionThrown(int line, const QString &text) override
    {
        m_calls.append(callText("exceptionThrown", line, text));
    }

    void runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors) override
    {
        QStringList texts;
        for (const JavaScriptApi::ErrorMessage &error : errors) {
            texts.append(callText("error", error.relUrl, error.errorLabelTextId, error.value));
        }
        m_calls.append(
            callText("runEnded", succeeded, qPrintable(texts.join(QLatin1String(", ")))));
    }

private:
    QStringList &m_calls;
};

struct ObserverFixture : HandlerFixture
{
    ObserverFixture() { handler.setRunObserver(&observer); }

    RecordingObserver observer{calls};
};

const QString evaluationBegins = QStringLiteral("runBegins(\"\", \"\")");
const QString failedEnd = QStringLiteral("runEnded(false, )");
const QString goodEnd = QStringLiteral("runEnded(true, )");

} // namespace

/// What an observer learns of the runs, and that it changes nothing.
class JavaScriptRunObserverTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void hearsOfAnEvaluation()
    {
        ObserverFixture fixture;
        fixture.handler.initializeJavaScriptEngine(QStringLiteral("var a = 1;"));
        QCOMPARE(fixture.takeCalls(), QStringList({evaluationBegins, goodEnd}));
    }

    void hearsOfAScriptThatCannotBeEvaluated_data()
    {
        QTest::addColumn<QString>("script");
        QTest::addColumn<QString>("exception");
        QTest::newRow("exception") << "\nthrow new Error('\"no\"')"
                                   << "exceptionThrown(2, \"Error: \\\"no\\\"\")";
        QTest::newRow("syntax error")
            << "var a;\nvar b = ;"
            << "exceptionThrown(2, \"SyntaxError: Expected token `numeric literal'\")";
    }

    void hearsOfAScriptThatCannotBeEvaluated()
    {
        QFETCH(QString, script);
        QFETCH(QString, exception);
        ObserverFixture fixture;
        fixture.handler.initializeJavaScriptEngine(script);
        QCOMPARE(takeMessages().size(), 1);
        QCOMPARE(fixture.takeCalls(), QStringList({evaluationBegins, exception, failedEnd}));
    }

    void hearsNothingOfAnEmptyScript()
    {
        ObserverFixture fixture;
        fixture.handler.initializeHandler(fixture.makeRoot(), QString(), QString());
        fixture.handler.callFunctionOnOpen();
        fixture.handler.callFunctionOnValueChanged(QStringLiteral("x"));
        QCOMPARE(fixture.takeCalls(), QStringList());
    }

    void hearsOfTheCallOfAFunction()
    {
        ObserverFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onValueChange(api, argument) {
                api.setError("motor", argument, 1);
                api.setError("", "last");
            })"));
        QVERIFY(fixture.handler.callFunctionOnValueChanged(QStringLiteral("x \"y\"")));
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("runBegins(\"onValueChange\", \"x \\\"y\\\"\")"),
                              QStringLiteral("runEnded(true, "
                                             "error(\"motor\", \"x \\\"y\\\"\", QVariant(int, 1)), "
                                             "error(\"\", \"last\", QVariant(Invalid)))")}));
        // The errors are still the owner's to read.
        QCOMPARE(fixture.takeErrorIds(),
                 QStringList({QStringLiteral("x \"y\""), QStringLiteral("last")}));
    }

    void hearsOfARefusal()
    {
        ObserverFixture fixture;
        fixture.initialize(QStringLiteral("function onOk() { return false; }"));
        QVERIFY(!fixture.handler.callFunctionOnOk());
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("runBegins(\"onOk\", \"\")"), failedEnd}));
    }

    void hearsOfAnException()
    {
        ObserverFixture fixture;
        fixture.initialize(QStringLiteral("function onSave(api) {\n"
                                          "    api.setError('motor', 'reported');\n"
                                          "    throw new RangeError('far');\n"
                                          "}"));
        QVERIFY(!fixture.handler.callFunctionOnSave(QStringLiteral("x")));
        QCOMPARE(takeMessages().size(), 2);
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("runBegins(\"onSave\", \"x\")"),
                              QStringLiteral("exceptionThrown(3, \"RangeError: far\")"),
                              QStringLiteral("runEnded(false, error(\"motor\", \"reported\", "
                                             "QVariant(Invalid)))")}));
    }

    void hearsOfAnExceptionWithoutALine()
    {
        ObserverFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() { var error = new Error('no');"
                                          "    Object.defineProperty(error, 'lineNumber',"
                                          "                          { value: undefined });"
                                          "    throw error; }"));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        QCOMPARE(takeMessages().size(), 2);
        QCOMPARE(fixture.takeCalls().value(1), QStringLiteral("exceptionThrown(0, \"Error: no\")"));
    }

    void hearsOfAFunctionThatCannotBeCalled_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("missing") << "var other;";
        QTest::newRow("no function") << "var onOpen = 1;";
        QTest::newRow("an error in its place") << "var onOpen = new Error('no');";
        QTest::newRow("not evaluated") << "throw new Error('no');";
    }

    void hearsOfAFunctionThatCannotBeCalled()
    {
        QFETCH(QString, script);
        ObserverFixture fixture;
        fixture.initialize(script);
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        takeMessages();
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("runBegins(\"onOpen\", \"\")"), failedEnd}));
    }

    void doesNotHearOfAnEarlierRunsErrors()
    {
        ObserverFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { api.setError('', 'old'); }"
                                          "function onOk() {}"));
        fixture.handler.callFunctionOnOpen();
        fixture.takeCalls();
        fixture.handler.callFunctionOnOk();
        QCOMPARE(fixture.takeCalls().last(), goodEnd);
    }

    void hearsOfARunAroundItsWorkAndBeforeTheSignal()
    {
        ObserverFixture fixture;
        connect(&fixture.handler, &JavaScriptHandler::parametersChanged, this,
                [&fixture] { fixture.calls.append(QStringLiteral("parametersChanged")); });
        fixture.handler.initializeHandler(
            fixture.makeRoot(),
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', 1); }"),
            QString());
        fixture.takeCalls();
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeCalls(),
                 QStringList({QStringLiteral("runBegins(\"onOpen\", \"\")"),
                              QStringLiteral("root.getNode(\"motor\")"),
                              QStringLiteral("motor.hasProperty(\"speed\")"),
                              QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1))"),
                              goodEnd, QStringLiteral("parametersChanged")}));
    }

    void hearsNothingOnceItIsReplaced()
    {
        ObserverFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() {}"));
        QStringList otherCalls;
        RecordingObserver other(otherCalls);
        fixture.handler.setRunObserver(&other);
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(otherCalls.size(), 2);

        fixture.handler.setRunObserver(nullptr);
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(otherCalls.size(), 2);
    }

    void staysThroughAReset()
    {
        ObserverFixture fixture;
        fixture.handler.resetState();
        fixture.takeCalls();
        fixture.handler.initializeJavaScriptEngine(QStringLiteral("1"));
        QCOMPARE(fixture.takeCalls(), QStringList({evaluationBegins, goodEnd}));
    }

    void changesNothing_data()
    {
        QTest::addColumn<QString>("script");
        QTest::newRow("success") << "function onOpen(api) { api.setProperty('motor', 'speed', 1);"
                                    "                       api.setError('', 'id'); }";
        QTest::newRow("false") << "function onOpen() { return false; }";
        QTest::newRow("exception") << "function onOpen(api) { api.setProperty('', 'speed', 1);"
                                      "                       throw new Error('no'); }";
        QTest::newRow("missing function") << "var a;";
        QTest::newRow("an error in place of the function") << "var onOpen = new Error('no')";
        QTest::newRow("not evaluated") << "throw new Error('no')";
        QTest::newRow("syntax error") << "function {";
        QTest::newRow("empty script") << "";
    }

    void changesNothing()
    {
        QFETCH(QString, script);
        HandlerFixture plain;
        plain.handler.initializeHandler(plain.makeRoot(), script, QString());
        const bool plainResult = plain.handler.callFunctionOnOpen();
        const QVector<Message> plainMessages = takeMessages();

        HandlerFixture observed;
        QStringList observerCalls;
        RecordingObserver observer(observerCalls);
        observed.handler.setRunObserver(&observer);
        observed.handler.initializeHandler(observed.makeRoot(), script, QString());
        QCOMPARE(observed.handler.callFunctionOnOpen(), plainResult);
        QVERIFY(compareMessages(plainMessages));
        QCOMPARE(observed.takeCalls(), plain.takeCalls());
        QCOMPARE(observed.takeEmissions(), plain.takeEmissions());
        QCOMPARE(observed.takeErrorIds(), plain.takeErrorIds());
    }
};

QTEST_GUILESS_MAIN(JavaScriptRunObserverTest)

#include "JavaScriptRunObserverTest.moc"
