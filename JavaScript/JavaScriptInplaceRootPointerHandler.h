#pragma once

#include "JavaScript/JavaScriptExport.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"

/**
 * A root pointer handler for one tree in memory, with the instances that scripts reach inside it.
 *
 * Whatever scripts change is changed in the caller's tree, which the caller saves or discards:
 * nothing is marked as changed here, and nothing is written.
 */
class JAVASCRIPT_EXPORT JavaScriptInplaceRootPointerHandler : public JavaScriptRootPointerHandler
{
public:
    /// @param rootInstancePath instance path of the tree's root. Instance paths that begin with it
    ///        are served: what follows it and one character more is looked up below the root.
    explicit JavaScriptInplaceRootPointerHandler(const QString &rootInstancePath);
    ~JavaScriptInplaceRootPointerHandler() override;

    /// The tree to serve from now on, shared with the caller; null for none.
    void setRootPointer(ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer);

    /// The node of the instance that @p url names; null, with a warning, when there is none.
    ConfigurationAndProcessDataBase::BaseClassSharedPointer getRootPointer(
        const QString &url) const override;

    /// The node of @p instance; null, with a warning, when there is none.
    ConfigurationAndProcessDataBase::BaseClassSharedPointer getInstanceConfigPointer(
        const QString &instance) const override;

    void setChangedUrl(const QString &url) override; ///< does nothing
    void saveChangedInstances() override; ///< does nothing
    QStringList getChangedExternalConfigUrls() const override; ///< always empty
    QStringList getChangedExternalProcessUrls() const override; ///< always empty
    void deleteChangeFlagConfigUrls() override; ///< does nothing
    void deleteChangeFlagProcessDataUrl() override; ///< does nothing

private:
    ConfigurationAndProcessDataBase::BaseClassSharedPointer findInstance(
        const QString &instance) const;

    ConfigurationAndProcessDataBase::BaseClassSharedPointer m_rootPointer;
    QString m_rootInstancePath;
};
