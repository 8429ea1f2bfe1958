#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>

/**
 * Stops scripts that run too long.
 *
 * A run that takes longer than the limit is interrupted. One that goes on all the same, because
 * what it waits for is built into the engine, ends the program a little later: with a message, the
 * exit code of a failure, and no file written.
 *
 * All operations are called on the thread that runs the scripts; runs do not nest.
 */
class ScriptWatchdog
{
public:
    /// What runs, for messages.
    struct Subject
    {
        QString instance; ///< empty when none is known
        QString script; ///< file
        QString function; ///< empty for the evaluation of the script's text

        /// As text: instance and script.
        QString place() const;
    };

    /// Stops the engine that runs the script, or lets it go on. Called on any thread.
    using Interrupt = std::function<void(bool isInterrupted)>;

    /// @param limit of each run; zero for none
    explicit ScriptWatchdog(std::chrono::milliseconds limit);
    ~ScriptWatchdog();

    /// A run begins, and with it its time. @p interrupt is called until end() has returned.
    void begin(const Subject &subject, const Interrupt &interrupt);

    /// The script calls an operation of its API.
    void apiCalled(const QByteArray &operation, const QStringList &texts);

    /// Whether the run in progress was stopped.
    bool hasInterrupted();

    /// The run has ended, and the engine is ready for the next.
    /// @return why it was stopped; empty when it was not
    QString end();

private:
    Q_DISABLE_COPY(ScriptWatchdog)

    using Clock = std::chrono::steady_clock;

    enum class State { Idle, Running, Interrupted };

    void watch();
    [[noreturn]] void giveUp() const;
    QString overrun() const;
    QString lastCall() const;

    const std::chrono::milliseconds m_limit;

    std::mutex m_mutex; ///< of all below
    std::condition_variable m_condition;
    State m_state = State::Idle;
    Clock::time_point m_wakeUp; ///< when the watching thread looks again, unless it is notified
    bool m_isEnding = false;
    Clock::time_point m_deadline;
    Subject m_subject;
    Interrupt m_interrupt;
    QByteArray m_operation; ///< the last that the script called; empty for none
    QStringList m_texts; ///< its arguments

    std::thread m_thread; ///< last: it uses the others
};
