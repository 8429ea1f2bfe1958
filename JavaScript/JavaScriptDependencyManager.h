#pragma once

#include "JavaScript/JavaScriptExport.h"

#include <QDir>
#include <QHash>
#include <QString>
#include <QStringList>

class QJsonValue;

/**
 * The instances that a project's configuration manifest lists as having an external dependency,
 * and which of them belong to an instance name.
 *
 * The manifest is read once, by the constructor. Answers to queries are kept. Used on one thread.
 */
class JAVASCRIPT_EXPORT JavaScriptDependencyManager
{
public:
    /**
     * Reads the manifest, if the project has a configuration folder.
     * @param resolveParentInstance whether an instance name that selects nothing is retried with
     *        its parent's
     */
    JavaScriptDependencyManager(const QString &projectPath, bool resolveParentInstance);
    virtual ~JavaScriptDependencyManager();

    /**
     * Reads the manifest in @p folder, a JSON array. A manifest that cannot be opened is warned of;
     * one that is not JSON is not.
     * @return false when it could not be read; the list stays as it was
     */
    bool scanManifestFileForExternalDependencyInstances(const QDir &folder);

    /// The instance names in @p value, an array of objects. Other elements are warned of.
    QStringList getListOfInstanceNames(const QJsonValue &value);

    /// All listed instances, in the manifest's order, duplicates included.
    QStringList getExternalDependencySourceInstanceList() const;

    /**
     * The listed instances that @p instanceName selects: itself if it is listed, else all whose
     * names start with it. The reference is valid until the next query.
     */
    QStringList &queryCache(const QString &instanceName);

    /// As queryCache(), with the retry for the parent (the name up to its last "/").
    QStringList getInstancesToResolve(const QString &instanceName);

private:
    QStringList m_externalDependencySourceInstanceList;
    QHash<QString, QStringList> m_instanceQueryCache;
    bool m_resolveParentInstance;
};
