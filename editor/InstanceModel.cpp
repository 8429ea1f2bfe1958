#include "InstanceModel.h"

#include "editor/BadgeIcon.h"
#include "editor/ValueText.h"

#include <QFont>

namespace ConfigScript {

void InstanceModel::setInstances(const QStringList &instances, const QSet<QString> &listed)
{
    beginResetModel();
    m_entries.clear();
    m_top.clear();
    m_byPath.clear();
    m_listed = listed;
    for (const QString &instance : instances) {
        m_entries[add(instance)].isInstance = true;
    }
    endResetModel();
}

/// The entry of a path; made, with those above it, if it is not there.
int InstanceModel::add(const QString &path)
{
    const auto known = m_byPath.constFind(path);
    if (known != m_byPath.cend()) {
        return *known;
    }
    const int slash = path.lastIndexOf(QLatin1Char('/'));
    const int parent = slash < 0 ? -1 : add(path.left(slash));
    QVector<int> &siblings =
        parent < 0 ? m_top : m_entries[parent].children; // clazy:exclude=detaching-member
    const int entry = m_entries.size();
    const int row = siblings.size();
    siblings.append(entry);
    m_entries.append({path.mid(slash + 1), path, parent, row, false, {}});
    m_byPath.insert(path, entry);
    return entry;
}

void InstanceModel::setBadges(const QString &instance, const Badges &badges)
{
    m_badges.insert(instance, badges);
    const QModelIndex index = indexOf(instance);
    if (index.isValid()) {
        Q_EMIT dataChanged(index, index.siblingAtColumn(ColumnCount - 1));
    }
}

QModelIndex InstanceModel::indexOf(const QString &instance) const
{
    const int entry = m_byPath.value(instance, -1);
    return entry < 0 ? QModelIndex() : createIndex(m_entries.at(entry).row, 0, quintptr(entry));
}

QModelIndex InstanceModel::index(int row, int column, const QModelIndex &parent) const
{
    if (row < 0 || column < 0 || column >= ColumnCount || row >= rowCount(parent)) {
        return QModelIndex();
    }
    const QVector<int> &rows =
        parent.isValid() ? m_entries.at(int(parent.internalId())).children : m_top;
    return createIndex(row, column, quintptr(rows.at(row)));
}

QModelIndex InstanceModel::parent(const QModelIndex &index) const
{
    const int parent = index.isValid() ? m_entries.at(int(index.internalId())).parent : -1;
    return parent < 0 ? QModelIndex() : createIndex(m_entries.at(parent).row, 0, quintptr(parent));
}

int InstanceModel::rowCount(const QModelIndex &parent) const
{
    if (!parent.isValid()) {
        return m_top.size();
    }
    return parent.column() == 0 ? m_entries.at(int(parent.internalId())).children.size() : 0;
}

int InstanceModel::columnCount(const QModelIndex & /*parent*/) const
{
    return ColumnCount;
}

QVariant InstanceModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid()) {
        return QVariant();
    }
    const Entry &entry = m_entries.at(int(index.internalId()));
    if (role == PathRole) {
        return entry.path;
    }
    if (role == InstanceRole) {
        return entry.isInstance ? entry.path : QString();
    }
    const QString badge = badgeText(entry, index.column());
    switch (role) {
    case Qt::DisplayRole:
        return index.column() == NameColumn ? entry.name : QVariant();
    case Qt::DecorationRole:
        if (!badge.isEmpty()) {
            return index.column() == UnsavedColumn ? BadgeIcon::unsaved()
                : index.column() == ErrorColumn    ? BadgeIcon::error()
                                                   : BadgeIcon::listed();
        }
        return QVariant();
    case Qt::ToolTipRole:
        return index.column() == NameColumn ? entry.path : badge;
    case Qt::AccessibleTextRole: {
        if (index.column() != NameColumn) {
            return badge;
        }
        QStringList parts{entry.name};
        for (int column = UnsavedColumn; column < ColumnCount; ++column) {
            parts.append(badgeText(entry, column));
        }
        parts.removeAll(QString());
        return parts.join(QStringLiteral(", "));
    }
    case Qt::FontRole: {
        QFont font;
        font.setBold(m_badges.value(entry.path).unsaved > 0);
        font.setItalic(!entry.isInstance);
        return font;
    }
    default:
        return QVariant();
    }
}

QString InstanceModel::badgeText(const Entry &entry, int column) const
{
    const Badges badges = m_badges.value(entry.path);
    switch (column) {
    case UnsavedColumn:
        return badges.unsaved > 0
            ? ValueText::counted(badges.unsaved, tr("unsaved value"), tr("unsaved values"))
            : QString();
    case ErrorColumn:
        return badges.errors > 0 ? ValueText::counted(badges.errors, tr("error"), tr("errors"))
                                 : QString();
    case ListedColumn:
        return entry.isInstance && m_listed.contains(entry.path)
            ? tr("listed: its dependency script runs")
            : QString();
    default:
        return QString();
    }
}

QVariant InstanceModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation == Qt::Horizontal && role == Qt::DisplayRole && section == NameColumn) {
        return tr("Instance");
    }
    return QVariant();
}

} // namespace ConfigScript
