#pragma once

#include <QStyledItemDelegate>

namespace ConfigScript {

/**
 * Editors for values, by their type: a list of choices, a number, a text, JSON for everything else.
 * Truth values are check boxes of the view.
 *
 * A value is committed with Enter, Tab, or when the field is left; a choice at once; a series of
 * steps of a number when it ends. Escape gives up.
 */
class PropertyDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override;
    /// Lines of text reach to the right end of the view.
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

Q_SIGNALS:
    /// JSON is to be edited with more room; its editor is closed.
    /// @param text as it was entered so far
    void linesRequested(const QModelIndex &index, const QString &text) const;

private:
    void commit(QWidget *editor) const;
    QWidget *createChoices(QWidget *parent, const QModelIndex &index) const;
};

} // namespace ConfigScript
