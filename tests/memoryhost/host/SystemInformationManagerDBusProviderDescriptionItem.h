#pragma once

#include <QString>

struct SystemInformationManagerDBusProviderDescriptionItem
{
    QString getObjectName() const { return name; }

    QString name;
};
