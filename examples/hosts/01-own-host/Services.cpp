#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"
#include "host/TextManager.h"
#include "host/TranslateableTextHelper.h"
#include "host/UnitManagerWrapper.h"

#include <QJsonDocument>
#include <QJsonObject>

SystemInformationManagerDBusProviderDescriptionItem::
    SystemInformationManagerDBusProviderDescriptionItem(const QString &objectName)
    : m_objectName(objectName)
{
}

QString SystemInformationManagerDBusProviderDescriptionItem::getObjectName() const
{
    return m_objectName;
}

QVector<SystemInformationManagerDBusProviderDescriptionItem>
SystemInformationManagerDBusProviderDescriptionItemContainer::getItemList() const
{
    return m_items;
}

void SystemInformationManagerDBusProviderDescriptionItemContainer::append(
    const SystemInformationManagerDBusProviderDescriptionItem &item)
{
    m_items.append(item);
}

SystemInformationManagerDBusProviderDescriptionHandler::
    SystemInformationManagerDBusProviderDescriptionHandler(
        const QMap<QString, QStringList> &objectNamesByDataType)
    : m_objectNamesByDataType(objectNamesByDataType)
{
}

QStringList SystemInformationManagerDBusProviderDescriptionHandler::getRegisteredDataTypes() const
{
    return m_objectNamesByDataType.keys();
}

SystemInformationManagerDBusProviderDescriptionItemContainer
SystemInformationManagerDBusProviderDescriptionHandler::getProviderData(
    const QString &dataType) const
{
    SystemInformationManagerDBusProviderDescriptionItemContainer container;
    const QStringList objectNames = m_objectNamesByDataType.value(dataType);
    for (const QString &objectName : objectNames) {
        container.append(SystemInformationManagerDBusProviderDescriptionItem(objectName));
    }
    return container;
}

TextManager::TextManager(const QHash<QString, QString> &texts)
    : m_texts(texts)
{
}

QString TextManager::getText(const QString &textId, const QString & /*context*/) const
{
    return m_texts.value(textId);
}

TranslateableTextHelper::TranslateableTextHelper(const QString & /*instanceUrl*/, QObject *parent)
    : QObject(parent)
{
}

void TranslateableTextHelper::setTranslateableTextObject(const QVariant &object)
{
    m_texts = object.toMap();
}

QString TranslateableTextHelper::getTranslateableTextObjectAsJsonString() const
{
    if (m_texts.isEmpty()) {
        return QString();
    }
    return QString::fromUtf8(QJsonDocument(QJsonObject::fromVariantMap(m_texts)).toJson());
}

UnitManagerWrapper::Units UnitManagerWrapper::s_units;

void UnitManagerWrapper::useUnits(const Units &units)
{
    s_units = units;
}

UnitManagerWrapper::UnitManagerWrapper(bool /*withSystemUnits*/, bool /*withUserUnits*/) { }

QVariant UnitManagerWrapper::getUnitTextJsonMap(const QString &unit) const
{
    const auto texts = s_units.constFind(unit);
    return texts == s_units.constEnd() ? QVariant() : QVariant(*texts);
}
