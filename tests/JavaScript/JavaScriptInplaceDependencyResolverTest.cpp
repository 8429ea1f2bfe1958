#include "JavaScript/JavaScriptInplaceDependencyResolver.h"

#include "DependencySupport.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace DependencySupport;

namespace {

using NodePointer = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

Message noTree()
{
    return warning(QStringLiteral("virtual ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                                  "JavaScriptInplaceRootPointerHandler::getInstanceConfigPointer("
                                  "const QString&) const"),
                   QStringLiteral("m_rootPointer invalid!"));
}

Message notInTree(const QString &instance)
{
    return warning(QStringLiteral("virtual ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                                  "JavaScriptInplaceRootPointerHandler::getInstanceConfigPointer("
                                  "const QString&) const"),
                   QStringLiteral("Couldn't find \"%1\" in \"plant\"").arg(instance));
}

/// A tree with the children pump1 and pump2, whose scripts are as given.
NodePointer makePlant(const QString &firstScript, const QString &secondScript)
{
    const QJsonObject children{{QStringLiteral("pump1"), dependentNode(firstScript)},
                               {QStringLiteral("pump2"), dependentNode(secondScript)}};
    return TestHost::makeTree(
        QJsonDocument(QJsonObject{{QStringLiteral("children"), children}}).toJson());
}

QVariant propertyOf(const NodePointer &tree, const QString &relUrl, const QString &propertyKey)
{
    return tree->getNode(relUrl)->getProperty(propertyKey);
}

bool isMarked(const NodePointer &tree, const QString &relUrl)
{
    return propertyOf(tree, relUrl, QStringLiteral("marked")).toBool();
}

void unmark(const NodePointer &tree, const QString &relUrl)
{
    QCOMPARE(tree->getNode(relUrl)->setProperty(QStringLiteral("marked"), false), 0);
}

} // namespace

class JavaScriptInplaceDependencyResolverTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_project.reset(new TestProject);
        m_textManager = TestHost::makeTextManager({});
        m_project->writeScript(QStringLiteral("mark.js"),
                               "function onSave(api) { api.setProperty('', 'marked', true); }");
        m_project->listInstances({QStringLiteral("plant/pump1"), QStringLiteral("plant/pump2")});
        m_plant = makePlant(QStringLiteral("mark.js"), QStringLiteral("mark.js"));
    }

    void cleanup()
    {
        m_plant.reset();
        m_textManager.reset();
        m_project.reset();
        StrictTest::cleanup();
    }

    // The object

    void addsNothingToItsBasesMetaObject()
    {
        const QMetaObject &meta = JavaScriptInplaceDependencyResolver::staticMetaObject;
        QCOMPARE(meta.className(), "JavaScriptInplaceDependencyResolver");
        QCOMPARE(meta.superClass(), &JavaScriptDependencyResolverBase::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void neverBelongsToItsParent()
    {
        auto parent = std::make_unique<QObject>();
        const auto resolver = makeResolver(parent.get());
        QVERIFY(!resolver->parent());
        QVERIFY(parent->children().isEmpty());
        QVERIFY(!makeResolver(nullptr)->parent());

        parent.reset();
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        QVERIFY(isMarked(m_plant, QStringLiteral("pump1")));
    }

    // Which scripts run

    void runsTheScriptOfAListedInstanceOnly()
    {
        makeResolver()->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        QVERIFY(isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump2")));
    }

    void runsTheScriptsOfInstancesThatStartWithAName()
    {
        makeResolver()->resolveDependencies(QStringLiteral("plant"), m_plant);
        QVERIFY(isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(isMarked(m_plant, QStringLiteral("pump2")));
    }

    void runsTheScriptOfTheListedParent()
    {
        makeResolver()->resolveDependencies(QStringLiteral("plant/pump1/motor"), m_plant);
        QVERIFY(isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump2")));
    }

    void runsNothingForAListedGrandparentOrAnotherName()
    {
        const auto resolver = makeResolver();
        resolver->resolveDependencies(QStringLiteral("plant/pump1/motor/winding"), m_plant);
        resolver->resolveDependencies(QStringLiteral("valve"), m_plant);
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump2")));
    }

    void runsNothingThatAnEarlierRunSelected()
    {
        const auto resolver = makeResolver();
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        unmark(m_plant, QStringLiteral("pump1"));
        resolver->resolveDependencies(QStringLiteral("plant/pump2"), m_plant);
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(isMarked(m_plant, QStringLiteral("pump2")));

        unmark(m_plant, QStringLiteral("pump2"));
        resolver->resolveDependencies(QStringLiteral("valve"), m_plant);
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump2")));
    }

    void readsTheManifestOnce()
    {
        const auto resolver = makeResolver();
        m_project->listInstances({QStringLiteral("plant/pump2")});
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        QVERIFY(isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump2")));
    }

    void readsAScriptOnce()
    {
        const auto resolver = makeResolver();
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        m_project->writeScript(QStringLiteral("mark.js"), "function onSave() {}");
        resolver->resolveDependencies(QStringLiteral("plant/pump2"), m_plant);
        QVERIFY(isMarked(m_plant, QStringLiteral("pump2")));
    }

    // The tree

    void worksInTheTreeOfTheCallOnly()
    {
        const auto resolver = makeResolver();
        const auto second = makePlant(QStringLiteral("mark.js"), QStringLiteral("mark.js"));
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        QVERIFY(!isMarked(second, QStringLiteral("pump1")));
        unmark(m_plant, QStringLiteral("pump1"));
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), second);
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump1")));
        QVERIFY(isMarked(second, QStringLiteral("pump1")));
    }

    void keepsATreeUntilItIsGivenAnother()
    {
        const auto resolver = makeResolver();
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        const QWeakPointer<ConfigurationAndProcessDataBase> first = m_plant;
        m_plant.reset();
        QVERIFY(!first.isNull());

        const auto second = makePlant(QStringLiteral("mark.js"), QStringLiteral("mark.js"));
        resolver->resolveDependencies(QStringLiteral("valve"), second);
        QVERIFY(first.isNull());
    }

    void letsGoOfTheTreeWhenItIsDestroyed()
    {
        auto resolver = makeResolver();
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), m_plant);
        const QWeakPointer<ConfigurationAndProcessDataBase> tree = m_plant;
        m_plant.reset();
        resolver.reset();
        QVERIFY(tree.isNull());
    }

    void dropsEachSelectedInstanceWithoutATree()
    {
        const auto resolver = makeResolver();
        QSignalSpy signal(resolver.get(),
                          &JavaScriptInplaceDependencyResolver::processDataDescriptionChanged);
        resolver->resolveDependencies(QStringLiteral("plant"), {});
        EXPECT_MESSAGES({noTree(), noNode(QStringLiteral("plant/pump1")), noTree(),
                         noNode(QStringLiteral("plant/pump2"))});
        resolver->resolveDependencies(QStringLiteral("valve"), {});
        EXPECT_NO_MESSAGES();
        QCOMPARE(signal.size(), 0);
    }

    void doesNotGoBackToAnEarlierTreeWithoutOne()
    {
        const auto resolver = makeResolver();
        resolver->resolveDependencies(QStringLiteral("valve"), m_plant);
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), {});
        EXPECT_MESSAGES({noTree(), noNode(QStringLiteral("plant/pump1"))});
        QVERIFY(!isMarked(m_plant, QStringLiteral("pump1")));
    }

    void dropsListedInstancesOutsideTheTree()
    {
        m_project->listInstances({QStringLiteral("plant/pump9"), QStringLiteral("Plant/pump1"),
                                  QStringLiteral("plant/pump1")});
        const auto resolver = makeResolver();
        resolver->resolveDependencies(QString(), m_plant);
        EXPECT_MESSAGES(
            {notInTree(QStringLiteral("plant/pump9")), noNode(QStringLiteral("plant/pump9")),
             notInTree(QStringLiteral("Plant/pump1")), noNode(QStringLiteral("Plant/pump1"))});
        QVERIFY(isMarked(m_plant, QStringLiteral("pump1")));
    }

    // Absolute URLs

    void letsScriptsWriteInTheTreeByUrl()
    {
        m_project->writeScript(
            QStringLiteral("extern.js"),
            markingScript(TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                              QStringLiteral("plant/pump2"))));
        const auto plant = makePlant(QStringLiteral("extern.js"), QString());
        makeResolver()->resolveDependencies(QStringLiteral("plant/pump1"), plant);
        QVERIFY(isMarked(plant, QStringLiteral("pump2")));
    }

    void handsOutUrlsThatLeadIntoTheTree()
    {
        m_project->writeScript(QStringLiteral("extern.js"),
                               "function onSave(api, url) {"
                               "    api.setPropertyExtern(url, 'marked', true);"
                               "    api.setProperty('', 'url', url);"
                               "}");
        const auto plant = makePlant(QString(), QStringLiteral("extern.js"));
        makeResolver()->resolveDependencies(QStringLiteral("plant/pump2"), plant);
        QVERIFY(isMarked(plant, QStringLiteral("pump2")));
        QCOMPARE(propertyOf(plant, QStringLiteral("pump2"), QStringLiteral("url")).toString(),
                 TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                     QStringLiteral("plant/pump2")));
    }

    void letsScriptsReachOtherObjectsOnlyWithAParent()
    {
        m_project->writeScript(
            QStringLiteral("extern.js"),
            markingScript(TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("network"),
                                              QStringLiteral("plant/pump2"))));
        const auto plant = makePlant(QStringLiteral("extern.js"), QString());
        makeResolver(nullptr)->resolveDependencies(QStringLiteral("plant/pump1"), plant);
        EXPECT_NO_MESSAGES();
        QVERIFY(!isMarked(plant, QStringLiteral("pump2")));

        QObject parent;
        makeResolver(&parent)->resolveDependencies(QStringLiteral("plant/pump1"), plant);
        QVERIFY(isMarked(plant, QStringLiteral("pump2")));
    }

    void neitherWritesFilesNorAnnouncesAnything()
    {
        const QString instance = QStringLiteral("plant/pump1");
        m_project->storeConfiguration(instance, "{}");
        m_project->storeProcess(instance, "{}");
        m_project->writeScript(
            QStringLiteral("extern.js"),
            "function onSave(api, url) {"
            "    api.setProperty('', 'local', true);"
            "    api.setPropertyExtern(url, 'config', true);"
            "    api.setPropertyExtern('"
                + TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance)
                      .toUtf8()
                + "', 'process', true); }");
        const auto plant = makePlant(QStringLiteral("extern.js"), QString());
        const auto resolver = makeResolver();
        QSignalSpy signal(resolver.get(),
                          &JavaScriptInplaceDependencyResolver::processDataDescriptionChanged);
        resolver->resolveDependencies(instance, plant);
        for (const char *name : {"local", "config", "process"}) {
            const QString propertyKey = QLatin1String(name);
            QCOMPARE(propertyOf(plant, QStringLiteral("pump1"), propertyKey), QVariant(true));
            QCOMPARE(m_project->configurationProperty(instance, QString(), propertyKey),
                     QVariant());
            QCOMPARE(m_project->processProperty(instance, QString(), propertyKey), QVariant());
        }
        QCOMPARE(signal.size(), 0);
    }

    void reportsAScriptThatFailsAndKeepsItsChanges()
    {
        m_project->writeScript(QStringLiteral("fail.js"),
                               "function onSave(api) {"
                               "    api.setProperty('', 'marked', true);"
                               "    return false;"
                               "}");
        const auto plant = makePlant(QStringLiteral("fail.js"), QString());
        makeResolver()->resolveDependencies(QStringLiteral("plant/pump1"), plant);
        EXPECT_MESSAGES(
            {failedScript(TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                              QStringLiteral("plant/pump1")),
                          QStringLiteral("plant/pump1"))});
        QVERIFY(isMarked(plant, QStringLiteral("pump1")));
    }

private:
    static QByteArray markingScript(const QString &url)
    {
        return "function onSave(api) { api.setPropertyExtern('" + url.toUtf8()
            + "', 'marked', true); }";
    }

    std::unique_ptr<JavaScriptInplaceDependencyResolver> makeResolver(
        QObject *parent = nullptr) const
    {
        return std::make_unique<JavaScriptInplaceDependencyResolver>(
            m_project->path(), QStringLiteral("pumps"), QStringLiteral("station"),
            QStringLiteral("plant"), *m_textManager, parent);
    }

    QScopedPointer<TestProject> m_project;
    std::unique_ptr<TextManager> m_textManager;
    NodePointer m_plant;
};

TEST_CLASS(JavaScriptInplaceDependencyResolverTest)

#include "JavaScriptInplaceDependencyResolverTest.moc"
