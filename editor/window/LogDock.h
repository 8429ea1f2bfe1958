#pragma once

#include <QDockWidget>

class QAbstractItemModel;
class QTreeView;

/// A log beside the instance; it stays at its end while it grows.
class LogDock : public QDockWidget
{
    Q_OBJECT

public:
    /// @param name under which the window keeps its place
    /// @param model outlives the dock
    LogDock(const QString &title, const QString &name, QAbstractItemModel &model, QWidget *parent);

    QTreeView &view() { return *m_view; }

private:
    QTreeView *m_view;
};
