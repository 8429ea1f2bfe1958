#pragma once

#include "JavaScript/JavaScriptExport.h"
#include "host/ConfigurationAndProcessDataBase.h"

#include <QDir>
#include <QHash>
#include <QString>
#include <QStringList>

class SelectorUrlHandler;
class SystemInformationManagerDBusProviderDescriptionHandler;

/**
 * The trees that scripts reach by absolute URL: loads each from its project folder on first use,
 * keeps it, remembers whether a script changed it, and writes changed trees back.
 *
 * A tree is known by its instance-level URL: an absolute URL with an empty path. URLs of one
 * instance that differ only in their path share one tree. Trees leave memory, unsaved, with
 * resetState() or with the handler.
 *
 * Used on one thread; the const operations change the trees kept.
 */
class JAVASCRIPT_EXPORT JavaScriptRootPointerHandler
{
public:
    /// A tree that was loaded.
    struct ValueRootMap
    {
        ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer;
        bool changed = false; ///< by a script, since it was loaded or its mark was cleared
        QDir directory = QDir(QString()); ///< where it was read from and is written to
    };

    /// Loaded trees by instance-level URL.
    using UrlToRootMap = QHash<QString, ValueRootMap>;

    /**
     * @param projectPath the handler's own project folder
     * @param otherFilesMapping object names to the project folders of their instances
     */
    JavaScriptRootPointerHandler(const QString &projectPath,
                                 const QHash<QString, QString> &otherFilesMapping);

    /// In addition, maps every object that provides system information to @p projectPath.
    JavaScriptRootPointerHandler(
        const SystemInformationManagerDBusProviderDescriptionHandler &descriptionHandler,
        const QString &projectPath, const QHash<QString, QString> &otherFilesMapping);

    virtual ~JavaScriptRootPointerHandler();

    /**
     * The root of the tree that holds @p url; an unknown scheme counts as configuration. Null,
     * with a warning, when it cannot be found; the next call tries again.
     */
    virtual ConfigurationAndProcessDataBase::BaseClassSharedPointer getRootPointer(
        const QString &url) const;

    /**
     * The configuration tree of an instance of the handler's own project, read anew with each call
     * and not kept. Null when it cannot be read.
     */
    virtual ConfigurationAndProcessDataBase::BaseClassSharedPointer getInstanceConfigPointer(
        const QString &instance) const;

    /// Marks the tree that holds @p url as changed. Warns when it was never loaded.
    virtual void setChangedUrl(const QString &url);

    /// Writes every changed tree to its file, configuration trees first. The marks stay.
    virtual void saveChangedInstances();

    /// Instance-level URLs of the changed configuration trees, in no order.
    virtual QStringList getChangedExternalConfigUrls() const;

    /// Instance-level URLs of the changed process descriptions, in no order.
    virtual QStringList getChangedExternalProcessUrls() const;

    virtual void deleteChangeFlagConfigUrls();
    virtual void deleteChangeFlagProcessDataUrl();

    /// Forgets every loaded tree, unsaved.
    virtual void resetState();

private:
    Q_DISABLE_COPY(JavaScriptRootPointerHandler)

    ConfigurationAndProcessDataBase::BaseClassSharedPointer getRootPointerInternal(
        bool isProcess, const QString &url, UrlToRootMap &map) const;
    QDir getDirectoryInstance(const QString &folderName, bool isProcess) const;
    bool isProcessDescription(const SelectorUrlHandler &handler) const;
    void setChangedUrl(UrlToRootMap &map, const QString &url);
    void saveChangedInstancesInternal(const UrlToRootMap &map, bool isProcess);

    QString m_projectPath;
    QHash<QString, QString> m_otherFilesMapping;
    mutable UrlToRootMap m_configRootMap;
    mutable UrlToRootMap m_processRootMap;
};
