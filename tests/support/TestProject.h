#pragma once

#include "support/TestHost.h"

#include <QTemporaryDir>

/// A project folder for the life of a test, empty at first.
class TestProject
{
public:
    QString path() const;

    void storeConfiguration(const QString &instance, const QByteArray &json);
    void storeProcess(const QString &instance, const QByteArray &json);

    QVariant configurationProperty(const QString &instance, const QString &relUrl,
                                   const QString &propertyKey) const;
    QVariant processProperty(const QString &instance, const QString &relUrl,
                             const QString &propertyKey) const;

    void writeManifest(const QByteArray &content);

    /// A manifest that lists @p instances.
    void listInstances(const QStringList &instances);

    void writeScript(const QString &fileName, const QByteArray &content);

private:
    QTemporaryDir m_folder;
};
