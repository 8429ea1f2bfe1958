#include "TreeUrls.h"

#include "filehost/InstanceFile.h"
#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"

#include <QStringList>

TreeUrls::TreeUrls(const Project &project)
    : m_project(project)
{
    const QHash<QString, QString> folders = project.otherFiles();
    QStringList objects = folders.keys();
    objects.sort();
    // The project's own object comes before other names of its folder.
    objects.prepend(project.objectName());
    for (const QString &object : qAsConst(objects)) {
        const QString folder = folders.value(object);
        for (const QString &treeFolder : {PropertyManagerConst::getConfigurationFolderPath(folder),
                                          PropertyManagerConst::getProcessFolderPath(folder)}) {
            if (!m_objects.contains(treeFolder)) {
                m_objects.insert(treeFolder, object);
            }
        }
    }
}

QString TreeUrls::urlOf(const FileTree::Identity &tree, const QString &path) const
{
    // <folder>/<instance>.json
    const int folderLength = tree.filePath.size() - tree.instance.size() - 6;
    const QString object = m_objects.value(tree.filePath.left(folderLength));
    if (object.isEmpty()) {
        return QString();
    }
    const QString scheme = tree.kind == FileTree::Kind::Process
        ? QStringLiteral("process")
        : ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
    return SelectorUrlHandler(QString())
        .setScheme(scheme)
        .setModuleName(m_project.moduleName())
        .setObjectName(object)
        .setInstance(tree.instance)
        .setUrl(path)
        .toString();
}

FileTree::Identity TreeUrls::treeOf(const SelectorUrlHandler &url, QString &error) const
{
    FileTree::Identity tree;
    const QString folder = m_project.reachableObjects().value(url.getObjectName());
    if (!url.isValid()) {
        error = QStringLiteral("expected a URL such as config://%1/%2/INSTANCE#NODE")
                    .arg(m_project.moduleName(), m_project.objectName());
    } else if (!url.getModuleName().isEmpty() && url.getModuleName() != m_project.moduleName()) {
        error = QStringLiteral("expected the module \"%1\", found \"%2\"")
                    .arg(m_project.moduleName(), url.getModuleName());
    } else if (folder.isEmpty()) {
        error = QStringLiteral("expected an object of this project, found \"%1\"")
                    .arg(url.getObjectName());
    } else {
        tree.kind =
            url.isProcessDataScheme() ? FileTree::Kind::Process : FileTree::Kind::Configuration;
        tree.instance = url.getInstance();
        tree.filePath = InstanceFile::path(
            url.isProcessDataScheme() ? PropertyManagerConst::getProcessFolderPath(folder)
                                      : PropertyManagerConst::getConfigurationFolderPath(folder),
            url.getInstance(), error);
    }
    return tree;
}
