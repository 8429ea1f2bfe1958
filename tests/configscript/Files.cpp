#include "Files.h"

#include "ChildProcess.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

Files readFiles(const QString &folder)
{
    Files files;
    QDirIterator entries(folder, QDir::Files | QDir::Hidden | QDir::System,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        QFile file(entries.next());
        if (!file.open(QIODevice::ReadOnly)) {
            qFatal("cannot read %s", qPrintable(file.fileName()));
        }
        files.insert(QDir(folder).relativeFilePath(file.fileName()), file.readAll());
    }
    return files;
}

void writeFiles(const QString &folder, const Files &files)
{
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        QFile file(QDir(folder).filePath(it.key()));
        QDir().mkpath(QFileInfo(file).path());
        if (!file.open(QIODevice::WriteOnly) || file.write(it.value()) != it.value().size()) {
            qFatal("cannot write %s", qPrintable(file.fileName()));
        }
    }
}

Files differingFiles(const Files &files, const Files &other)
{
    Files differing;
    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        if (!other.contains(it.key()) || other.value(it.key()) != it.value()) {
            differing.insert(it.key(), it.value());
        }
    }
    return differing;
}

QString difference(const Files &expected, const Files &actual)
{
    if (expected == actual) {
        return QString();
    }
    const QTemporaryDir folder;
    writeFiles(folder.filePath(QStringLiteral("expected")), expected);
    writeFiles(folder.filePath(QStringLiteral("actual")), actual);
    const ChildProcess diff =
        runChildProcess({QStringLiteral("diff"), QStringLiteral("-urN"), QStringLiteral("expected"),
                         QStringLiteral("actual")},
                        folder.path());
    return diff.output.isEmpty() ? QStringLiteral("the files differ, and diff shows nothing: ")
            + QString::fromUtf8(diff.errors)
                                 : QString::fromUtf8(diff.output);
}

QString differenceFromGolden(const QString &name, const Files &actual)
{
    const QString actualFolder = QStringLiteral(ACTUAL_FOLDER "/") + name;
    QDir(actualFolder).removeRecursively();
    writeFiles(actualFolder, actual);

    const QString goldenFolder = QStringLiteral(GOLDEN_FOLDER "/") + name;
    return QFileInfo(goldenFolder).isDir()
        ? difference(readFiles(goldenFolder), actual)
        : QStringLiteral("there is no folder %1; update-goldens.sh makes it").arg(goldenFolder);
}
