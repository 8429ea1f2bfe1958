#pragma once

#include <QTreeView>

namespace ConfigScript {

/// The fields of an instance. Editing begins in the column of the values, whichever is current.
class NodeView : public QTreeView
{
    Q_OBJECT

public:
    explicit NodeView(QWidget *parent = nullptr);

    /// Expands a small tree whole, of a large one the first level, and fits the columns.
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
