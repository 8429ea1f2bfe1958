#include "NodeView.h"

#include "editor/JsonDialog.h"
#include "editor/JsonLineEdit.h"
#include "editor/NodeModel.h"
#include "editor/PropertyDelegate.h"

#include <QApplication>
#include <QHeaderView>
#include <QKeyEvent>

namespace ConfigScript {

NodeView::NodeView(QWidget *parent)
    : QTreeView(parent)
{
    auto *delegate = new PropertyDelegate(this);
    connect(delegate, &PropertyDelegate::linesRequested, this, &NodeView::editLines);
    setItemDelegate(delegate);
    setSelectionBehavior(SelectRows);
    setEditTriggers(DoubleClicked | EditKeyPressed | AnyKeyPressed | SelectedClicked);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setTextElideMode(Qt::ElideRight);
    header()->setSectionsMovable(false);
    setAccessibleName(tr("Nodes and properties of the instance"));
}

void NodeView::showAll()
{
    constexpr int small = 1000;
    const auto *nodes = qobject_cast<NodeModel *>(model());
    const bool isSmall =
        nodes && nodes->document() && nodes->document()->snapshot().size() <= small;
    if (isSmall) {
        expandAll();
    } else {
        expandToDepth(0);
    }
    const int digit = fontMetrics().averageCharWidth();
    resizeColumnToContents(NodeModel::FieldColumn);
    setColumnWidth(NodeModel::FieldColumn,
                   qBound(20 * digit, columnWidth(NodeModel::FieldColumn), 48 * digit));
    setColumnWidth(NodeModel::ValueColumn, 28 * digit);
    setColumnWidth(NodeModel::UnitColumn, 9 * digit);
}

void NodeView::jumpTo(const QModelIndex &index)
{
    if (index.isValid()) {
        for (QModelIndex parent = index.parent(); parent.isValid(); parent = parent.parent()) {
            expand(parent.siblingAtColumn(0));
        }
        setCurrentIndex(index);
        scrollTo(index, PositionAtCenter);
        setFocus(Qt::OtherFocusReason);
    }
}

bool NodeView::edit(const QModelIndex &index, EditTrigger trigger, QEvent *event)
{
    const bool isMouse =
        event && event->type() >= QEvent::MouseButtonPress && event->type() <= QEvent::MouseMove;
    return QTreeView::edit(isMouse ? index : index.siblingAtColumn(NodeModel::ValueColumn), trigger,
                           event);
}

void NodeView::keyPressEvent(QKeyEvent *event)
{
    const bool isEnter = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isEnter && state() != EditingState && currentIndex().isValid()) {
        edit(currentIndex(), EditKeyPressed, event);
        const QModelIndex field = currentIndex().siblingAtColumn(NodeModel::ValueColumn);
        auto *json = qobject_cast<JsonLineEdit *>(indexWidget(field));
        if (json && event->modifiers().testFlag(Qt::ControlModifier)) {
            Q_EMIT json->linesRequested();
        }
        event->accept();
        return;
    }
    QTreeView::keyPressEvent(event);
}

void NodeView::editLines(const QModelIndex &index, const QString &text)
{
    auto *dialog = new JsonDialog(index.data(NodeModel::PathRole).toString() + QLatin1Char(':')
                                      + index.data(NodeModel::KeyRole).toString(),
                                  text, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    // The tree may be read again meanwhile.
    connect(dialog, &QDialog::accepted, this, [this, dialog, field = QPersistentModelIndex(index)] {
        if (!model()->setData(field, dialog->json())) {
            QApplication::beep();
        }
    });
    dialog->open();
}

} // namespace ConfigScript
