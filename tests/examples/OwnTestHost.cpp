#include "support/TestHost.h"

#include "IniFile.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"
#include "host/PropertyManagerConst.h"
#include "host/UnitManagerWrapper.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

// What the contract suite needs of the example's host.

namespace {

QDir folderOf(const QString &projectPath, TestHost::TreeKind kind)
{
    return QDir(kind == TestHost::TreeKind::Process
                    ? PropertyManagerConst::getProcessFolderPath(projectPath)
                    : PropertyManagerConst::getConfigurationFolderPath(projectPath));
}

void fill(IniNode &node, const QJsonObject &json)
{
    const QJsonObject properties = json.value(QLatin1String("properties")).toObject();
    for (auto property = properties.begin(); property != properties.end(); ++property) {
        node.addProperty(property.key(), property.value().toVariant());
    }
    const QJsonArray readOnlyKeys = json.value(QLatin1String("readOnly")).toArray();
    for (const QJsonValue &propertyKey : readOnlyKeys) {
        node.setReadOnly(propertyKey.toString());
    }
    const QJsonObject children = json.value(QLatin1String("children")).toObject();
    for (auto child = children.begin(); child != children.end(); ++child) {
        fill(*node.makeChild(child.key()), child.value().toObject());
    }
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
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) {
        qFatal("not a tree: %s", json.constData());
    }
    const auto root = QSharedPointer<IniNode>::create();
    fill(*root, document.object());
    return root;
}

void TestHost::storeTree(const QString &projectPath, TreeKind kind, const QString &instance,
                         const QByteArray &json)
{
    ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
        folderOf(projectPath, kind), QString(), QString(), instance, makeTree(json),
        kind == TreeKind::Process);
}

QVariant TestHost::storedProperty(const QString &projectPath, TreeKind kind,
                                  const QString &instance, const QString &relUrl,
                                  const QString &propertyKey)
{
    const auto root =
        ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
            folderOf(projectPath, kind), instance, kind == TreeKind::Process);
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
    QMap<QString, QStringList> objectNames;
    for (const auto &dataType : objectsByDataType) {
        objectNames.insert(dataType.first, dataType.second);
    }
    return SystemInformationManagerDBusProviderDescriptionHandler(objectNames);
}

void TestHost::useUnits(const QHash<QString, QVariantMap> &units)
{
    UnitManagerWrapper::useUnits(units);
}
