#pragma once

#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptDependencyResolverBase.h"
#include "JavaScript/JavaScriptExport.h"
#include "JavaScript/JavaScriptInplaceRootPointerHandler.h"

/**
 * Resolves dependencies inside one configuration tree that the caller holds in memory. What the
 * scripts change is changed in that tree; no file is written.
 *
 * The manifest is read by the constructor. The text store must outlive the resolver.
 */
class JAVASCRIPT_EXPORT JavaScriptInplaceDependencyResolver
    : public JavaScriptDependencyResolverBase
{
    Q_OBJECT

public:
    /**
     * @param rootInstancePath instance path of the trees' root
     * @param parent not the resolver's parent, which has none: the caller deletes the resolver.
     *        Without it, scripts reach only instances of the object @p objectName.
     */
    JavaScriptInplaceDependencyResolver(const QString &projectPath, const QString &moduleName,
                                        const QString &objectName, const QString &rootInstancePath,
                                        const TextManager &textManager, QObject *parent);
    ~JavaScriptInplaceDependencyResolver() override;

    /**
     * Runs the scripts of the listed instances that @p instanceName or else its parent selects.
     * @param root the tree, shared until the next call
     */
    void resolveDependencies(const QString &instanceName,
                             ConfigurationAndProcessDataBase::BaseClassSharedPointer root);

private:
    JavaScriptDependencyManager m_javaScriptDependencyManager;
    JavaScriptInplaceRootPointerHandler m_javaScriptRootPointerHandler;
};
