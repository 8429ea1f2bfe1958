#pragma once

#include "host/SystemInformationManagerDBusProviderDescriptionItemContainer.h"

#include <QHash>
#include <QString>
#include <QStringList>

/// Which objects provide which types of system information.
class SystemInformationManagerDBusProviderDescriptionHandler
{
public:
    SystemInformationManagerDBusProviderDescriptionHandler();

    /// Adds a data type with its providers, or replaces the providers of a registered one.
    void registerProviders(
        const QString &dataType,
        const SystemInformationManagerDBusProviderDescriptionItemContainer &providers);

    /// The data types in the order of their registration.
    QStringList getRegisteredDataTypes() const;

    /// The providers of @p dataType; an empty container when it is not registered.
    SystemInformationManagerDBusProviderDescriptionItemContainer getProviderData(
        const QString &dataType) const;

private:
    QStringList m_dataTypes;
    QHash<QString, SystemInformationManagerDBusProviderDescriptionItemContainer> m_providers;
};
