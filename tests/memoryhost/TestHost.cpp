#include "support/TestHost.h"

#include "MemoryHost.h"
#include "host/PropertyManagerConst.h"

#include <QJsonDocument>

namespace {

QDir folderOf(const QString &projectPath, TestHost::TreeKind kind)
{
    return QDir(kind == TestHost::TreeKind::Process
                    ? PropertyManagerConst::getProcessFolderPath(projectPath)
                    : PropertyManagerConst::getConfigurationFolderPath(projectPath));
}

QSharedPointer<MemoryNode> parse(const QByteArray &json)
{
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject()) {
        qFatal("not a tree: %s", json.constData());
    }
    return MemoryNode::fromJson(document.object());
}

} // namespace

QString TestHost::configUrl(const QString &moduleName, const QString &objectName,
                            const QString &instance, const QString &relUrl)
{
    return url(QStringLiteral("cfg"), moduleName, objectName, instance, relUrl);
}

QString TestHost::processUrl(const QString &moduleName, const QString &objectName,
                             const QString &instance, const QString &relUrl)
{
    return url(QStringLiteral("prc"), moduleName, objectName, instance, relUrl);
}

ConfigurationAndProcessDataBase::BaseClassSharedPointer TestHost::makeTree(const QByteArray &json)
{
    return parse(json);
}

void TestHost::storeTree(const QString &projectPath, TreeKind kind, const QString &instance,
                         const QByteArray &json)
{
    MemoryHost::store(folderOf(projectPath, kind), instance, kind == TreeKind::Process,
                      parse(json));
}

QVariant TestHost::storedProperty(const QString &projectPath, TreeKind kind,
                                  const QString &instance, const QString &relUrl,
                                  const QString &propertyKey)
{
    const auto root =
        MemoryHost::load(folderOf(projectPath, kind), instance, kind == TreeKind::Process);
    const auto node = root ? root->find(relUrl) : nullptr;
    return node ? node->property(propertyKey) : QVariant();
}

std::unique_ptr<TextManager> TestHost::makeTextManager(const QHash<QString, QString> &texts)
{
    auto textManager = std::make_unique<TextManager>();
    textManager->setTexts(texts);
    return textManager;
}

SystemInformationManagerDBusProviderDescriptionHandler TestHost::makeProviders(
    const QVector<QPair<QString, QStringList>> &objectsByDataType)
{
    return objectsByDataType;
}

void TestHost::useUnits(const QHash<QString, QVariantMap> &units)
{
    MemoryHost::setUnits(units);
}
