#include "TestProject.h"

#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SystemInformationManagerDataDefinitions.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

void writeFile(const QString &path, const QByteArray &content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

} // namespace

QString TestProject::path() const
{
    return m_folder.path();
}

void TestProject::storeConfiguration(const QString &instance, const QByteArray &json)
{
    TestHost::storeTree(path(), TestHost::TreeKind::Configuration, instance, json);
}

void TestProject::storeProcess(const QString &instance, const QByteArray &json)
{
    TestHost::storeTree(path(), TestHost::TreeKind::Process, instance, json);
}

QVariant TestProject::configurationProperty(const QString &instance, const QString &relUrl,
                                            const QString &propertyKey) const
{
    return TestHost::storedProperty(path(), TestHost::TreeKind::Configuration, instance, relUrl,
                                    propertyKey);
}

QVariant TestProject::processProperty(const QString &instance, const QString &relUrl,
                                      const QString &propertyKey) const
{
    return TestHost::storedProperty(path(), TestHost::TreeKind::Process, instance, relUrl,
                                    propertyKey);
}

void TestProject::writeManifest(const QByteArray &content)
{
    writeFile(PropertyManagerConst::getConfigurationFolderPath(path()) + QLatin1Char('/')
                  + PropertyManagerConst::getConfigurationManifestFilename(),
              content);
}

void TestProject::listInstances(const QStringList &instances)
{
    QJsonArray entries;
    for (const QString &instance : instances) {
        entries.append(
            QJsonObject{{SystemInformationManagerDataDefinitions::getKeyInstanceName(), instance}});
    }
    const QString key =
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
    writeManifest(QJsonDocument(QJsonArray{QJsonObject{{key, entries}}}).toJson());
}

void TestProject::writeScript(const QString &fileName, const QByteArray &content)
{
    writeFile(PropertyManagerConst::getDependencyFolderPath(path()) + QLatin1Char('/') + fileName,
              content);
}
