#pragma once

#include "JavaScript/JavaScriptDependencyManager.h"
#include "JavaScript/JavaScriptDependencyResolverBase.h"
#include "JavaScript/JavaScriptExport.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"

/**
 * Resolves the dependencies of a project in its files: of all its instances, or of those that
 * belong to one changed instance.
 *
 * The manifest is read by the constructor, each script on its first use: a resolver does not see
 * later changes of these files. Trees are read anew by each run. Those that scripts reach by
 * absolute URL are dropped at its end, those of the instances that ran when the next one begins.
 * The text store must outlive the resolver; the provider descriptions are used by the constructor
 * only.
 */
class JAVASCRIPT_EXPORT JavaScriptDependencyResolver : public JavaScriptDependencyResolverBase
{
    Q_OBJECT

public:
    /**
     * @param descriptionHandler every object that it knows is mapped to @p projectPath
     * @param otherFilesMapping object names to the project folders of their instances; the
     *        project's own object included, if scripts are to address it
     */
    JavaScriptDependencyResolver(
        const QString &projectPath, const QString &moduleName, const QString &objectName,
        const SystemInformationManagerDBusProviderDescriptionHandler &descriptionHandler,
        const TextManager &textManager, const QHash<QString, QString> &otherFilesMapping,
        QObject *parent);
    ~JavaScriptDependencyResolver() override;

    /// Runs the script of every instance that the manifest lists.
    void resolveAllDependencies();

    /// Runs the scripts of the listed instances that @p instanceName selects: the instance itself
    /// if it is listed, else all whose names start with it.
    void resolveDependencyOfInstance(const QString &instanceName);

private:
    JavaScriptRootPointerHandler m_javaScriptRootPointerHandler;
    JavaScriptDependencyManager m_javaScriptDependencyManager;
};
