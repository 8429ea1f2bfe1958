#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

/// A folder with any files, for the life of a test. Names are relative to it.
class ProjectFolder
{
public:
    QString path(const QString &name = QString()) const;

    void write(const QString &name, const QByteArray &content) const;
    void makeFolder(const QString &name) const;
    void link(const QString &name, const QString &target) const;

    QByteArray read(const QString &name) const;

    /// Everything below the folder, hidden files too, sorted.
    QStringList entries() const;

private:
    QTemporaryDir m_folder;
};
