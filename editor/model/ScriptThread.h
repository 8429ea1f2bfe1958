#pragma once

#include "editor/worker/ScriptStopper.h"
#include "editor/worker/ScriptWorker.h"

#include <QObject>
#include <QPointer>
#include <QThread>
#include <QTimer>

#include <chrono>
#include <functional>
#include <utility>

namespace ConfigScript {

class Project;

/**
 * The window's side of the scripts' thread: hands tasks to the worker and their results back, knows
 * whether the worker is busy, and stops its scripts. Tasks are done one after the other.
 */
class ScriptThread : public QObject
{
    Q_OBJECT

public:
    /// Scripts that run longer can be stopped.
    static constexpr std::chrono::milliseconds patience{300};

    /// How long a script may go on after it was told to stop, when this object is destroyed.
    static constexpr std::chrono::seconds mercy{5};

    ScriptThread(const Project &project, DialogReach reach);

    /**
     * Stops the scripts, and waits until every task is done: what was to be written is written.
     *
     * A script that is inside a long operation of the engine itself cannot be stopped. When it
     * goes on for longer than the mercy, there is no way left to end its thread alone: the program
     * says so and exits with code 1. No file is being written then, because a thread that runs a
     * script does nothing else; tasks behind it are not done.
     */
    ~ScriptThread() override;

    /**
     * Runs @p task on the scripts' thread, with a ScriptWorker &, and then @p then on this thread,
     * with what the task returned.
     * @param task copies what it needs: it must not refer to anything of this thread
     * @param receiver lives on this thread; @p then is not called when it is gone by then
     */
    template <typename Task, typename Then>
    void run(Task task, QObject *receiver, Then then)
    {
        post([task = std::move(task), receiver = QPointer<QObject>(receiver),
              then = std::move(then)](ScriptWorker &worker) -> Answer {
            return [receiver, then, result = task(worker)] {
                if (receiver) {
                    then(result);
                }
            };
        });
    }

    /// The same for a task without a result.
    template <typename Task>
    void run(Task task)
    {
        post([task = std::move(task)](ScriptWorker &worker) -> Answer {
            task(worker);
            return [] {
            };
        });
    }

    bool isBusy() const { return m_tasks > 0; }

    /// Stops the scripts of the task that is at work.
    void stop() { m_stopper.stop(); }

Q_SIGNALS:
    void busyChanged(bool isBusy);

    /// A task has taken longer than the patience.
    void becameSlow();

private:
    using Answer = std::function<void()>; ///< what to do on this thread when the task is done

    void post(const std::function<Answer(ScriptWorker &worker)> &task);
    void taskEnded();

    ScriptStopper m_stopper;
    QThread m_thread;
    ScriptWorker *m_worker; ///< lives and dies on the thread
    int m_tasks = 0;
    QTimer m_patience;
};

} // namespace ConfigScript
