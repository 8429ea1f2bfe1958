#include "DependencySupport.h"
#include "JavaScript/JavaScriptDependencyResolver.h"
#include "JavaScript/JavaScriptInplaceDependencyResolver.h"
#include "memoryhost/CallLog.h"
#include "memoryhost/MemoryHost.h"
#include "support/CallText.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QJsonArray>
#include <QSignalSpy>
#include <QTest>

#include <memory>

using namespace DependencySupport;

namespace {

QString dependencyKey()
{
    return ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
}

QString configUrl(const QString &instance)
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance);
}

QString processUrl(const QString &instance)
{
    return TestHost::processUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance);
}

/// A script that writes the property "changed" by each of @p urls.
QByteArray changingScript(const QStringList &urls)
{
    QByteArray body;
    for (const QString &url : urls) {
        body += "api.setPropertyExtern('" + url.toUtf8() + "', 'changed', true);";
    }
    return "function onSave(api) {" + body + "}";
}

} // namespace

/// Which operations of the host the dependency resolvers call, in which order, and which not.
class ResolverCallOrderTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_project.reset(new TestProject);
        m_textManager = TestHost::makeTextManager({});
        m_project->writeScript(QStringLiteral("nothing.js"), "function onSave() {}");
        m_project->listInstances({QStringLiteral("line1"), QStringLiteral("line2")});
        for (const char *instance : {"line1", "line2"}) {
            m_project->storeConfiguration(QLatin1String(instance),
                                          dependentTree(QStringLiteral("nothing.js")));
        }
        CallLog::take();
    }

    void cleanup()
    {
        MemoryHost::failWrites(false);
        m_textManager.reset();
        m_project.reset();
        StrictTest::cleanup();
    }

    // Construction

    void constructsUnitsThenRootsThenTheManagerOfAProject()
    {
        writeManifestOfNull();
        const auto providers =
            TestHost::makeProviders({{QStringLiteral("time"), {QStringLiteral("clock")}}});
        const QStringList expected =
            QStringList{callText("UnitManagerWrapper", false, false),
                        callText("getRegisteredDataTypes"),
                        callText("getProviderData", QStringLiteral("time"))}
            + scan();
        CallLog::take();
        const JavaScriptDependencyResolver resolver(m_project->path(), QStringLiteral("pumps"),
                                                    QStringLiteral("station"), providers,
                                                    *m_textManager, {}, nullptr);
        QCOMPARE(CallLog::take(), expected);
    }

    void constructsUnitsThenTheManagerForATreeInMemory()
    {
        writeManifestOfNull();
        const QStringList expected =
            QStringList{callText("UnitManagerWrapper", false, false)} + scan();
        CallLog::take();
        const auto resolver = makeInplaceResolver();
        QCOMPARE(CallLog::take(), expected);
    }

    void callsNothingToDestroyAResolver()
    {
        auto resolver = makeResolver();
        resolver->addExternalDependencyToResolve(QStringLiteral("line1"));
        auto inplaceResolver = makeInplaceResolver();
        CallLog::take();
        resolver.reset();
        inplaceResolver.reset();
        QCOMPARE(CallLog::take(), QStringList());
    }

    // Runs in a project

    void collectsInTheManifestsOrderBeforeItRuns()
    {
        const auto resolver = makeResolver();
        const QStringList urlBuilding{callText("getSelectorUrlSchemeConfiguration")};
        const QStringList first = collecting(QStringLiteral("line1"));
        const QStringList second = collecting(QStringLiteral("line2"));
        const QString scriptFolder = callText("getDependencyFolderPath", m_project->path());
        CallLog::take();
        resolver->resolveAllDependencies();
        QCOMPARE(CallLog::take(),
                 first + QStringList{scriptFolder} + second + urlBuilding + urlBuilding);

        resolver->resolveAllDependencies();
        QCOMPARE(CallLog::take(), first + second + urlBuilding + urlBuilding);

        resolver->resolveDependencyOfInstance(QStringLiteral("line2"));
        QCOMPARE(CallLog::take(), second + urlBuilding);
    }

    void buildsTheInstancesUrlFromItsParts()
    {
        const auto resolver = makeResolver();
        resolver->addExternalDependencyToResolve(QStringLiteral("line1"));
        const QString scheme =
            ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        resolver->resolveExternalDependencies();
        QStringList calls = CallLog::take();
        calls.removeAll(callText("getSelectorUrlSchemeConfiguration"));
        QCOMPARE(calls,
                 QStringList({callText("SelectorUrlHandler", QString()),
                              QLatin1String("url: ") + callText("setScheme", scheme),
                              QStringLiteral("url: setModuleName(\"pumps\")"),
                              QStringLiteral("url: setObjectName(\"station\")"),
                              QStringLiteral("url: setInstance(\"line1\")"),
                              QStringLiteral("url: toString()")}));
    }

    void callsNothingForANameThatSelectsNothing()
    {
        const auto resolver = makeResolver();
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        resolver->resolveDependencyOfInstance(QStringLiteral("line3"));
        QCOMPARE(CallLog::take(), QStringList());
    }

    void writesEachChangedTreeOnceAfterAllScriptsRan()
    {
        m_project->storeProcess(QStringLiteral("a"), "{}");
        m_project->storeConfiguration(QStringLiteral("a"), "{}");
        const QString script = QStringLiteral("change.js");
        m_project->writeScript(
            script,
            changingScript({processUrl(QStringLiteral("a")), configUrl(QStringLiteral("a"))}));
        for (const char *instance : {"line1", "line2"}) {
            m_project->storeConfiguration(QLatin1String(instance), dependentTree(script));
        }
        const auto resolver = makeResolver();
        CallLog::take();
        resolver->resolveAllDependencies();
        const QStringList calls = CallLog::take();
        const QStringList expected{writing(QStringLiteral("a"), "configuration"),
                                   writing(QStringLiteral("a"), "process")};
        QCOMPARE(calls.filter(QStringLiteral("setParsed")), expected);
        QCOMPARE(calls.mid(calls.size() - 2), expected);
        // Three nodes' configurations and one process description were read for it, each once.
        QCOMPARE(calls.filter(QStringLiteral("getParsed")).size(), 4);
    }

    void announcesProcessDataAndResetsEvenIfWritesFail()
    {
        m_project->storeProcess(QStringLiteral("a"), "{}");
        m_project->writeScript(QStringLiteral("change.js"),
                               changingScript({processUrl(QStringLiteral("a"))}));
        m_project->storeConfiguration(QStringLiteral("line1"),
                                      dependentTree(QStringLiteral("change.js")));
        const auto resolver = makeResolver();
        QSignalSpy signal(resolver.get(),
                          &JavaScriptDependencyResolver::processDataDescriptionChanged);
        MemoryHost::failWrites(true);
        resolver->resolveDependencyOfInstance(QStringLiteral("line1"));
        EXPECT_MESSAGES({warning(
            QStringLiteral("void JavaScriptRootPointerHandler::saveChangedInstancesInternal(const "
                           "UrlToRootMap&, bool)"),
            QStringLiteral("Can not frame to file: \"%1\"").arg(processUrl(QStringLiteral("a"))))});
        QCOMPARE(signal.size(), 1);
        QCOMPARE(signal.at(0), QVariantList({QStringLiteral("a")}));

        MemoryHost::failWrites(false);
        CallLog::take();
        resolver->resolveDependencyOfInstance(QStringLiteral("line2"));
        QCOMPARE(CallLog::take().filter(QStringLiteral("setParsed")), QStringList());
        QCOMPARE(signal.size(), 1);
    }

    void givesScriptsNoInstanceUrlForTexts()
    {
        m_project->writeScript(QStringLiteral("units.js"),
                               "function onSave(api) { api.getAllUnitTexts('bar'); }");
        m_project->storeConfiguration(QStringLiteral("line1"),
                                      dependentTree(QStringLiteral("units.js")));
        const auto resolver = makeResolver();
        CallLog::take();
        resolver->resolveDependencyOfInstance(QStringLiteral("line1"));
        QCOMPARE(CallLog::take().filter(QStringLiteral("TranslateableTextHelper(")),
                 QStringList({callText("TranslateableTextHelper", QString(), "no parent"),
                              callText("~TranslateableTextHelper")}));
    }

    // Runs in a tree in memory

    void readsAndWritesNoTreesForOneInMemory()
    {
        m_project->writeScript(QStringLiteral("change.js"),
                               changingScript({configUrl(QStringLiteral("plant/pump1")),
                                               processUrl(QStringLiteral("plant/pump1"))}));
        m_project->listInstances({QStringLiteral("plant/pump1")});
        const auto tree = TestHost::makeTree(
            QJsonDocument(QJsonObject{{QStringLiteral("children"),
                                       QJsonObject{{QStringLiteral("pump1"),
                                                    dependentNode(QStringLiteral("change.js"))}}}})
                .toJson());
        const auto resolver = makeInplaceResolver();
        const QString key = dependencyKey();
        CallLog::take();
        resolver->resolveDependencies(QStringLiteral("plant/pump1/motor"), tree);
        const QStringList calls = CallLog::take();
        QCOMPARE(calls.mid(0, 5),
                 QStringList({callText("getNode", QStringLiteral("pump1")),
                              callText("getKeyDataPropertyDependencyFileExtern"),
                              QLatin1String("pump1: ") + callText("getProperty", key),
                              callText("getDependencyFolderPath", m_project->path()),
                              callText("getSelectorUrlSchemeConfiguration")}));
        QCOMPARE(calls.filter(QStringLiteral("pump1: addProperty(\"changed\"")).size(), 1);
        QCOMPARE(calls.filter(QStringLiteral("Parsed")), QStringList());
        QCOMPARE(calls.filter(QStringLiteral("getConfigurationFolderPath")), QStringList());
        QCOMPARE(calls.filter(QStringLiteral("getProcessFolderPath")), QStringList());
    }

    void callsNothingForANameThatSelectsNothingInMemory()
    {
        const auto tree = TestHost::makeTree("{}");
        const auto resolver = makeInplaceResolver();
        CallLog::take();
        const CallLog::UrlHandlerCalls recordingUrlHandlers;
        resolver->resolveDependencies(QStringLiteral("plant/pump1"), tree);
        QCOMPARE(CallLog::take(), QStringList());
    }

private:
    std::unique_ptr<JavaScriptDependencyResolver> makeResolver() const
    {
        return std::make_unique<JavaScriptDependencyResolver>(
            m_project->path(), QStringLiteral("pumps"), QStringLiteral("station"),
            TestHost::makeProviders({}), *m_textManager,
            QHash<QString, QString>{{QStringLiteral("station"), m_project->path()}}, nullptr);
    }

    std::unique_ptr<JavaScriptInplaceDependencyResolver> makeInplaceResolver() const
    {
        return std::make_unique<JavaScriptInplaceDependencyResolver>(
            m_project->path(), QStringLiteral("pumps"), QStringLiteral("station"),
            QStringLiteral("plant"), *m_textManager, nullptr);
    }

    /// A manifest whose dependencies are null, so that no instance's name is read.
    void writeManifestOfNull()
    {
        m_project->writeManifest(QJsonDocument(manifestOfNull()).toJson());
    }

    static QJsonArray manifestOfNull()
    {
        return {QJsonObject{{dependencyKey(), QJsonValue::Null}}};
    }

    /// What the manager calls to read that manifest.
    QStringList scan() const
    {
        return {callText("getConfigurationFolderPath", m_project->path()),
                callText("getConfigurationManifestFilename"),
                callText("getKeyDataPropertyDependencyFileExtern"),
                callText("JsonDataIteratorKeyComparator", dependencyKey()),
                callText("JsonDataIterator"),
                callText("iterate", manifestOfNull()),
                callText("getResult")};
    }

    /// What is called to collect an instance whose script is known already.
    QStringList collecting(const QString &instance) const
    {
        const QString folder = PropertyManagerConst::getConfigurationFolderPath(m_project->path());
        return {
            callText("getConfigurationFolderPath", m_project->path()),
            callText("getParsedConfigurationProcessDescription", folder, instance, "configuration"),
            callText("getKeyDataPropertyDependencyFileExtern"),
            callText("getProperty", dependencyKey())};
    }

    QString writing(const QString &instance, const char *kind) const
    {
        const QString folder = qstrcmp(kind, "process") == 0
            ? PropertyManagerConst::getProcessFolderPath(m_project->path())
            : PropertyManagerConst::getConfigurationFolderPath(m_project->path());
        return callText("setParsedConfigurationProcessDescription", folder, QStringLiteral("pumps"),
                        QStringLiteral("station"), instance, kind);
    }

    QScopedPointer<TestProject> m_project;
    std::unique_ptr<TextManager> m_textManager;
};

TEST_CLASS(ResolverCallOrderTest)

#include "ResolverCallOrderTest.moc"
