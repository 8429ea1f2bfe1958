#include "ScriptWatchdog.h"

#include "configscript/process/ExitCode.h"
#include "configscript/process/LastWords.h"
#include "configscript/report/Output.h"

#include <unistd.h>

namespace {

/// How long an interrupted script has to come to its end.
constexpr std::chrono::seconds s_grace(5);

constexpr int s_shownArgument = 200; ///< characters of an argument that a message shows

} // namespace

ScriptWatchdog::ScriptWatchdog(std::chrono::milliseconds limit)
    : m_limit(limit)
{
    if (m_limit.count() > 0) {
        m_thread = std::thread(&ScriptWatchdog::watch, this);
    }
}

ScriptWatchdog::~ScriptWatchdog()
{
    if (m_thread.joinable()) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_isEnding = true;
        }
        m_condition.notify_one();
        m_thread.join();
    }
}

/// Instance and script, as text.
QString ScriptWatchdog::placeOf(const Subject &subject)
{
    return subject.instance.isEmpty() ? subject.script
                                      : subject.instance + QStringLiteral(", ") + subject.script;
}

void ScriptWatchdog::begin(const Subject &subject, const Interrupt &interrupt)
{
    LastWords::scriptBegins(placeOf(subject));
    if (!m_thread.joinable()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_state = State::Running;
    m_deadline = Clock::now() + m_limit;
    m_subject = subject;
    m_interrupt = interrupt;
    m_operation.clear();
    m_texts.clear();
    // Mostly the thread sleeps towards the deadline of an earlier run: soon enough.
    if (m_deadline < m_wakeUp) {
        m_condition.notify_one();
    }
}

void ScriptWatchdog::apiCalled(const QByteArray &operation, const QStringList &texts)
{
    if (!m_thread.joinable()) {
        return;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_operation = operation;
    m_texts = texts;
}

bool ScriptWatchdog::hasInterrupted()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_state == State::Interrupted;
}

QString ScriptWatchdog::end()
{
    LastWords::scriptEnds();
    const std::lock_guard<std::mutex> lock(m_mutex);
    QString verdict;
    if (m_state == State::Interrupted) {
        m_interrupt(false);
        verdict = QStringLiteral("stopped: %1; %2").arg(overrun(), lastCall());
    }
    m_state = State::Idle;
    return verdict;
}

void ScriptWatchdog::watch()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isEnding) {
        if (m_state == State::Idle) {
            m_wakeUp = Clock::time_point::max();
            m_condition.wait(lock);
        } else if (Clock::now() < m_deadline) {
            m_wakeUp = m_deadline;
            m_condition.wait_until(lock, m_wakeUp);
        } else if (m_state == State::Running) {
            m_state = State::Interrupted;
            m_deadline = Clock::now() + s_grace;
            m_interrupt(true);
        } else {
            giveUp();
        }
    }
}

void ScriptWatchdog::giveUp() const
{
    Output::error(QStringLiteral("%1: %2, and cannot be stopped; %3. Nothing was written.")
                      .arg(placeOf(m_subject), overrun(), lastCall()));
    // The script's thread is busy: there is no way to end it in good order.
    _exit(ExitCode::failure);
}

QString ScriptWatchdog::overrun() const
{
    const QString what = m_subject.function.isEmpty()
        ? QStringLiteral("the evaluation of the script's text")
        : m_subject.function;
    return QStringLiteral("%1 took longer than %2 s (--timeout)")
        .arg(what)
        .arg(double(m_limit.count()) / 1000);
}

QString ScriptWatchdog::lastCall() const
{
    if (m_operation.isEmpty()) {
        return QStringLiteral("no API call");
    }
    QStringList texts;
    for (const QString &text : m_texts) {
        const bool isLong = text.size() > s_shownArgument;
        texts.append(QLatin1Char('"') + Output::printable(text.left(s_shownArgument))
                     + (isLong ? QStringLiteral("…\"") : QStringLiteral("\"")));
    }
    return QStringLiteral("last API call: %1(%2)")
        .arg(QString::fromUtf8(m_operation), texts.join(QStringLiteral(", ")));
}
