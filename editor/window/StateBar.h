#pragma once

#include <QStatusBar>

class QLabel;
class QPushButton;

namespace ConfigScript {

struct EventReport;

/// The line at the bottom of the window: whether scripts run, a button that stops them, and the
/// last event.
class StateBar : public QStatusBar
{
    Q_OBJECT

public:
    explicit StateBar(QWidget *parent = nullptr);

    void setState(const QString &text);
    void setLastEvent(const EventReport &report);
    void setOffersStop(bool offersStop);

    /// Shows a message for a while.
    void tell(const QString &text);

Q_SIGNALS:
    void stopRequested();

private:
    QLabel *m_state;
    QPushButton *m_stop;
    QLabel *m_lastEvent;
};

} // namespace ConfigScript
