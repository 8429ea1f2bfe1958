#include "PropertyUrls.h"

#include "filehost/Project.h"
#include "filehost/store/InstanceFile.h"
#include "host/PropertyManagerConst.h"
#include "host/SelectorUrlHandler.h"

#include <QDir>
#include <QHash>
#include <QStringList>

namespace ConfigScript {

namespace {

const QLatin1String s_schemeEnd("://");
const QString s_processPrefix = QStringLiteral("process:");

bool isAbsolute(const QString &url)
{
    return url.contains(s_schemeEnd);
}

} // namespace

PropertyUrls::PropertyUrls(const Project &project)
    : m_project(project)
    , m_treeUrls(project)
{
}

bool PropertyUrls::isOwn(const FileTree::Identity &tree) const
{
    return tree.filePath == m_project.treePath(tree.kind, tree.instance);
}

QString PropertyUrls::urlOf(const FileTree::Identity &tree) const
{
    return urlOf(tree, QString());
}

QString PropertyUrls::urlOf(const FileTree::Identity &tree, const QString &path) const
{
    const bool isPlain = !tree.instance.contains(QLatin1Char('#')) && !isAbsolute(tree.instance)
        && !tree.instance.startsWith(s_processPrefix);
    if (!isPlain || !isOwn(tree)) {
        return m_treeUrls.urlOf(tree, path);
    }
    const QString instance =
        tree.kind == FileTree::Kind::Process ? s_processPrefix + tree.instance : tree.instance;
    return path.isEmpty() ? instance : instance + QLatin1Char('#') + path;
}

QString PropertyUrls::urlOf(const FileTree::Identity &tree, const QString &path,
                            const QString &key) const
{
    return urlOf(tree, path) + QLatin1Char(':') + key;
}

std::optional<PropertyUrls::Place> PropertyUrls::place(const QString &url, QString &error) const
{
    // Behind what else has a colon.
    const int begin = isAbsolute(url)     ? url.indexOf(s_schemeEnd) + s_schemeEnd.size()
        : url.startsWith(s_processPrefix) ? s_processPrefix.size()
                                          : 0;
    const int colon = url.lastIndexOf(QLatin1Char(':'));
    Place place;
    if (colon >= begin) {
        place.key = url.mid(colon + 1);
    }
    const QString node = url.left(colon >= begin ? colon : url.size());
    if (isAbsolute(url)) {
        place.path = SelectorUrlHandler(node).getUrl();
    } else {
        place.path = node.section(QLatin1Char('#'), 1);
    }
    const auto tree = treeOf(node, url, error);
    if (!tree) {
        return std::nullopt;
    }
    place.tree = *tree;
    return place;
}

std::optional<FileTree::Identity> PropertyUrls::treeOf(const QString &node, const QString &url,
                                                       QString &error) const
{
    FileTree::Identity tree;
    QString folder = m_project.path();
    if (isAbsolute(node)) {
        const SelectorUrlHandler handler(node);
        if (!handler.isConfigurationScheme() && !handler.isProcessDataScheme()) {
            error = QStringLiteral("\"%1\": expected config://module/object/instance#path:key or "
                                   "process://module/object/instance#path:key")
                        .arg(url);
            return std::nullopt;
        }
        if (handler.getModuleName() != m_project.moduleName()) {
            error = QStringLiteral("\"%1\": expected the module \"%2\"")
                        .arg(url, m_project.moduleName());
            return std::nullopt;
        }
        const QHash<QString, QString> objects = m_project.reachableObjects();
        folder = objects.value(handler.getObjectName());
        if (folder.isEmpty()) {
            QStringList names = objects.keys();
            names.sort();
            error = QStringLiteral("\"%1\": expected one of the objects %2")
                        .arg(url, names.join(QStringLiteral(", ")));
            return std::nullopt;
        }
        tree.instance = handler.getInstance();
        tree.kind =
            handler.isProcessDataScheme() ? FileTree::Kind::Process : FileTree::Kind::Configuration;
    } else {
        tree.instance = node.section(QLatin1Char('#'), 0, 0);
        if (tree.instance.startsWith(s_processPrefix)) {
            tree.instance.remove(0, s_processPrefix.size());
            tree.kind = FileTree::Kind::Process;
        }
    }
    if (tree.instance.isEmpty()) {
        error = QStringLiteral("\"%1\": expected a URL such as line1/pump1#motor/ratedPower:value")
                    .arg(url);
        return std::nullopt;
    }
    QString reason;
    tree.filePath =
        InstanceFile::path(tree.kind == FileTree::Kind::Process
                               ? PropertyManagerConst::getProcessFolderPath(folder)
                               : PropertyManagerConst::getConfigurationFolderPath(folder),
                           tree.instance, reason);
    if (tree.filePath.isEmpty()) {
        error = QStringLiteral("\"%1\": %2").arg(url, reason);
        return std::nullopt;
    }
    return tree;
}

} // namespace ConfigScript
