#include "JavaScriptDependencyManager.h"

#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/JsonDataIterator.h"
#include "host/JsonDataIteratorKeyComparator.h"
#include "host/PropertyManagerConst.h"
#include "host/SystemInformationManagerDataDefinitions.h"

#include <QDebug>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QJsonValue>

JavaScriptDependencyManager::JavaScriptDependencyManager(const QString &projectPath,
                                                         bool resolveParentInstance)
    : m_resolveParentInstance(resolveParentInstance)
{
    const QDir folder(PropertyManagerConst::getConfigurationFolderPath(projectPath));
    if (folder.exists()) {
        scanManifestFileForExternalDependencyInstances(folder);
    }
}

JavaScriptDependencyManager::~JavaScriptDependencyManager() = default;

bool JavaScriptDependencyManager::scanManifestFileForExternalDependencyInstances(const QDir &folder)
{
    QFile file(folder.filePath(PropertyManagerConst::getConfigurationManifestFilename()));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        qWarning() << "Can't open file " << file.fileName() << " IO Error: " << file.errorString();
        return false;
    }
    const QByteArray content = file.readAll();
    file.close();

    QJsonParseError parseError;
    const QJsonDocument manifest = QJsonDocument::fromJson(content, &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        return false;
    }
    const JsonDataIteratorKeyComparator comparator(
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern());
    JsonDataIterator iterator(comparator);
    iterator.iterate(manifest.array());
    m_externalDependencySourceInstanceList = getListOfInstanceNames(iterator.getResult());
    return true;
}

QStringList JavaScriptDependencyManager::getListOfInstanceNames(const QJsonValue &value)
{
    if (value.isNull()) {
        return {};
    }
    if (!value.isArray()) {
        qWarning() << "Json value is not an array!";
        return {};
    }
    QStringList instanceNames;
    const QJsonArray entries = value.toArray();
    for (const QJsonValue &entry : entries) {
        const QString key = SystemInformationManagerDataDefinitions::getKeyInstanceName();
        if (entry.isObject()) {
            instanceNames.append(entry.toObject().value(key).toString());
        } else {
            qWarning() << "Contains no propterty" << key << entry;
        }
    }
    return instanceNames;
}

QStringList JavaScriptDependencyManager::getExternalDependencySourceInstanceList() const
{
    return m_externalDependencySourceInstanceList;
}

QStringList &JavaScriptDependencyManager::queryCache(const QString &instanceName)
{
    // The caller gets a reference, and the hash is never shared.
    const auto known = m_instanceQueryCache.find(instanceName); // clazy:exclude=detaching-member
    if (known != m_instanceQueryCache.end()) {
        return *known;
    }
    QStringList matches;
    if (m_externalDependencySourceInstanceList.contains(instanceName)) {
        matches.append(instanceName);
    } else {
        for (const QString &listed : qAsConst(m_externalDependencySourceInstanceList)) {
            if (listed.startsWith(instanceName)) {
                matches.append(listed);
            }
        }
    }
    return *m_instanceQueryCache.insert(instanceName, matches);
}

QStringList JavaScriptDependencyManager::getInstancesToResolve(const QString &instanceName)
{
    QStringList instances = queryCache(instanceName);
    if (instances.isEmpty() && m_resolveParentInstance) {
        instances.append(queryCache(instanceName.left(instanceName.lastIndexOf(QLatin1Char('/')))));
    }
    return instances;
}
