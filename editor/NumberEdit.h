#pragma once

#include <QAbstractSpinBox>
#include <QTimer>
#include <QVariant>

namespace ConfigScript {

/**
 * An editor for a JSON number of any size. A step changes its last decimal place, as it is written:
 * 0.15 goes to 0.16, 11 to 12.
 *
 * Steps that follow each other within 300 ms are one series; its end is announced once.
 */
class NumberEdit : public QAbstractSpinBox
{
    Q_OBJECT

public:
    /// The longest pause inside a series of steps, in milliseconds.
    static constexpr int seriesTime = 300;

    explicit NumberEdit(QWidget *parent = nullptr);

    void setNumber(const QVariant &number);
    QVariant number() const; ///< invalid when the text is none

    void stepBy(int steps) override;
    QValidator::State validate(QString &text, int &position) const override;

Q_SIGNALS:
    void seriesEnded();

protected:
    StepEnabled stepEnabled() const override;

private:
    QTimer m_series;
};

} // namespace ConfigScript
