#include "JsonLineEdit.h"

#include "editor/BadgeIcon.h"
#include "editor/EditorColors.h"
#include "editor/ValueText.h"

#include <QAction>

namespace ConfigScript {

JsonLineEdit::JsonLineEdit(QWidget *parent)
    : QLineEdit(parent)
{
    connect(this, &QLineEdit::textChanged, this, &JsonLineEdit::showState);
    QAction *more = addAction(BadgeIcon::more(), TrailingPosition);
    more->setText(tr("Edit on many lines (Ctrl+Enter)"));
    more->setShortcut(Qt::CTRL + Qt::Key_Return);
    more->setShortcutContext(Qt::WidgetShortcut);
    connect(more, &QAction::triggered, this, &JsonLineEdit::linesRequested);
}

void JsonLineEdit::setJson(const QVariant &value)
{
    const QString text = ValueText::toText(value);
    setText(value.userType() == QMetaType::QString ? QLatin1Char('"') + text + QLatin1Char('"')
                                                   : text);
}

QVariant JsonLineEdit::json() const
{
    QString error;
    return ValueText::toJson(text(), error);
}

void JsonLineEdit::showState()
{
    QString error;
    const bool isJson = ValueText::toJson(text(), error).isValid();
    QPalette colors = parentWidget() ? parentWidget()->palette() : QPalette();
    if (!isJson) {
        colors.setColor(QPalette::Text, EditorColors(colors).error);
    }
    setPalette(colors);
    setToolTip(error);
    setAccessibleDescription(error);
}

} // namespace ConfigScript
