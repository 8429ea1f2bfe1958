#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/TreeObserver.h"
#include "filehost/store/FileBatch.h"
#include "filehost/store/InstanceFile.h"

#include <QDebug>
#include <QFileInfo>

using namespace ConfigScript;

namespace {

/// "Can not <verb> instance: <name> <reason>"
QString refusal(const char *verb, const QString &instance, const QString &reason)
{
    QString text;
    QDebug(&text) << "Can not" << verb << "instance:" << instance << qUtf8Printable(reason);
    return text.trimmed();
}

} // namespace

ConfigurationAndProcessDataBase::BaseClassSharedPointer
ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
    const QDir &dir, const QString &instance, bool isProcess)
{
    QString nameError;
    const QString filePath = InstanceFile::path(dir, instance, nameError);
    if (filePath.isEmpty()) {
        qWarning().noquote() << refusal("read", instance, nameError);
        return {};
    }
    Diagnostic error;
    const auto root = FileTree::read(
        {filePath, instance, isProcess ? FileTree::Kind::Process : FileTree::Kind::Configuration},
        error);
    if (root.isNull()) {
        if (!error.message.isEmpty()) {
            qWarning().noquote() << error.toString();
        }
        return {};
    }
    if (TreeObserver *observer = HostSession::observer()) {
        observer->treeRead(root);
    }
    return root;
}

bool ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
    const QDir &dir, const QString & /*moduleName*/, const QString & /*objectName*/,
    // NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed
    const QString &instance, ConfigurationAndProcessDataBase::BaseClassSharedPointer root,
    bool /*isProcess*/)
{
    const auto node = root.dynamicCast<FileTreeNode>();
    if (node.isNull()) {
        qWarning().noquote() << refusal("write", instance,
                                        root.isNull()
                                            ? QStringLiteral("there is no tree")
                                            : QStringLiteral("the tree is not of this host"));
        return false;
    }
    TreeObserver *observer = HostSession::observer();
    const auto fail = [&](const Diagnostic &reason) {
        if (observer) {
            observer->treeNotSaved(*node, reason);
        }
        if (FileBatch *batch = HostSession::batch()) {
            batch->giveUp(reason);
        }
        return false;
    };
    QString nameError;
    const QString filePath = InstanceFile::path(dir, instance, nameError);
    if (filePath.isEmpty()) {
        const Diagnostic refused{QString(), 0, 0, refusal("write", instance, nameError)};
        qWarning().noquote() << refused.toString();
        return fail(refused);
    }
    const QString projectPath = QFileInfo(dir.absolutePath()).path();
    Diagnostic error;
    if (!node->tree().write(*node, projectPath, filePath, error)) {
        qWarning().noquote() << error.toString();
        return fail(error);
    }
    if (observer) {
        observer->treeSaved(*node, filePath);
    }
    return true;
}
