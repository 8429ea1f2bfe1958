#include "ProjectFolder.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

QString ProjectFolder::path(const QString &name) const
{
    return name.isEmpty() ? m_folder.path() : m_folder.filePath(name);
}

void ProjectFolder::write(const QString &name, const QByteArray &content) const
{
    makeFolder(QFileInfo(name).path());
    QFile file(path(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path(name)));
    }
}

void ProjectFolder::makeFolder(const QString &name) const
{
    QDir(path()).mkpath(name);
}

void ProjectFolder::link(const QString &name, const QString &target) const
{
    makeFolder(QFileInfo(name).path());
    if (!QFile::link(target, path(name))) {
        qFatal("cannot link %s", qPrintable(path(name)));
    }
}

QByteArray ProjectFolder::read(const QString &name) const
{
    QFile file(path(name));
    if (!file.open(QIODevice::ReadOnly)) {
        qFatal("cannot read %s", qPrintable(path(name)));
    }
    return file.readAll();
}

QStringList ProjectFolder::entries() const
{
    QStringList names;
    QDirIterator it(path(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        names.append(QDir(path()).relativeFilePath(it.next()));
    }
    names.sort();
    return names;
}
