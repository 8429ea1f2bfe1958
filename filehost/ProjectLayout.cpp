#include "ProjectLayout.h"

#include <QDir>

namespace ConfigScript {

ProjectLayout::ProjectLayout(const QString &projectPath)
    : m_projectPath(projectPath)
{
}

QString ProjectLayout::projectFile() const
{
    return path(QStringLiteral("project.json"));
}

QString ProjectLayout::unitsFile() const
{
    return path(QStringLiteral("units.json"));
}

QString ProjectLayout::providersFile() const
{
    return path(QStringLiteral("providers.json"));
}

QString ProjectLayout::configurationFolder() const
{
    return path(QStringLiteral("configuration"));
}

QString ProjectLayout::manifestFile() const
{
    return configurationFolder() + QLatin1Char('/') + manifestName();
}

QString ProjectLayout::processFolder() const
{
    return path(QStringLiteral("process"));
}

QString ProjectLayout::dependencyFolder() const
{
    return path(QStringLiteral("dependency"));
}

QString ProjectLayout::scriptsFolder() const
{
    return path(QStringLiteral("scripts"));
}

QString ProjectLayout::textsFolder() const
{
    return path(QStringLiteral("texts"));
}

QString ProjectLayout::textsFile(const QString &language) const
{
    return textsFolder() + QLatin1Char('/') + language + suffix();
}

QString ProjectLayout::testsFolder() const
{
    return path(QStringLiteral("tests"));
}

QString ProjectLayout::journalFile() const
{
    return path(QStringLiteral(".configscript-journal"));
}

QString ProjectLayout::lockFile() const
{
    return path(QStringLiteral(".configscript-lock"));
}

QStringList ProjectLayout::files() const
{
    return {projectFile(), unitsFile(), providersFile()};
}

QStringList ProjectLayout::content() const
{
    return files()
        + QStringList{configurationFolder(), processFolder(), dependencyFolder(), scriptsFolder(),
                      textsFolder()};
}

QString ProjectLayout::treeFile(const QString &folder, const QString &instance)
{
    // Of exactly the length that it needs: trees keep it.
    return QStringLiteral("%1/%2%3").arg(folder, instance, suffix());
}

QString ProjectLayout::baseName(const QString &fileName)
{
    return fileName.endsWith(suffix()) ? fileName.chopped(suffix().size()) : QString();
}

QString ProjectLayout::manifestName()
{
    return QStringLiteral("manifest.json");
}

QString ProjectLayout::suffix()
{
    return QStringLiteral(".json");
}

QString ProjectLayout::path(const QString &name) const
{
    return m_projectPath.isEmpty() ? name : QDir(m_projectPath).filePath(name);
}

} // namespace ConfigScript
