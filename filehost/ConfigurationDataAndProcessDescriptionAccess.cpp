#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/InstanceFile.h"
#include "filehost/TextFile.h"
#include "filehost/TreeObserver.h"

#include <QDebug>

ConfigurationAndProcessDataBase::BaseClassSharedPointer
ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
    const QDir &dir, const QString &instance, bool isProcess)
{
    QString nameError;
    const QString filePath = InstanceFile::path(dir, instance, nameError);
    if (filePath.isEmpty()) {
        qWarning() << "Can not read instance:" << instance << nameError;
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
    const QString &instance, ConfigurationAndProcessDataBase::BaseClassSharedPointer root,
    bool /*isProcess*/)
{
    const auto node = root.dynamicCast<FileTreeNode>();
    if (node.isNull()) {
        qWarning() << "Can not write instance:" << instance << "the tree is not of this host";
        return false;
    }
    QString nameError;
    const QString filePath = InstanceFile::path(dir, instance, nameError);
    TreeObserver *observer = HostSession::observer();
    if (filePath.isEmpty()) {
        qWarning() << "Can not write instance:" << instance << nameError;
        if (observer) {
            observer->treeNotSaved(*node, nameError);
        }
        return false;
    }
    Diagnostic error;
    if (HostSession::writesFiles() && !TextFile::write(filePath, node->text(), error)) {
        qWarning().noquote() << error.toString();
        if (observer) {
            observer->treeNotSaved(*node, error.toString());
        }
        return false;
    }
    if (observer) {
        observer->treeSaved(*node, filePath);
    }
    return true;
}
