#include "JavaScriptApi.h"

#include "JavaScript/JavaScriptRootPointerHandler.h"
#include "host/SelectorUrlHandler.h"
#include "host/TextManager.h"
#include "host/TranslateableTextHelper.h"
#include "host/UnitManagerWrapper.h"

#include <QDebug>
#include <QJsonDocument>
#include <QJsonObject>

#include <utility>

namespace {

const QString s_hostTypeName = QStringLiteral("sorbAVEN");

} // namespace

JavaScriptApi::JavaScriptApi(const UnitManagerWrapper &unitManagerWrapper,
                             JavaScriptRootPointerHandler &rootPointerHandler,
                             const TextManager &textManager, const QString &moduleName,
                             const QString &objectName, bool acceptAllObjects, QObject *parent)
    : JavaScriptBorder(parent)
    , m_moduleName(moduleName)
    , m_objectName(objectName)
    , m_hasInstanceChanged(false)
    , m_unitManagerWrapper(unitManagerWrapper)
    , m_rootPointerHandler(rootPointerHandler)
    , m_acceptAllObjects(acceptAllObjects)
    , m_textManager(textManager)
{
}

JavaScriptApi::~JavaScriptApi() = default;

QVariant JavaScriptApi::getProperty(const QString &relUrl, const QString &propertyKey) const
{
    return getPropertyInternal(m_rootPointer, relUrl, propertyKey);
}

void JavaScriptApi::setProperty(const QString &relUrl, const QString &propertyKey,
                                const QVariant &value)
{
    if (setPropertyInternal(m_rootPointer, relUrl, propertyKey, value)) {
        m_hasInstanceChanged = true;
        m_changedLocalUrls.append(relUrl);
    }
}

QVariant JavaScriptApi::getPropertyExtern(const QString &absUrl, const QString &propertyKey) const
{
    const SelectorUrlHandler urlHandler(absUrl);
    if (!urlHandler.isValid()) {
        qWarning() << "The following url ist not valid:" << absUrl;
        return QVariant();
    }
    const QString moduleName = urlHandler.getModuleName();
    if (moduleName != m_moduleName) {
        qWarning() << moduleName;
        return QVariant();
    }
    if (!m_acceptAllObjects && urlHandler.getObjectName() != m_objectName) {
        return QVariant();
    }
    auto root = m_rootPointerHandler.getRootPointer(absUrl);
    return getPropertyInternal(std::move(root), urlHandler.getUrl(), propertyKey);
}

void JavaScriptApi::setPropertyExtern(const QString &absUrl, const QString &propertyKey,
                                      const QVariant &value)
{
    const SelectorUrlHandler urlHandler(absUrl);
    if (!urlHandler.isValid()) {
        qWarning() << "The following url ist not valid:" << absUrl;
        return;
    }
    const QString moduleName = urlHandler.getModuleName();
    if (moduleName != m_moduleName) {
        qWarning() << moduleName;
        return;
    }
    if (!m_acceptAllObjects && urlHandler.getObjectName() != m_objectName) {
        return;
    }
    auto root = m_rootPointerHandler.getRootPointer(absUrl);
    if (setPropertyInternal(std::move(root), urlHandler.getUrl(), propertyKey, value)) {
        m_rootPointerHandler.setChangedUrl(absUrl);
    }
}

void JavaScriptApi::setError(const QString &relUrl, const QString &errorLabelTextId,
                             const QVariant &value)
{
    m_listOfErrors.append({relUrl, errorLabelTextId, value});
}

bool JavaScriptApi::isUrlValid(const QString &relUrl) const
{
    if (m_rootPointer.isNull()) {
        qWarning() << "Root is null.";
        return false;
    }
    return m_rootPointer->isUrlValid(relUrl);
}

QVariant JavaScriptApi::getAllUnitTexts(const QVariant &unit) const
{
    if (!unit.canConvert(QMetaType::QString)) {
        qWarning() << "Can not convert to string:" << unit;
        return QVariant();
    }
    const QVariant unitTexts = m_unitManagerWrapper.getUnitTextJsonMap(unit.toString());
    TranslateableTextHelper textHelper(m_instanceUrl, nullptr);
    textHelper.setTranslateableTextObject(unitTexts);
    return QJsonDocument::fromJson(textHelper.getTranslateableTextObjectAsJsonString().toUtf8());
}

QString JavaScriptApi::getHostTypeName() const
{
    return s_hostTypeName;
}

QJsonArray JavaScriptApi::getListOfNodeInstancesWithText(const QString &absUrl,
                                                         bool withDynTexts) const
{
    const SelectorUrlHandler urlHandler(absUrl);
    if (!urlHandler.isValid()) {
        qWarning() << "The following url ist not valid:" << absUrl;
        return QJsonArray();
    }
    const QString moduleName = urlHandler.getModuleName();
    if (moduleName != m_moduleName) {
        qWarning() << "Can't handle URL in another module:" << moduleName;
        return QJsonArray();
    }
    if (!m_acceptAllObjects && urlHandler.getObjectName() != m_objectName) {
        return QJsonArray();
    }
    const auto root = m_rootPointerHandler.getRootPointer(absUrl);
    return getListOfNodeInstancesWithTextInternal(root, withDynTexts);
}

void JavaScriptApi::initializeJavaScriptApi(
    ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer, const QString &instanceUrl)
{
    if (rootPointer.isNull()) {
        qWarning() << "New root is null.";
    } else {
        m_rootPointer = std::move(rootPointer);
    }
    m_instanceUrl = instanceUrl;
}

QVariant JavaScriptApi::getPropertyInternal(
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
    ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer, const QString &relUrl,
    const QString &propertyKey) const
{
    if (rootPointer.isNull()) {
        qWarning() << "Root is null.";
        return QVariant();
    }
    const auto node = rootPointer->getNode(relUrl);
    if (node.isNull()) {
        qWarning() << "Leaf for url" << relUrl << "is null.";
        return QVariant();
    }
    QVariant value = node->getProperty(propertyKey);
    if (value.userType() == QMetaType::QVariantMap) {
        return QJsonDocument::fromVariant(value);
    }
    return value;
}

bool JavaScriptApi::setPropertyInternal(
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
    ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer, const QString &relUrl,
    const QString &propertyKey, const QVariant &value)
{
    if (rootPointer.isNull()) {
        qWarning() << "Root is null.";
        return false;
    }
    const auto node = rootPointer->getNode(relUrl);
    if (node.isNull()) {
        qWarning() << "Leaf for url" << relUrl << "is null.";
        return false;
    }
    if (!node->hasProperty(propertyKey)) {
        node->addProperty(propertyKey, value);
        return true;
    }
    switch (node->setProperty(propertyKey, value)) {
    case 0:
        return true;
    case 1:
        return false;
    default:
        qWarning() << "Can not set value:" << value << "to:" << relUrl << propertyKey;
        return false;
    }
}

QJsonArray JavaScriptApi::getListOfNodeInstancesWithTextInternal(
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
    ConfigurationAndProcessDataBase::BaseClassSharedPointer root, bool withDynTexts) const
{
    if (root.isNull()) {
        qWarning() << "Root is null.";
        return QJsonArray();
    }
    QJsonArray instances;
    const auto children = root->getChildMap();
    const QStringList keys = children.keys();
    for (const QString &key : keys) {
        QString text;
        const auto child = children.value(key);
        if (!child.isNull()) {
            text = child->getProperty(QStringLiteral("labelTextId")).toString();
            if (withDynTexts) {
                text = m_textManager.getText(text, QString());
            }
        }
        instances.append(QJsonObject{{QStringLiteral("url"), key}, {QStringLiteral("text"), text}});
    }
    return instances;
}

QList<JavaScriptApi::ErrorMessage> JavaScriptApi::getListOfErrors() const
{
    return m_listOfErrors;
}

void JavaScriptApi::deleteListOfErrors()
{
    m_listOfErrors.clear();
}

bool JavaScriptApi::hasInstanceChanged() const
{
    return m_hasInstanceChanged;
}

QStringList JavaScriptApi::getChangedLocalUrls() const
{
    return m_changedLocalUrls;
}

void JavaScriptApi::deleteChangedLocalUrls()
{
    m_changedLocalUrls.clear();
}

QStringList JavaScriptApi::getChangedExternalConfigIAbsoluteUrls() const
{
    return m_rootPointerHandler.getChangedExternalConfigUrls();
}

QStringList JavaScriptApi::getChangedExternalProcessAbsoluteUrls() const
{
    return m_rootPointerHandler.getChangedExternalProcessUrls();
}

void JavaScriptApi::saveChangedFiles()
{
    m_rootPointerHandler.saveChangedInstances();
}

void JavaScriptApi::resetState()
{
    m_rootPointer.clear();
    m_hasInstanceChanged = false;
    m_changedLocalUrls.clear();
    m_listOfErrors.clear();
    m_instanceUrl.clear();
    m_rootPointerHandler.resetState();
}
