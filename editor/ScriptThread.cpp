#include "ScriptThread.h"

#include "editor/ScriptWorker.h"

#include <cstdlib>

namespace ConfigScript {

ScriptThread::ScriptThread(const Project &project)
    : m_worker(new ScriptWorker(project, m_stopper))
{
    // By the names that the signals give them, which are without the namespace.
    qRegisterMetaType<ProjectReport>("ProjectReport");
    qRegisterMetaType<EventReport>("EventReport");
    qRegisterMetaType<InstanceReport>("InstanceReport");
    qRegisterMetaType<SaveReport>("SaveReport");
    qRegisterMetaType<DependencyReport>("DependencyReport");
    qRegisterMetaType<RecordingReport>("RecordingReport");
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
    constexpr int mercy = 50; // tenths of a second
    m_thread.quit();
    for (int waited = 0; waited <= mercy; ++waited) {
        m_stopper.stop();
        if (m_thread.wait(100)) {
            return;
        }
    }
    std::_Exit(1);
}

void ScriptThread::run(const std::function<void(ScriptWorker &worker)> &task)
{
    QMetaObject::invokeMethod(
        m_worker,
        [this, task] {
            m_stopper.beginTask();
            task(*m_worker);
            m_stopper.endTask();
            QMetaObject::invokeMethod(
                this, [this] { taskEnded(); }, Qt::QueuedConnection);
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
