#include "JavaScriptRootPointerHandler.h"

#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"
#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"

#include <QDebug>

namespace {

QStringList changedUrls(const JavaScriptRootPointerHandler::UrlToRootMap &map)
{
    QStringList urls;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        if (it->changed) {
            urls.append(it.key());
        }
    }
    return urls;
}

void clearChangeFlags(JavaScriptRootPointerHandler::UrlToRootMap &map)
{
    for (auto &root : map) {
        root.changed = false;
    }
}

} // namespace

JavaScriptRootPointerHandler::JavaScriptRootPointerHandler(
    const QString &projectPath, const QHash<QString, QString> &otherFilesMapping)
    : m_projectPath(projectPath)
    , m_otherFilesMapping(otherFilesMapping)
{
}

JavaScriptRootPointerHandler::JavaScriptRootPointerHandler(
    const SystemInformationManagerDBusProviderDescriptionHandler &descriptionHandler,
    const QString &projectPath, const QHash<QString, QString> &otherFilesMapping)
    : JavaScriptRootPointerHandler(projectPath, otherFilesMapping)
{
    const QStringList dataTypes = descriptionHandler.getRegisteredDataTypes();
    for (const QString &dataType : dataTypes) {
        const auto items = descriptionHandler.getProviderData(dataType).getItemList();
        for (const auto &item : items) {
            m_otherFilesMapping[item.getObjectName()] = projectPath;
        }
    }
}

JavaScriptRootPointerHandler::~JavaScriptRootPointerHandler() = default;

ConfigurationAndProcessDataBase::BaseClassSharedPointer JavaScriptRootPointerHandler::
    getRootPointer(const QString &url) const
{
    SelectorUrlHandler urlHandler(url);
    const QString key = urlHandler.setUrl(QLatin1String("")).toString();
    if (isProcessDescription(urlHandler)) {
        return getRootPointerInternal(true, key, m_processRootMap);
    }
    return getRootPointerInternal(false, key, m_configRootMap);
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer JavaScriptRootPointerHandler::
    getRootPointerInternal(bool isProcess, const QString &url, UrlToRootMap &map) const
{
    const auto loaded = map.constFind(url);
    if (loaded != map.constEnd()) {
        return loaded->rootPointer;
    }

    const SelectorUrlHandler urlHandler(url);
    const QString objectName = urlHandler.getObjectName();
    const auto folderName = m_otherFilesMapping.constFind(objectName);
    if (folderName == m_otherFilesMapping.constEnd()) {
        qWarning() << "Couldn't find object" << objectName << "in otherfiles mapping!";
        return {};
    }

    const QDir directory = getDirectoryInstance(*folderName, isProcess);
    auto root =
        ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
            directory, urlHandler.getInstance(), isProcess);
    if (root.isNull()) {
        qWarning() << "Unable to find url" << url << "in project" << *folderName;
        return {};
    }
    map.insert(url, {root, false, directory});
    return root;
}

QDir JavaScriptRootPointerHandler::getDirectoryInstance(const QString &folderName,
                                                        bool isProcess) const
{
    const QString path = isProcess ? PropertyManagerConst::getProcessFolderPath(folderName)
                                   : PropertyManagerConst::getConfigurationFolderPath(folderName);
    QDir directory = QDir(QString());
    directory.setPath(path);
    return directory;
}

bool JavaScriptRootPointerHandler::isProcessDescription(const SelectorUrlHandler &handler) const
{
    if (handler.isConfigurationScheme()) {
        return false;
    }
    if (handler.isProcessDataScheme()) {
        return true;
    }
    qWarning() << "Scheme in url ist not valid:" << handler.getScheme();
    return false;
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer JavaScriptRootPointerHandler::
    getInstanceConfigPointer(const QString &instance) const
{
    return ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
        getDirectoryInstance(m_projectPath, false), instance, false);
}

void JavaScriptRootPointerHandler::setChangedUrl(const QString &url)
{
    if (isProcessDescription(SelectorUrlHandler(url))) {
        setChangedUrl(m_processRootMap, url);
    } else {
        setChangedUrl(m_configRootMap, url);
    }
}

void JavaScriptRootPointerHandler::setChangedUrl(UrlToRootMap &map, const QString &url)
{
    const auto root = map.find(SelectorUrlHandler(url).setUrl(QLatin1String("")).toString());
    if (root == map.end()) {
        qWarning() << "The folloing url does not exist root map:" << url;
        return;
    }
    root->changed = true;
}

void JavaScriptRootPointerHandler::saveChangedInstances()
{
    saveChangedInstancesInternal(m_configRootMap, false);
    saveChangedInstancesInternal(m_processRootMap, true);
}

void JavaScriptRootPointerHandler::saveChangedInstancesInternal(const UrlToRootMap &map,
                                                                bool isProcess)
{
    const QStringList urls = map.keys();
    for (const QString &url : urls) {
        const ValueRootMap root = map.value(url);
        if (!root.changed) {
            continue;
        }
        if (root.rootPointer.isNull()) {
            qWarning() << "No root for url" << url;
            continue;
        }
        const SelectorUrlHandler urlHandler(url);
        if (!ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
                root.directory, urlHandler.getModuleName(), urlHandler.getObjectName(),
                urlHandler.getInstance(), root.rootPointer, isProcess)) {
            qWarning() << "Can not frame to file:" << url;
        }
    }
}

QStringList JavaScriptRootPointerHandler::getChangedExternalConfigUrls() const
{
    return changedUrls(m_configRootMap);
}

QStringList JavaScriptRootPointerHandler::getChangedExternalProcessUrls() const
{
    return changedUrls(m_processRootMap);
}

void JavaScriptRootPointerHandler::deleteChangeFlagConfigUrls()
{
    clearChangeFlags(m_configRootMap);
}

void JavaScriptRootPointerHandler::deleteChangeFlagProcessDataUrl()
{
    clearChangeFlags(m_processRootMap);
}

void JavaScriptRootPointerHandler::resetState()
{
    m_configRootMap.clear();
    m_processRootMap.clear();
}
