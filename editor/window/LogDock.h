#pragma once

#include <QDockWidget>

class QAbstractItemModel;
class QTreeView;

namespace ConfigScript {

/// A log beside the instance. While it grows, it shows its end.
class LogDock : public QDockWidget
{
    Q_OBJECT

public:
    /// @param name in the window's settings
    /// @param model outlives the dock
    LogDock(const QString &title, const QString &name, QAbstractItemModel &model, QWidget *parent);

    QTreeView &view() { return *m_view; }

private:
    QTreeView *m_view;
};

} // namespace ConfigScript
