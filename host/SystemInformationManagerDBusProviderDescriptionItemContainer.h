#pragma once

#include "host/SystemInformationManagerDBusProviderDescriptionItem.h"

#include <QVector>

/// The objects that provide one type of system information.
class SystemInformationManagerDBusProviderDescriptionItemContainer
{
public:
    explicit SystemInformationManagerDBusProviderDescriptionItemContainer(
        const QVector<SystemInformationManagerDBusProviderDescriptionItem> &itemList = {});

    QVector<SystemInformationManagerDBusProviderDescriptionItem> getItemList() const;

private:
    QVector<SystemInformationManagerDBusProviderDescriptionItem> m_itemList;
};
