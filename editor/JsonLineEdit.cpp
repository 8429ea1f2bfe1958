#include "JsonLineEdit.h"

#include "editor/EditorColors.h"
#include "editor/ValueText.h"

JsonLineEdit::JsonLineEdit(QWidget *parent)
    : QLineEdit(parent)
{
    connect(this, &QLineEdit::textChanged, this, &JsonLineEdit::showState);
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
