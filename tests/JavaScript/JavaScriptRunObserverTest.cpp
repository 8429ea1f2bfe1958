#include "JavaScript/JavaScriptRunObserver.h"

#include "DependencySupport.h"
#include "HandlerFixture.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"
#include "support/TestProject.h"

#include <QMetaMethod>
#include <QTest>

#include <algorithm>
#include <memory>

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

/// Records the calls of the API and the instances, too.
class CallObserver : public RecordingObserver
{
public:
    explicit CallObserver(QStringList &calls)
        : RecordingObserver(calls)
        , m_calls(calls)
    {
    }

    void instanceBegins(const QString &instanceName) override
    {
        m_calls.append(callText("instanceBegins", instanceName));
    }

    void apiCalled(const QByteArray &operation, const QStringList &texts) override
    {
        m_calls.append(callText("apiCalled", operation, texts));
    }

private:
    QStringList &m_calls;
};

struct CallFixture : HandlerFixture
{
    CallFixture() { handler.setRunObserver(&observer); }

    /// The calls of the API and their effects since the last time, without the run around them.
    QStringList takeApiCalls()
    {
        QStringList calls = takeCalls();
        for (int i = calls.size() - 1; i >= 0; --i) {
            if (calls.at(i).startsWith(QLatin1String("runBegins("))
                || calls.at(i).startsWith(QLatin1String("runEnded("))
                || calls.at(i).startsWith(QLatin1String("exceptionThrown("))) {
                calls.removeAt(i);
            }
        }
        return calls;
    }

    CallObserver observer{calls};
};

QString stationUrl(const QString &instance)
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance);
}

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

    void hearsOfTheRunsOfAWrapper()
    {
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
        QStringList calls;
        CallObserver observer(calls);
        wrapper.setRunObserver(&observer);
        wrapper.initializeHandler(TestHost::makeTree("{}"),
                                  QStringLiteral("function onValueChange(api, url) {\n"
                                                 "    api.setError(url, 'id');\n"
                                                 "    throw new Error('no');\n"
                                                 "}"),
                                  QString());
        QCOMPARE(calls, QStringList({evaluationBegins, goodEnd}));
        calls.clear();
        QVERIFY(!wrapper.callFunctionOnValueChanged(QStringLiteral("motor")));
        QCOMPARE(takeMessages().size(), 2);
        QCOMPARE(
            calls,
            QStringList(
                {QStringLiteral("runBegins(\"onValueChange\", \"motor\")"),
                 QStringLiteral("apiCalled(\"setError\", (\"motor\", \"id\"))"),
                 QStringLiteral("exceptionThrown(3, \"Error: no\")"),
                 QStringLiteral("runEnded(false, error(\"motor\", \"id\", QVariant(Invalid)))")}));
        QCOMPARE(wrapper.getErrorMesageList().size(), 1); // still the host's to read

        calls.clear();
        wrapper.setRunObserver(nullptr);
        QVERIFY(!wrapper.callFunctionOnValueChanged(QStringLiteral("motor")));
        QCOMPARE(takeMessages().size(), 2);
        QCOMPARE(calls, QStringList());
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

    // Calls of the API

    void hearsOfACallBeforeItsEffect_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("reported");
        QTest::addColumn<QString>("effect"); // the first; empty for none outside the API

        QTest::newRow("getProperty") << "api.getProperty('motor', 'speed')"
                                     << R"(apiCalled("getProperty", ("motor", "speed")))"
                                     << R"(root.getNode("motor"))";
        QTest::newRow("setProperty") << "api.setProperty('motor', 'speed', 'text')"
                                     << R"(apiCalled("setProperty", ("motor", "speed")))"
                                     << R"(root.getNode("motor"))";
        QTest::newRow("getPropertyExtern") << "api.getPropertyExtern(url, 'speed')"
                                           << R"(apiCalled("getPropertyExtern", ("%1", "speed")))"
                                           << R"(handler.getRootPointer("%1"))";
        QTest::newRow("setPropertyExtern") << "api.setPropertyExtern(url, 'speed', { a: 'text' })"
                                           << R"(apiCalled("setPropertyExtern", ("%1", "speed")))"
                                           << R"(handler.getRootPointer("%1"))";
        QTest::newRow("setError with a value") << "api.setError('motor', 'hot', 'text')"
                                               << R"(apiCalled("setError", ("motor", "hot")))"
                                               << "";
        QTest::newRow("setError") << "api.setError('motor', 'hot')"
                                  << R"(apiCalled("setError", ("motor", "hot")))"
                                  << "";
        QTest::newRow("isUrlValid") << "api.isUrlValid('motor')"
                                    << R"(apiCalled("isUrlValid", ("motor")))"
                                    << R"(root.isUrlValid("motor"))";
        QTest::newRow("getAllUnitTexts") << "api.getAllUnitTexts('bar')"
                                         << R"(apiCalled("getAllUnitTexts", ()))"
                                         << "";
        QTest::newRow("getHostTypeName") << "api.getHostTypeName()"
                                         << R"(apiCalled("getHostTypeName", ()))"
                                         << "";
        QTest::newRow("getListOfNodeInstancesWithText")
            << "api.getListOfNodeInstancesWithText(url, true)"
            << R"(apiCalled("getListOfNodeInstancesWithText", ("%1")))"
            << R"(handler.getRootPointer("%1"))";
        QTest::newRow("converted texts")
            << "api.getProperty({ toString: function() { return 'motor'; } }, 42)"
            << R"(apiCalled("getProperty", ("motor", "42")))"
            << R"(root.getNode("motor"))";
        QTest::newRow("empty texts") << "api.getProperty('', '')"
                                     << R"(apiCalled("getProperty", ("", "")))"
                                     << R"(root.getNode(""))";
        QTest::newRow("too many arguments") << "api.isUrlValid('motor', 'speed', 1)"
                                            << R"(apiCalled("isUrlValid", ("motor")))"
                                            << R"(root.isUrlValid("motor"))";
    }

    void hearsOfACallBeforeItsEffect()
    {
        QFETCH(QString, call);
        QFETCH(QString, reported);
        QFETCH(QString, effect);
        CallFixture fixture;
        const auto root = fixture.makeRoot();
        fixture.rootPointerHandler.root = root;
        fixture.initialize(
            QStringLiteral("function onSave(api, url) { %1; api.getHostTypeName(); }").arg(call));
        const QString url = TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                                QStringLiteral("line1"));
        QVERIFY(fixture.handler.callFunctionOnSave(url));

        const QStringList calls = fixture.takeApiCalls();
        const QString last = QStringLiteral("apiCalled(\"getHostTypeName\", ())");
        QCOMPARE(calls.first(),
                 reported.contains(QLatin1String("%1")) ? reported.arg(url) : reported);
        QCOMPARE(calls.last(), last);
        QCOMPARE(calls.filter(QStringLiteral("apiCalled(")).size(), 2);
        const QString second = effect.isEmpty()    ? last
            : effect.contains(QLatin1String("%1")) ? effect.arg(url)
                                                   : effect;
        QCOMPARE(calls.value(1), second);
    }

    // The rows above cover what scripts can call, whatever that is.
    void theCallsAreAllThatScriptsCanCall()
    {
        CallFixture fixture;
        fixture.initialize(QStringLiteral("function onSave(api, call) { eval(call); }"));
        const QMetaObject &metaObject = JavaScriptApi::staticMetaObject;
        for (int i = metaObject.methodOffset(); i < metaObject.methodCount(); ++i) {
            const QMetaMethod method = metaObject.method(i);
            QStringList arguments;
            QStringList texts;
            for (int j = 0; j < method.parameterCount(); ++j) {
                const QString text = QStringLiteral("text %1").arg(j);
                arguments.append(QLatin1Char('\'') + text + QLatin1Char('\''));
                if (method.parameterType(j) == QMetaType::QString) {
                    texts.append(text);
                }
            }
            const QString call =
                QStringLiteral("api.%1(%2)")
                    .arg(QString::fromUtf8(method.name()), arguments.join(QStringLiteral(", ")));
            QVERIFY2(fixture.handler.callFunctionOnSave(call), qPrintable(call));
            QCOMPARE(fixture.takeApiCalls().filter(QStringLiteral("apiCalled(")),
                     QStringList({callText("apiCalled", method.name(), texts)}));
        }
        takeMessages();
    }

    void hearsOfEachCallInOrder()
    {
        CallFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) {"
                                          "    for (var i = 0; i < 3; ++i) {"
                                          "        api.setError('motor', 'hot' + i);"
                                          "    }"
                                          "    throw new Error('no');"
                                          "}"));
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        QCOMPARE(takeMessages().size(), 2);
        const QStringList calls = fixture.takeCalls();
        QCOMPARE(calls.mid(0, 5),
                 QStringList({QStringLiteral("runBegins(\"onOpen\", \"\")"),
                              QStringLiteral("apiCalled(\"setError\", (\"motor\", \"hot0\"))"),
                              QStringLiteral("apiCalled(\"setError\", (\"motor\", \"hot1\"))"),
                              QStringLiteral("apiCalled(\"setError\", (\"motor\", \"hot2\"))"),
                              QStringLiteral("exceptionThrown(1, \"Error: no\")")}));
    }

    void hearsNothingOfWhatIsNoCallOfAnOperation_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::newRow("too few arguments") << "api.getProperty('motor')";
        QTest::newRow("no overload") << "api.setError()";
        QTest::newRow("look-up") << "api.getProperty";
        QTest::newRow("property") << "api.objectName = 'x'; api.objectName";
        QTest::newRow("signal") << "api.objectNameChanged('x')";
        QTest::newRow("destroy") << "api.destroy()";
        QTest::newRow("toString") << "api.toString(); String(api)";
        QTest::newRow("own function") << "api.own = function() {}; api.own()";
    }

    void hearsNothingOfWhatIsNoCallOfAnOperation()
    {
        QFETCH(QString, statement);
        CallFixture fixture;
        fixture.initialize(
            QStringLiteral("function onOpen(api) { try { %1 } catch (e) {} }").arg(statement));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeApiCalls(), QStringList());
        takeMessages();
    }

    // The engine takes the text of the exception for the argument, and goes on.
    void hearsOfACallWhoseTextThrows()
    {
        CallFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) {"
                                          "    api.isUrlValid({ toString: function() {"
                                          "        throw new Error('no'); } });"
                                          "}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeApiCalls(),
                 QStringList({QStringLiteral("apiCalled(\"isUrlValid\", (\"Error: no\"))"),
                              QStringLiteral("root.isUrlValid(\"Error: no\")")}));
    }

    void hearsNothingOfCallsFromElsewhere()
    {
        CallFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() {}"));
        const QString motor = QStringLiteral("motor");
        const QString speed = QStringLiteral("speed");
        fixture.api.getProperty(motor, speed);
        fixture.api.setProperty(motor, speed, 1);
        fixture.api.setError(motor, speed);
        QVERIFY(QMetaObject::invokeMethod(&fixture.api, "setError", Q_ARG(QString, motor),
                                          Q_ARG(QString, speed)));
        QVERIFY(fixture.takeCalls().filter(QStringLiteral("apiCalled")).isEmpty());
    }

    void hearsOfNoCallOnceItIsReplaced()
    {
        CallFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { api.getHostTypeName(); }"));
        QStringList otherCalls;
        CallObserver other(otherCalls);
        fixture.handler.setRunObserver(&other);
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(otherCalls.filter(QStringLiteral("apiCalled")).size(), 1);

        fixture.handler.setRunObserver(nullptr);
        fixture.handler.callFunctionOnOpen();
        QCOMPARE(fixture.takeCalls(), QStringList());
        QCOMPARE(otherCalls.filter(QStringLiteral("apiCalled")).size(), 1);
    }

    void hearsOfNoCallOfALaterHandler()
    {
        ApiFixture collaborators;
        const QString script =
            QStringLiteral("function onOpen(api) { api.getHostTypeName(); return true; }");
        QStringList calls;
        {
            CallObserver observer(calls);
            JavaScriptHandler handler(collaborators.api, nullptr);
            handler.setRunObserver(&observer);
            handler.initializeHandler(collaborators.makeRoot(), script, QString());
            QVERIFY(handler.callFunctionOnOpen());
            QCOMPARE(calls.filter(QStringLiteral("apiCalled")).size(), 1);
        }
        JavaScriptHandler handler(collaborators.api, nullptr);
        handler.initializeHandler(collaborators.makeRoot(), script, QString());
        QVERIFY(handler.callFunctionOnOpen());
        QCOMPARE(calls.filter(QStringLiteral("apiCalled")).size(), 1);
    }

    // As it happens where a handler takes the place of another one on the same API.
    void hearsOfCallsWhenAnEarlierHandlerIsGone()
    {
        ApiFixture collaborators;
        QStringList calls;
        CallObserver observer(calls);
        auto earlier = std::make_unique<JavaScriptHandler>(collaborators.api, nullptr);
        JavaScriptHandler handler(collaborators.api, nullptr);
        handler.setRunObserver(&observer);
        earlier.reset();
        handler.initializeHandler(collaborators.makeRoot(),
                                  QStringLiteral("function onOpen(api) { api.getHostTypeName(); }"),
                                  QString());
        QVERIFY(handler.callFunctionOnOpen());
        QCOMPARE(calls.filter(QStringLiteral("apiCalled")).size(), 1);
    }

    // Instances of a resolver

    void hearsOfAnInstanceBeforeItsRuns()
    {
        TestProject project;
        writeMarkers(project);
        for (const QString &instance : instances()) {
            project.storeConfiguration(
                instance,
                DependencySupport::dependentTree(instance == instances().last()
                                                     ? QStringLiteral("broken.js")
                                                     : QStringLiteral("mark.js")));
        }
        ObservedResolver observed(project);
        observed.resolver.resolveAllDependencies();
        takeMessages();
        compareInstanceRuns(observed.calls);

        observed.calls.clear();
        observed.resolver.setRunObserver(nullptr);
        observed.resolver.resolveAllDependencies();
        takeMessages();
        QCOMPARE(observed.calls, QStringList());
    }

    void hearsOfAnInstanceInATreeBeforeItsRuns()
    {
        TestProject project;
        writeMarkers(project);
        QJsonObject children;
        for (const QString &instance : instances()) {
            children.insert(instance.section(QLatin1Char('/'), 1),
                            DependencySupport::dependentNode(instance == instances().last()
                                                                 ? QStringLiteral("broken.js")
                                                                 : QStringLiteral("mark.js")));
        }
        const auto root = TestHost::makeTree(
            QJsonDocument(QJsonObject{{QStringLiteral("children"), children}}).toJson());
        const auto texts = TestHost::makeTextManager({});
        JavaScriptInplaceDependencyResolver resolver(project.path(), QStringLiteral("pumps"),
                                                     QStringLiteral("station"),
                                                     QStringLiteral("plant"), *texts, nullptr);
        QStringList calls;
        CallObserver observer(calls);
        resolver.setRunObserver(&observer);
        resolver.resolveDependencies(QStringLiteral("plant"), root);
        takeMessages();
        compareInstanceRuns(calls);
    }

    void hearsOfNoInstanceWithoutAScript()
    {
        TestProject project;
        project.listInstances({QStringLiteral("line1")});
        project.storeConfiguration(QStringLiteral("line1"), "{}");
        ObservedResolver observed(project);
        observed.resolver.resolveAllDependencies();
        takeMessages();
        QCOMPARE(observed.calls, QStringList());
    }

private:
    /// A project's resolver, and what its observer hears. The project is ready before.
    struct ObservedResolver
    {
        explicit ObservedResolver(const TestProject &project)
            : resolver(project.path(), QStringLiteral("pumps"), QStringLiteral("station"),
                       TestHost::makeProviders({}), *texts,
                       {{QStringLiteral("station"), project.path()}}, nullptr)
        {
            resolver.setRunObserver(&observer);
        }

        QStringList calls;
        CallObserver observer{calls};
        decltype(TestHost::makeTextManager({})) texts = TestHost::makeTextManager({});
        JavaScriptDependencyResolver resolver;
    };

    static QStringList instances()
    {
        return {QStringLiteral("plant/pump1"), QStringLiteral("plant/pump2"),
                QStringLiteral("plant/valve")};
    }

    static void writeMarkers(TestProject &project)
    {
        project.listInstances(instances());
        project.writeScript(
            QStringLiteral("mark.js"),
            "function onSave(api, url) { api.setPropertyExtern(url, 'marked', true); }");
        project.writeScript(QStringLiteral("broken.js"),
                            "function onSave() {} throw new Error('no');");
    }

    /// Whether the calls are those of all instances, one behind the other, in any order.
    void compareInstanceRuns(const QStringList &calls)
    {
        QStringList left = instances();
        int i = 0;
        while (i < calls.size()) {
            const QString call = calls.at(i);
            const auto it = std::find_if(left.begin(), left.end(), [&call](const QString &name) {
                return call == callText("instanceBegins", name);
            });
            QVERIFY2(it != left.end(), qPrintable(call));
            const QString instance = *it;
            left.erase(it);
            const bool isBroken = instance == instances().last();
            QCOMPARE(calls.value(++i), evaluationBegins);
            if (isBroken) {
                QCOMPARE(calls.value(++i), QStringLiteral("exceptionThrown(1, \"Error: no\")"));
            }
            QCOMPARE(calls.value(++i), isBroken ? failedEnd : goodEnd);
            QCOMPARE(calls.value(++i),
                     callText("runBegins", QStringLiteral("onSave"), stationUrl(instance)));
            ++i;
            // The function of a script that failed is called if another one was evaluated before.
            while (calls.value(i).startsWith(QLatin1String("apiCalled("))) {
                QCOMPARE(calls.at(i++),
                         callText("apiCalled", QByteArray("setPropertyExtern"),
                                  QStringList{stationUrl(instance), QStringLiteral("marked")}));
                QVERIFY(!isBroken);
            }
            QVERIFY2(calls.value(i).startsWith(QLatin1String("runEnded(")),
                     qPrintable(calls.value(i)));
            ++i;
        }
        QCOMPARE(left, QStringList());
    }
};

TEST_CLASS(JavaScriptRunObserverTest)

#include "JavaScriptRunObserverTest.moc"
