#include "ScriptThread.h"

#include <QDeadlineTimer>

#include <cstdio>
#include <cstdlib>

namespace ConfigScript {

namespace {

[[noreturn]] void endProgram(const QString &function)
{
    std::fprintf(stderr,
                 "configscript-editor: %s does not stop, and so the program ends with it; no file "
                 "has changed since it began\n",
                 function.isEmpty() ? "a script" : qPrintable(function));
    std::_Exit(1); // destructors would wait for the thread, or destroy what it uses
}

} // namespace

ScriptThread::ScriptThread(const Project &project, DialogReach reach)
    : m_worker(new ScriptWorker(project, reach, m_stopper))
{
    m_patience.setSingleShot(true);
    m_patience.setInterval(patience);
    connect(&m_patience, &QTimer::timeout, this, &ScriptThread::becameSlow);

    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    m_thread.setObjectName(QStringLiteral("scripts"));
    m_thread.start();
}

ScriptThread::~ScriptThread()
{
    constexpr std::chrono::milliseconds step{100};
    // This comes after all tasks that were posted before.
    QMetaObject::invokeMethod(
        m_worker, [this] { m_thread.quit(); }, Qt::QueuedConnection);
    QDeadlineTimer deadline(mercy);
    do {
        m_stopper.stop();
        const auto function = m_stopper.running();
        if (!function) {
            deadline.setRemainingTime(
                mercy); // no script: something is being read or written, and may take its time
        } else if (deadline.hasExpired()) {
            endProgram(*function);
        }
    } while (!m_thread.wait(QDeadlineTimer(step)));
}

void ScriptThread::post(const std::function<Answer(ScriptWorker &worker)> &task)
{
    QMetaObject::invokeMethod(
        m_worker,
        [this, task] {
            m_stopper.beginTask();
            const Answer answer = task(*m_worker);
            m_stopper.endTask();
            QMetaObject::invokeMethod(
                this,
                [this, answer] {
                    answer();
                    taskEnded();
                },
                Qt::QueuedConnection);
        },
        Qt::QueuedConnection);
    if (++m_tasks == 1) {
        m_patience.start();
        Q_EMIT busyChanged(true);
    }
}

void ScriptThread::taskEnded()
{
    if (--m_tasks == 0) {
        m_patience.stop();
        Q_EMIT busyChanged(false);
    } else {
        m_patience.start(); // the next one has its own time
    }
}

} // namespace ConfigScript
