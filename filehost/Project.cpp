#include "Project.h"

#include "filehost/FileTreeNode.h"
#include "filehost/ProjectLayout.h"
#include "filehost/store/InstanceFile.h"
#include "filehost/store/ProjectFile.h"
#include "filehost/store/Walls.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>

namespace ConfigScript {

namespace {

QDir treeFolder(const Project &project, FileTree::Kind kind)
{
    const ProjectLayout layout(project.path());
    return kind == FileTree::Kind::Process ? layout.processFolder() : layout.configurationFolder();
}

SystemInformationManagerDBusProviderDescriptionItemContainer providerItems(
    const QStringList &objectNames)
{
    using Item = SystemInformationManagerDBusProviderDescriptionItem;
    QVector<Item> items;
    for (const QString &objectName : objectNames) {
        items.append(Item(objectName));
    }
    return SystemInformationManagerDBusProviderDescriptionItemContainer(items);
}

} // namespace

std::optional<Project> Project::open(const QString &folder, Diagnostic &error)
{
    const QFileInfo info(folder);
    if (!info.isDir()) {
        error = {folder, 0, 0,
                 info.exists() ? QStringLiteral("expected a project folder, found a file")
                               : QStringLiteral("no such project folder")};
        return std::nullopt;
    }
    Project project;
    project.m_path = QDir::cleanPath(info.absoluteFilePath());
    if (!project.readProjectFile(error) || !project.readUnits(error)
        || !project.readProviders(error)) {
        return std::nullopt;
    }
    project.m_texts = project.texts(project.m_language, error);
    if (!error.message.isEmpty()) {
        return std::nullopt;
    }
    return project;
}

QHash<QString, QString> Project::reachableObjects() const
{
    QHash<QString, QString> objects = m_otherFiles;
    const QStringList dataTypes = m_providers.getRegisteredDataTypes();
    for (const QString &dataType : dataTypes) {
        const auto items = m_providers.getProviderData(dataType).getItemList();
        for (const auto &item : items) {
            objects.insert(item.getObjectName(), m_path);
        }
    }
    return objects;
}

void Project::setOtherFiles(const QHash<QString, QString> &folders)
{
    m_otherFiles = folders;
}

QString Project::keyOfUserInterfaceScript()
{
    return QStringLiteral("scriptFile");
}

QString Project::scriptError(const QString &folder, const QString &fileName) const
{
    const QString clean = QDir::cleanPath(fileName);
    if (clean == QLatin1String("..") || clean.startsWith(QLatin1String("../"))
        || QDir::isAbsolutePath(clean) || fileName.contains(QChar::Null)) {
        return QStringLiteral("\"%1\" leads out of the scripts' folder").arg(fileName);
    }
    return Walls::liesInside(m_path, folder + QLatin1Char('/') + fileName)
        ? QString()
        : QStringLiteral("\"%1\": a link leads out of the project folder").arg(fileName);
}

QString Project::userInterfaceScriptFolder() const
{
    return ProjectLayout(m_path).scriptsFolder();
}

QHash<QString, QString> Project::texts(const QString &language, Diagnostic &error) const
{
    ProjectFile file(ProjectLayout(m_path).textsFile(language));
    const QHash<QString, QString> texts = file.stringMap();
    error = file.error();
    return file.hasFailed() ? QHash<QString, QString>() : texts;
}

QStringList Project::languages() const
{
    QStringList languages;
    const QStringList files =
        QDir(ProjectLayout(m_path).textsFolder()).entryList(QDir::Files, QDir::Name);
    for (const QString &file : files) {
        const QString language = ProjectLayout::baseName(file);
        if (!language.isEmpty()) {
            languages.append(language);
        }
    }
    return languages;
}

QStringList Project::instances(FileTree::Kind kind) const
{
    const QDir folder = treeFolder(*this, kind);
    QStringList instances;
    QDirIterator files(folder.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString instance = ProjectLayout::baseName(folder.relativeFilePath(files.next()));
        if (!treePath(kind, instance).isEmpty()) { // the manifest has none
            instances.append(instance);
        }
    }
    instances.sort();
    return instances;
}

QString Project::treePath(FileTree::Kind kind, const QString &instance, QString &error) const
{
    return InstanceFile::path(treeFolder(*this, kind), instance, error);
}

QString Project::treePath(FileTree::Kind kind, const QString &instance) const
{
    QString error;
    return treePath(kind, instance, error);
}

QSharedPointer<FileTreeNode> Project::readTree(FileTree::Kind kind, const QString &instance,
                                               Diagnostic &error) const
{
    const QString filePath = treePath(kind, instance);
    return filePath.isEmpty() ? QSharedPointer<FileTreeNode>()
                              : FileTree::read({filePath, instance, kind}, error);
}

Diagnostic Project::relative(Diagnostic diagnostic) const
{
    diagnostic.file = relativePath(diagnostic.file);
    return diagnostic;
}

QString Project::relativePath(const QString &filePath) const
{
    return QDir(m_path).relativeFilePath(filePath);
}

bool Project::readProjectFile(Diagnostic &error)
{
    ProjectFile file(ProjectLayout(m_path).projectFile());
    if (!file.exists()) {
        error = {m_path, 0, 0,
                 QStringLiteral("no project: expected a file %1 in it")
                     .arg(ProjectLayout().projectFile())};
        return false;
    }
    m_moduleName = file.requiredString(QStringLiteral("moduleName"));
    m_objectName = file.requiredString(QStringLiteral("objectName"));
    const auto members = file.members();
    for (const auto &member : members) {
        if (member.first == QLatin1String("language")) {
            m_language = file.string(member.second);
            if (m_language.contains(QLatin1Char('/'))) {
                file.fail(member.second,
                          QStringLiteral("expected a language such as \"en\", found a path"));
            }
        } else if (member.first == QLatin1String("objectName") && m_objectName.isEmpty()) {
            file.fail(member.second, QStringLiteral("expected an object name, found an empty one"));
        } else if (member.first == QLatin1String("otherFiles")) {
            const auto folders = file.stringMap(member.second);
            for (auto it = folders.cbegin(); it != folders.cend(); ++it) {
                m_otherFiles.insert(it.key(),
                                    QDir::cleanPath(QDir(m_path).absoluteFilePath(it.value())));
            }
        }
    }
    m_otherFiles.insert(m_objectName, m_path);
    error = file.error();
    return !file.hasFailed();
}

bool Project::readUnits(Diagnostic &error)
{
    ProjectFile file(ProjectLayout(m_path).unitsFile());
    const auto units = file.members();
    for (const auto &unit : units) {
        QVariantMap texts;
        const auto members = file.members(unit.second);
        for (const auto &member : members) {
            texts.insert(member.first, file.string(member.second));
        }
        m_units.insert(unit.first, texts);
    }
    error = file.error();
    return !file.hasFailed();
}

bool Project::readProviders(Diagnostic &error)
{
    ProjectFile file(ProjectLayout(m_path).providersFile());
    const auto dataTypes = file.members();
    for (const auto &dataType : dataTypes) {
        const QStringList objectNames = file.strings(dataType.second);
        m_providers.registerProviders(dataType.first, providerItems(objectNames));
    }
    error = file.error();
    return !file.hasFailed();
}

} // namespace ConfigScript
