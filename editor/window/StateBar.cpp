#include "StateBar.h"

#include "editor/data/EventReport.h"

#include <QLabel>
#include <QPushButton>

#include <chrono>

namespace ConfigScript {

StateBar::StateBar(QWidget *parent)
    : QStatusBar(parent)
    , m_state(new QLabel(this))
    , m_stop(new QPushButton(tr("S&top Script"), this))
    , m_lastEvent(new QLabel(this))
{
    m_state->setAccessibleName(tr("State"));
    m_stop->setObjectName(QStringLiteral("stop"));
    m_stop->hide();
    connect(m_stop, &QPushButton::clicked, this, &StateBar::stopRequested);
    m_lastEvent->setAccessibleName(tr("Last event"));
    addWidget(m_state);
    addWidget(m_stop);
    addPermanentWidget(m_lastEvent);
}

void StateBar::setState(const QString &text)
{
    m_state->setText(text);
}

void StateBar::setOffersStop(bool offersStop)
{
    m_stop->setVisible(offersStop);
}

void StateBar::setLastEvent(const EventReport &report)
{
    const QString event = report.run.function + QLatin1Char(' ') + report.run.argument;
    m_lastEvent->setText(tr("Last event: %1 %2, %3 ms")
                             .arg(report.time.time().toString(Qt::ISODate), event.trimmed())
                             .arg(double(report.run.duration.count()) / 1e6, 0, 'f', 1));
}

void StateBar::tell(const QString &text)
{
    constexpr std::chrono::milliseconds time{10'000};
    showMessage(text, int(time.count()));
}

} // namespace ConfigScript
