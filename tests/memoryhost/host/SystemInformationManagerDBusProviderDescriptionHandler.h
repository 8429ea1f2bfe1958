#pragma once

#include "host/SystemInformationManagerDBusProviderDescriptionItemContainer.h"

#include <QPair>
#include <QString>
#include <QStringList>
#include <QVector>

class SystemInformationManagerDBusProviderDescriptionHandler
{
public:
    using ObjectsByDataType = QVector<QPair<QString, QStringList>>;

    SystemInformationManagerDBusProviderDescriptionHandler(const ObjectsByDataType &providers = {});

    QStringList getRegisteredDataTypes() const;
    SystemInformationManagerDBusProviderDescriptionItemContainer getProviderData(
        const QString &dataType) const;

private:
    ObjectsByDataType m_providers;
};
