#include "LogDock.h"

#include <QTreeView>

namespace ConfigScript {

LogDock::LogDock(const QString &title, const QString &name, QAbstractItemModel &model,
                 QWidget *parent)
    : QDockWidget(title, parent)
    , m_view(new QTreeView(this))
{
    setObjectName(name);
    m_view->setModel(&model);
    m_view->setUniformRowHeights(true);
    m_view->setAccessibleName(title);
    setWidget(m_view);
    connect(&model, &QAbstractItemModel::rowsInserted, m_view,
            [view = m_view](const QModelIndex &parent) {
                if (!parent.isValid()) {
                    view->scrollToBottom();
                }
            });
}

} // namespace ConfigScript
