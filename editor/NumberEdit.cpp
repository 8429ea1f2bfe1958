#include "NumberEdit.h"

#include "editor/ValueText.h"
#include "filehost/json/JsonText.h"

#include <QLineEdit>

#include <cmath>

namespace ConfigScript {

NumberEdit::NumberEdit(QWidget *parent)
    : QAbstractSpinBox(parent)
{
    m_series.setSingleShot(true);
    m_series.setInterval(seriesTime);
    connect(&m_series, &QTimer::timeout, this, &NumberEdit::seriesEnded);
}

void NumberEdit::setNumber(const QVariant &number)
{
    lineEdit()->setText(ValueText::toText(number));
}

QVariant NumberEdit::number() const
{
    return ValueText::toNumber(text());
}

void NumberEdit::stepBy(int steps)
{
    const QVariant number = this->number();
    if (!number.isValid()) {
        return;
    }
    const QString text = this->text().trimmed();
    const int point = text.indexOf(QLatin1Char('.'));
    const bool isPlain = !text.contains(QLatin1Char('e'), Qt::CaseInsensitive);
    const int decimals = point < 0 || !isPlain ? 0 : text.size() - point - 1;
    const double step = steps * std::pow(10.0, -decimals);
    lineEdit()->setText(isPlain
                            ? QString::number(number.toDouble() + step, 'f', decimals)
                            : ValueText::toText(JsonText::numberValue(number.toDouble() + step)));
    lineEdit()->setModified(true);
    selectAll();
    m_series.start();
}

QValidator::State NumberEdit::validate(QString &text, int & /*position*/) const
{
    return ValueText::toNumber(text).isValid() ? QValidator::Acceptable : QValidator::Intermediate;
}

QAbstractSpinBox::StepEnabled NumberEdit::stepEnabled() const
{
    return StepUpEnabled | StepDownEnabled;
}

} // namespace ConfigScript
