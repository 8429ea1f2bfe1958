#pragma once

#include "host/SystemInformationManagerDBusProviderDescriptionItem.h"

#include <QVector>

struct SystemInformationManagerDBusProviderDescriptionItemContainer
{
    QVector<SystemInformationManagerDBusProviderDescriptionItem> getItemList() const
    {
        return items;
    }

    QVector<SystemInformationManagerDBusProviderDescriptionItem> items;
};
