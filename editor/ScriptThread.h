#pragma once

#include "editor/ScriptStopper.h"

#include <QObject>
#include <QThread>
#include <QTimer>

#include <functional>

namespace ConfigScript {

class Project;
class ScriptWorker;

/**
 * The window's side of the worker: hands it tasks, knows whether it is busy, and stops its scripts.
 * Tasks are done one after the other.
 */
class ScriptThread : public QObject
{
    Q_OBJECT

public:
    /// Scripts that run longer can be stopped, in milliseconds.
    static constexpr int patience = 300;

    explicit ScriptThread(const Project &project);
    /// Stops what runs, and waits for it. A script that goes on all the same, because what it waits
    /// for is built into the engine, ends the program.
    ~ScriptThread() override;

    /// For its signals only: it lives on its thread.
    const ScriptWorker &worker() const { return *m_worker; }

    /// The task runs on the worker's thread, and must not refer to what is here.
    void run(const std::function<void(ScriptWorker &worker)> &task);

    bool isBusy() const { return m_tasks > 0; }

    /// Stops the scripts of the task that is at work.
    void stop() { m_stopper.stop(); }

Q_SIGNALS:
    void busyChanged(bool isBusy);

    /// A task has taken longer than the patience.
    void becameSlow();

private:
    void taskEnded();

    ScriptStopper m_stopper;
    QThread m_thread;
    ScriptWorker *m_worker; ///< lives and dies on the thread
    int m_tasks = 0;
    QTimer m_patience;
};

} // namespace ConfigScript
