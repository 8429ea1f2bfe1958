#pragma once

#include <QTreeView>

namespace ConfigScript {

/// The fields of an instance. Whichever column is current, editing begins in that of the values.
class NodeView : public QTreeView
{
    Q_OBJECT

public:
    explicit NodeView(QWidget *parent = nullptr);

    /// Expands a small tree wholly, a large one to its first level, and fits the columns.
    void showAll();

    /// Makes a field current and visible, and gives it the keyboard.
    void jumpTo(const QModelIndex &index);

protected:
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void editLines(const QModelIndex &index, const QString &text);
};

} // namespace ConfigScript
