#pragma once

#include <QAbstractItemModel>
#include <QHash>
#include <QSet>
#include <QStringList>
#include <QVector>

namespace ConfigScript {

/**
 * The names of a project's instances as a tree: one row for each part of a name. A row may be an
 * instance, a folder of others, or both. Trees are not read for it.
 */
class InstanceModel : public QAbstractItemModel
{
    Q_OBJECT

public:
    enum Column { NameColumn, UnsavedColumn, ErrorColumn, ListedColumn, ColumnCount };

    enum Role {
        InstanceRole = Qt::UserRole, ///< the whole name; empty for a folder that is no instance
        PathRole, ///< the whole name, also of a folder
    };

    /// What is known of an open instance.
    struct Badges
    {
        int unsaved = 0; ///< properties
        int errors = 0; ///< that its script reported; also 1 when it cannot be read
    };

    using QAbstractItemModel::QAbstractItemModel;

    /// @param listed those in the manifest
    void setInstances(const QStringList &instances, const QSet<QString> &listed);
    void setBadges(const QString &instance, const Badges &badges);

    QModelIndex indexOf(const QString &instance) const;

    QModelIndex index(int row, int column,
                      const QModelIndex &parent = QModelIndex()) const override;
    QModelIndex parent(const QModelIndex &index) const override;
    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    struct Entry
    {
        QString name; ///< the last part
        QString path;
        int parent; ///< -1 for none
        int row;
        bool isInstance;
        QVector<int> children;
    };

    int add(const QString &path);
    QString badgeText(const Entry &entry, int column) const;

    QVector<Entry> m_entries;
    QVector<int> m_top;
    QHash<QString, int> m_byPath;
    QSet<QString> m_listed;
    QHash<QString, Badges> m_badges;
};

} // namespace ConfigScript
