#pragma once

#include "runner/record/ScriptGuard.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

/**
 * Stops scripts that run too long.
 *
 * A run that takes longer than the limit is interrupted. One that goes on all the same, because
 * what it waits for is built into the engine, ends the program a little later: with a message, the
 * exit code of a failure, and no file written.
 */
class ScriptWatchdog : public ScriptGuard
{
public:
    /// @param limit of each run; zero for none
    explicit ScriptWatchdog(std::chrono::milliseconds limit);
    ~ScriptWatchdog() override;

    void begin(const Subject &subject, const Interrupt &interrupt) override;
    void apiCalled(const QByteArray &operation, const QStringList &texts) override;
    bool hasInterrupted() override;
    QString end() override;

private:
    using Clock = std::chrono::steady_clock;

    enum class State { Idle, Running, Interrupted };

    static QString placeOf(const Subject &subject);
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
