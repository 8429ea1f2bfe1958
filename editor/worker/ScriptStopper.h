#pragma once

#include "runner/record/ScriptGuard.h"

#include <QString>

#include <mutex>
#include <optional>

/**
 * Stops scripts when the user asks for it: the one that runs, and those that the same task would
 * run after it.
 */
class ScriptStopper : public ScriptGuard
{
public:
    /// May be called on any thread; does nothing when no task is at work.
    void stop();

    /// The function of the script that runs, empty while its text is evaluated; nothing when none
    /// runs. May be called on any thread.
    std::optional<QString> running() const;

    /// A task of the worker begins or ends. Called on the worker's thread.
    void beginTask();
    void endTask();

    void begin(const Subject &subject, const Interrupt &interrupt) override;
    void apiCalled(const QByteArray &operation, const QStringList &texts) override;
    bool hasInterrupted() override;
    QString end() override;

private:
    mutable std::mutex m_mutex; ///< guards all members below
    Interrupt m_interrupt; ///< of the run in progress; null for none
    QString m_function; ///< of the run in progress
    bool m_isAtWork = false; ///< a task
    bool m_isStopped = false; ///< the task at work
};
