#pragma once

#include <QLineEdit>
#include <QVariant>

namespace ConfigScript {

/// An editor for any JSON value, on one line; it shows what is wrong while one types.
class JsonLineEdit : public QLineEdit
{
    Q_OBJECT

public:
    explicit JsonLineEdit(QWidget *parent = nullptr);

    void setJson(const QVariant &value);
    QVariant json() const; ///< invalid when the text is none

Q_SIGNALS:
    /// The user wants more room: the button in the line, or Ctrl+Enter.
    void linesRequested();

private:
    void showState();
};

} // namespace ConfigScript
