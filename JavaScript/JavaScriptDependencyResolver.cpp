#include "JavaScriptDependencyResolver.h"

JavaScriptDependencyResolver::JavaScriptDependencyResolver(
    const QString &projectPath, const QString &moduleName, const QString &objectName,
    const SystemInformationManagerDBusProviderDescriptionHandler &descriptionHandler,
    const TextManager &textManager, const QHash<QString, QString> &otherFilesMapping,
    QObject *parent)
    : JavaScriptDependencyResolverBase(projectPath, moduleName, objectName,
                                       m_javaScriptDependencyManager,
                                       m_javaScriptRootPointerHandler, textManager, true, parent)
    , m_javaScriptRootPointerHandler(descriptionHandler, m_projectPath, otherFilesMapping)
    , m_javaScriptDependencyManager(m_projectPath, false)
{
}

JavaScriptDependencyResolver::~JavaScriptDependencyResolver() = default;

void JavaScriptDependencyResolver::resolveAllDependencies()
{
    m_dependenciesToResolve.clear();
    const QStringList instanceNames =
        m_javaScriptDependencyManager.getExternalDependencySourceInstanceList();
    for (const QString &instanceName : instanceNames) {
        addExternalDependencyToResolve(instanceName);
    }
    resolveExternalDependencies();
}

void JavaScriptDependencyResolver::resolveDependencyOfInstance(const QString &instanceName)
{
    m_dependenciesToResolve.clear();
    const QStringList instanceNames =
        m_javaScriptDependencyManager.getInstancesToResolve(instanceName);
    for (const QString &name : instanceNames) {
        addExternalDependencyToResolve(name);
    }
    resolveExternalDependencies();
}
