#include "JavaScript/JavaScriptDependencyResolverBase.h"

#include "DependencySupport.h"
#include "HandlerFixture.h"
#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptRunObserver.h"
#include "support/StrictTest.h"
#include "support/TestProject.h"

#include <QMetaMethod>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <functional>
#include <memory>
#include <new>
#include <stdexcept>

using namespace DependencySupport;

namespace {

using NodePointer = ConfigurationAndProcessDataBase::BaseClassSharedPointer;

/// Serves the nodes that a test gives it by name.
class NodesByName : public RecordingRootPointerHandler
{
public:
    using RecordingRootPointerHandler::RecordingRootPointerHandler;

    QHash<QString, NodePointer> instances;
    QHash<QString, NodePointer> roots;

    NodePointer getRootPointer(const QString &url) const override
    {
        RecordingRootPointerHandler::getRootPointer(url);
        return roots.value(url);
    }

    NodePointer getInstanceConfigPointer(const QString &instance) const override
    {
        RecordingRootPointerHandler::getInstanceConfigPointer(instance);
        return instances.value(instance);
    }
};

class NotingObserver : public JavaScriptRunObserver
{
public:
    QStringList notes;

    void runBegins(const QString &functionName, const QString &argument) override
    {
        notes.append(QStringLiteral("begins %1(%2)").arg(functionName, argument));
    }

    void exceptionThrown(int line, const QString &text) override
    {
        notes.append(QStringLiteral("line %1: %2").arg(line).arg(text));
    }

    void runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors) override
    {
        notes.append(QStringLiteral("ended %1 with %2 errors").arg(succeeded).arg(errors.size()));
    }
};

/// Does something when a run begins.
class CollectingObserver : public JavaScriptRunObserver
{
public:
    explicit CollectingObserver(const std::function<void()> &collect)
        : m_collect(collect)
    {
    }

    void runBegins(const QString & /*functionName*/, const QString & /*argument*/) override
    {
        m_collect();
    }
    void exceptionThrown(int /*line*/, const QString & /*text*/) override { }
    void runEnded(bool /*succeeded*/,
                  const QList<JavaScriptApi::ErrorMessage> & /*errors*/) override
    {
    }

private:
    std::function<void()> m_collect;
};

/// A call as the recording root pointer handler notes it.
template <typename... Arguments>
QString call(const char *operation, const Arguments &...arguments)
{
    return QLatin1String("handler.") + callText(operation, arguments...);
}

QString configUrl(const QString &instance)
{
    return TestHost::configUrl(QStringLiteral("pumps"), QStringLiteral("station"), instance);
}

QString processUrl(const QString &objectName, const QString &instance)
{
    return TestHost::processUrl(QStringLiteral("pumps"), objectName, instance);
}

QVariant propertyOf(const NodePointer &node, const char *propertyKey)
{
    return node->getProperty(QLatin1String(propertyKey));
}

} // namespace

class JavaScriptDependencyResolverBaseTest : public StrictTest
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        StrictTest::init();
        m_calls.clear();
        m_project.reset(new TestProject);
        m_manager.reset(new JavaScriptDependencyManager(m_project->path(), false));
        m_roots.reset(new NodesByName(m_calls));
        m_textManager =
            TestHost::makeTextManager({{QStringLiteral("pump.label"), QStringLiteral("The pump")}});
        m_resolver = makeResolver(false);
    }

    void cleanup()
    {
        m_resolver.reset();
        m_textManager.reset();
        m_roots.reset();
        m_manager.reset();
        m_project.reset();
        StrictTest::cleanup();
    }

    // The object

    void hasOneSignalOnly()
    {
        const QMetaObject &meta = JavaScriptDependencyResolverBase::staticMetaObject;
        QCOMPARE(meta.className(), "JavaScriptDependencyResolverBase");
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        const QMetaMethod method = meta.method(meta.methodOffset());
        QCOMPARE(method.methodType(), QMetaMethod::Signal);
        QCOMPARE(method.methodSignature(), QByteArray("processDataDescriptionChanged(QString)"));
        QCOMPARE(method.parameterNames(), QList<QByteArray>({"instanceName"}));
        QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 0);
    }

    void isItsApisParentButNotItsHandlers()
    {
        QObject parent;
        const JavaScriptDependencyResolverBase resolver(m_project->path(), QStringLiteral("pumps"),
                                                        QStringLiteral("station"), *m_manager,
                                                        *m_roots, *m_textManager, false, &parent);
        QCOMPARE(resolver.parent(), &parent);
        QCOMPARE(resolver.children().size(), 1);
        QVERIFY(qobject_cast<JavaScriptApi *>(resolver.children().constFirst()));
    }

    void usesNeitherManagerNorRootsBeforeTheyAreConstructed()
    {
        alignas(JavaScriptDependencyManager) char
            managerStorage[sizeof(JavaScriptDependencyManager)] = {};
        alignas(NodesByName) char rootsStorage[sizeof(NodesByName)] = {};
        auto *manager = reinterpret_cast<JavaScriptDependencyManager *>(managerStorage);
        auto *roots = reinterpret_cast<NodesByName *>(rootsStorage);
        {
            JavaScriptDependencyResolverBase resolver(m_project->path(), QStringLiteral("pumps"),
                                                      QStringLiteral("station"), *manager, *roots,
                                                      *m_textManager, false, nullptr);

            roots = new (rootsStorage) NodesByName(m_calls);
            roots->instances.insert(
                QStringLiteral("pump"),
                dependent("function onSave(api) { api.setProperty('', 'ran', true); }"));
            resolver.addExternalDependencyToResolve(QStringLiteral("pump"));
            resolver.resolveExternalDependencies();
            QCOMPARE(propertyOf(roots->instances.value(QStringLiteral("pump")), "ran"),
                     QVariant(true));
            roots->~NodesByName();
        }
    }

    void doesNothingWhenItIsDestroyed()
    {
        QSignalSpy signal(m_resolver.get(),
                          &JavaScriptDependencyResolverBase::processDataDescriptionChanged);
        m_roots->changedProcessUrls.append(processUrl(QStringLiteral("station"), pump()));
        collect(pump(), dependent("function onSave() {}"));
        m_calls.clear();
        m_resolver.reset();
        QCOMPARE(m_calls, QStringList());
        QCOMPARE(signal.size(), 0);
    }

    // Collecting

    void doesNothingWhenNothingIsCollected()
    {
        QSignalSpy signal(m_resolver.get(),
                          &JavaScriptDependencyResolverBase::processDataDescriptionChanged);
        m_roots->changedProcessUrls.append(processUrl(QStringLiteral("station"), pump()));
        m_resolver->resolveExternalDependencies();
        QCOMPARE(m_calls, QStringList());
        QCOMPARE(signal.size(), 0);
    }

    void dropsAnInstanceWithoutConfiguration()
    {
        m_resolver->addExternalDependencyToResolve(pump());
        EXPECT_MESSAGES({noNode(pump())});
        QCOMPARE(m_calls, QStringList({call("getInstanceConfigPointer", pump())}));
        expectNothingToResolve();
    }

    void dropsAnInstanceThatNamesNoScript()
    {
        m_project->writeScript(QStringLiteral("some.js"), "function onSave() {}");
        collect(pump(), TestHost::makeTree("{}"));
        EXPECT_MESSAGES({unreadableScript(m_project->path(), QString()), emptyScript(pump())});
        collect(pump(), TestHost::makeTree("{}"));
        EXPECT_MESSAGES({emptyScript(pump())});
        expectNothingToResolve();
    }

    void dropsInstancesOfAMissingScript()
    {
        const auto node = TestHost::makeTree(dependentTree(QStringLiteral("missing.js")));
        collect(QStringLiteral("pump1"), node);
        collect(QStringLiteral("pump2"), node);
        EXPECT_MESSAGES({unreadableScript(m_project->path(), QStringLiteral("missing.js")),
                         emptyScript(QStringLiteral("pump1")),
                         emptyScript(QStringLiteral("pump2"))});
        expectNothingToResolve();
    }

    void dropsAnInstanceOfAnEmptyScript()
    {
        collect(pump(), dependent(""));
        EXPECT_MESSAGES({emptyScript(pump())});
        expectNothingToResolve();
    }

    void keepsAScriptOfBlanks()
    {
        collect(pump(), dependent("\n"));
        m_resolver->resolveExternalDependencies();
        EXPECT_MESSAGES({HandlerWarnings::noFunction(QStringLiteral("onSave")),
                         failedScript(configUrl(pump()), pump())});
        QVERIFY(m_calls.contains(call("saveChangedInstances")));
    }

    void readsTheScriptsNameAsText()
    {
        m_project->writeScript(QStringLiteral("42"),
                               "function onSave(api) { api.setProperty('', 'ran', true); }");
        const auto node = TestHost::makeTree(dependentTree(42));
        collect(pump(), node);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(node, "ran"), QVariant(true));
    }

    void runsAnInstanceOnceThatIsCollectedTwice()
    {
        const auto node =
            dependent("function onSave(api) {"
                      "    api.setProperty('', 'runs', api.getProperty('', 'runs') + 1);"
                      "}",
                      {{QStringLiteral("runs"), 0}});
        collect(pump(), node);
        collect(pump(), node);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(node, "runs").toInt(), 1);
    }

    void takesTheLastScriptAndNodeOfAnInstance()
    {
        const auto first = dependent("function onSave(api) { api.setProperty('', 'by', 1); }");
        const auto second = dependent("function onSave(api) { api.setProperty('', 'by', 2); }");
        collect(pump(), first);
        collect(pump(), second);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(first, "by"), QVariant());
        QCOMPARE(propertyOf(second, "by").toInt(), 2);
    }

    void keepsAnInstanceThatCannotBeCollectedAgain()
    {
        const auto node = dependent("function onSave(api) { api.setProperty('', 'ran', true); }");
        collect(pump(), node);
        collect(pump(), dependent(""));
        collect(pump(), {});
        EXPECT_MESSAGES({emptyScript(pump()), noNode(pump())});
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(node, "ran"), QVariant(true));
    }

    void runsNothingBeforeItIsAskedTo()
    {
        const auto node = dependent("function onSave(api) { api.setProperty('', 'ran', true); }");
        collect(pump(), node);
        QCOMPARE(propertyOf(node, "ran"), QVariant());
        QCOMPARE(m_calls, QStringList({call("getInstanceConfigPointer", pump())}));
    }

    void readsAScriptOnce()
    {
        const auto node = dependent("function onSave(api) { api.setProperty('', 'by', 1); }");
        collect(pump(), node);
        m_project->writeScript(QStringLiteral("script1.js"),
                               "function onSave(api) { api.setProperty('', 'by', 2); }");
        m_resolver->resolveExternalDependencies();
        collect(QStringLiteral("valve"), node);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(node, "by").toInt(), 1);
    }

    void keepsWhatIsCollectedAfterARun()
    {
        const auto node =
            dependent("function onSave(api) {"
                      "    api.setProperty('', 'runs', api.getProperty('', 'runs') + 1);"
                      "}",
                      {{QStringLiteral("runs"), 0}});
        collect(pump(), node);
        m_resolver->resolveExternalDependencies();
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(node, "runs").toInt(), 2);
    }

    void runsNothingThatIsCollectedDuringTheRun()
    {
        const QByteArray script = "function onSave(api) { api.setProperty('', 'ran', true); }";
        const auto later = dependent(script);
        CollectingObserver observer([this, &later] { collect(QStringLiteral("later"), later); });
        collect(pump(), dependent(script));
        m_resolver->setRunObserver(&observer);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(later, "ran"), QVariant());
        m_resolver->setRunObserver(nullptr);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(later, "ran"), QVariant(true));
    }

    void startsAnewAfterAnExceptionOfTheHost()
    {
#ifdef QT_NO_EXCEPTIONS
        QSKIP("built without exceptions");
#else
        collect(pump(), dependent("function onSave(api) { api.setProperty('', 'ran', true); }"));
        const auto connection = connect(
            m_resolver.get(), &JavaScriptDependencyResolverBase::processDataDescriptionChanged,
            this, [] { throw std::runtime_error("the receiver failed"); });
        m_roots->changedProcessUrls = QStringList{processUrl(QStringLiteral("station"), pump())};
        m_calls.clear();
        QVERIFY_EXCEPTION_THROWN(m_resolver->resolveExternalDependencies(), std::runtime_error);
        QCOMPARE(m_calls.last(), call("resetState"));
        disconnect(connection);
#endif
    }

    // Running

    void handsTheInstancesUrlToItsScript()
    {
        const auto node = dependent("function onSave(api, url) {"
                                    "    api.setProperty('', 'argument', url);"
                                    "    api.setProperty('', 'count', arguments.length);"
                                    "}");
        collect(QStringLiteral("line1/pump 1"), node);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(node, "argument").toString(),
                 configUrl(QStringLiteral("line1/pump 1")));
        QCOMPARE(propertyOf(node, "count").toInt(), 2);
    }

    void runsEachScriptAgainstItsInstancesNode()
    {
        const auto pumpNode =
            dependent("function onSave(api) { api.setProperty('', 'script', 'pump'); }");
        const auto valveNode =
            dependent("function onSave(api) { api.setProperty('', 'script', 'valve'); }");
        collect(QStringLiteral("pump"), pumpNode);
        collect(QStringLiteral("valve"), valveNode);
        m_resolver->resolveExternalDependencies();
        QCOMPARE(propertyOf(pumpNode, "script").toString(), QStringLiteral("pump"));
        QCOMPARE(propertyOf(valveNode, "script").toString(), QStringLiteral("valve"));
    }

    void savesOnceThenAnnouncesThenResets()
    {
        connect(m_resolver.get(), &JavaScriptDependencyResolverBase::processDataDescriptionChanged,
                this, [this](const QString &instanceName) {
                    m_calls.append(QStringLiteral("announce ") + instanceName);
                });
        m_roots->changedProcessUrls =
            QStringList{processUrl(QStringLiteral("station"), QStringLiteral("b")),
                        processUrl(QStringLiteral("tank"), QStringLiteral("a")),
                        processUrl(QStringLiteral("tank"), QStringLiteral("b"))};
        collect(QStringLiteral("pump"), dependent("function onSave() {}"));
        collect(QStringLiteral("valve"), dependent("function onSave() {}"));
        m_calls.clear();
        m_resolver->resolveExternalDependencies();
        QCOMPARE(m_calls,
                 QStringList({call("saveChangedInstances"), call("getChangedExternalProcessUrls"),
                              QStringLiteral("announce b"), QStringLiteral("announce a"),
                              QStringLiteral("announce b"), call("resetState")}));
    }

    void marksWhatScriptsWriteByUrlBeforeItSaves()
    {
        const QString url = processUrl(QStringLiteral("station"), QStringLiteral("valve"));
        const auto valve = TestHost::makeTree("{}");
        m_roots->roots.insert(url, valve);
        collect(pump(),
                dependent("function onSave(api) { api.setPropertyExtern('" + url.toUtf8()
                          + "', 'open', true); }"));
        m_calls.clear();
        m_resolver->resolveExternalDependencies();
        QCOMPARE(m_calls,
                 QStringList({call("getRootPointer", url), call("setChangedUrl", url),
                              call("saveChangedInstances"), call("getChangedExternalProcessUrls"),
                              call("resetState")}));
        QCOMPARE(propertyOf(valve, "open"), QVariant(true));
    }

    void reportsAScriptThatReturnsFalse()
    {
        collect(pump(), dependent("function onSave() { return false; }"));
        m_resolver->resolveExternalDependencies();
        EXPECT_MESSAGES({failedScript(configUrl(pump()), pump())});
    }

    void reportsAScriptThatThrows()
    {
        collect(pump(), dependent("function onSave() {\n    throw new Error('broken');\n}"));
        m_resolver->resolveExternalDependencies();
        EXPECT_MESSAGES(
            {HandlerWarnings::errorOnCalling(QStringLiteral("onSave"), configUrl(pump())),
             HandlerWarnings::uncaughtException(HandlerWarnings::call, 2,
                                                QStringLiteral("Error: broken")),
             failedScript(configUrl(pump()), pump())});
    }

    void reportsNoErrorThatAScriptReportsItself()
    {
        collect(pump(), dependent("function onSave(api) { api.setError('', 'text', 1); }"));
        m_resolver->resolveExternalDependencies();
        EXPECT_NO_MESSAGES();
    }

    void runsTheOtherScriptsWhenSomeFailAndSavesOnce()
    {
        QVector<NodePointer> nodes;
        QVector<Message> expected;
        for (const char *instance : {"a", "b", "c", "d", "e", "f"}) {
            const QString name = QLatin1String(instance);
            const bool fails = nodes.size() % 2 == 0;
            nodes.append(dependent(QByteArray("function onSave(api) {"
                                              "    api.setProperty('', 'ran', true);"
                                              "    return ")
                                   + (fails ? "false" : "true") + "; }"));
            collect(name, nodes.last());
            if (fails) {
                expected.append(failedScript(configUrl(name), name));
            }
        }
        m_calls.clear();
        m_resolver->resolveExternalDependencies();

        for (const NodePointer &node : nodes) {
            QCOMPARE(propertyOf(node, "ran"), QVariant(true));
        }
        QVector<Message> logged = takeMessages();
        std::sort(logged.begin(), logged.end(),
                  [](const Message &a, const Message &b) { return a.text < b.text; });
        QVERIFY2(logged == expected, qPrintable(toString(logged)));
        QCOMPARE(m_calls,
                 QStringList({call("saveChangedInstances"), call("getChangedExternalProcessUrls"),
                              call("resetState")}));
    }

    // What an instance is collected with replaces what it was collected with before, so that each
    // of the runs of the next tests runs one script.

    void runsTheFunctionOfAnEarlierScriptForOneWithoutAny()
    {
        collectAndResolve(
            pump(), dependent("function onSave(api) { api.setProperty('', 'by', 'first'); }"));
        const auto second = dependent("var nothing = 0;");
        collectAndResolve(pump(), second);
        QCOMPARE(propertyOf(second, "by").toString(), QStringLiteral("first"));
    }

    void runsNoFunctionForAScriptThatCannotBeEvaluated()
    {
        collectAndResolve(
            pump(), dependent("function onSave(api) { api.setProperty('', 'by', 'first'); }"));
        const auto second =
            dependent("function onSave(api) { api.setProperty('', 'by', 'second'); }\n"
                      "throw new Error('broken');");
        collectAndResolve(pump(), second);
        EXPECT_MESSAGES({HandlerWarnings::uncaughtException(HandlerWarnings::evaluation, 2,
                                                            QStringLiteral("Error: broken")),
                         HandlerWarnings::notEvaluated(), failedScript(configUrl(pump()), pump())});
        QCOMPARE(propertyOf(second, "by"), QVariant());
    }

    void keepsAnEarlierScriptsFunctionsWhenOneDoesNotCompile()
    {
        collectAndResolve(
            pump(), dependent("function onSave(api) { api.setProperty('', 'by', 'first'); }"));

        collectAndResolve(pump(), dependent("function onSave( {"));
        const QVector<Message> logged = takeMessages();
        QCOMPARE(logged.size(), 3);
        QCOMPARE(logged.at(0).function, HandlerWarnings::evaluation);
        QVERIFY(logged.at(0).text.startsWith(
            QStringLiteral("Uncaught exception at line 1 : \"SyntaxError: ")));
        QCOMPARE(logged.at(1), HandlerWarnings::notEvaluated());
        QCOMPARE(logged.at(2), failedScript(configUrl(pump()), pump()));

        const auto third = dependent("var nothing = 0;");
        collectAndResolve(pump(), third);
        QCOMPARE(propertyOf(third, "by").toString(), QStringLiteral("first"));
    }

    void letsGoOfTheNodeAtTheEndOfARun()
    {
        QWeakPointer<ConfigurationAndProcessDataBase> node;
        {
            const auto first = dependent("function onSave(api) {}");
            node = first;
            collectAndResolve(pump(), first);
        }
        QVERIFY(!node.isNull());
        collect(pump(), dependent("function onSave(api) {}"));
        QVERIFY(node.isNull());
    }

    // Absolute URLs of scripts

    void refusesUrlsOfOtherObjectsUnlessAllAreAccepted()
    {
        const QString url = processUrl(QStringLiteral("tank"), QStringLiteral("a"));
        const QByteArray script =
            "function onSave(api) { api.setPropertyExtern('" + url.toUtf8() + "', 'level', 1); }";
        m_roots->roots.insert(url, TestHost::makeTree("{}"));

        collectAndResolve(pump(), dependent(script));
        QVERIFY(!m_calls.contains(call("getRootPointer", url)));
        QCOMPARE(propertyOf(m_roots->roots.value(url), "level"), QVariant());

        m_resolver = makeResolver(true);
        collectAndResolve(pump(), dependent(script));
        QVERIFY(m_calls.contains(call("setChangedUrl", url)));
        QCOMPARE(propertyOf(m_roots->roots.value(url), "level").toInt(), 1);
    }

    void servesUrlsOfItsOwnObject()
    {
        const QString url = processUrl(QStringLiteral("station"), QStringLiteral("a"));
        m_roots->roots.insert(url, TestHost::makeTree("{}"));
        collectAndResolve(pump(),
                          dependent("function onSave(api) { api.setPropertyExtern('" + url.toUtf8()
                                    + "', 'level', 1); }"));
        QCOMPARE(propertyOf(m_roots->roots.value(url), "level").toInt(), 1);
    }

    void refusesUrlsOfOtherModules()
    {
        const QString url = TestHost::configUrl(QStringLiteral("valves"), QStringLiteral("station"),
                                                QStringLiteral("a"));
        m_resolver = makeResolver(true);
        collectAndResolve(pump(),
                          dependent("function onSave(api) { api.setPropertyExtern('" + url.toUtf8()
                                    + "', 'level', 1); }"));
        EXPECT_MESSAGES({warning(QStringLiteral("void JavaScriptApi::setPropertyExtern(const "
                                                "QString&, const QString&, const QVariant&)"),
                                 QStringLiteral("\"valves\""))});
        QVERIFY(!m_calls.contains(call("getRootPointer", url)));
    }

    // What else scripts use

    void servesTheTextsOfItsTextManager()
    {
        const QString url = configUrl(QStringLiteral("line1"));
        m_roots->roots.insert(url, TestHost::makeTree(R"({ "children": { "pump": {
            "properties": { "labelTextId": "pump.label" } } } })"));
        const auto node = dependent("function onSave(api) { api.setProperty('', 'label',"
                                    "    api.getListOfNodeInstancesWithText('"
                                    + url.toUtf8() + "', true)[0].text); }");
        collectAndResolve(pump(), node);
        QCOMPARE(propertyOf(node, "label").toString(), QStringLiteral("The pump"));
    }

    void servesTheUnitsOfTheHost()
    {
        TestHost::useUnits(
            {{QStringLiteral("bar"), {{QStringLiteral("en"), QStringLiteral("bar")}}}});
        m_resolver = makeResolver(false);
        TestHost::useUnits({});
        const auto node =
            dependent("function onSave(api) {"
                      "    api.setProperty('', 'unit', api.getAllUnitTexts('bar').en);"
                      "}");
        collectAndResolve(pump(), node);
        QCOMPARE(propertyOf(node, "unit").toString(), QStringLiteral("bar"));
    }

    void tellsItsObserverOfTheRuns()
    {
        NotingObserver observer;
        m_resolver->setRunObserver(&observer);
        collectAndResolve(pump(),
                          dependent("function onSave(api) {\n"
                                    "    api.setError('', 'text');\n"
                                    "    throw new Error('broken');\n"
                                    "}"));
        QCOMPARE(takeMessages().size(), 3);
        QCOMPARE(observer.notes,
                 QStringList({QStringLiteral("begins ()"), QStringLiteral("ended 1 with 0 errors"),
                              QStringLiteral("begins onSave(%1)").arg(configUrl(pump())),
                              QStringLiteral("line 3: Error: broken"),
                              QStringLiteral("ended 0 with 1 errors")}));

        observer.notes.clear();
        m_resolver->setRunObserver(nullptr);
        collectAndResolve(pump(), dependent("function onSave() {}"));
        QCOMPARE(observer.notes, QStringList());
    }

private:
    static QString pump()
    {
        return QStringLiteral("line1/pump");
    }

    std::unique_ptr<JavaScriptDependencyResolverBase> makeResolver(bool acceptAllObjects) const
    {
        return std::make_unique<JavaScriptDependencyResolverBase>(
            m_project->path(), QStringLiteral("pumps"), QStringLiteral("station"), *m_manager,
            *m_roots, *m_textManager, acceptAllObjects, nullptr);
    }

    /// A node with a script file of its own.
    NodePointer dependent(const QByteArray &script, const QJsonObject &otherProperties = {})
    {
        const QString fileName = QStringLiteral("script%1.js").arg(++m_scriptCount);
        m_project->writeScript(fileName, script);
        return TestHost::makeTree(dependentTree(fileName, otherProperties));
    }

    void collect(const QString &instance, const NodePointer &node)
    {
        m_roots->instances.insert(instance, node);
        m_resolver->addExternalDependencyToResolve(instance);
    }

    void collectAndResolve(const QString &instance, const NodePointer &node)
    {
        collect(instance, node);
        m_resolver->resolveExternalDependencies();
    }

    void expectNothingToResolve()
    {
        m_calls.clear();
        m_resolver->resolveExternalDependencies();
        QCOMPARE(m_calls, QStringList());
    }

    QStringList m_calls;
    QScopedPointer<TestProject> m_project;
    QScopedPointer<JavaScriptDependencyManager> m_manager;
    QScopedPointer<NodesByName> m_roots;
    std::unique_ptr<TextManager> m_textManager;
    std::unique_ptr<JavaScriptDependencyResolverBase> m_resolver;
    int m_scriptCount = 0;
};

TEST_CLASS(JavaScriptDependencyResolverBaseTest)

#include "JavaScriptDependencyResolverBaseTest.moc"
