#include "ProgressLine.h"

#include <cstdio>

#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds s_delay(400); // shorter runs show nothing
constexpr std::chrono::milliseconds s_interval(100);

} // namespace

ProgressLine::ProgressLine(Visibility visibility)
    : m_isPossible(visibility == Visibility::Automatic && isatty(STDOUT_FILENO) != 0
                   && isatty(STDERR_FILENO) != 0)
    , m_nextUpdate(Clock::now() + s_delay)
{
}

ProgressLine::~ProgressLine()
{
    clear();
}

void ProgressLine::show(const QString &activity, int done, int total)
{
    if (!m_isPossible || Clock::now() < m_nextUpdate) {
        return;
    }
    m_nextUpdate = Clock::now() + s_interval;
    m_isShown = true;
    const QString count =
        total > 0 ? QStringLiteral("%1 of %2").arg(done).arg(total) : QString::number(done);
    std::fprintf(stderr, "\r\033[K%s %s", activity.toUtf8().constData(),
                 count.toUtf8().constData());
    std::fflush(stderr);
}

void ProgressLine::clear()
{
    if (m_isShown) {
        std::fputs("\r\033[K", stderr);
        std::fflush(stderr);
        m_isShown = false;
    }
}
