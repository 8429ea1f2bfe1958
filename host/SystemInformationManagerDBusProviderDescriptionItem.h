#pragma once

#include <QString>

/// One object that provides system information.
class SystemInformationManagerDBusProviderDescriptionItem
{
public:
    explicit SystemInformationManagerDBusProviderDescriptionItem(
        const QString &objectName = QString());

    QString getObjectName() const;

private:
    QString m_objectName;
};
