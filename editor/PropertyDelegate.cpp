#include "PropertyDelegate.h"

#include "editor/JsonLineEdit.h"
#include "editor/NodeModel.h"
#include "editor/NumberEdit.h"
#include "editor/ValueText.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>

namespace ConfigScript {

namespace {

/// Where an editor's text is entered; null when it has none.
QLineEdit *lineOf(QWidget *editor)
{
    auto *line = qobject_cast<QLineEdit *>(editor);
    return line ? line : editor->findChild<QLineEdit *>();
}

} // namespace

QWidget *PropertyDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem & /*option*/,
                                        const QModelIndex &index) const
{
    const QVariant value = index.data(Qt::EditRole);
    QWidget *editor = nullptr;
    if (index.data(NodeModel::KeyRole).toString() == QLatin1String("value")
        && !index.data(NodeModel::ChoicesRole).toList().isEmpty()) {
        editor = createChoices(parent, index);
    } else if (ValueText::isNumber(value)) {
        auto *number = new NumberEdit(parent);
        connect(number, &NumberEdit::seriesEnded, this, [this, number] { commit(number); });
        editor = number;
    } else if (value.userType() == QMetaType::QString) {
        editor = new QLineEdit(parent);
    } else {
        auto *json = new JsonLineEdit(parent);
        connect(json, &JsonLineEdit::linesRequested, this,
                [this, json, field = QPersistentModelIndex(index)] {
                    const QString text = json->text();
                    Q_EMIT const_cast<PropertyDelegate *>(this)->closeEditor(json);
                    Q_EMIT linesRequested(field, text);
                });
        editor = json;
    }
    editor->setAccessibleName(index.siblingAtColumn(NodeModel::FieldColumn).data().toString());
    editor->setAutoFillBackground(true);
    return editor;
}

QWidget *PropertyDelegate::createChoices(QWidget *parent, const QModelIndex &index) const
{
    auto *box = new QComboBox(parent);
    const auto choices = NodeModel::choicesOf(index.data(NodeModel::ChoicesRole));
    for (const NodeModel::Choice &choice : choices) {
        box->addItem(choice.text, choice.value);
    }
    const QVariant value = index.data(Qt::EditRole);
    if (box->findData(value) < 0) { // what stands there is none of the choices
        box->insertItem(0, ValueText::toText(value), value);
    }
    connect(box, qOverload<int>(&QComboBox::activated), this, [this, box] {
        commit(box);
        Q_EMIT const_cast<PropertyDelegate *>(this)->closeEditor(box);
    });
    return box;
}

/// Editors are made by constant operations, but their commits are signals.
void PropertyDelegate::commit(QWidget *editor) const
{
    Q_EMIT const_cast<PropertyDelegate *>(this)->commitData(editor);
}

void PropertyDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    const QVariant value = index.data(Qt::EditRole);
    if (auto *box = qobject_cast<QComboBox *>(editor)) {
        box->setCurrentIndex(box->findData(value));
        return;
    }
    const QLineEdit *line = lineOf(editor);
    if (!line || line->isModified()) {
        return; // what is being entered is not overwritten by what a script writes
    }
    if (auto *number = qobject_cast<NumberEdit *>(editor)) {
        number->setNumber(value);
        number->selectAll();
    } else if (auto *json = qobject_cast<JsonLineEdit *>(editor)) {
        json->setJson(value);
    } else if (auto *text = qobject_cast<QLineEdit *>(editor)) {
        text->setText(value.toString());
    }
}

void PropertyDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                    const QModelIndex &index) const
{
    QVariant value;
    if (const auto *box = qobject_cast<QComboBox *>(editor)) {
        value = box->currentData();
    } else if (const auto *number = qobject_cast<NumberEdit *>(editor)) {
        value = number->number();
    } else if (const auto *json = qobject_cast<JsonLineEdit *>(editor)) {
        value = json->json();
    } else if (const auto *text = qobject_cast<QLineEdit *>(editor)) {
        value = text->text();
    }
    if (value.isValid()) {
        if (QLineEdit *line = lineOf(editor)) {
            line->setModified(false);
        }
        model->setData(index, value, Qt::EditRole);
    } else {
        QApplication::beep();
    }
}

void PropertyDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                            const QModelIndex &index) const
{
    QStyledItemDelegate::updateEditorGeometry(editor, option, index);
    if (qobject_cast<QLineEdit *>(editor)) {
        QRect geometry = editor->geometry();
        geometry.setRight(editor->parentWidget()->rect().right());
        editor->setGeometry(geometry);
    }
}

QSize PropertyDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    // Room for the frame of an editor.
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setHeight(option.fontMetrics.height() * 3 / 2);
    return size;
}

} // namespace ConfigScript
