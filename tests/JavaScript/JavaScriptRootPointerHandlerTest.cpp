#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "host/SelectorUrlHandler.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QDir>
#include <QTest>

#include <cstddef>
#include <cstring>
#include <type_traits>

static_assert(std::has_virtual_destructor_v<JavaScriptRootPointerHandler>);
static_assert(std::is_copy_constructible_v<JavaScriptRootPointerHandler::ValueRootMap>);

namespace {

using NodePointer = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

Message loadingWarning(const QString &text)
{
    return warning(
        QStringLiteral("ConfigurationAndProcessDataBase::BaseClassSharedPointer "
                       "JavaScriptRootPointerHandler::getRootPointerInternal(bool, const QString&, "
                       "UrlToRootMap&) const"),
        text);
}

Message objectNotMapped(const QString &objectName)
{
    return loadingWarning(
        QStringLiteral("Couldn't find object \"%1\" in otherfiles mapping!").arg(objectName));
}

Message treeNotFound(const QString &key, const QString &folderName)
{
    return loadingWarning(
        QStringLiteral("Unable to find url \"%1\" in project \"%2\"").arg(key, folderName));
}

Message schemeNotValid(const QString &scheme)
{
    return warning(QStringLiteral("bool JavaScriptRootPointerHandler::isProcessDescription(const "
                                  "SelectorUrlHandler&) const"),
                   QStringLiteral("Scheme in url ist not valid: \"%1\"").arg(scheme));
}

Message neverLoaded(const QString &url)
{
    return warning(
        QStringLiteral(
            "void JavaScriptRootPointerHandler::setChangedUrl(UrlToRootMap&, const QString&)"),
        QStringLiteral("The folloing url does not exist root map: \"%1\"").arg(url));
}

QString config(const QString &instance, const QString &relUrl = QString())
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance,
                               relUrl);
}

QString process(const QString &instance, const QString &relUrl = QString())
{
    return TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance,
                                relUrl);
}

QString unknownScheme(const QString &instance, const QString &relUrl = QString())
{
    return TestHost::url(QStringLiteral("other"), QStringLiteral("pumps"),
                         QStringLiteral("station"), instance, relUrl);
}

QByteArray namedTree(const QByteArray &name)
{
    return R"({ "properties": { "name": ")" + name + R"(" },
                "children": { "motor": { "properties": { "name": "motor" } } } })";
}

QString nameOf(const NodePointer &node)
{
    return node.isNull() ? QStringLiteral("(null)")
                         : node->getProperty(QStringLiteral("name")).toString();
}

void setName(const NodePointer &node, const QString &name)
{
    QCOMPARE(node->setProperty(QStringLiteral("name"), name), 0);
}

/// The place of a virtual operation in its class's table, as the C++ ABI of this platform keeps it
/// in a pointer to a member function.
template <typename Operation>
std::ptrdiff_t slotOf(Operation operation)
{
    struct
    {
        std::ptrdiff_t pointer;
        std::ptrdiff_t adjustment;
    } parts;
    static_assert(sizeof(parts) == sizeof(operation));
    memcpy(&parts, &operation, sizeof(parts));
#if defined(__arm__) || defined(__aarch64__)
    return parts.pointer / std::ptrdiff_t(sizeof(void *));
#else
    return (parts.pointer - 1) / std::ptrdiff_t(sizeof(void *));
#endif
}

/// Makes a folder the current one for its life.
class CurrentFolder
{
public:
    explicit CurrentFolder(const QString &path) { QDir::setCurrent(path); }
    ~CurrentFolder() { QDir::setCurrent(m_previous); }

private:
    Q_DISABLE_COPY(CurrentFolder)

    QString m_previous = QDir::currentPath();
};

QStringList sorted(QStringList list)
{
    list.sort();
    return list;
}

} // namespace

class JavaScriptRootPointerHandlerTest : public StrictTest
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
        m_handler.reset(new JavaScriptRootPointerHandler(m_project->path(), m_mapping));
    }

    void cleanup()
    {
        m_handler.reset();
        m_otherProject.reset();
        m_project.reset();
        StrictTest::cleanup();
    }

    void hasNoTreeAndNoMarkInANewRecord()
    {
        const JavaScriptRootPointerHandler::ValueRootMap record;
        QVERIFY(record.rootPointer.isNull());
        QVERIFY(!record.changed);
        QCOMPARE(record.directory, QDir(QString()));
    }

    // Hosts derive from the class and are built apart from it.
    void keepsTheOrderOfItsVirtualOperations()
    {
        using Handler = JavaScriptRootPointerHandler;
        // The destructor has the first two places.
        QCOMPARE(slotOf(&Handler::getRootPointer), 2);
        QCOMPARE(slotOf(&Handler::getInstanceConfigPointer), 3);
        QCOMPARE(slotOf(static_cast<void (Handler::*)(const QString &)>(&Handler::setChangedUrl)),
                 4);
        QCOMPARE(slotOf(&Handler::saveChangedInstances), 5);
        QCOMPARE(slotOf(&Handler::getChangedExternalConfigUrls), 6);
        QCOMPARE(slotOf(&Handler::getChangedExternalProcessUrls), 7);
        QCOMPARE(slotOf(&Handler::deleteChangeFlagConfigUrls), 8);
        QCOMPARE(slotOf(&Handler::deleteChangeFlagProcessDataUrl), 9);
        QCOMPARE(slotOf(&Handler::resetState), 10);
    }

    void startsWithoutChangedTrees()
    {
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList());
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList());
    }

    // Loading

    void loadsTheRootOfTheTreeThatHoldsTheUrl()
    {
        m_project->storeConfiguration(QStringLiteral("line1/pump1"), namedTree("pump1"));
        const auto root = m_handler->getRootPointer(
            config(QStringLiteral("line1/pump1"), QStringLiteral("motor")));
        QCOMPARE(nameOf(root), QStringLiteral("pump1"));
    }

    void servesUrlsOfOneInstanceFromOneTree()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        const auto root = m_handler->getRootPointer(config(QStringLiteral("pump1")));
        QVERIFY(!root.isNull());
        QCOMPARE(
            m_handler->getRootPointer(config(QStringLiteral("pump1"), QStringLiteral("motor"))),
            root);
        QCOMPARE(m_handler->getRootPointer(
                     config(QStringLiteral("pump1"), QStringLiteral("no/such/node"))),
                 root);
    }

    void doesNotReadALoadedTreeAgain()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("first"));
        const auto root = m_handler->getRootPointer(config(QStringLiteral("pump1")));
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("second"));
        QCOMPARE(m_handler->getRootPointer(config(QStringLiteral("pump1"))), root);
        QCOMPARE(nameOf(root), QStringLiteral("first"));
    }

    void showsChangesOfATreeToTheNextRequest()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        setName(m_handler->getRootPointer(config(QStringLiteral("pump1"))),
                QStringLiteral("changed"));
        QCOMPARE(nameOf(m_handler->getRootPointer(
                     config(QStringLiteral("pump1"), QStringLiteral("motor")))),
                 QStringLiteral("changed"));
    }

    void keepsConfigurationAndProcessDataOfAnInstanceApart()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("configuration"));
        m_project->storeProcess(QStringLiteral("pump1"), namedTree("process"));
        QCOMPARE(nameOf(m_handler->getRootPointer(process(QStringLiteral("pump1")))),
                 QStringLiteral("process"));
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("pump1")))),
                 QStringLiteral("configuration"));
    }

    void looksForEachKindInItsOwnFolderOnly()
    {
        m_project->storeConfiguration(QStringLiteral("onlyConfig"), namedTree("configuration"));
        m_project->storeProcess(QStringLiteral("onlyProcess"), namedTree("process"));
        QVERIFY(m_handler->getRootPointer(process(QStringLiteral("onlyConfig"))).isNull());
        QVERIFY(m_handler->getRootPointer(config(QStringLiteral("onlyProcess"))).isNull());
        EXPECT_MESSAGES({treeNotFound(process(QStringLiteral("onlyConfig")), m_project->path()),
                         treeNotFound(config(QStringLiteral("onlyProcess")), m_project->path())});
    }

    void findsTheProjectOfATreeByItsObject()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("station's"));
        m_otherProject->storeConfiguration(QStringLiteral("pump1"), namedTree("network's"));
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("pump1")))),
                 QStringLiteral("station's"));
        QCOMPARE(nameOf(m_handler->getRootPointer(TestHost::configUrl(
                     QStringLiteral("pumps"), QStringLiteral("network"), QStringLiteral("pump1")))),
                 QStringLiteral("network's"));
    }

    void keepsOneTreeForEachModule()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        const auto root = m_handler->getRootPointer(config(QStringLiteral("pump1")));
        const auto ofOtherModule = m_handler->getRootPointer(TestHost::configUrl(
            QStringLiteral("valves"), QStringLiteral("station"), QStringLiteral("pump1")));
        QCOMPARE(nameOf(ofOtherModule), QStringLiteral("pump1"));
        QVERIFY(ofOtherModule != root);
    }

    void namesInstanceAndProjectOfAMissingTree()
    {
        const auto root =
            m_handler->getRootPointer(config(QStringLiteral("pump1"), QStringLiteral("motor")));
        QVERIFY(root.isNull());
        EXPECT_MESSAGES({treeNotFound(config(QStringLiteral("pump1")), m_project->path())});
    }

    void namesTheMappedProjectOfAMissingTree()
    {
        const QString url = TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("network"),
                                                 QStringLiteral("pump1"));
        QVERIFY(m_handler->getRootPointer(url).isNull());
        EXPECT_MESSAGES({treeNotFound(url, m_otherProject->path())});
    }

    void looksForAMissingTreeWithEveryRequest()
    {
        const QString url = config(QStringLiteral("pump1"));
        QVERIFY(m_handler->getRootPointer(url).isNull());
        QVERIFY(m_handler->getRootPointer(url).isNull());
        EXPECT_MESSAGES(
            {treeNotFound(url, m_project->path()), treeNotFound(url, m_project->path())});

        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        QCOMPARE(nameOf(m_handler->getRootPointer(url)), QStringLiteral("pump1"));
    }

    void warnsOfAnUnmappedObjectWithEveryRequest()
    {
        const QString url = TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("tank"),
                                                QStringLiteral("pump1"), QStringLiteral("motor"));
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        QVERIFY(m_handler->getRootPointer(url).isNull());
        EXPECT_MESSAGES({objectNotMapped(QStringLiteral("tank"))});
        QVERIFY(m_handler->getRootPointer(url).isNull());
        EXPECT_MESSAGES({objectNotMapped(QStringLiteral("tank"))});
    }

    void comparesObjectNamesCaseSensitively()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        const QString url = TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("Station"),
                                                QStringLiteral("pump1"));
        QVERIFY(m_handler->getRootPointer(url).isNull());
        EXPECT_MESSAGES({objectNotMapped(QStringLiteral("Station"))});
    }

    void mapsNoObjectToItsOwnProjectByItself()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        const JavaScriptRootPointerHandler handler(m_project->path(), {});
        QVERIFY(handler.getRootPointer(config(QStringLiteral("pump1"))).isNull());
        EXPECT_MESSAGES({objectNotMapped(QStringLiteral("station"))});
    }

    void keepsACopyOfTheMapping()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("pump1"));
        m_mapping.clear();
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("pump1")))),
                 QStringLiteral("pump1"));
    }

    void servesAnUnknownSchemeFromTheConfiguration()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("configuration"));
        m_project->storeProcess(QStringLiteral("pump1"), namedTree("process"));
        const auto root = m_handler->getRootPointer(unknownScheme(QStringLiteral("pump1")));
        QCOMPARE(nameOf(root), QStringLiteral("configuration"));
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other"))});

        QCOMPARE(m_handler->getRootPointer(
                     unknownScheme(QStringLiteral("pump1"), QStringLiteral("motor"))),
                 root);
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other"))});
    }

    void warnsOfTheSchemeBeforeItLooksForTheTree()
    {
        QVERIFY(m_handler->getRootPointer(unknownScheme(QStringLiteral("pump1"))).isNull());
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other")),
                         treeNotFound(unknownScheme(QStringLiteral("pump1")), m_project->path())});
    }

    void warnsOfTheSchemeBeforeTheObject()
    {
        QVERIFY(m_handler
                    ->getRootPointer(TestHost::url(QStringLiteral("other"), QStringLiteral("pumps"),
                                                   QStringLiteral("tank"), QStringLiteral("pump1")))
                    .isNull());
        EXPECT_MESSAGES(
            {schemeNotValid(QStringLiteral("other")), objectNotMapped(QStringLiteral("tank"))});
    }

    void warnsOfATextThatIsNoUrl()
    {
        const QString text = QStringLiteral("no url");
        const SelectorUrlHandler parsed(text);
        QVERIFY(!parsed.isValid());
        QVERIFY(m_handler->getRootPointer(text).isNull());
        EXPECT_MESSAGES(
            {schemeNotValid(parsed.getScheme()), objectNotMapped(parsed.getObjectName())});
    }

    // Configuration of an instance of the own project

    void readsAnInstancesConfigurationAnewWithEachRequest()
    {
        m_project->storeConfiguration(QStringLiteral("line1/pump1"), namedTree("first"));
        const auto first = m_handler->getInstanceConfigPointer(QStringLiteral("line1/pump1"));
        QCOMPARE(nameOf(first), QStringLiteral("first"));
        m_project->storeConfiguration(QStringLiteral("line1/pump1"), namedTree("second"));
        const auto second = m_handler->getInstanceConfigPointer(QStringLiteral("line1/pump1"));
        QCOMPARE(nameOf(second), QStringLiteral("second"));
        QVERIFY(first != second);
    }

    void keepsAnInstancesConfigurationApartFromTheLoadedTrees()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("stored"));
        setName(m_handler->getInstanceConfigPointer(QStringLiteral("pump1")),
                QStringLiteral("changed"));
        QCOMPARE(nameOf(m_handler->getRootPointer(config(QStringLiteral("pump1")))),
                 QStringLiteral("stored"));

        setName(m_handler->getRootPointer(config(QStringLiteral("pump1"))),
                QStringLiteral("changed"));
        QCOMPARE(nameOf(m_handler->getInstanceConfigPointer(QStringLiteral("pump1"))),
                 QStringLiteral("stored"));
    }

    void cannotMarkAnInstanceThatWasReadByNameOnly()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("stored"));
        QVERIFY(!m_handler->getInstanceConfigPointer(QStringLiteral("pump1")).isNull());
        m_handler->setChangedUrl(config(QStringLiteral("pump1")));
        EXPECT_MESSAGES({neverLoaded(config(QStringLiteral("pump1")))});
    }

    void readsInstancesByNameFromItsOwnProjectWithoutTheMapping()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("own"));
        m_otherProject->storeConfiguration(QStringLiteral("pump1"), namedTree("mapped"));
        const JavaScriptRootPointerHandler unmapped(m_project->path(), {});
        QCOMPARE(nameOf(unmapped.getInstanceConfigPointer(QStringLiteral("pump1"))),
                 QStringLiteral("own"));
        const JavaScriptRootPointerHandler mappedElsewhere(
            m_project->path(), {{QStringLiteral("station"), m_otherProject->path()}});
        QCOMPARE(nameOf(mappedElsewhere.getInstanceConfigPointer(QStringLiteral("pump1"))),
                 QStringLiteral("own"));
    }

    void saysNothingOfAnInstanceWithoutConfiguration()
    {
        m_project->storeProcess(QStringLiteral("pump1"), namedTree("process"));
        QVERIFY(m_handler->getInstanceConfigPointer(QStringLiteral("pump1")).isNull());
        EXPECT_NO_MESSAGES();
    }

    // Objects that provide system information

    void mapsProvidersToItsOwnProject()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("own"));
        const JavaScriptRootPointerHandler handler(
            TestHost::makeProviders(
                {{QStringLiteral("clock"), {QStringLiteral("time"), QStringLiteral("zone")}},
                 {QStringLiteral("load"), {QStringLiteral("memory")}}}),
            m_project->path(), {});
        for (const char *objectName : {"time", "zone", "memory"}) {
            const auto root = handler.getRootPointer(TestHost::configUrl(
                QStringLiteral("pumps"), QLatin1String(objectName), QStringLiteral("pump1")));
            QCOMPARE(nameOf(root), QStringLiteral("own"));
        }
    }

    void mapsAProviderToItsOwnProjectEvenIfItWasMappedElsewhere()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("own"));
        m_otherProject->storeConfiguration(QStringLiteral("pump1"), namedTree("network's"));
        const JavaScriptRootPointerHandler handler(
            TestHost::makeProviders({{QStringLiteral("clock"), {QStringLiteral("network")}}}),
            m_project->path(), m_mapping);
        QCOMPARE(nameOf(handler.getRootPointer(TestHost::configUrl(
                     QStringLiteral("pumps"), QStringLiteral("network"), QStringLiteral("pump1")))),
                 QStringLiteral("own"));
    }

    void keepsTheMappingOfObjectsThatProvideNothing()
    {
        m_otherProject->storeConfiguration(QStringLiteral("pump1"), namedTree("network's"));
        const JavaScriptRootPointerHandler handler(
            TestHost::makeProviders({{QStringLiteral("clock"), {QStringLiteral("time")}}}),
            m_project->path(), m_mapping);
        QCOMPARE(nameOf(handler.getRootPointer(TestHost::configUrl(
                     QStringLiteral("pumps"), QStringLiteral("network"), QStringLiteral("pump1")))),
                 QStringLiteral("network's"));
    }

    void mapsNothingMoreWithoutProviders()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("own"));
        const JavaScriptRootPointerHandler handler(TestHost::makeProviders({}), m_project->path(),
                                                   m_mapping);
        QCOMPARE(nameOf(handler.getRootPointer(config(QStringLiteral("pump1")))),
                 QStringLiteral("own"));
        QCOMPARE(nameOf(handler.getInstanceConfigPointer(QStringLiteral("pump1"))),
                 QStringLiteral("own"));
        QVERIFY(handler
                    .getRootPointer(TestHost::configUrl(
                        QStringLiteral("pumps"), QStringLiteral("time"), QStringLiteral("pump1")))
                    .isNull());
        EXPECT_MESSAGES({objectNotMapped(QStringLiteral("time"))});
    }

    // Marks

    void listsChangedTreesByInstanceAndKind()
    {
        load({config(QStringLiteral("pump1")), config(QStringLiteral("pump2")),
              config(QStringLiteral("pump3")), process(QStringLiteral("pump1")),
              process(QStringLiteral("pump2"))});
        m_handler->setChangedUrl(config(QStringLiteral("pump1"), QStringLiteral("motor")));
        m_handler->setChangedUrl(config(QStringLiteral("pump3")));
        m_handler->setChangedUrl(process(QStringLiteral("pump2"), QStringLiteral("motor")));
        QCOMPARE(sorted(m_handler->getChangedExternalConfigUrls()),
                 QStringList({config(QStringLiteral("pump1")), config(QStringLiteral("pump3"))}));
        QCOMPARE(m_handler->getChangedExternalProcessUrls(),
                 QStringList({process(QStringLiteral("pump2"))}));
    }

    void listsAnInstanceOnceHoweverOftenItWasMarked()
    {
        load({config(QStringLiteral("pump1"))});
        m_handler->setChangedUrl(config(QStringLiteral("pump1")));
        m_handler->setChangedUrl(config(QStringLiteral("pump1"), QStringLiteral("motor")));
        QCOMPARE(m_handler->getChangedExternalConfigUrls(),
                 QStringList({config(QStringLiteral("pump1"))}));
    }

    void marksNothingByLoadingOrByChangingATree()
    {
        load({config(QStringLiteral("pump1")), process(QStringLiteral("pump1"))});
        setName(m_handler->getRootPointer(config(QStringLiteral("pump1"))),
                QStringLiteral("changed"));
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList());
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList());
    }

    void keepsTheMarkOfATreeThatIsRequestedAgain()
    {
        load({config(QStringLiteral("pump1"))});
        m_handler->setChangedUrl(config(QStringLiteral("pump1")));
        QVERIFY(!m_handler->getRootPointer(config(QStringLiteral("pump1"))).isNull());
        QCOMPARE(m_handler->getChangedExternalConfigUrls(),
                 QStringList({config(QStringLiteral("pump1"))}));
    }

    void doesNotMarkATreeThatWasNeverLoaded()
    {
        load({config(QStringLiteral("pump1")), process(QStringLiteral("pump2"))});
        m_handler->setChangedUrl(config(QStringLiteral("pump1")));
        m_handler->setChangedUrl(config(QStringLiteral("pump2"), QStringLiteral("motor")));
        m_handler->setChangedUrl(process(QStringLiteral("pump1"), QStringLiteral("motor")));
        EXPECT_MESSAGES({neverLoaded(config(QStringLiteral("pump2"), QStringLiteral("motor"))),
                         neverLoaded(process(QStringLiteral("pump1"), QStringLiteral("motor")))});
        QCOMPARE(m_handler->getChangedExternalConfigUrls(),
                 QStringList({config(QStringLiteral("pump1"))}));
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList());
    }

    void doesNotMarkATreeThatCouldNotBeLoaded()
    {
        const QString url = config(QStringLiteral("pump1"));
        QVERIFY(m_handler->getRootPointer(url).isNull());
        m_handler->setChangedUrl(url);
        EXPECT_MESSAGES({treeNotFound(url, m_project->path()), neverLoaded(url)});
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList());
    }

    void marksAnUnknownSchemeAmongTheConfigurations()
    {
        const QString url = unknownScheme(QStringLiteral("pump1"));
        load({url});
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other"))});
        m_handler->setChangedUrl(unknownScheme(QStringLiteral("pump1"), QStringLiteral("motor")));
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other"))});
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList({url}));
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList());
    }

    void warnsOfTheSchemeBeforeTheMissingTreeOfAMark()
    {
        const QString url = unknownScheme(QStringLiteral("pump1"), QStringLiteral("motor"));
        m_handler->setChangedUrl(url);
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other")), neverLoaded(url)});
    }

    void clearsTheMarksOfOneKindAndKeepsTheTrees()
    {
        const QString configUrl = config(QStringLiteral("pump1"));
        const QString secondConfigUrl = config(QStringLiteral("pump2"));
        const QString processUrl = process(QStringLiteral("pump1"));
        const QString secondProcessUrl = process(QStringLiteral("pump2"));
        const QStringList urls{configUrl, secondConfigUrl, processUrl, secondProcessUrl};
        load(urls);
        const auto configRoot = m_handler->getRootPointer(configUrl);
        const auto processRoot = m_handler->getRootPointer(processUrl);
        for (const QString &url : urls) {
            m_handler->setChangedUrl(url);
        }

        m_handler->deleteChangeFlagConfigUrls();
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList());
        QCOMPARE(sorted(m_handler->getChangedExternalProcessUrls()),
                 sorted({processUrl, secondProcessUrl}));

        m_handler->setChangedUrl(configUrl);
        m_handler->deleteChangeFlagProcessDataUrl();
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList({configUrl}));
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList());

        QCOMPARE(m_handler->getRootPointer(configUrl), configRoot);
        QCOMPARE(m_handler->getRootPointer(processUrl), processRoot);
    }

    // The folder is made anew for each request: where a relative path leads may change.
    void readsFromWhereARelativePathLeadsNow()
    {
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("first"));
        m_project->storeConfiguration(QStringLiteral("pump2"), namedTree("first"));
        m_otherProject->storeConfiguration(QStringLiteral("pump1"), namedTree("second"));
        m_otherProject->storeConfiguration(QStringLiteral("pump2"), namedTree("second"));
        const QString here = QStringLiteral(".");
        JavaScriptRootPointerHandler handler(here, {{QStringLiteral("station"), here}});
        {
            const CurrentFolder folder(m_project->path());
            QCOMPARE(nameOf(handler.getInstanceConfigPointer(QStringLiteral("pump1"))),
                     QStringLiteral("first"));
            QCOMPARE(nameOf(handler.getRootPointer(config(QStringLiteral("pump1")))),
                     QStringLiteral("first"));
        }
        const CurrentFolder folder(m_otherProject->path());
        QCOMPARE(nameOf(handler.getInstanceConfigPointer(QStringLiteral("pump1"))),
                 QStringLiteral("second"));
        QCOMPARE(nameOf(handler.getRootPointer(config(QStringLiteral("pump2")))),
                 QStringLiteral("second"));
    }

    void forgetsTreesAndMarksOnReset()
    {
        const QString configUrl = config(QStringLiteral("pump1"));
        const QString processUrl = process(QStringLiteral("pump1"));
        load({configUrl, processUrl});
        const QWeakPointer<ConfigurationAndProcessDataBase> configRoot =
            m_handler->getRootPointer(configUrl);
        const QWeakPointer<ConfigurationAndProcessDataBase> processRoot =
            m_handler->getRootPointer(processUrl);
        for (const QString &url : {configUrl, processUrl}) {
            setName(m_handler->getRootPointer(url), QStringLiteral("changed"));
            m_handler->setChangedUrl(url);
        }

        m_handler->resetState();
        QVERIFY(configRoot.isNull());
        QVERIFY(processRoot.isNull());
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList());
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList());
        m_handler->setChangedUrl(configUrl);
        EXPECT_MESSAGES({neverLoaded(configUrl)});

        m_handler->saveChangedInstances();
        QCOMPARE(nameOf(m_handler->getRootPointer(configUrl)), QStringLiteral("stored"));
        QCOMPARE(nameOf(m_handler->getRootPointer(processUrl)), QStringLiteral("stored"));
    }

    void keepsItsProjectAndMappingOnReset()
    {
        m_otherProject->storeConfiguration(QStringLiteral("pump1"), namedTree("network's"));
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("own"));
        m_handler->resetState();
        QCOMPARE(nameOf(m_handler->getRootPointer(TestHost::configUrl(
                     QStringLiteral("pumps"), QStringLiteral("network"), QStringLiteral("pump1")))),
                 QStringLiteral("network's"));
        QCOMPARE(nameOf(m_handler->getInstanceConfigPointer(QStringLiteral("pump1"))),
                 QStringLiteral("own"));
    }

    // Saving

    void writesMarkedTreesToTheProjectsTheyCameFrom()
    {
        const QString otherUrl = TestHost::processUrl(
            QStringLiteral("pumps"), QStringLiteral("network"), QStringLiteral("line1/pump1"));
        m_otherProject->storeProcess(QStringLiteral("line1/pump1"), namedTree("stored"));
        load({config(QStringLiteral("pump1")), process(QStringLiteral("pump1"))});
        const QStringList urls{config(QStringLiteral("pump1")), process(QStringLiteral("pump1")),
                               otherUrl};
        for (const QString &url : urls) {
            setName(m_handler->getRootPointer(url), url);
            m_handler->setChangedUrl(url);
        }

        m_handler->saveChangedInstances();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 urls.at(0));
        QCOMPARE(storedName(TestHost::TreeKind::Process, QStringLiteral("pump1")), urls.at(1));
        QCOMPARE(
            m_otherProject
                ->processProperty(QStringLiteral("line1/pump1"), QString(), QStringLiteral("name"))
                .toString(),
            otherUrl);
    }

    void doesNotWriteATreeWithoutAMark()
    {
        const QString marked = config(QStringLiteral("pump1"));
        const QString unmarked = config(QStringLiteral("pump2"));
        load({marked, unmarked});
        for (const QString &url : {marked, unmarked}) {
            setName(m_handler->getRootPointer(url), QStringLiteral("changed"));
        }
        m_handler->setChangedUrl(marked);
        m_handler->saveChangedInstances();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 QStringLiteral("changed"));
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump2")),
                 QStringLiteral("stored"));
    }

    void doesNotWriteATreeWhoseMarkWasCleared()
    {
        const QString configUrl = config(QStringLiteral("pump1"));
        const QString processUrl = process(QStringLiteral("pump1"));
        load({configUrl, processUrl});
        for (const QString &url : {configUrl, processUrl}) {
            setName(m_handler->getRootPointer(url), QStringLiteral("changed"));
            m_handler->setChangedUrl(url);
        }
        m_handler->deleteChangeFlagConfigUrls();
        m_handler->deleteChangeFlagProcessDataUrl();
        m_handler->saveChangedInstances();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 QStringLiteral("stored"));
        QCOMPARE(storedName(TestHost::TreeKind::Process, QStringLiteral("pump1")),
                 QStringLiteral("stored"));
    }

    void savesNothingWithoutMarks()
    {
        load({config(QStringLiteral("pump1"))});
        m_project->storeConfiguration(QStringLiteral("pump1"), namedTree("stored later"));
        m_handler->saveChangedInstances();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 QStringLiteral("stored later"));
    }

    void keepsTheMarksWhenItSaves()
    {
        const QString configUrl = config(QStringLiteral("pump1"));
        const QString processUrl = process(QStringLiteral("pump1"));
        load({configUrl, processUrl});
        for (const QString &url : {configUrl, processUrl}) {
            setName(m_handler->getRootPointer(url), QStringLiteral("changed"));
            m_handler->setChangedUrl(url);
        }
        m_handler->saveChangedInstances();
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList({configUrl}));
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList({processUrl}));

        setName(m_handler->getRootPointer(configUrl), QStringLiteral("changed again"));
        m_handler->saveChangedInstances();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 QStringLiteral("changed again"));
    }

    void savesATreeOfAnUnknownSchemeAsConfiguration()
    {
        const QString url = unknownScheme(QStringLiteral("pump1"));
        load({url});
        setName(m_handler->getRootPointer(url), QStringLiteral("changed"));
        m_handler->setChangedUrl(url);
        EXPECT_MESSAGES({schemeNotValid(QStringLiteral("other")),
                         schemeNotValid(QStringLiteral("other")),
                         schemeNotValid(QStringLiteral("other"))});

        m_handler->saveChangedInstances();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 QStringLiteral("changed"));
        QCOMPARE(storedName(TestHost::TreeKind::Process, QStringLiteral("pump1")),
                 QStringLiteral("stored"));
    }

    void savesNothingWhenItIsDestroyed()
    {
        const QString url = config(QStringLiteral("pump1"));
        load({url});
        setName(m_handler->getRootPointer(url), QStringLiteral("changed"));
        m_handler->setChangedUrl(url);
        m_handler.reset();
        QCOMPARE(storedName(TestHost::TreeKind::Configuration, QStringLiteral("pump1")),
                 QStringLiteral("stored"));
    }

private:
    /// Stores trees of both kinds for the instances of @p urls, then requests these.
    void load(const QStringList &urls)
    {
        for (const QString &url : urls) {
            const QString instance = SelectorUrlHandler(url).getInstance();
            m_project->storeConfiguration(instance, namedTree("stored"));
            m_project->storeProcess(instance, namedTree("stored"));
        }
        for (const QString &url : urls) {
            QVERIFY(!m_handler->getRootPointer(url).isNull());
        }
    }

    QString storedName(TestHost::TreeKind kind, const QString &instance) const
    {
        return TestHost::storedProperty(m_project->path(), kind, instance, QString(),
                                        QStringLiteral("name"))
            .toString();
    }

    QScopedPointer<TestProject> m_project;
    QScopedPointer<TestProject> m_otherProject;
    QHash<QString, QString> m_mapping;
    QScopedPointer<JavaScriptRootPointerHandler> m_handler;
};

TEST_CLASS(JavaScriptRootPointerHandlerTest)

#include "JavaScriptRootPointerHandlerTest.moc"
