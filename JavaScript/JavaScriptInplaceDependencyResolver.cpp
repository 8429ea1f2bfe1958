#include "JavaScriptInplaceDependencyResolver.h"

#include <utility>

JavaScriptInplaceDependencyResolver::JavaScriptInplaceDependencyResolver(
    const QString &projectPath, const QString &moduleName, const QString &objectName,
    const QString &rootInstancePath, const TextManager &textManager, QObject *parent)
    : JavaScriptDependencyResolverBase(
        projectPath, moduleName, objectName, m_javaScriptDependencyManager,
        m_javaScriptRootPointerHandler, textManager, parent != nullptr, nullptr)
    , m_javaScriptDependencyManager(m_projectPath, true)
    , m_javaScriptRootPointerHandler(rootInstancePath)
{
}

JavaScriptInplaceDependencyResolver::~JavaScriptInplaceDependencyResolver() = default;

void JavaScriptInplaceDependencyResolver::resolveDependencies(
    const QString &instanceName, ConfigurationAndProcessDataBase::BaseClassSharedPointer root)
{
    m_javaScriptRootPointerHandler.setRootPointer(std::move(root));
    m_dependenciesToResolve.clear();
    const QStringList instanceNames =
        m_javaScriptDependencyManager.getInstancesToResolve(instanceName);
    for (const QString &name : instanceNames) {
        addExternalDependencyToResolve(name);
    }
    resolveExternalDependencies();
}
