#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

/// Turns SIGINT and SIGTERM into a call on the thread of its maker. The second one ends the program
/// at once. At most one at a time.
class Termination : public QObject
{
    Q_OBJECT

public:
    Termination();
    ~Termination() override;

    /// While this is set, the program is ended at once, with the exit code of a success.
    static void setImmediate(bool isImmediate);

Q_SIGNALS:
    void requested();

private:
    std::unique_ptr<QSocketNotifier> m_notifier;
};
