#pragma once

#include <QList>
#include <QStandardItem>
#include <QStringList>

namespace ConfigScript {

/// A row of items that show these texts. Each text is its item's tooltip, too, because a column may
/// be too narrow for it.
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
