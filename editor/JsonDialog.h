#pragma once

#include <QDialog>
#include <QVariant>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace ConfigScript {

/// Edits a JSON value on many lines; it shows what is wrong while one types, and takes only JSON.
class JsonDialog : public QDialog
{
    Q_OBJECT

public:
    /// @param text is indented if it is JSON, else shown as it is
    JsonDialog(const QString &title, const QString &text, QWidget *parent);

    QVariant json() const; ///< invalid when the text is none

private:
    void showState();

    QPlainTextEdit *m_text;
    QLabel *m_error;
    QPushButton *m_ok;
};

} // namespace ConfigScript
