#include "JavaScript/JavaScriptInplaceRootPointerHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "memoryhost/CallLog.h"
#include "memoryhost/MemoryHost.h"
#include "support/CallText.h"
#include "support/StrictTest.h"
#include "support/TestHost.h"

#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <memory>

using Witness = QSharedPointer<int>;
Q_DECLARE_METATYPE(Witness)

namespace {

const auto s_projectPath = QStringLiteral("/project");
const auto s_otherPath = QStringLiteral("/other");

QString config(const QString &instance, const QString &relUrl = QString())
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance,
                               relUrl);
}

QString process(const QString &instance, const QString &relUrl = QString())
{
    return TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("network"), instance,
                                relUrl);
}

QStringList readingConfiguration(const QString &instance)
{
    return {callText("getConfigurationFolderPath", s_projectPath),
            callText("getParsedConfigurationProcessDescription", QStringLiteral("/project/setups"),
                     instance, "configuration")};
}

QStringList readingProcess(const QString &instance)
{
    return {callText("getProcessFolderPath", s_otherPath),
            callText("getParsedConfigurationProcessDescription",
                     QStringLiteral("/other/descriptions"), instance, "process")};
}

QString writingConfiguration(const QString &instance)
{
    return callText("setParsedConfigurationProcessDescription", QStringLiteral("/project/setups"),
                    QStringLiteral("pumps"), QStringLiteral("station"), instance, "configuration");
}

QString writingProcess(const QString &instance)
{
    return callText("setParsedConfigurationProcessDescription",
                    QStringLiteral("/other/descriptions"), QStringLiteral("pumps"),
                    QStringLiteral("network"), instance, "process");
}

Message notWritten(const QString &key)
{
    return warning(QStringLiteral("void JavaScriptRootPointerHandler::saveChangedInstancesInternal("
                                  "const UrlToRootMap&, bool)"),
                   QStringLiteral("Can not frame to file: \"%1\"").arg(key));
}

} // namespace

/// Which operations of the host the root pointer handlers call, in which order, and which not.
class RootLoadingCallOrderTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        for (const char *name : {"pump1", "pump2"}) {
            TestHost::storeTree(s_projectPath, TestHost::TreeKind::Configuration,
                                QLatin1String(name), "{}");
            TestHost::storeTree(s_otherPath, TestHost::TreeKind::Process, QLatin1String(name),
                                "{}");
        }
        m_handler = std::make_unique<JavaScriptRootPointerHandler>(
            s_projectPath,
            QHash<QString, QString>{{QStringLiteral("station"), s_projectPath},
                                    {QStringLiteral("network"), s_otherPath}});
        CallLog::take();
    }

    void cleanup()
    {
        MemoryHost::failWrites(false);
        MemoryHost::onLoad({});
        m_handler.reset();
        StrictTest::cleanup();
    }

    // Construction and destruction

    void callsNothingToConstructAHandlerWithoutProviders()
    {
        const JavaScriptRootPointerHandler handler(s_projectPath, {});
        QCOMPARE(CallLog::take(), QStringList());
    }

    void asksForTheProvidersOfEachDataTypeInOrder()
    {
        const auto providers =
            TestHost::makeProviders({{QStringLiteral("time"), {QStringLiteral("clock")}},
                                     {QStringLiteral("load"), {}},
                                     {QStringLiteral("space"), {QStringLiteral("disk")}}});
        const JavaScriptRootPointerHandler handler(providers, s_projectPath, {});
        QCOMPARE(CallLog::take(),
                 QStringList({callText("getRegisteredDataTypes"),
                              callText("getProviderData", QStringLiteral("time")),
                              callText("getProviderData", QStringLiteral("load")),
                              callText("getProviderData", QStringLiteral("space"))}));
    }

    void callsNothingToDestroyAHandler()
    {
        change(config(QStringLiteral("pump1")));
        CallLog::take();
        m_handler.reset();
        QCOMPARE(CallLog::take(), QStringList());
    }

    // Loading

    void readsATreeOnce()
    {
        m_handler->getRootPointer(config(QStringLiteral("pump1"), QStringLiteral("motor")));
        QCOMPARE(CallLog::take(), readingConfiguration(QStringLiteral("pump1")));
        m_handler->getRootPointer(config(QStringLiteral("pump1")));
        m_handler->getRootPointer(config(QStringLiteral("pump1"), QStringLiteral("motor")));
        QCOMPARE(CallLog::take(), QStringList());

        m_handler->getRootPointer(process(QStringLiteral("pump1")));
        QCOMPARE(CallLog::take(), readingProcess(QStringLiteral("pump1")));
        m_handler->getRootPointer(process(QStringLiteral("pump1"), QStringLiteral("motor")));
        QCOMPARE(CallLog::take(), QStringList());
    }

    void parsesTheUrlThenItsInstanceLevelForm()
    {
        const QString url = config(QStringLiteral("pump1"), QStringLiteral("motor"));
        const QString key = config(QStringLiteral("pump1"));
        const QStringList request{
            callText("SelectorUrlHandler", url), QStringLiteral("url: setUrl(\"\")"),
            QStringLiteral("url: toString()"), QStringLiteral("url: isConfigurationScheme()")};
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        m_handler->getRootPointer(url);
        const QStringList calls = CallLog::take();
        QCOMPARE(calls.mid(0, request.size()), request);
        QCOMPARE(calls.value(request.size()), callText("SelectorUrlHandler", key));
        QCOMPARE(calls.filter(QStringLiteral("SelectorUrlHandler")).size(), 2);
        QCOMPARE(calls.last(), readingConfiguration(QStringLiteral("pump1")).last());

        m_handler->getRootPointer(url);
        QCOMPARE(CallLog::take(), request);
    }

    void asksForTheSchemesInOrder()
    {
        const QString processUrl = process(QStringLiteral("pump1"));
        const QString unknownUrl =
            TestHost::url(QStringLiteral("other"), QStringLiteral("pumps"),
                          QStringLiteral("station"), QStringLiteral("pump1"));
        m_handler->getRootPointer(processUrl);
        m_handler->getRootPointer(unknownUrl);
        takeMessages();
        CallLog::take();

        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        m_handler->getRootPointer(processUrl);
        QCOMPARE(CallLog::take().mid(3),
                 QStringList({QStringLiteral("url: isConfigurationScheme()"),
                              QStringLiteral("url: isProcessDataScheme()")}));
        m_handler->getRootPointer(unknownUrl);
        QCOMPARE(CallLog::take().mid(3),
                 QStringList({QStringLiteral("url: isConfigurationScheme()"),
                              QStringLiteral("url: isProcessDataScheme()"),
                              QStringLiteral("url: getScheme()")}));
        QCOMPARE(takeMessages().size(), 1);
    }

    void readsAMissingTreeWithEveryRequest()
    {
        const QStringList reading = readingConfiguration(QStringLiteral("pump9"));
        for (int i = 0; i < 2; ++i) {
            QVERIFY(m_handler->getRootPointer(config(QStringLiteral("pump9"))).isNull());
            QCOMPARE(CallLog::take(), reading);
        }
        QCOMPARE(takeMessages().size(), 2);
    }

    void readsNothingForAnUnmappedObject()
    {
        m_handler->getRootPointer(TestHost::configUrl(
            QStringLiteral("pumps"), QStringLiteral("tank"), QStringLiteral("pump1")));
        QCOMPARE(CallLog::take(), QStringList());
        QCOMPARE(takeMessages().size(), 1);
    }

    void readsAnInstancesConfigurationWithEveryRequest()
    {
        const QStringList reading = readingConfiguration(QStringLiteral("pump1"));
        m_handler->getInstanceConfigPointer(QStringLiteral("pump1"));
        QCOMPARE(CallLog::take(), reading);
        m_handler->getInstanceConfigPointer(QStringLiteral("pump1"));
        QCOMPARE(CallLog::take(), reading);
        m_handler->getRootPointer(config(QStringLiteral("pump1")));
        QCOMPARE(CallLog::take(), reading);
    }

    void readsFromAFolderOfItsOwnEachTime()
    {
        const QTemporaryDir project;
        QVERIFY(QDir(project.path()).mkpath(QStringLiteral("setups/sub1")));
        const JavaScriptRootPointerHandler handler(project.path(),
                                                   {{QStringLiteral("station"), project.path()}});
        QStringList entries;
        MemoryHost::onLoad([&entries](const QDir &folder) {
            entries = folder.entryList().mid(2); // behind "." and ".."
        });
        handler.getInstanceConfigPointer(QStringLiteral("pump1"));
        QCOMPARE(entries, QStringList({QStringLiteral("sub1")}));
        QVERIFY(QDir(project.path()).mkpath(QStringLiteral("setups/sub2")));
        const QStringList both{QStringLiteral("sub1"), QStringLiteral("sub2")};
        handler.getInstanceConfigPointer(QStringLiteral("pump1"));
        QCOMPARE(entries, both);
        entries.clear();
        handler.getRootPointer(config(QStringLiteral("pump1")));
        QCOMPARE(entries, both);
        QCOMPARE(takeMessages().size(), 1);
    }

    void letsGoOfConfigurationsBeforeProcessDescriptions()
    {
        const QString configUrl = config(QStringLiteral("pump1"));
        const QString processUrl = process(QStringLiteral("pump1"));
        QStringList destroyed;
        for (const QString &url : {processUrl, configUrl}) {
            change(url);
            // Dies with the tree.
            const Witness witness(new int, [this, url, &destroyed](int *pointer) {
                delete pointer;
                destroyed.append(url);
                destroyed.append(m_handler->getChangedExternalProcessUrls());
            });
            m_handler->getRootPointer(url)->addProperty(QStringLiteral("witness"),
                                                        QVariant::fromValue(witness));
        }
        m_handler->resetState();
        QCOMPARE(destroyed, QStringList({configUrl, processUrl, processUrl}));
    }

    void readsATreeAgainAfterAReset()
    {
        m_handler->getRootPointer(config(QStringLiteral("pump1")));
        m_handler->getRootPointer(process(QStringLiteral("pump1")));
        CallLog::take();
        m_handler->resetState();
        QCOMPARE(CallLog::take(), QStringList());
        m_handler->getRootPointer(process(QStringLiteral("pump1")));
        m_handler->getRootPointer(config(QStringLiteral("pump1")));
        QCOMPARE(CallLog::take(),
                 readingProcess(QStringLiteral("pump1"))
                     + readingConfiguration(QStringLiteral("pump1")));
    }

    // Marks

    void parsesAUrlThatIsMarkedForItsKindAndItsKey()
    {
        const QString url = config(QStringLiteral("pump1"), QStringLiteral("motor"));
        m_handler->getRootPointer(url);
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        m_handler->setChangedUrl(url);
        QCOMPARE(
            CallLog::take(),
            QStringList({callText("SelectorUrlHandler", url),
                         QStringLiteral("url: isConfigurationScheme()"),
                         callText("SelectorUrlHandler", url), QStringLiteral("url: setUrl(\"\")"),
                         QStringLiteral("url: toString()")}));
    }

    void callsNothingToListOrClearMarks()
    {
        change(config(QStringLiteral("pump1")));
        change(process(QStringLiteral("pump1")));
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        QCOMPARE(m_handler->getChangedExternalConfigUrls().size(), 1);
        QCOMPARE(m_handler->getChangedExternalProcessUrls().size(), 1);
        m_handler->deleteChangeFlagConfigUrls();
        m_handler->deleteChangeFlagProcessDataUrl();
        m_handler->resetState();
        QCOMPARE(CallLog::take(), QStringList());
    }

    // Saving

    void writesConfigurationsBeforeProcessDescriptions()
    {
        for (const char *name : {"pump1", "pump2"}) {
            change(process(QLatin1String(name)));
            change(config(QLatin1String(name)));
        }
        CallLog::take();
        m_handler->saveChangedInstances();
        QStringList calls = CallLog::take();
        QCOMPARE(calls.size(), 4);
        std::sort(calls.begin(), calls.begin() + 2);
        std::sort(calls.begin() + 2, calls.end());
        QCOMPARE(calls,
                 QStringList({writingConfiguration(QStringLiteral("pump1")),
                              writingConfiguration(QStringLiteral("pump2")),
                              writingProcess(QStringLiteral("pump1")),
                              writingProcess(QStringLiteral("pump2"))}));
    }

    void writesMarkedTreesOnly()
    {
        m_handler->getRootPointer(config(QStringLiteral("pump1")));
        m_handler->getRootPointer(process(QStringLiteral("pump1")));
        m_handler->getRootPointer(process(QStringLiteral("pump2")));
        CallLog::take();
        m_handler->saveChangedInstances();
        QCOMPARE(CallLog::take(), QStringList());

        change(process(QStringLiteral("pump2")));
        CallLog::take();
        m_handler->saveChangedInstances();
        QCOMPARE(CallLog::take(), QStringList({writingProcess(QStringLiteral("pump2"))}));
        m_handler->deleteChangeFlagProcessDataUrl();
        m_handler->saveChangedInstances();
        QCOMPARE(CallLog::take(), QStringList());
    }

    void writesAMarkedTreeWithEverySave()
    {
        change(config(QStringLiteral("pump1")));
        CallLog::take();
        m_handler->saveChangedInstances();
        m_handler->saveChangedInstances();
        QCOMPARE(CallLog::take(),
                 QStringList({writingConfiguration(QStringLiteral("pump1")),
                              writingConfiguration(QStringLiteral("pump1"))}));
    }

    void triesToWriteEachTreeWhenWritesFail()
    {
        QVector<Message> expected;
        for (const char *name : {"pump1", "pump2"}) {
            change(config(QLatin1String(name)));
            expected.append(notWritten(config(QLatin1String(name))));
        }
        CallLog::take();
        MemoryHost::failWrites(true);
        m_handler->saveChangedInstances();
        QVector<Message> logged = takeMessages();
        std::sort(logged.begin(), logged.end(),
                  [](const Message &a, const Message &b) { return a.text < b.text; });
        QVERIFY2(logged == expected, qPrintable(toString(logged)));
        QStringList calls = CallLog::take();
        calls.sort();
        QCOMPARE(calls,
                 QStringList({writingConfiguration(QStringLiteral("pump1")),
                              writingConfiguration(QStringLiteral("pump2"))}));
    }

    void keepsTheMarksWhenWritesFail()
    {
        const QString configUrl = config(QStringLiteral("pump1"));
        const QString processUrl = process(QStringLiteral("pump1"));
        change(configUrl);
        change(processUrl);
        MemoryHost::failWrites(true);
        m_handler->saveChangedInstances();
        EXPECT_MESSAGES({notWritten(configUrl), notWritten(processUrl)});
        QCOMPARE(m_handler->getChangedExternalConfigUrls(), QStringList({configUrl}));
        QCOMPARE(m_handler->getChangedExternalProcessUrls(), QStringList({processUrl}));

        MemoryHost::failWrites(false);
        m_handler->saveChangedInstances();
        EXPECT_NO_MESSAGES();
        QCOMPARE(TestHost::storedProperty(s_projectPath, TestHost::TreeKind::Configuration,
                                          QStringLiteral("pump1"), QString(),
                                          QStringLiteral("changed")),
                 QVariant(true));
    }

    // One tree in memory

    void looksUpANodeOfATreeInMemoryWithoutAskingForMore()
    {
        const auto tree = TestHost::makeTree(R"({ "children": { "pump1": {} } })");
        const QString url = config(QStringLiteral("plant/pump1"), QStringLiteral("motor"));
        JavaScriptInplaceRootPointerHandler handler(QStringLiteral("plant"));
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        handler.setRootPointer(tree);
        QCOMPARE(CallLog::take(), QStringList());
        handler.getRootPointer(url);
        QCOMPARE(
            CallLog::take(),
            QStringList({callText("SelectorUrlHandler", url), QStringLiteral("url: getInstance()"),
                         callText("getNode", QStringLiteral("pump1"))}));
        handler.getInstanceConfigPointer(QStringLiteral("plant/pump1"));
        QCOMPARE(CallLog::take(), QStringList({callText("getNode", QStringLiteral("pump1"))}));
    }

    void parsesNoUrlWithoutATreeInMemory()
    {
        const QString url = config(QStringLiteral("plant/pump1"));
        const JavaScriptInplaceRootPointerHandler handler(QStringLiteral("plant"));
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        handler.getRootPointer(url);
        handler.getInstanceConfigPointer(QStringLiteral("plant/pump1"));
        QCOMPARE(CallLog::take(), QStringList());
        QCOMPARE(takeMessages().size(), 2);
    }

    void neitherParsesNorWritesChangesOfATreeInMemory()
    {
        const QString url = config(QStringLiteral("plant/pump1"));
        JavaScriptInplaceRootPointerHandler handler(QStringLiteral("plant"));
        handler.setRootPointer(TestHost::makeTree(R"({ "children": { "pump1": {} } })"));
        handler.getRootPointer(url);
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        handler.setChangedUrl(url);
        handler.saveChangedInstances();
        handler.getChangedExternalConfigUrls();
        handler.getChangedExternalProcessUrls();
        handler.deleteChangeFlagConfigUrls();
        handler.deleteChangeFlagProcessDataUrl();
        handler.resetState();
        QCOMPARE(CallLog::take(), QStringList());
    }

private:
    void change(const QString &url)
    {
        const auto root = m_handler->getRootPointer(url);
        QVERIFY(!root.isNull());
        root->addProperty(QStringLiteral("changed"), true);
        m_handler->setChangedUrl(url);
    }

    std::unique_ptr<JavaScriptRootPointerHandler> m_handler;
};

TEST_CLASS(RootLoadingCallOrderTest)

#include "RootLoadingCallOrderTest.moc"
