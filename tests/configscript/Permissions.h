#pragma once

#include <QFile>
#include <QString>

/// Gives a file or folder other permissions while it exists.
class Permissions
{
public:
    Permissions(const QString &path, QFile::Permissions permissions)
        : m_path(path)
        , m_previous(QFile::permissions(path))
    {
        QFile::setPermissions(path, permissions);
    }
    ~Permissions() { QFile::setPermissions(m_path, m_previous); }

private:
    Q_DISABLE_COPY(Permissions)

    QString m_path;
    QFile::Permissions m_previous;
};
