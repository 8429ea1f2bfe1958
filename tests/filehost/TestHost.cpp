#include "support/TestHost.h"

#include "filehost/HostSession.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

using namespace ConfigScript;

namespace {

QDir folderOf(const QString &projectPath, TestHost::TreeKind kind)
{
    return QDir(kind == TestHost::TreeKind::Process
                    ? PropertyManagerConst::getProcessFolderPath(projectPath)
                    : PropertyManagerConst::getConfigurationFolderPath(projectPath));
}

QString filePathOf(const QString &projectPath, TestHost::TreeKind kind, const QString &instance)
{
    return folderOf(projectPath, kind).filePath(instance + QLatin1String(".json"));
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer read(const QString &projectPath,
                                                             TestHost::TreeKind kind,
                                                             const QString &instance)
{
    return ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
        folderOf(projectPath, kind), instance, kind == TestHost::TreeKind::Process);
}

} // namespace

QString TestHost::configUrl(const QString &moduleName, const QString &objectName,
                            const QString &instance, const QString &relUrl)
{
    return url(QStringLiteral("config"), moduleName, objectName, instance, relUrl);
}

QString TestHost::processUrl(const QString &moduleName, const QString &objectName,
                             const QString &instance, const QString &relUrl)
{
    return url(QStringLiteral("process"), moduleName, objectName, instance, relUrl);
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer TestHost::makeTree(const QByteArray &json)
{
    const QTemporaryDir project;
    storeTree(project.path(), TreeKind::Configuration, QStringLiteral("tree"), json);
    const auto root = read(project.path(), TreeKind::Configuration, QStringLiteral("tree"));
    if (root.isNull()) {
        qFatal("not a tree: %s", json.constData());
    }
    return root;
}

void TestHost::storeTree(const QString &projectPath, TreeKind kind, const QString &instance,
                         const QByteArray &json)
{
    const QString filePath = filePathOf(projectPath, kind, instance);
    QDir().mkpath(QFileInfo(filePath).path());
    QFile file(filePath);
    if (!file.open(QIODevice::WriteOnly) || file.write(json) != json.size()) {
        qFatal("cannot write %s", qPrintable(filePath));
    }
}

QVariant TestHost::storedProperty(const QString &projectPath, TreeKind kind,
                                  const QString &instance, const QString &relUrl,
                                  const QString &propertyKey)
{
    if (!QFile::exists(filePathOf(projectPath, kind, instance))) {
        return QVariant();
    }
    const auto root = read(projectPath, kind, instance);
    const auto node = root ? root->getNode(relUrl) : nullptr;
    return node ? node->getProperty(propertyKey) : QVariant();
}

std::unique_ptr<TextManager> TestHost::makeTextManager(const QHash<QString, QString> &texts)
{
    return std::make_unique<TextManager>(texts);
}

SystemInformationManagerDBusProviderDescriptionHandler TestHost::makeProviders(
    const QVector<QPair<QString, QStringList>> &objectsByDataType)
{
    SystemInformationManagerDBusProviderDescriptionHandler handler;
    for (const auto &entry : objectsByDataType) {
        QVector<SystemInformationManagerDBusProviderDescriptionItem> items;
        for (const QString &objectName : entry.second) {
            items.append(SystemInformationManagerDBusProviderDescriptionItem(objectName));
        }
        handler.registerProviders(
            entry.first, SystemInformationManagerDBusProviderDescriptionItemContainer(items));
    }
    return handler;
}

void TestHost::useUnits(const QHash<QString, QVariantMap> &units)
{
    static std::unique_ptr<HostSession> session;
    session.reset(); // the new one is not to lie within it
    session = std::make_unique<HostSession>(units);
}
