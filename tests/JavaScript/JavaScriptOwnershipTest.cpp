#include "HandlerFixture.h"
#include "support/StrictTest.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QQmlEngine>
#include <QTest>

#include <memory>

namespace {

/// An API without a parent, on the heap, and a handler on it.
struct OwnershipFixture
{
    OwnershipFixture()
        : api(new JavaScriptApi(collaborators.units, collaborators.rootPointerHandler,
                                collaborators.texts, QString(), QString(), true, nullptr))
        , handler(new JavaScriptHandler(*api, nullptr))
    {
    }

    ~OwnershipFixture()
    {
        handler.reset();
        delete api;
    }

    void initialize(const QString &javaScript)
    {
        handler->initializeHandler(collaborators.makeRoot(), javaScript, QString());
    }

    /// Lets the engine collect what it may, and carries the deletions out.
    void collectGarbage()
    {
        handler->resetState();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    ApiFixture collaborators;
    QPointer<JavaScriptApi> api;
    std::unique_ptr<JavaScriptHandler> handler;
};

} // namespace

/// The API object belongs to C++, whatever scripts and their engine do.
class JavaScriptOwnershipTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void theCollectorLeavesTheApiAlone()
    {
        OwnershipFixture fixture;
        const QString script = QStringLiteral("function onOpen(api) { api.setError('', 'here'); }");
        for (int i = 0; i < 3; ++i) {
            fixture.initialize(script);
            QVERIFY(fixture.handler->callFunctionOnOpen());
            QCOMPARE(fixture.handler->getErrorMesageList().size(), 1);
            fixture.collectGarbage();
            QVERIFY(!fixture.api.isNull());
        }
    }

    void theCollectorLeavesTheApiAloneAfterTheScriptDroppedIt()
    {
        OwnershipFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            var kept;
            function onOpen(api) { kept = { api: api }; }
            function onOk() { kept.api.setError("", "kept"); kept = null; })"));
        QVERIFY(fixture.handler->callFunctionOnOpen());
        QVERIFY(fixture.handler->callFunctionOnOk());
        QCOMPARE(fixture.handler->getErrorMesageList().size(), 1);
        fixture.collectGarbage();
        QVERIFY(!fixture.api.isNull());

        fixture.initialize(QStringLiteral("function onSave(api) { api.setError('', 'again'); }"));
        QVERIFY(fixture.handler->callFunctionOnSave(QString()));
        QCOMPARE(fixture.handler->getErrorMesageList().size(), 1);
    }

    void theCollectorLeavesTheApiAloneWhileAScriptMakesGarbage()
    {
        OwnershipFixture fixture;
        fixture.initialize(QStringLiteral(R"(
            function onOpen(api) { api.setError("", "first"); }
            function onOk() {
                for (var i = 0; i < 100000; ++i) { var garbage = [i, { i: String(i) }]; }
            })"));
        QVERIFY(fixture.handler->callFunctionOnOpen());
        for (int i = 0; i < 3; ++i) {
            QVERIFY(fixture.handler->callFunctionOnOk());
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QVERIFY(!fixture.api.isNull());
        }
    }

    void scriptsCannotDestroyTheApi()
    {
        OwnershipFixture fixture;
        fixture.initialize(QStringLiteral("function onOpen(api) { api.destroy(); }"
                                          "function onOk(api) { api.setError('', 'here'); }"));
        QVERIFY(!fixture.handler->callFunctionOnOpen());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!fixture.api.isNull());
        EXPECT_MESSAGES(
            {HandlerWarnings::errorOnCalling(QStringLiteral("onOpen"), QString()),
             HandlerWarnings::uncaughtException(
                 HandlerWarnings::call, 1,
                 QStringLiteral("Error: Invalid attempt to destroy() an indestructible object"))});
        QVERIFY(fixture.handler->callFunctionOnOk());
        QCOMPARE(fixture.handler->getErrorMesageList().size(), 1);
    }

    void theApiSurvivesTheHandler()
    {
        OwnershipFixture fixture;
        fixture.initialize(QStringLiteral("var kept; function onOpen(api) { kept = api; }"));
        QVERIFY(fixture.handler->callFunctionOnOpen());
        fixture.handler.reset();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!fixture.api.isNull());
        QVERIFY(fixture.api->isUrlValid(QStringLiteral("motor")));
    }

    void theApiServesTheNextHandler()
    {
        OwnershipFixture fixture;
        const QString script = QStringLiteral("function onOpen(api) { api.setError('', 'here'); }");
        fixture.initialize(script);
        QVERIFY(fixture.handler->callFunctionOnOpen());
        fixture.handler = std::make_unique<JavaScriptHandler>(*fixture.api, nullptr);
        fixture.initialize(script);
        QVERIFY(fixture.handler->callFunctionOnOpen());
        QCOMPARE(fixture.handler->getErrorMesageList().size(), 1);
    }

    void aResetRunsTheCollector()
    {
        // Seen from an object that the engine may collect, unlike the API as the handler leaves it.
        OwnershipFixture fixture;
        QQmlEngine::setObjectOwnership(fixture.api, QQmlEngine::JavaScriptOwnership);
        fixture.initialize(QStringLiteral("function onOpen() {}"));
        QVERIFY(fixture.handler->callFunctionOnOpen());
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!fixture.api.isNull());
        fixture.collectGarbage();
        QVERIFY(fixture.api.isNull());
    }

    void anApiWithAParentBelongsToTheParent()
    {
        ApiFixture collaborators;
        auto parent = std::make_unique<QObject>();
        const QPointer<JavaScriptApi> api =
            new JavaScriptApi(collaborators.units, collaborators.rootPointerHandler,
                              collaborators.texts, QString(), QString(), true, parent.get());
        {
            JavaScriptHandler handler(*api, nullptr);
            handler.initializeHandler(collaborators.makeRoot(),
                                      QStringLiteral("function onOpen() {}"), QString());
            QVERIFY(handler.callFunctionOnOpen());
        }
        QVERIFY(!api.isNull());
        QCOMPARE(api->parent(), parent.get());
        parent.reset();
        QVERIFY(api.isNull());
    }
};

TEST_CLASS(JavaScriptOwnershipTest)

#include "JavaScriptOwnershipTest.moc"
