#include "HandlerFixture.h"
#include "HookedNode.h"
#include "HostValue.h"
#include "JavaScript/JavaScriptHandlerUiWrapper.h"
#include "JavaScript/JavaScriptRunObserver.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QJSEngine>
#include <QJsonDocument>
#include <QQmlEngine>
#include <QTest>

#include <memory>
#include <stdexcept>

namespace {

using NodePointer = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

const QString s_motor = QStringLiteral("motor");
const QString s_speed = QStringLiteral("speed");
const QString s_onOpen = QStringLiteral("onOpen");

/// A root whose node "motor" does what a test tells it to.
struct HookedFixture : HandlerFixture
{
    HookedFixture()
        : root(makeNode(QStringLiteral("root")))
        , motor(QSharedPointer<HookedNode>::create(calls, s_motor))
    {
        motor->properties.insert(s_speed, 1200);
        root->nodes.insert(s_motor, motor);
    }

    void run(const QString &script)
    {
        handler.initializeHandler(root, script, QString());
        takeCalls();
    }

    QVariant speed() const { return motor->properties.value(s_speed); }

    QSharedPointer<RecordingNode> root;
    QSharedPointer<HookedNode> motor;
};

QStringList idsOf(const QList<JavaScriptApi::ErrorMessage> &errors)
{
    QStringList ids;
    for (const JavaScriptApi::ErrorMessage &error : errors) {
        ids.append(error.errorLabelTextId);
    }
    return ids;
}

class RunList : public JavaScriptRunObserver
{
public:
    void runBegins(const QString &functionName, const QString & /*argument*/) override
    {
        list.append(QLatin1String("begins ") + functionName);
    }

    void apiCalled(const QByteArray &operation, const QStringList &texts) override
    {
        list.append(QString::fromUtf8(operation) + QLatin1Char(' ') + texts.join(QLatin1Char(' ')));
    }

    void exceptionThrown(int /*line*/, const QString &text) override
    {
        list.append(QLatin1String("threw ") + text);
    }

    void runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors) override
    {
        list.append(QLatin1String(succeeded ? "ended " : "failed ")
                    + idsOf(errors).join(QLatin1Char(' ')));
    }

    QStringList list;
};

/// Calls a method of an object through the dispatcher, as C++ does by index.
template <typename... Arguments>
void dispatch(QObject &object, const char *signature, void *result, Arguments &...arguments)
{
    const int index = object.metaObject()->indexOfMethod(signature);
    QVERIFY2(index >= 0, signature);
    void *pointers[] = {result, &arguments...};
    QMetaObject::metacall(&object, QMetaObject::InvokeMetaMethod, index, pointers);
}

const char *const s_setProperty = "setProperty(QString,QString,QVariant)";
const char *const s_getProperty = "getProperty(QString,QString)";
const char *const s_setError = "setError(QString,QString,QVariant)";

} // namespace

/// Who may call an API, one after the other and inside each other, and what each of them gets.
class JavaScriptRunTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    // Handlers that share an API

    void anotherHandlerGoesOnWhenTheFirstIsGone()
    {
        HandlerFixture fixture;
        const QString writing =
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', [%1]); }");
        auto first = std::make_unique<JavaScriptHandler>(fixture.api, nullptr);
        const auto root = fixture.makeRoot();
        first->initializeHandler(root, writing.arg(1), QString());
        fixture.handler.initializeHandler(root, writing.arg(2), QString());
        QVERIFY(first->callFunctionOnOpen());
        QCOMPARE(root->nodes[s_motor]->getProperty(s_speed), QVariant(QVariantList{1}));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(root->nodes[s_motor]->getProperty(s_speed), QVariant(QVariantList{2}));
        first.reset();
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(root->nodes[s_motor]->getProperty(s_speed), QVariant(QVariantList{2}));
    }

    void eachHandlersEngineIsAskedForItsOwnExceptions()
    {
        HandlerFixture fixture;
        JavaScriptHandler other(fixture.api, nullptr);
        const auto root = fixture.makeRoot();
        const QString script = QStringLiteral(
            "function onOpen(api) {"
            "    api.setProperty('motor', 'speed', { get a() { throw new Error('no'); }, b: 5 });"
            "}");
        for (JavaScriptHandler *handler : {&fixture.handler, &other, &fixture.handler}) {
            handler->initializeHandler(root, script, QString());
            QVERIFY(!handler->callFunctionOnOpen());
            EXPECT_MESSAGES({HandlerWarnings::errorOnCalling(s_onOpen, QString()),
                             HandlerWarnings::uncaughtException(HandlerWarnings::call, 1,
                                                                QStringLiteral("Error: no"))});
            QCOMPARE(root->nodes[s_motor]->getProperty(s_speed), QVariant(1200));
        }
    }

    void anEngineOfTheHostsMayShowTheApiBefore()
    {
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral(
            "function onOpen(api) { api.setError('', '', { list: [api.getProperty('', 'speed')] "
            "}); }"));
        {
            QJSEngine engine;
            QQmlEngine::setObjectOwnership(&fixture.api, QQmlEngine::CppOwnership);
            engine.globalObject().setProperty(QStringLiteral("api"),
                                              engine.newQObject(&fixture.api));
            QCOMPARE(engine.evaluate(QStringLiteral("api.getProperty('motor', 'speed')")).toInt(),
                     1200);
            engine.evaluate(QStringLiteral("api.setProperty('motor', 'speed', 7)"));
            QVERIFY(fixture.handler.callFunctionOnOpen());
        }
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.handler.getErrorMesageList().value(0).value,
                 QVariant(QVariantMap{{QStringLiteral("list"), QVariantList{1200}}}));
    }

    void anInterruptionGoesWithItsHandler()
    {
        HandlerFixture fixture;
        auto stopped = std::make_unique<JavaScriptHandler>(fixture.api, nullptr);
        stopped->setInterrupted(true);
        const auto check = [&fixture] {
            fixture.initialize(QStringLiteral("function onOpen(api) {"
                                              "    api.setProperty('motor', 'speed', 1);"
                                              "    api.setError('', 'told');"
                                              "}"));
            QVERIFY(fixture.handler.callFunctionOnOpen());
            QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("told")}));
            QCOMPARE(fixture.takeCalls().filter(QStringLiteral("setProperty")).size(), 1);
        };
        check();
        stopped.reset();
        check();
    }

    // Callers in C++

    void theDispatcherPassesArgumentsAsTheyAre_data()
    {
        QTest::addColumn<bool>("isWrapped");
        QTest::newRow("no engine yet") << false;
        QTest::newRow("shown to a script before") << true;
    }

    void theDispatcherPassesArgumentsAsTheyAre()
    {
        QFETCH(bool, isWrapped);
        HandlerFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen() {}"));
        if (isWrapped) {
            QVERIFY(fixture.handler.callFunctionOnOpen());
        }
        QJSEngine engine;
        const QVector<QVariant> values{
            QVariantMap{{QStringLiteral("a"), 1}},
            QVariantList{1, 2},
            QVariant(),
            QStringList{QStringLiteral("a")},
            QVariant::fromValue<QObject *>(&fixture.api),
            QVariant::fromValue(engine.newArray(1)),
            QJsonDocument::fromJson("[1]"),
        };
        for (QVariant value : values) {
            QString relUrl = s_motor;
            QString key = s_speed;
            dispatch(fixture.api, s_setProperty, nullptr, relUrl, key, value);
            QCOMPARE(fixture.takeCalls().last(),
                     QLatin1String("motor.") + callText("setProperty", key, value));
            dispatch(fixture.api, s_setError, nullptr, relUrl, key, value);
            const QVariant kept = fixture.api.getListOfErrors().last().value;
            QCOMPARE(kept.userType(), value.userType());
        }
    }

    void theDispatcherGivesResultsAsTheyAre()
    {
        TestHost::useUnits({});
        HandlerFixture fixture;
        const auto root = fixture.makeRoot(QVariantMap{{QStringLiteral("a"), 1}});
        fixture.handler.initializeHandler(root, QStringLiteral("function onOpen(api) {}"),
                                          QString());
        for (int i = 0; i < 2; ++i) {
            QVariant result;
            QString relUrl = s_motor;
            QString key = s_speed;
            dispatch(fixture.api, s_getProperty, &result, relUrl, key);
            QCOMPARE(result.userType(), int(QMetaType::QJsonDocument));
            QCOMPARE(result.toJsonDocument(), QJsonDocument::fromJson(R"({ "a": 1 })"));

            QVariant unit = QStringLiteral("unknown");
            dispatch(fixture.api, "getAllUnitTexts(QVariant)", &result, unit);
            QCOMPARE(result.userType(), int(QMetaType::QJsonDocument));
            QVERIFY(fixture.handler.callFunctionOnOpen()); // the second time behind a script
        }
    }

    void theDispatcherIsNoScriptInsideAScriptsCall()
    {
        HookedFixture fixture;
        QVariant read;
        fixture.motor->properties.insert(QStringLiteral("map"), QVariantMap());
        fixture.motor->onWrite = [&fixture, &read] {
            QString relUrl = s_motor;
            QString key = QStringLiteral("map");
            dispatch(fixture.api, s_getProperty, &read, relUrl, key);
        };
        fixture.run(QStringLiteral("function onOpen(api) {"
                                   "    api.setProperty('motor', 'speed', [1]);"
                                   "    api.setProperty('motor', 'speed', [2]);"
                                   "}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(read.userType(), int(QMetaType::QJsonDocument));
        QCOMPARE(fixture.speed(), QVariant(QVariantList{2}));
    }

    // Events inside events

    void anEventMayBeFiredFromAnOperationOfANode()
    {
        HookedFixture fixture;
        RunList observer;
        fixture.handler.setRunObserver(&observer);
        QStringList insideErrors;
        fixture.motor->onWrite = [&fixture, &insideErrors] {
            QVERIFY(fixture.handler.callFunctionOnValueChanged(s_motor));
            insideErrors = idsOf(fixture.api.getListOfErrors());
        };
        fixture.run(QStringLiteral("function onOpen(api) {"
                                   "    api.setError('', 'before');"
                                   "    api.setProperty('motor', 'speed', { a: 1 });"
                                   "    api.setError('', 'after');"
                                   "}"
                                   "function onValueChange(api, url) {"
                                   "    api.setError(url, 'inside');"
                                   "    api.setProperty('motor', 'other', [1]);"
                                   "}"));
        observer.list.clear();
        QVERIFY(fixture.handler.callFunctionOnOpen());

        QCOMPARE(observer.list,
                 QStringList({QStringLiteral("begins onOpen"), QStringLiteral("setError  before"),
                              QStringLiteral("setProperty motor speed"),
                              QStringLiteral("begins onValueChange"),
                              QStringLiteral("setError motor inside"),
                              QStringLiteral("setProperty motor other"),
                              QStringLiteral("ended inside"), QStringLiteral("setError  after"),
                              QStringLiteral("ended before inside after")}));
        QCOMPARE(insideErrors, QStringList({QStringLiteral("inside")}));
        QCOMPARE(fixture.takeErrorIds(),
                 QStringList({QStringLiteral("before"), QStringLiteral("inside"),
                              QStringLiteral("after")}));
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{s_motor}, {s_motor}}));
        QCOMPARE(fixture.speed(), QVariant(QVariantMap{{QStringLiteral("a"), 1}}));
    }

    void whatWasReadOfAnEventInsideIsNotToldAgain()
    {
        HookedFixture fixture;
        QStringList insideErrors;
        fixture.motor->onRead = [&fixture, &insideErrors] {
            QVERIFY(fixture.handler.callFunctionOnOk());
            insideErrors = fixture.takeErrorIds();
        };
        fixture.run(QStringLiteral("function onOpen(api) {"
                                   "    api.setError('', 'before');"
                                   "    api.getProperty('motor', 'speed');"
                                   "}"
                                   "function onOk(api) { api.setError('', 'inside'); }"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(insideErrors, QStringList({QStringLiteral("inside")}));
        QCOMPARE(fixture.takeErrorIds(), QStringList({QStringLiteral("before")}));
    }

    void anEventOfAnotherHandlerMayBeFiredInside()
    {
        HookedFixture fixture;
        JavaScriptHandler other(fixture.api, nullptr);
        other.initializeJavaScriptEngine(QStringLiteral(
            "function onOk(api) { api.setProperty('motor', 'other', { b: [2] }); return false; }"));
        fixture.motor->onWrite = [&other] {
            QVERIFY(!other.callFunctionOnOk());
        };
        fixture.run(QStringLiteral("function onOpen(api) {"
                                   "    api.setProperty('motor', 'speed', { a: 1 });"
                                   "    api.setProperty('motor', 'last', { c: 3 });"
                                   "}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.motor->properties.value(QStringLiteral("other")),
                 QVariant(QVariantMap{{QStringLiteral("b"), QVariantList{2}}}));
        QCOMPARE(fixture.motor->properties.value(QStringLiteral("last")),
                 QVariant(QVariantMap{{QStringLiteral("c"), 3}}));
    }

    void aTextMayBeEvaluatedFromAnOperationOfANode()
    {
        HookedFixture fixture;
        RunList observer;
        fixture.handler.setRunObserver(&observer);
        fixture.motor->onRead = [&fixture] {
            fixture.handler.initializeJavaScriptEngine(QStringLiteral("throw new Error('no');"));
        };
        fixture.run(QStringLiteral("function onOpen(api) {"
                                   "    api.setError('', 'before');"
                                   "    api.getProperty('motor', 'speed');"
                                   "    api.isUrlValid('motor');"
                                   "}"));
        observer.list.clear();
        QVERIFY(fixture.handler.callFunctionOnOpen());
        EXPECT_MESSAGES({HandlerWarnings::uncaughtException(HandlerWarnings::evaluation, 1,
                                                            QStringLiteral("Error: no"))});
        QCOMPARE(observer.list.mid(3),
                 QStringList({QStringLiteral("begins "), QStringLiteral("threw Error: no"),
                              QStringLiteral("failed "), QStringLiteral("isUrlValid motor"),
                              QStringLiteral("ended before")}));
    }

    void aGetterOfAnArgumentMayCallTheApi()
    {
        HookedFixture fixture;
        fixture.run(QStringLiteral(
            "function onOpen(api) {"
            "    api.setProperty('motor', 'speed', ["
            "        { get a() { api.setProperty('motor', 'inside', [{ b: [] }]); return {}; } },"
            "        { c: {} }"
            "    ]);"
            "}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.motor->properties.value(QStringLiteral("inside")),
                 QVariant(QVariantList{QVariantMap{{QStringLiteral("b"), QVariantList()}}}));
        QCOMPARE(fixture.speed(),
                 QVariant(QVariantList{QVariantMap{{QStringLiteral("a"), QVariantMap()}},
                                       QVariantMap{{QStringLiteral("c"), QVariantMap()}}}));
    }

    // Receivers of parametersChanged

    void aReceiverMayFireAnEvent()
    {
        HandlerFixture fixture;
        fixture.initialize(
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', 1); }"
                           "function onOk(api) { api.setProperty('', 'speed', 2); }"));
        bool hasFired = false;
        connect(&fixture.handler, &JavaScriptHandler::parametersChanged, this,
                [&fixture, &hasFired] {
                    if (!std::exchange(hasFired, true)) {
                        QVERIFY(fixture.handler.callFunctionOnOk());
                    }
                });
        QVERIFY(fixture.handler.callFunctionOnOpen());
        // The list is emptied behind the receivers: the event inside tells all of it.
        QCOMPARE(fixture.takeEmissions(), QList<QStringList>({{s_motor}, {s_motor, QString()}}));
        QCOMPARE(fixture.handler.getChangedLocalUrls(), QStringList());
    }

    void aReceiverMayDeleteTheHandler()
    {
        ApiFixture fixture;
        auto *handler = new JavaScriptHandler(fixture.api, nullptr);
        handler->initializeHandler(
            fixture.makeRoot(),
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', 1); }"),
            QString());
        connect(handler, &JavaScriptHandler::parametersChanged, this,
                [handler] { delete handler; });
        QVERIFY(handler->callFunctionOnOpen());
        QCOMPARE(fixture.api.getChangedLocalUrls(), QStringList());
    }

    void aReceiverMayDeleteTheWrapper()
    {
        const UnitManagerWrapper units(false, false);
        const TextManager texts;
        auto *wrapper = new JavaScriptHandlerUiWrapper(units, texts, nullptr);
        wrapper->initializeHandler(
            TestHost::makeTree("{}"),
            QStringLiteral(
                "function onValueChange(api, value) { api.setProperty('', 'a', value); }"),
            QString());
        connect(wrapper, &JavaScriptHandlerUiWrapper::parametersChanged, this,
                [wrapper] { delete wrapper; });
        QVERIFY(wrapper->callFunctionOnValueChanged(QStringLiteral("x")));
    }

    // Exceptions of the host

    void anExceptionOfTheHostIsTheScripts_data()
    {
        QTest::addColumn<QString>("call");
        QTest::newRow("read") << "api.getProperty('motor', 'speed')";
        QTest::newRow("write") << "api.setProperty('motor', 'speed', 1)";
        QTest::newRow("write of an object") << "api.setProperty('motor', 'speed', { a: [1] })";
        QTest::newRow("new property") << "api.setProperty('motor', 'other', 1)";
    }

    void anExceptionOfTheHostIsTheScripts()
    {
#ifdef QT_NO_EXCEPTIONS
        QSKIP("built without exceptions");
#else
        QFETCH(QString, call);
        HookedFixture fixture;
        const auto arm = [&fixture] {
            fixture.motor->onRead = fixture.motor->onWrite = [] {
                throw std::runtime_error("the disk is gone");
            };
        };
        RunList observer;
        fixture.handler.setRunObserver(&observer);
        fixture.run(QStringLiteral("function onOpen(api) { %1; }"
                                   "function onOk(api) {"
                                   "    try { %1; } catch (error) { api.setError('', '' + error); }"
                                   "}")
                        .arg(call));
        arm();
        QVERIFY(!fixture.handler.callFunctionOnOpen());
        const QString text = QStringLiteral("Error: the disk is gone");
        EXPECT_MESSAGES({HandlerWarnings::errorOnCalling(s_onOpen, QString()),
                         HandlerWarnings::uncaughtException(HandlerWarnings::call, 1, text)});
        QVERIFY(observer.list.contains(QLatin1String("threw ") + text));
        QCOMPARE(fixture.speed(), QVariant(1200));

        arm();
        QVERIFY(fixture.handler.callFunctionOnOk());
        QCOMPARE(fixture.takeErrorIds(), QStringList({text}));

        fixture.motor->onRead = fixture.motor->onWrite = [] {
        };
        fixture.handler.initializeHandler(
            fixture.root,
            QStringLiteral("function onOpen(api) { api.setProperty('motor', 'speed', [2]); }"),
            QString());
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.speed(), QVariant(QVariantList{2}));
#endif
    }

    void anyExceptionOfTheHostIsCaught()
    {
#ifdef QT_NO_EXCEPTIONS
        QSKIP("built without exceptions");
#else
        HookedFixture fixture;
        fixture.motor->onRead = [] {
            throw 42; // NOLINT(hicpp-exception-baseclass)
        };
        fixture.run(QStringLiteral("function onOpen(api) {"
                                   "    try { api.getProperty('motor', 'speed'); }"
                                   "    catch (error) { api.setError('', '' + error); }"
                                   "}"));
        QVERIFY(fixture.handler.callFunctionOnOpen());
        QCOMPARE(fixture.takeErrorIds(),
                 QStringList({QStringLiteral("Error: The host has thrown an exception")}));
#endif
    }

    void anExceptionToACallerInCppIsItsOwn()
    {
#ifdef QT_NO_EXCEPTIONS
        QSKIP("built without exceptions");
#else
        HookedFixture fixture;
        fixture.motor->onRead = [] {
            throw std::runtime_error("the disk is gone");
        };
        fixture.run(QStringLiteral("function onOpen(api) {}"));
        QVariant result;
        QString relUrl = s_motor;
        QString key = s_speed;
        QVERIFY_EXCEPTION_THROWN(dispatch(fixture.api, s_getProperty, &result, relUrl, key),
                                 std::runtime_error);
        QVERIFY(fixture.handler.callFunctionOnOpen());
#endif
    }
};

TEST_CLASS(JavaScriptRunTest)

#include "JavaScriptRunTest.moc"
