#include "TreeUrls.h"

#include "filehost/Project.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"

TreeUrls::TreeUrls(const Project &project)
    : m_project(project)
{
    const QHash<QString, QString> folders = project.otherFiles();
    for (auto folder = folders.cbegin(); folder != folders.cend(); ++folder) {
        for (const QString &treeFolder : {PropertyManagerConst::getConfigurationFolderPath(*folder),
                                          PropertyManagerConst::getProcessFolderPath(*folder)}) {
            // The project's own object comes before another name of its folder.
            if (!m_objects.contains(treeFolder) || folder.key() == project.objectName()) {
                m_objects.insert(treeFolder, folder.key());
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
