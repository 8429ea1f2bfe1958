#include "ScriptStopper.h"

namespace ConfigScript {

void ScriptStopper::stop()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isStopped = m_isAtWork;
    if (m_isStopped && m_interrupt) {
        m_interrupt(true);
    }
}

std::optional<QString> ScriptStopper::running() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_interrupt ? std::make_optional(m_function) : std::nullopt;
}

void ScriptStopper::beginTask()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isAtWork = true;
}

void ScriptStopper::endTask()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_isAtWork = false;
    m_isStopped = false;
}

void ScriptStopper::begin(const Subject &subject, const Interrupt &interrupt)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_interrupt = interrupt;
    m_function = subject.function;
    if (m_isStopped) {
        m_interrupt(true);
    }
}

void ScriptStopper::apiCalled(const QByteArray & /*operation*/, const QStringList & /*texts*/) { }

bool ScriptStopper::hasInterrupted()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_isStopped;
}

QString ScriptStopper::end()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_isStopped) {
        m_interrupt(false);
    }
    m_interrupt = nullptr;
    if (!m_isStopped) {
        return QString();
    }
    return m_function.isEmpty() ? QStringLiteral("the script was stopped by the user")
                                : m_function + QStringLiteral(" was stopped by the user");
}

} // namespace ConfigScript
