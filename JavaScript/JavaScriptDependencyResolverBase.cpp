#include "JavaScriptDependencyResolverBase.h"

#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "JavaScript/JavaScriptRunObserver.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/SelectorUrlHandler.h"

#include <QDebug>
#include <QScopeGuard>

JavaScriptDependencyResolverBase::JavaScriptDependencyResolverBase(
    const QString &projectPath, const QString &moduleName, const QString &objectName,
    JavaScriptDependencyManager &dependencyManager,
    JavaScriptRootPointerHandler &rootPointerHandler, const TextManager &textManager,
    bool acceptAllObjects, QObject *parent)
    : QObject(parent)
    , m_projectPath(projectPath)
    , m_moduleName(moduleName)
    , m_objectName(objectName)
    , m_unitManagerWrapper(false, false)
    , m_textManager(textManager)
    , m_dependencyManager(dependencyManager)
    , m_rootPointerHandler(rootPointerHandler)
    , m_javaScriptApi(m_unitManagerWrapper, rootPointerHandler, textManager, m_moduleName,
                      m_objectName, acceptAllObjects, this)
    , m_javaScriptHandler(m_javaScriptApi, nullptr)
    , m_fileCache(m_projectPath)
    , m_runObserver(nullptr)
{
}

JavaScriptDependencyResolverBase::~JavaScriptDependencyResolverBase() = default;

void JavaScriptDependencyResolverBase::addExternalDependencyToResolve(const QString &instanceName)
{
    const auto node = m_rootPointerHandler.getInstanceConfigPointer(instanceName);
    if (node.isNull()) {
        qWarning() << "Can not acquire root pointer of instance:" << instanceName;
        return;
    }
    const QString fileName =
        node->getProperty(
                ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern())
            .toString();
    const DependencyToResolve dependency{m_fileCache.getJavaScriptContent(fileName), node};
    if (dependency.javaScript.isEmpty()) {
        qWarning() << "The javascript file is empty for:" << instanceName;
        return;
    }
    m_dependenciesToResolve.insert(instanceName, dependency);
}

void JavaScriptDependencyResolverBase::resolveExternalDependencies()
{
    if (m_dependenciesToResolve.isEmpty()) {
        return;
    }

    // Also when an exception of the host passes through.
    const auto runEnds = qScopeGuard([this] { m_javaScriptHandler.resetState(); });

    const QStringList instanceNames = m_dependenciesToResolve.keys();
    for (const QString &instanceName : instanceNames) {
        if (m_runObserver) {
            m_runObserver->instanceBegins(instanceName);
        }
        const DependencyToResolve dependency = m_dependenciesToResolve.value(instanceName);
        m_javaScriptHandler.initializeHandler(dependency.rootPointer, dependency.javaScript,
                                              QString());
        const QString url =
            SelectorUrlHandler(QString())
                .setScheme(
                    ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration())
                .setModuleName(m_moduleName)
                .setObjectName(m_objectName)
                .setInstance(instanceName)
                .toString();
        if (!m_javaScriptHandler.callFunctionOnSave(url)) {
            qWarning() << "Error occured during execution of external dependency script"
                       << "url:" << url << "sourceInstance:" << instanceName;
        }
    }

    m_javaScriptHandler.saveChangedFiles();

    const QStringList changedUrls = m_javaScriptHandler.getChangedExternalProcessAbsoluteUrls();
    for (const QString &url : changedUrls) {
        Q_EMIT processDataDescriptionChanged(SelectorUrlHandler(url).getInstance());
    }
}

void JavaScriptDependencyResolverBase::setRunObserver(JavaScriptRunObserver *observer)
{
    m_runObserver = observer;
    m_javaScriptHandler.setRunObserver(observer);
}

void JavaScriptDependencyResolverBase::setInterrupted(bool interrupted)
{
    m_javaScriptHandler.setInterrupted(interrupted);
}
