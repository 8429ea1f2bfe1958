#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"

SystemInformationManagerDBusProviderDescriptionItem::
    SystemInformationManagerDBusProviderDescriptionItem(const QString &objectName)
    : m_objectName(objectName)
{
}

QString SystemInformationManagerDBusProviderDescriptionItem::getObjectName() const
{
    return m_objectName;
}

SystemInformationManagerDBusProviderDescriptionItemContainer::
    SystemInformationManagerDBusProviderDescriptionItemContainer(
        const QVector<SystemInformationManagerDBusProviderDescriptionItem> &itemList)
    : m_itemList(itemList)
{
}

QVector<SystemInformationManagerDBusProviderDescriptionItem>
SystemInformationManagerDBusProviderDescriptionItemContainer::getItemList() const
{
    return m_itemList;
}

SystemInformationManagerDBusProviderDescriptionHandler::
    SystemInformationManagerDBusProviderDescriptionHandler() = default;

void SystemInformationManagerDBusProviderDescriptionHandler::registerProviders(
    const QString &dataType,
    const SystemInformationManagerDBusProviderDescriptionItemContainer &providers)
{
    if (!m_providers.contains(dataType)) {
        m_dataTypes.append(dataType);
    }
    m_providers.insert(dataType, providers);
}

QStringList SystemInformationManagerDBusProviderDescriptionHandler::getRegisteredDataTypes() const
{
    return m_dataTypes;
}

SystemInformationManagerDBusProviderDescriptionItemContainer
SystemInformationManagerDBusProviderDescriptionHandler::getProviderData(
    const QString &dataType) const
{
    return m_providers.value(dataType);
}
