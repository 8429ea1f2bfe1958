#pragma once

#include <QList>
#include <QStandardItem>
#include <QStringList>

namespace ConfigScript {

/// A row of items that show texts, in tooltips, too, where there is little room.
inline QList<QStandardItem *> readOnlyRow(const QStringList &texts)
{
    QList<QStandardItem *> items;
    for (const QString &text : texts) {
        items.append(new QStandardItem(text));
        items.constLast()->setEditable(false);
        items.constLast()->setToolTip(text);
    }
    return items;
}

} // namespace ConfigScript
