#include "DependencySupport.h"
#include "HandlerFixture.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "JavaScript/JavaScriptRunObserver.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QTest>

#include <algorithm>
#include <chrono>
#include <functional>
#include <thread>

using namespace DependencySupport;

namespace {

using NodePointer = ConfigurationAndProcessDataBase::BaseClassSharedPointer;
using Interrupt = std::function<void(bool)>;

const QString s_onOpen = QStringLiteral("onOpen");
const QString s_interrupted = QStringLiteral("Error: Interrupted");
const QString s_plant = QStringLiteral("plant");
const QString s_endless = QStringLiteral("plant/endless");
const QString s_later = QStringLiteral("plant/later");

/// Interrupts from a thread of its own, a little later. Whether the script runs by then does not
/// matter: it is stopped as soon as it does.
class LateInterruption
{
public:
    explicit LateInterruption(const Interrupt &interrupt)
        : m_thread([interrupt] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            interrupt(true);
        })
    {
    }
    ~LateInterruption() { m_thread.join(); }

private:
    Q_DISABLE_COPY(LateInterruption)

    std::thread m_thread;
};

template <typename Owner>
Interrupt interruptOf(Owner &owner)
{
    return [&owner](bool isInterrupted) {
        owner.setInterrupted(isInterrupted);
    };
}

QVector<Message> stoppedEvent(const QString &functionName, const QString &argument = QString())
{
    return {HandlerWarnings::errorOnCalling(functionName, argument),
            HandlerWarnings::uncaughtException(HandlerWarnings::call, 0, s_interrupted)};
}

Message stoppedEvaluation()
{
    return HandlerWarnings::uncaughtException(HandlerWarnings::evaluation, 0, s_interrupted);
}

/// Stops the function of one instance, and lets the others go on, as a program with a time limit
/// does.
class StoppingObserver : public JavaScriptRunObserver
{
public:
    explicit StoppingObserver(const Interrupt &interrupt)
        : m_interrupt(interrupt)
    {
    }

    void instanceBegins(const QString &instanceName) override { m_instance = instanceName; }

    void runBegins(const QString &functionName, const QString & /*argument*/) override
    {
        if (m_instance == s_endless && !functionName.isEmpty()) {
            m_interruption.reset(new LateInterruption(m_interrupt));
        }
    }

    void exceptionThrown(int line, const QString &text) override
    {
        exceptions.append(callText("exceptionThrown", m_instance, line, text));
    }

    void runEnded(bool /*succeeded*/,
                  const QList<JavaScriptApi::ErrorMessage> & /*errors*/) override
    {
        m_interruption.reset();
        m_interrupt(false);
    }

    QStringList exceptions;

private:
    Interrupt m_interrupt;
    QString m_instance;
    QScopedPointer<LateInterruption> m_interruption;
};

/// Which of the instances have the property "marked".
QStringList marked(const std::function<QVariant(const QString &instance)> &property)
{
    QStringList instances;
    for (const QString &instance :
         {QStringLiteral("plant/before"), s_endless, s_later, QStringLiteral("plant/last")}) {
        if (property(instance).toBool()) {
            instances.append(instance);
        }
    }
    return instances;
}

} // namespace

/// Scripts that are stopped from another thread.
class JavaScriptInterruptionTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void stopsAnEvent_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("for") << "for (;;) {}";
        QTest::newRow("while") << "while (true) {}";
        QTest::newRow("do") << "do {} while (true);";
        QTest::newRow("for of") << "function* ones() { for (;;) { yield 1; } }"
                                   "for (var one of ones()) {}";
        QTest::newRow("calls of the API") << "for (;;) { api.getHostTypeName(); }";
        QTest::newRow("calls of functions") << "function f() {} for (;;) { f(); }";
        QTest::newRow("try") << "for (;;) { try { for (;;) {} } catch (e) {} }";
        QTest::newRow("catch that loops") << "try { for (;;) {} } catch (e) { for (;;) {} }";
        QTest::newRow("catch after a throw") << "try { throw 1; } catch (e) { for (;;) {} }";
        QTest::newRow("finally that goes on")
            << "for (;;) { try { for (;;) {} } finally { continue; } }";
        QTest::newRow("finally that loops") << "try { for (;;) {} } finally { for (;;) {} }";
        QTest::newRow("finally that returns") << "try { for (;;) {} } finally { return true; }";
        QTest::newRow("catch that returns") << "try { for (;;) {} } catch (e) { return true; }";
        QTest::newRow("eval") << "eval('for (;;) {}');";
        QTest::newRow("Function") << "new Function('for (;;) {}')();";
        QTest::newRow("getter") << "({ get endless() { for (;;) {} } }).endless;";
        QTest::newRow("setter") << "({ set endless(value) { for (;;) {} } }).endless = 1;";
        QTest::newRow("getter of the global object")
            << "Object.defineProperty(Function('return this')(), 'endless',"
               "                      { get: function() { for (;;) {} } }); endless;";
        QTest::newRow("proxy") << "(new Proxy({}, { get: function() { for (;;) {} } })).endless;";
        QTest::newRow("callback of a built-in") << "[1].forEach(function() { for (;;) {} });";
        QTest::newRow("comparison") << "[2, 1].sort(function() { for (;;) {} });";
        QTest::newRow("replacement") << "'a'.replace('a', function() { for (;;) {} });";
        QTest::newRow("toJSON") << "JSON.stringify({ toJSON: function() { for (;;) {} } });";
        QTest::newRow("toString") << "String({ toString: function() { for (;;) {} } });";
        QTest::newRow("valueOf") << "1 + { valueOf: function() { for (;;) {} } };";
        QTest::newRow("toString of an argument")
            << "api.isUrlValid({ toString: function() { for (;;) {} } });";
        QTest::newRow("getter of an argument")
            << "api.setError('', '', { get endless() { for (;;) {} } });";
        QTest::newRow("getter inside an argument")
            << "api.setError('', '', [{ a: [{ get endless() { for (;;) {} } }] }]);";
        QTest::newRow("proxy as an argument")
            << "api.setError('', '', new Proxy({}, { ownKeys: function() { for (;;) {} } }));";
    }

    void stopsAnEvent()
    {
        QFETCH(QString, body);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { %1 }"
                                          "function onOk(api) { api.setError('', 'alive'); }")
                               .arg(body));
        {
            const LateInterruption interruption(interruptOf(fixture.handler));
            QVERIFY(!fixture.handler.callFunctionOnOpen());
        }
        QVERIFY(compareMessages(stoppedEvent(s_onOpen)));
        expectWorksAgain(fixture);
    }

    void stopsAnEventWithAnArgument()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onValueChange() { for (;;) {} }"));
        const LateInterruption interruption(interruptOf(fixture.handler));
        QVERIFY(!fixture.handler.callFunctionOnValueChanged(QStringLiteral("motor \"1\"")));
        QVERIFY(compareMessages(
            stoppedEvent(QStringLiteral("onValueChange"), QStringLiteral("motor \"1\""))));
    }

    void stopsTheEvaluationOfAText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("for") << "for (;;) {}";
        QTest::newRow("function") << "function f() { for (;;) {} } f();";
        QTest::newRow("try") << "for (;;) { try { for (;;) {} } catch (e) {} }";
        QTest::newRow("finally that loops") << "try { for (;;) {} } finally { for (;;) {} }";
        QTest::newRow("finally that goes on")
            << "for (;;) { try { for (;;) {} } finally { continue; } }";
        QTest::newRow("getter") << "({ get endless() { for (;;) {} } }).endless;";
        QTest::newRow("getter of the global object")
            << "Object.defineProperty(this, 'endless', { get: function() { for (;;) {} } });"
               "endless;";
    }

    void stopsTheEvaluationOfAText()
    {
        QFETCH(QString, text);
        HandlerFixture fixture;
        {
            const LateInterruption interruption(interruptOf(fixture.handler));
            fixture.handler.initializeHandler(
                fixture.makeRoot(), QStringLiteral("function onOk() {}") + text, QString());
        }
        EXPECT_MESSAGES({stoppedEvaluation()});
        QVERIFY(!fixture.handler.callFunctionOnOk());
        EXPECT_MESSAGES({HandlerWarnings::notEvaluated()});

        fixture.handler.setInterrupted(false);
        QVERIFY(!fixture.handler.callFunctionOnOk());
        EXPECT_MESSAGES({HandlerWarnings::notEvaluated()});
        fixture.initialize(QStringLiteral("function onOk(api) { api.setError('', 'alive'); }"));
        expectWorksAgain(fixture);
    }

    // The function is looked up on the way to the call, by running the script's getter.
    void stopsAGetterInPlaceOfTheFunction()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("Object.defineProperty(this, 'onOpen',"
                           "                      { get: function() { for (;;) {} } });"
                           "function onOk(api) { api.setError('', 'alive'); }"));
        {
            const LateInterruption interruption(interruptOf(fixture.handler));
            QVERIFY(!fixture.handler.callFunctionOnOpen());
        }
        EXPECT_MESSAGES({HandlerWarnings::noFunction(s_onOpen)});
        expectWorksAgain(fixture);
    }

    // What the warnings say of an Error comes from the Error itself.
    void stopsAnErrorThatIsAsked_data()
    {
        QTest::addColumn<QString>("definition");
        QTest::newRow("line") << "Object.defineProperty(error, 'lineNumber',"
                                 "                      { get: function() { for (;;) {} } });";
        QTest::newRow("text") << "error.toString = function() { for (;;) {} };";
        QTest::newRow("message") << "Object.defineProperty(error, 'message',"
                                    "                      { get: function() { for (;;) {} } });";
    }

    void stopsAnErrorThatIsAsked()
    {
        QFETCH(QString, definition);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() { var error = new Error('no');"
                                          "                    %1 throw error; }"
                                          "function onOk(api) { api.setError('', 'alive'); }")
                               .arg(definition));
        {
            const LateInterruption interruption(interruptOf(fixture.handler));
            QVERIFY(!fixture.handler.callFunctionOnOpen());
        }
        const QVector<Message> messages = takeMessages();
        QCOMPARE(messages.size(), 2);
        QCOMPARE(messages[0], HandlerWarnings::errorOnCalling(s_onOpen, QString()));
        QVERIFY2(messages[1].text.startsWith(QLatin1String("Uncaught exception at line ")),
                 qPrintable(messages[1].text));
        expectWorksAgain(fixture);
    }

    void stopsEveryCallUntilItIsReleased_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("nothing") << "";
        QTest::newRow("value") << "return true;";
        QTest::newRow("expression") << "var a = 1; return a + 1 > 1;";
        QTest::newRow("loop") << "for (var i = 0; i < 10; ++i) {}";
        QTest::newRow("endless loop") << "for (;;) {}";
        QTest::newRow("call of the API") << "api.setProperty('motor', 'speed', 1);";
    }

    void stopsEveryCallUntilItIsReleased()
    {
        QFETCH(QString, body);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { %1 }"
                                          "function onOk(api) { api.setError('', 'alive'); }")
                               .arg(body));
        fixture.handler.setInterrupted(true);
        for (int i = 0; i < 3; ++i) {
            QVERIFY(!fixture.handler.callFunctionOnOpen());
            QVERIFY(compareMessages(stoppedEvent(s_onOpen)));
        }
        expectWorksAgain(fixture);
    }

    void stopsEveryEvaluationUntilItIsReleased_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("function") << "function onOpen() {}";
        QTest::newRow("value") << "1";
        QTest::newRow("loop") << "for (var i = 0; i < 10; ++i) {}";
        QTest::newRow("endless loop") << "for (;;) {}";
    }

    void stopsEveryEvaluationUntilItIsReleased()
    {
        QFETCH(QString, text);
        HandlerFixture fixture;
        fixture.handler.setInterrupted(true);
        for (int i = 0; i < 3; ++i) {
            fixture.handler.initializeJavaScriptEngine(text);
            EXPECT_MESSAGES({stoppedEvaluation()});
        }
        fixture.initialize(QStringLiteral("function onOk(api) { api.setError('', 'alive'); }"));
        EXPECT_MESSAGES({stoppedEvaluation()});
        fixture.handler.setInterrupted(false);
        fixture.initialize(QStringLiteral("function onOk(api) { api.setError('', 'alive'); }"));
        expectWorksAgain(fixture);
    }

    void isReleasedBeforeAnythingRan()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOk(api) { api.setError('', 'alive'); }"));
        fixture.handler.setInterrupted(true);
        fixture.handler.setInterrupted(true);
        expectWorksAgain(fixture);
        fixture.handler.setInterrupted(false);
        expectWorksAgain(fixture);
    }

    void staysThroughAReset()
    {
        HandlerFixture fixture;
        fixture.handler.setInterrupted(true);
        fixture.handler.resetState();
        fixture.initialize(QStringLiteral("for (;;) {}"));
        EXPECT_MESSAGES({stoppedEvaluation()});
    }

    void changesNothingForAnEmptyScript()
    {
        HandlerFixture fixture;
        fixture.initialize(QString());
        fixture.handler.setInterrupted(true);
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QVERIFY(fixture.handler.callFunctionOnOk());
        QVERIFY(fixture.handler.callFunctionOnValueChanged(QStringLiteral("x")));
        QVERIFY(fixture.handler.callFunctionOnSave(QStringLiteral("x")));
        QVERIFY(fixture.handler.callFunction(QStringLiteral("other"), QString()));
        EXPECT_NO_MESSAGES();
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>());
    }

    void keepsWhatTheScriptDidBefore()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) {"
                                          "    api.setProperty('motor', 'speed', 1);"
                                          "    api.setError('motor', 'hot');"
                                          "    for (;;) {}"
                                          "    api.setProperty('motor', 'speed', 2);"
                                          "}"));
        {
            const LateInterruption interruption(interruptOf(fixture.handler));
            QVERIFY(!fixture.handler.callFunctionOnOpen());
        }
        QVERIFY(compareMessages(stoppedEvent(s_onOpen)));
        QCOMPARE(fixture.takeCalls().filter(QStringLiteral("setProperty")),
                 QStringList({QStringLiteral("motor.setProperty(\"speed\", QVariant(int, 1))")}));
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{QStringLiteral("motor")}}));
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("hot")}));
    }

    void isHeardByTheRunObserver_data()
    {
        QTest::addColumn<QString>("body");
        QTest::newRow("loop") << "for (;;) {}";
        QTest::newRow("finally that loops") << "try { for (;;) {} } finally { for (;;) {} }";
    }

    void isHeardByTheRunObserver()
    {
        QFETCH(QString, body);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { %1 }").arg(body));
        StoppingObserver observer([](bool /*isInterrupted*/) {});
        fixture.handler.setRunObserver(&observer);
        {
            const LateInterruption interruption(interruptOf(fixture.handler));
            QVERIFY(!fixture.handler.callFunctionOnOpen());
        }
        QVERIFY(compareMessages(stoppedEvent(s_onOpen)));
        QCOMPARE(observer.exceptions,
                 QStringList({callText("exceptionThrown", QString(), 0, s_interrupted)}));

        fixture.handler.initializeJavaScriptEngine(QStringLiteral("1"));
        EXPECT_MESSAGES({stoppedEvaluation()});
        QCOMPARE(observer.exceptions.size(), 2);
    }

    void stopsThroughTheWrapper()
    {
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        JavaScriptHandlerUiWrapper wrapper(units, texts, nullptr);
        const auto root = TestHost::makeTree("{}");
        wrapper.initializeHandler(
            root,
            QStringLiteral("function onOpen() { for (;;) {} }"
                           "function onOk() { try { for (;;) {} } finally { for (;;) {} } }"
                           "function onValueChange(api, value) {"
                           "    api.setProperty('', 'value', value);"
                           "    while (value === 'plant/endless') {}"
                           "}"),
            QString());
        {
            const LateInterruption interruption(interruptOf(wrapper));
            QVERIFY(!wrapper.callFunctionOnOpen());
        }
        QVERIFY(compareMessages(stoppedEvent(s_onOpen)));
        wrapper.setInterrupted(false);
        {
            const LateInterruption interruption(interruptOf(wrapper));
            QVERIFY(!wrapper.callFunctionOnOk());
        }
        QVERIFY(compareMessages(stoppedEvent(QStringLiteral("onOk"))));
        wrapper.setInterrupted(false);
        {
            const LateInterruption interruption(interruptOf(wrapper));
            QVERIFY(!wrapper.callFunctionOnValueChanged(s_endless));
        }
        QVERIFY(compareMessages(stoppedEvent(QStringLiteral("onValueChange"), s_endless)));
        wrapper.setInterrupted(false);
        QVERIFY(wrapper.callFunctionOnValueChanged(QStringLiteral("short")));
        QCOMPARE(root->getProperty(QStringLiteral("value")), QVariant(QStringLiteral("short")));
    }

    void theResolverGoesOnWithTheOthers()
    {
        ResolverFixture fixture;
        goOnWithTheOthers(fixture, [&fixture] { fixture.resolver.resolveAllDependencies(); });
    }

    void theResolverStopsEveryInstanceUntilItIsReleased()
    {
        ResolverFixture fixture;
        {
            const LateInterruption interruption(interruptOf(fixture.resolver));
            fixture.resolver.resolveDependencyOfInstance(s_endless);
        }
        QVERIFY(
            compareMessages(stoppedEvent(QStringLiteral("onSave"), fixture.url(s_endless))
                            + QVector<Message>{failedScript(fixture.url(s_endless), s_endless)}));
        fixture.resolver.resolveAllDependencies();
        // The text is not evaluated, and its function is not called.
        const QVector<Message> messages = takeMessages();
        QCOMPARE(messages.size(), 4 * 3);
        QCOMPARE(messages.count(stoppedEvaluation()), 4);
        QCOMPARE(messages.count(HandlerWarnings::notEvaluated()), 4);
        QCOMPARE(fixture.marked(), QStringList());

        fixture.resolver.setInterrupted(false);
        fixture.resolver.resolveDependencyOfInstance(s_later);
        QCOMPARE(fixture.marked(), QStringList({s_later}));
    }

    void theInplaceResolverGoesOnWithTheOthers()
    {
        InplaceFixture fixture;
        goOnWithTheOthers(
            fixture, [&fixture] { fixture.resolver.resolveDependencies(s_plant, fixture.root); });
    }

    void theInplaceResolverStopsEveryInstanceUntilItIsReleased()
    {
        InplaceFixture fixture;
        fixture.resolver.setInterrupted(true);
        fixture.resolver.resolveDependencies(s_plant, fixture.root);
        QCOMPARE(takeMessages().count(stoppedEvaluation()), 4);
        QCOMPARE(fixture.marked(), QStringList());

        fixture.resolver.setInterrupted(false);
        fixture.resolver.resolveDependencies(s_later, fixture.root);
        QCOMPARE(fixture.marked(), QStringList({s_later}));
    }

private:
    /// A project with an instance whose function never ends, and others that are marked.
    struct ScriptsFixture
    {
        ScriptsFixture()
        {
            project.listInstances(instances());
            project.writeScript(QStringLiteral("mark.js"),
                                "function onSave(api, url) {"
                                "    api.setPropertyExtern(url, 'marked', true);"
                                "}");
            project.writeScript(QStringLiteral("endless.js"),
                                "function onSave(api, url) {"
                                "    for (;;) {}"
                                "    api.setPropertyExtern(url, 'marked', true);"
                                "}");
        }

        static QStringList instances()
        {
            return {QStringLiteral("plant/before"), s_endless, s_later,
                    QStringLiteral("plant/last")};
        }

        static QString scriptOf(const QString &instance)
        {
            return instance == s_endless ? QStringLiteral("endless.js") : QStringLiteral("mark.js");
        }

        static QString url(const QString &instance)
        {
            return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                       instance);
        }

        TestProject project;
        std::unique_ptr<TextManager> texts = TestHost::makeTextManager({});
    };

    struct ResolverFixture : ScriptsFixture
    {
        ResolverFixture()
        {
            for (const QString &instance : instances()) {
                project.storeConfiguration(instance, dependentTree(scriptOf(instance)));
            }
        }

        QStringList marked() const
        {
            return ::marked([this](const QString &instance) {
                return project.configurationProperty(instance, QString(), QStringLiteral("marked"));
            });
        }

        JavaScriptDependencyResolver resolver{project.path(),
                                              QStringLiteral("pumps"),
                                              QStringLiteral("station"),
                                              TestHost::makeProviders({}),
                                              *texts,
                                              {{QStringLiteral("station"), project.path()}},
                                              nullptr};
    };

    struct InplaceFixture : ScriptsFixture
    {
        InplaceFixture()
        {
            QJsonObject children;
            for (const QString &instance : instances()) {
                children.insert(instance.mid(s_plant.size() + 1),
                                dependentNode(scriptOf(instance)));
            }
            root = TestHost::makeTree(
                QJsonDocument(QJsonObject{{QStringLiteral("children"), children}}).toJson());
        }

        QStringList marked() const
        {
            return ::marked([this](const QString &instance) {
                return root->getNode(instance.mid(s_plant.size() + 1))
                    ->getProperty(QStringLiteral("marked"));
            });
        }

        NodePointer root;
        JavaScriptInplaceDependencyResolver resolver{
            project.path(), QStringLiteral("pumps"), QStringLiteral("station"), s_plant, *texts,
            nullptr};
    };

    static QStringList allButTheEndless()
    {
        return {QStringLiteral("plant/before"), s_later, QStringLiteral("plant/last")};
    }

    /// A resolver's run, in which one script is stopped.
    template <typename Fixture, typename Run>
    void goOnWithTheOthers(Fixture &fixture, Run run)
    {
        StoppingObserver observer(interruptOf(fixture.resolver));
        fixture.resolver.setRunObserver(&observer);
        run();

        QVERIFY(
            compareMessages(stoppedEvent(QStringLiteral("onSave"), fixture.url(s_endless))
                            + QVector<Message>{failedScript(fixture.url(s_endless), s_endless)}));
        QCOMPARE(observer.exceptions,
                 QStringList({callText("exceptionThrown", s_endless, 0, s_interrupted)}));
        QCOMPARE(fixture.marked(), allButTheEndless());
    }

    /// The script's onOk reports that it is alive.
    void expectWorksAgain(HandlerFixture &fixture)
    {
        fixture.handler.setInterrupted(false);
        QVERIFY(fixture.handler.callFunctionOnOk());
        EXPECT_NO_MESSAGES();
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("alive")}));
    }
};

TEST_CLASS(JavaScriptInterruptionTest)

#include "JavaScriptInterruptionTest.moc"
