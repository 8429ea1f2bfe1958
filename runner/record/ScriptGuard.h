#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QtGlobal>

#include <functional>

/**
 * What a program does about scripts that do not end. It is told of each run; runs do not nest.
 *
 * All operations are called on the thread that runs the scripts.
 */
class ScriptGuard
{
public:
    /// What runs, for messages.
    struct Subject
    {
        QString instance; ///< empty when none is known
        QString script; ///< file
        QString function; ///< empty for the evaluation of the script's text
    };

    /// Stops the engine that runs the script, or lets it go on. May be called on any thread.
    using Interrupt = std::function<void(bool isInterrupted)>;

    ScriptGuard() = default;
    virtual ~ScriptGuard() = default;

    /// A run begins. @p interrupt may be called until end() has returned.
    virtual void begin(const Subject &subject, const Interrupt &interrupt) = 0;

    /// The script calls an operation of its API.
    virtual void apiCalled(const QByteArray &operation, const QStringList &texts) = 0;

    /// Whether the run in progress was stopped.
    virtual bool hasInterrupted() = 0;

    /// The run has ended, and the engine is ready for the next.
    /// @return why it was stopped; empty when it was not
    virtual QString end() = 0;

private:
    Q_DISABLE_COPY(ScriptGuard)
};
