#include "JavaScript/JavaScriptDependencyResolver.h"

#include "DependencySupport.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QDir>
#include <QPointer>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace DependencySupport;

namespace {

QString stationUrl(const QString &instance)
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance);
}

/// A script that writes a property by absolute URL.
QByteArray writingScript(const QString &url, const QByteArray &property, const QByteArray &value)
{
    return "function onSave(api) { api.setPropertyExtern('" + url.toUtf8() + "', '" + property
        + "', " + value + "); }";
}

/// A script that adds one to the property "runs" by absolute URL.
QByteArray countingScript(const QString &url)
{
    return writingScript(url, "runs", "api.getPropertyExtern('" + url.toUtf8() + "', 'runs') + 1");
}

const char s_counter[] = R"({ "properties": { "runs": 0 } })";

} // namespace

class JavaScriptDependencyResolverTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_project.reset(new TestProject);
        m_otherProject.reset(new TestProject);
        m_mapping = {{QStringLiteral("station"), m_project->path()},
                     {QStringLiteral("network"), m_otherProject->path()}};
        m_providers = TestHost::makeProviders({});
        m_textManager = TestHost::makeTextManager({});
        m_project->listInstances({});
        m_project->writeScript(QStringLiteral("mark.js"),
                               "function onSave(api, url) {"
                               "    api.setPropertyExtern(url, 'marked', true);"
                               "}");
        m_project->storeConfiguration(QStringLiteral("counter"), s_counter);
        m_project->writeScript(QStringLiteral("count.js"),
                               countingScript(stationUrl(QStringLiteral("counter"))));
    }

    void cleanup()
    {
        m_textManager.reset();
        m_otherProject.reset();
        m_project.reset();
        StrictTest::cleanup();
    }

    // The object

    void addsNothingToItsBasesMetaObject()
    {
        const QMetaObject &meta = JavaScriptDependencyResolver::staticMetaObject;
        QCOMPARE(meta.className(), "JavaScriptDependencyResolver");
        QCOMPARE(meta.superClass(), &JavaScriptDependencyResolverBase::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void belongsToItsParent()
    {
        auto *parent = new QObject;
        const QPointer<JavaScriptDependencyResolver> resolver = makeResolver(parent).release();
        QCOMPARE(resolver->parent(), parent);
        delete parent;
        QVERIFY(resolver.isNull());
    }

    // Which scripts run

    void runsTheScriptsOfAllListedInstances()
    {
        const QStringList instances{QStringLiteral("line1/pump1"), QStringLiteral("line1"),
                                    QStringLiteral("valve")};
        list(instances, QStringLiteral("mark.js"));
        makeResolver()->resolveAllDependencies();
        for (const QString &instance : instances) {
            QVERIFY(isMarked(instance));
        }
    }

    void runsNoScriptOfAnInstanceThatIsNotListed()
    {
        list({QStringLiteral("line1")}, QStringLiteral("mark.js"));
        m_project->storeConfiguration(QStringLiteral("line1/pump1"),
                                      dependentTree(QStringLiteral("mark.js")));
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        resolver->resolveDependencyOfInstance(QStringLiteral("line1/pump1"));
        QVERIFY(isMarked(QStringLiteral("line1")));
        QVERIFY(!isMarked(QStringLiteral("line1/pump1")));
    }

    void runsTheScriptOfOneListedInstanceOnly()
    {
        list({QStringLiteral("line1"), QStringLiteral("line1/pump1"), QStringLiteral("line2")},
             QStringLiteral("mark.js"));
        makeResolver()->resolveDependencyOfInstance(QStringLiteral("line1"));
        QVERIFY(isMarked(QStringLiteral("line1")));
        QVERIFY(!isMarked(QStringLiteral("line1/pump1")));
        QVERIFY(!isMarked(QStringLiteral("line2")));
    }

    void runsTheScriptsOfInstancesThatStartWithAName()
    {
        list({QStringLiteral("line1/pump1"), QStringLiteral("line12"), QStringLiteral("line2")},
             QStringLiteral("mark.js"));
        makeResolver()->resolveDependencyOfInstance(QStringLiteral("line1"));
        QVERIFY(isMarked(QStringLiteral("line1/pump1")));
        QVERIFY(isMarked(QStringLiteral("line12")));
        QVERIFY(!isMarked(QStringLiteral("line2")));
    }

    void runsNothingForANameThatSelectsNothing()
    {
        list({QStringLiteral("line1")}, QStringLiteral("mark.js"));
        const auto resolver = makeResolver();
        QSignalSpy signal(resolver.get(),
                          &JavaScriptDependencyResolver::processDataDescriptionChanged);
        resolver->resolveDependencyOfInstance(QStringLiteral("line2"));
        resolver->resolveDependencyOfInstance(QStringLiteral("line1/pump1"));
        resolver->resolveDependencyOfInstance(QStringLiteral("Line1"));
        QVERIFY(!isMarked(QStringLiteral("line1")));
        QCOMPARE(signal.size(), 0);
    }

    void runsNothingThatAnEarlierRunSelected()
    {
        list({QStringLiteral("line1"), QStringLiteral("line2")}, QStringLiteral("count.js"));
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        QCOMPARE(runs(), 2);
        resolver->resolveDependencyOfInstance(QStringLiteral("line1"));
        QCOMPARE(runs(), 3);
        resolver->resolveDependencyOfInstance(QStringLiteral("line2"));
        QCOMPARE(runs(), 4);
        resolver->resolveDependencyOfInstance(QStringLiteral("line3"));
        QCOMPARE(runs(), 4);
        resolver->resolveAllDependencies();
        QCOMPARE(runs(), 6);
    }

    void runsNothingForAnInstanceThatLostItsScript()
    {
        list({QStringLiteral("line1")}, QStringLiteral("count.js"));
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        m_project->storeConfiguration(QStringLiteral("line1"),
                                      dependentTree(QStringLiteral("missing.js")));
        resolver->resolveAllDependencies();
        EXPECT_MESSAGES({unreadableScript(m_project->path(), QStringLiteral("missing.js")),
                         emptyScript(QStringLiteral("line1"))});
        QCOMPARE(runs(), 1);
    }

    void runsTheScriptOfAnInstanceOnceThatIsListedTwice()
    {
        list({QStringLiteral("line1"), QStringLiteral("line1")}, QStringLiteral("count.js"));
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        QCOMPARE(runs(), 1);
        resolver->resolveDependencyOfInstance(QStringLiteral("line"));
        QCOMPARE(runs(), 2);
    }

    void doesNothingInAnEmptyProject()
    {
        const TestProject project;
        const auto resolver = makeResolverOf(project);
        QSignalSpy signal(resolver.get(),
                          &JavaScriptDependencyResolver::processDataDescriptionChanged);
        resolver->resolveAllDependencies();
        resolver->resolveDependencyOfInstance(QStringLiteral("line1"));
        resolver->resolveDependencyOfInstance(QString());
        QCOMPARE(signal.size(), 0);
    }

    void doesNothingInAProjectWithoutManifest()
    {
        const TestProject project;
        QVERIFY(QDir().mkpath(PropertyManagerConst::getConfigurationFolderPath(project.path())));
        const auto resolver = makeResolverOf(project);
        QCOMPARE(takeMessages().size(), 1);
        resolver->resolveAllDependencies();
        resolver->resolveDependencyOfInstance(QStringLiteral("line1"));
    }

    // Trees, manifest and scripts

    void dropsListedInstancesThatCannotRun()
    {
        list({QStringLiteral("line1")}, QStringLiteral("mark.js"));
        m_project->storeConfiguration(QStringLiteral("scriptless"), "{}");
        m_project->listInstances(
            {QStringLiteral("missing"), QStringLiteral("scriptless"), QStringLiteral("line1")});
        makeResolver()->resolveAllDependencies();
        EXPECT_MESSAGES({noNode(QStringLiteral("missing")),
                         unreadableScript(m_project->path(), QString()),
                         emptyScript(QStringLiteral("scriptless"))});
        QVERIFY(isMarked(QStringLiteral("line1")));
    }

    void findsDependentInstancesWithoutTheMapping()
    {
        m_project->writeScript(QStringLiteral("local.js"),
                               "function onSave(api) { api.getProperty('', 'name'); }");
        list({QStringLiteral("line1")}, QStringLiteral("local.js"));
        m_mapping.clear();
        makeResolver()->resolveAllDependencies();
        EXPECT_NO_MESSAGES();
    }

    void readsTheTreesAnewWithEachRun()
    {
        m_project->writeScript(QStringLiteral("own.js"),
                               "function onSave(api, url) {"
                               "    api.setPropertyExtern(url, 'runs',"
                               "                          api.getProperty('', 'runs') + 1);"
                               "}");
        m_project->storeConfiguration(
            QStringLiteral("line1"),
            dependentTree(QStringLiteral("own.js"), {{QStringLiteral("runs"), 0}}));
        m_project->listInstances({QStringLiteral("line1")});
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        resolver->resolveAllDependencies();
        QCOMPARE(runs(QStringLiteral("line1")), 2);

        m_project->storeConfiguration(
            QStringLiteral("line1"),
            dependentTree(QStringLiteral("own.js"), {{QStringLiteral("runs"), 10}}));
        resolver->resolveAllDependencies();
        QCOMPARE(runs(QStringLiteral("line1")), 11);
    }

    void readsTreesThatScriptsReachAnewWithEachRun()
    {
        list({QStringLiteral("line1")}, QStringLiteral("count.js"));
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        m_project->storeConfiguration(QStringLiteral("counter"),
                                      R"({ "properties": { "runs": 10 } })");
        resolver->resolveAllDependencies();
        QCOMPARE(runs(), 11);
    }

    void dropsUnsavedChangesAtTheEndOfARun()
    {
        m_project->writeScript(QStringLiteral("local.js"),
                               "function onSave(api, url) {"
                               "    api.setProperty('', 'local', true);"
                               "    api.setPropertyExtern(url, 'extern', true);"
                               "}");
        list({QStringLiteral("line1")}, QStringLiteral("local.js"));
        makeResolver()->resolveAllDependencies();
        QCOMPARE(property(QStringLiteral("line1"), QStringLiteral("extern")), QVariant(true));
        QCOMPARE(property(QStringLiteral("line1"), QStringLiteral("local")), QVariant());
    }

    void readsTheManifestOnce()
    {
        list({QStringLiteral("line1")}, QStringLiteral("mark.js"));
        const auto resolver = makeResolver();
        list({QStringLiteral("line2")}, QStringLiteral("mark.js"));
        resolver->resolveAllDependencies();
        resolver->resolveDependencyOfInstance(QStringLiteral("line2"));
        QVERIFY(isMarked(QStringLiteral("line1")));
        QVERIFY(!isMarked(QStringLiteral("line2")));
    }

    void readsAScriptOnce()
    {
        list({QStringLiteral("line1")}, QStringLiteral("count.js"));
        const auto resolver = makeResolver();
        resolver->resolveAllDependencies();
        m_project->writeScript(QStringLiteral("count.js"), "function onSave() {}");
        resolver->resolveAllDependencies();
        QCOMPARE(runs(), 2);
    }

    // Absolute URLs

    void letsScriptsReachAllMappedObjects()
    {
        m_otherProject->storeConfiguration(QStringLiteral("a"), s_counter);
        m_project->writeScript(
            QStringLiteral("network.js"),
            countingScript(TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("network"),
                                               QStringLiteral("a"))));
        list({QStringLiteral("line1")}, QStringLiteral("network.js"));
        makeResolver()->resolveAllDependencies();
        QCOMPARE(m_otherProject
                     ->configurationProperty(QStringLiteral("a"), QString(), QStringLiteral("runs"))
                     .toInt(),
                 1);
    }

    void findsProvidersInTheProjectItself()
    {
        m_project->writeScript(
            QStringLiteral("time.js"),
            countingScript(TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("time"),
                                               QStringLiteral("counter"))));
        list({QStringLiteral("line1")}, QStringLiteral("time.js"));
        m_mapping.insert(QStringLiteral("time"), m_otherProject->path());
        m_providers =
            TestHost::makeProviders({{QStringLiteral("clock"), {QStringLiteral("time")}}});
        makeResolver()->resolveAllDependencies();
        QCOMPARE(runs(), 1);
    }

    void mapsNotEvenItsOwnObjectByItself()
    {
        list({QStringLiteral("line1")}, QStringLiteral("mark.js"));
        m_mapping.remove(QStringLiteral("station"));
        makeResolver()->resolveAllDependencies();
        const QVector<Message> logged = takeMessages();
        QCOMPARE(logged.size(), 2);
        QCOMPARE(logged.at(0).text,
                 QStringLiteral("Couldn't find object \"station\" in otherfiles mapping!"));
        QCOMPARE(logged.at(1).text, QStringLiteral("Root is null."));
    }

    // Saving and announcing

    void savesWhatScriptsWroteBeforeTheyFailed()
    {
        m_project->writeScript(QStringLiteral("fail.js"),
                               "function onSave(api, url) {"
                               "    api.setPropertyExtern(url, 'marked', true);"
                               "    return false;"
                               "}");
        list({QStringLiteral("line1")}, QStringLiteral("fail.js"));
        makeResolver()->resolveAllDependencies();
        EXPECT_MESSAGES(
            {failedScript(stationUrl(QStringLiteral("line1")), QStringLiteral("line1"))});
        QVERIFY(isMarked(QStringLiteral("line1")));
    }

    void collectsTheChangesOfAllScriptsInOneTree()
    {
        list({QStringLiteral("line1"), QStringLiteral("line2"), QStringLiteral("line3")},
             QStringLiteral("count.js"));
        makeResolver()->resolveAllDependencies();
        QCOMPARE(runs(), 3);
    }

    void announcesAChangedProcessDescriptionWhenItIsStored()
    {
        const QString url = TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                                 QStringLiteral("line1/pump1"));
        m_project->storeProcess(QStringLiteral("line1/pump1"), "{}");
        m_project->writeScript(QStringLiteral("process.js"), writingScript(url, "level", "5"));
        list({QStringLiteral("line1"), QStringLiteral("line2")}, QStringLiteral("process.js"));
        const auto resolver = makeResolver();
        QVector<QPair<QString, QVariant>> announced;
        connect(resolver.get(), &JavaScriptDependencyResolver::processDataDescriptionChanged, this,
                [this, &announced](const QString &instanceName) {
                    announced.append({instanceName,
                                      m_project->processProperty(instanceName, QString(),
                                                                 QStringLiteral("level"))});
                });
        resolver->resolveAllDependencies();
        QCOMPARE(announced.size(), 1);
        QCOMPARE(announced.at(0).first, QStringLiteral("line1/pump1"));
        QCOMPARE(announced.at(0).second.toInt(), 5);
    }

    void announcesAnInstanceForEachOfItsChangedUrls()
    {
        const auto url = [](const char *objectName) {
            return TestHost::processUrl(QStringLiteral("pumps"), QLatin1String(objectName),
                                        QStringLiteral("line1/pump1"));
        };
        m_project->storeProcess(QStringLiteral("line1/pump1"), "{}");
        m_otherProject->storeProcess(QStringLiteral("line1/pump1"), "{}");
        m_project->writeScript(QStringLiteral("station.js"),
                               writingScript(url("station"), "level", "5"));
        m_project->writeScript(QStringLiteral("network.js"),
                               writingScript(url("network"), "level", "6"));
        m_project->storeConfiguration(QStringLiteral("line1"),
                                      dependentTree(QStringLiteral("station.js")));
        m_project->storeConfiguration(QStringLiteral("line2"),
                                      dependentTree(QStringLiteral("network.js")));
        m_project->listInstances({QStringLiteral("line1"), QStringLiteral("line2")});
        const auto resolver = makeResolver();
        QSignalSpy signal(resolver.get(),
                          &JavaScriptDependencyResolver::processDataDescriptionChanged);
        resolver->resolveAllDependencies();
        QCOMPARE(signal.size(), 2);
        QCOMPARE(signal.at(0), QVariantList({QStringLiteral("line1/pump1")}));
        QCOMPARE(signal.at(1), QVariantList({QStringLiteral("line1/pump1")}));
    }

    void announcesNoConfigurationAndNothingTwice()
    {
        const QString url = TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("station"),
                                                 QStringLiteral("a"));
        m_project->storeProcess(QStringLiteral("a"), "{}");
        m_project->writeScript(QStringLiteral("process.js"), writingScript(url, "level", "5"));
        list({QStringLiteral("line1")}, QStringLiteral("process.js"));
        const auto resolver = makeResolver();
        QSignalSpy signal(resolver.get(),
                          &JavaScriptDependencyResolver::processDataDescriptionChanged);
        resolver->resolveAllDependencies();
        QCOMPARE(signal.size(), 1);
        resolver->resolveAllDependencies();
        QCOMPARE(signal.size(), 1);

        list({QStringLiteral("line1")}, QStringLiteral("mark.js"));
        const auto markingResolver = makeResolver();
        QSignalSpy markingSignal(markingResolver.get(),
                                 &JavaScriptDependencyResolver::processDataDescriptionChanged);
        markingResolver->resolveAllDependencies();
        QVERIFY(isMarked(QStringLiteral("line1")));
        QCOMPARE(markingSignal.size(), 0);
    }

private:
    std::unique_ptr<JavaScriptDependencyResolver> makeResolverOf(const TestProject &project,
                                                                 QObject *parent = nullptr) const
    {
        return std::make_unique<JavaScriptDependencyResolver>(
            project.path(), QStringLiteral("pumps"), QStringLiteral("station"), m_providers,
            *m_textManager, m_mapping, parent);
    }

    std::unique_ptr<JavaScriptDependencyResolver> makeResolver(QObject *parent = nullptr) const
    {
        return makeResolverOf(*m_project, parent);
    }

    /// Stores instances with a common script and lists them in the manifest.
    void list(const QStringList &instances, const QString &scriptFile)
    {
        for (const QString &instance : instances) {
            m_project->storeConfiguration(instance, dependentTree(scriptFile));
        }
        m_project->listInstances(instances);
    }

    QVariant property(const QString &instance, const QString &propertyKey) const
    {
        return m_project->configurationProperty(instance, QString(), propertyKey);
    }

    bool isMarked(const QString &instance) const
    {
        return property(instance, QStringLiteral("marked")).toBool();
    }

    int runs(const QString &instance = QStringLiteral("counter")) const
    {
        return property(instance, QStringLiteral("runs")).toInt();
    }

    QScopedPointer<TestProject> m_project;
    QScopedPointer<TestProject> m_otherProject;
    QHash<QString, QString> m_mapping;
    SystemInformationManagerDBusProviderDescriptionHandler m_providers;
    std::unique_ptr<TextManager> m_textManager;
};

TEST_CLASS(JavaScriptDependencyResolverTest)

#include "JavaScriptDependencyResolverTest.moc"
