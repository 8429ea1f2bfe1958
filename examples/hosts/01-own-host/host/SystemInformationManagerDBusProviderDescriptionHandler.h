#pragma once

#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

class SystemInformationManagerDBusProviderDescriptionItem
{
public:
    explicit SystemInformationManagerDBusProviderDescriptionItem(
        const QString &objectName = QString());

    QString getObjectName() const;

private:
    QString m_objectName;
};

class SystemInformationManagerDBusProviderDescriptionItemContainer
{
public:
    QVector<SystemInformationManagerDBusProviderDescriptionItem> getItemList() const;
    void append(const SystemInformationManagerDBusProviderDescriptionItem &item);

private:
    QVector<SystemInformationManagerDBusProviderDescriptionItem> m_items;
};

/// Which objects provide which types of system information.
class SystemInformationManagerDBusProviderDescriptionHandler
{
public:
    explicit SystemInformationManagerDBusProviderDescriptionHandler(
        const QMap<QString, QStringList> &objectNamesByDataType = {});

    QStringList getRegisteredDataTypes() const;
    SystemInformationManagerDBusProviderDescriptionItemContainer getProviderData(
        const QString &dataType) const;

private:
    QMap<QString, QStringList> m_objectNamesByDataType;
};
