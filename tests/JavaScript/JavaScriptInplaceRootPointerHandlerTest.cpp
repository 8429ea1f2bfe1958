#include "JavaScript/JavaScriptInplaceRootPointerHandler.h"

#include "JavaScript/JavaScriptApi.h"
#include "RecordingNode.h"
#include "host/UnitManagerWrapper.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QTest>

#include <functional>
#include <type_traits>

static_assert(std::is_base_of_v<JavaScriptRootPointerHandler, JavaScriptInplaceRootPointerHandler>);

namespace {

using NodePointer = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

/// One of the two ways to look up an instance.
using Lookup = std::function<NodePointer(const JavaScriptRootPointerHandler &handler,
                                         const QString &instance)>;

Message urlLookupWarning(const QString &text)
{
    return warning(QStringLiteral("virtual ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                                  "JavaScriptInplaceRootPointerHandler::getRootPointer(const "
                                  "QString&) const"),
                   text);
}

Message instanceLookupWarning(const QString &text)
{
    return warning(QStringLiteral("virtual ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                                  "JavaScriptInplaceRootPointerHandler::getInstanceConfigPointer("
                                  "const QString&) const"),
                   text);
}

QString notFound(const QString &name, const QString &rootInstancePath)
{
    return QStringLiteral("Couldn't find \"%1\" in \"%2\"").arg(name, rootInstancePath);
}

QString noTree()
{
    return QStringLiteral("m_rootPointer invalid!");
}

QString config(const QString &instance, const QString &relUrl = QString())
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance,
                               relUrl);
}

QString nameOf(const NodePointer &node)
{
    return node.isNull() ? QStringLiteral("(null)")
                         : node->getProperty(QStringLiteral("name")).toString();
}

} // namespace

Q_DECLARE_METATYPE(Lookup)

class JavaScriptInplaceRootPointerHandlerTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_calls.clear();
        m_tree = TestHost::makeTree(R"({
            "properties": { "name": "line1" },
            "children": {
                "pump1": {
                    "properties": { "name": "pump1" },
                    "children": { "motor": { "properties": { "name": "motor" } } }
                },
                "valve": { "properties": { "name": "valve" } }
            }
        })");
        m_handler.reset(new JavaScriptInplaceRootPointerHandler(QStringLiteral("plant/line1")));
    }

    void cleanup()
    {
        m_handler.reset();
        m_tree.reset();
        StrictTest::cleanup();
    }

    void findsNothingBeforeItHasATree()
    {
        QVERIFY(m_handler->getRootPointer(config(QStringLiteral("plant/line1/pump1"))).isNull());
        EXPECT_MESSAGES({urlLookupWarning(noTree())});
        QVERIFY(m_handler->getRootPointer(QStringLiteral("no url")).isNull());
        EXPECT_MESSAGES({urlLookupWarning(noTree())});
        QVERIFY(m_handler->getInstanceConfigPointer(QStringLiteral("plant/line1/pump1")).isNull());
        EXPECT_MESSAGES({instanceLookupWarning(noTree())});
    }

    void findsNothingAfterItsTreeWasTaken()
    {
        m_handler->setRootPointer(m_tree);
        m_handler->setRootPointer({});
        EXPECT_NO_MESSAGES();
        QVERIFY(m_handler->getRootPointer(config(QStringLiteral("plant/line1/pump1"))).isNull());
        QVERIFY(m_handler->getInstanceConfigPointer(QStringLiteral("plant/line1/pump1")).isNull());
        EXPECT_MESSAGES({urlLookupWarning(noTree()), instanceLookupWarning(noTree())});
    }

    void findsInstancesBelowTheRoot()
    {
        m_handler->setRootPointer(m_tree);
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("plant/line1/pump1")))),
                 QStringLiteral("pump1"));
        QCOMPARE(
            nameOf(m_handler->getRootPointer(config(QStringLiteral("plant/line1/pump1/motor")))),
            QStringLiteral("motor"));
        QCOMPARE(nameOf(m_handler->getInstanceConfigPointer(QStringLiteral("plant/line1/pump1"))),
                 QStringLiteral("pump1"));
        QCOMPARE(
            nameOf(m_handler->getInstanceConfigPointer(QStringLiteral("plant/line1/pump1/motor"))),
            QStringLiteral("motor"));
    }

    void looksAtTheInstanceOfAUrlOnly()
    {
        m_handler->setRootPointer(m_tree);
        const QString instance = QStringLiteral("plant/line1/pump1");
        const QStringList urls{
            config(instance, QStringLiteral("motor")),
            config(instance, QStringLiteral("no/such/node")),
            TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance),
            TestHost::configUrl(QString(), QStringLiteral("tank"), instance),
            TestHost::url(QStringLiteral("other"), QStringLiteral("pumps"),
                          QStringLiteral("station"), instance),
        };
        for (const QString &url : urls) {
            QCOMPARE(nameOf(m_handler->getRootPointer(url)), QStringLiteral("pump1"));
        }
    }

    void looksUpTheEmptyPathForTheRootItself_data() { addLookups(); }

    void looksUpTheEmptyPathForTheRootItself()
    {
        QFETCH(Lookup, lookUp);
        setRecordingRoot(QString());
        QCOMPARE(lookUp(*m_handler, QStringLiteral("plant/line1")), m_tree);
        QCOMPARE(m_calls, QStringList({QStringLiteral("root.getNode(\"\")")}));
    }

    void servesTheRootForItsOwnInstancePath()
    {
        m_handler->setRootPointer(m_tree);
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("plant/line1")))),
                 QStringLiteral("line1"));
    }

    void dropsTheCharacterAfterTheRootsPathWhateverItIs_data() { addLookups(); }

    void dropsTheCharacterAfterTheRootsPathWhateverItIs()
    {
        QFETCH(Lookup, lookUp);
        setRecordingRoot(QStringLiteral("/pump1"));
        QCOMPARE(lookUp(*m_handler, QStringLiteral("plant/line12/pump1")), m_tree);
        QCOMPARE(m_calls, QStringList({QStringLiteral("root.getNode(\"/pump1\")")}));

        m_handler->setRootPointer(m_tree);
        QCOMPARE(nameOf(lookUp(*m_handler, QStringLiteral("plant/line12pump1"))),
                 QStringLiteral("pump1"));
    }

    void dropsOneCharacterBehindAnEmptyRootPathToo_data() { addLookups(); }

    void dropsOneCharacterBehindAnEmptyRootPathToo()
    {
        QFETCH(Lookup, lookUp);
        JavaScriptInplaceRootPointerHandler handler{QString()};
        handler.setRootPointer(m_tree);
        QCOMPARE(nameOf(lookUp(handler, QStringLiteral("xpump1"))), QStringLiteral("pump1"));
    }

    void doesNotAskTheTreeForInstancesElsewhere_data() { addLookups(); }

    void doesNotAskTheTreeForInstancesElsewhere()
    {
        QFETCH(Lookup, lookUp);
        setRecordingRoot(QString());
        for (const char *instance : {"plant", "plant/line", "line1/pump1", "plant/line2/pump1",
                                     "Plant/line1/pump1", "plant/LINE1", "x/plant/line1/pump1"}) {
            QVERIFY(lookUp(*m_handler, QLatin1String(instance)).isNull());
        }
        QCOMPARE(takeMessages().size(), 7);
        QCOMPARE(m_calls, QStringList());
    }

    void namesTheUrlThatItCannotFind()
    {
        m_handler->setRootPointer(m_tree);
        const QString elsewhere = config(QStringLiteral("Plant/line1/pump1"));
        const QString missing =
            config(QStringLiteral("plant/line1/pump9"), QStringLiteral("motor"));
        for (const QString &url : {elsewhere, missing}) {
            QVERIFY(m_handler->getRootPointer(url).isNull());
            EXPECT_MESSAGES({urlLookupWarning(notFound(url, QStringLiteral("plant/line1")))});
        }
    }

    void namesTheInstanceThatItCannotFind()
    {
        m_handler->setRootPointer(m_tree);
        for (const char *name : {"Plant/line1/pump1", "plant/line1/pump9"}) {
            const QString instance = QLatin1String(name);
            QVERIFY(m_handler->getInstanceConfigPointer(instance).isNull());
            EXPECT_MESSAGES(
                {instanceLookupWarning(notFound(instance, QStringLiteral("plant/line1")))});
        }
    }

    void doesNotTestWhetherAUrlIsValid()
    {
        m_handler->setRootPointer(m_tree);
        QVERIFY(m_handler->getRootPointer(QStringLiteral("no url")).isNull());
        EXPECT_MESSAGES(
            {urlLookupWarning(notFound(QStringLiteral("no url"), QStringLiteral("plant/line1")))});

        JavaScriptInplaceRootPointerHandler handler{QString()};
        handler.setRootPointer(m_tree);
        QCOMPARE(nameOf(handler.getRootPointer(QStringLiteral("no url"))), QStringLiteral("line1"));
    }

    void sharesTheTreeWithItsCaller()
    {
        m_handler->setRootPointer(m_tree);
        const auto node = m_handler->getRootPointer(config(QStringLiteral("plant/line1/pump1")));
        QVERIFY(!node.isNull());
        QCOMPARE(node->setProperty(QStringLiteral("name"), QStringLiteral("changed")), 0);
        QCOMPARE(nameOf(m_tree->getNode(QStringLiteral("pump1"))), QStringLiteral("changed"));
    }

    void servesTheLastTreeOnlyAndLetsGoOfTheOthers()
    {
        m_handler->setRootPointer(m_tree);
        const QWeakPointer<ConfigurationAndProcessDataBase> first = m_tree;
        m_tree.reset();
        QVERIFY(!first.isNull());

        m_handler->setRootPointer(TestHost::makeTree(
            R"({ "children": { "valve": { "properties": { "name": "second" } } } })"));
        QVERIFY(first.isNull());
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("plant/line1/valve")))),
                 QStringLiteral("second"));
        QVERIFY(m_handler->getInstanceConfigPointer(QStringLiteral("plant/line1/pump1")).isNull());
        EXPECT_MESSAGES({instanceLookupWarning(
            notFound(QStringLiteral("plant/line1/pump1"), QStringLiteral("plant/line1")))});
    }

    void letsGoOfItsTreeWhenItIsDestroyed()
    {
        m_handler->setRootPointer(m_tree);
        const QWeakPointer<ConfigurationAndProcessDataBase> tree = m_tree;
        m_tree.reset();
        m_handler.reset();
        QVERIFY(tree.isNull());
    }

    void keepsItsTreeOnReset()
    {
        m_handler->setRootPointer(m_tree);
        m_handler->resetState();
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("plant/line1/pump1")))),
                 QStringLiteral("pump1"));
        QCOMPARE(nameOf(m_handler->getInstanceConfigPointer(QStringLiteral("plant/line1/pump1"))),
                 QStringLiteral("pump1"));
    }

    void recordsNoChangesAndWarnsOfNone()
    {
        m_handler->setRootPointer(m_tree);
        JavaScriptRootPointerHandler &handler = *m_handler;
        handler.setChangedUrl(config(QStringLiteral("plant/line1/pump1")));
        handler.setChangedUrl(config(QStringLiteral("elsewhere")));
        handler.setChangedUrl(TestHost::processUrl(
            QStringLiteral("pumps"), QStringLiteral("station"), QStringLiteral("plant/line1")));
        handler.setChangedUrl(QStringLiteral("no url"));
        QCOMPARE(handler.getChangedExternalConfigUrls(), QStringList());
        QCOMPARE(handler.getChangedExternalProcessUrls(), QStringList());
        handler.saveChangedInstances();
        handler.deleteChangeFlagConfigUrls();
        handler.deleteChangeFlagProcessDataUrl();
        EXPECT_NO_MESSAGES();
        QCOMPARE(nameOf(handler.getRootPointer(config(QStringLiteral("plant/line1/pump1")))),
                 QStringLiteral("pump1"));
    }

    void leavesWhatScriptsWriteInTheCallersTreeOnly()
    {
        m_handler->setRootPointer(m_tree);
        const auto textManager = TestHost::makeTextManager({});
        const UnitManagerWrapper units(false, false);
        JavaScriptApi api(units, *m_handler, *textManager, QStringLiteral("pumps"),
                          QStringLiteral("station"), false, nullptr);
        api.setPropertyExtern(config(QStringLiteral("plant/line1/pump1"), QStringLiteral("motor")),
                              QStringLiteral("name"), QStringLiteral("changed"));
        api.setPropertyExtern(TestHost::processUrl(QStringLiteral("pumps"),
                                                   QStringLiteral("station"),
                                                   QStringLiteral("plant/line1/valve")),
                              QStringLiteral("added"), true);
        QCOMPARE(nameOf(m_tree->getNode(QStringLiteral("pump1/motor"))), QStringLiteral("changed"));
        QCOMPARE(
            m_tree->getNode(QStringLiteral("valve"))->getProperty(QStringLiteral("added")).toBool(),
            true);

        QCOMPARE(api.getChangedExternalConfigIAbsoluteUrls(), QStringList());
        QCOMPARE(api.getChangedExternalProcessAbsoluteUrls(), QStringList());
        api.saveChangedFiles();
        EXPECT_NO_MESSAGES();
    }

private:
    static void addLookups()
    {
        QTest::addColumn<Lookup>("lookUp");
        QTest::newRow("by URL") << Lookup(
            [](const JavaScriptRootPointerHandler &handler, const QString &instance) {
                return handler.getRootPointer(config(instance));
            });
        QTest::newRow("by instance")
            << Lookup([](const JavaScriptRootPointerHandler &handler, const QString &instance) {
                   return handler.getInstanceConfigPointer(instance);
               });
    }

    /// Gives the handler a root that has @p relUrl only, and the tree there.
    void setRecordingRoot(const QString &relUrl)
    {
        const auto root = QSharedPointer<RecordingNode>::create(m_calls, QStringLiteral("root"));
        root->nodes.insert(relUrl, m_tree);
        m_handler->setRootPointer(root);
    }

    QStringList m_calls;
    NodePointer m_tree;
    QScopedPointer<JavaScriptInplaceRootPointerHandler> m_handler;
};

TEST_CLASS(JavaScriptInplaceRootPointerHandlerTest)

#include "JavaScriptInplaceRootPointerHandlerTest.moc"
