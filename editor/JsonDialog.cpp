#include "JsonDialog.h"

#include "editor/EditorColors.h"
#include "editor/ValueText.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace ConfigScript {

JsonDialog::JsonDialog(const QString &title, const QString &text, QWidget *parent)
    : QDialog(parent)
    , m_text(new QPlainTextEdit(this))
    , m_error(new QLabel(this))
{
    setWindowTitle(title);
    QString error;
    const QVariant value = ValueText::toJson(text, error);
    m_text->setPlainText(value.isValid() ? ValueText::toLines(value) : text);
    m_text->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    m_text->setTabChangesFocus(true);
    m_text->setAccessibleName(title);
    m_error->setWordWrap(true);
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, EditorColors(colors).error);
    m_error->setPalette(colors);
    m_error->setAccessibleName(tr("What is wrong with the text"));

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    m_ok = buttons->button(QDialogButtonBox::Ok);
    m_ok->setShortcut(Qt::CTRL + Qt::Key_Return);
    m_ok->setToolTip(m_ok->shortcut().toString(QKeySequence::NativeText));
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_text, &QPlainTextEdit::textChanged, this, &JsonDialog::showState);
    showState();

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_text);
    layout->addWidget(m_error);
    layout->addWidget(buttons);
    resize(64 * fontMetrics().averageCharWidth(), 24 * fontMetrics().height());
}

QVariant JsonDialog::json() const
{
    QString error;
    return ValueText::toJson(m_text->toPlainText(), error);
}

void JsonDialog::showState()
{
    QString error;
    m_ok->setEnabled(ValueText::toJson(m_text->toPlainText(), error).isValid());
    m_error->setText(error);
}

} // namespace ConfigScript
