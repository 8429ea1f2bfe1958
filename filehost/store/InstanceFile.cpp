#include "InstanceFile.h"

#include "filehost/ProjectLayout.h"
#include "filehost/store/Walls.h"

#include <QFileInfo>
#include <QVector>

namespace ConfigScript {

namespace InstanceFile {

QString path(const QDir &folder, const QString &instance, QString &error)
{
    error = nameError(instance);
    if (!error.isEmpty()) {
        return QString();
    }
    const QString folderPath = QDir::cleanPath(folder.absolutePath());
    QString filePath = ProjectLayout::treeFile(folderPath, instance);
    const QString projectPath = QFileInfo(folderPath).path();
    if (filePath == ProjectLayout(projectPath).manifestFile()) {
        error = QStringLiteral("this is the name of the manifest");
        return QString();
    }
    if (!Walls::liesInside(projectPath, filePath)) {
        error = QStringLiteral("a link leads out of the project folder: ") + filePath;
        return QString();
    }
    return filePath;
}

QString nameError(const QString &instance)
{
    if (instance.contains(QLatin1Char('\\'))) {
        return QStringLiteral("the instance name holds a backslash");
    }
    if (instance.contains(QChar::Null)) {
        return QStringLiteral("the instance name holds a NUL character");
    }
    const QVector<QStringRef> segments = instance.splitRef(QLatin1Char('/'));
    for (const QStringRef &segment : segments) {
        if (segment.isEmpty()) {
            return QStringLiteral("the instance name holds an empty segment");
        }
        if (segment == QLatin1String(".") || segment == QLatin1String("..")) {
            return QStringLiteral("the instance name holds the segment \"%1\"").arg(segment);
        }
    }
    return QString();
}

} // namespace InstanceFile

} // namespace ConfigScript
