#pragma once

#include <QString>

#include <chrono>

/// One line on the terminal that tells how far a run is. Shows itself only when the run lasts, and
/// only where standard output and standard error are terminals.
class ProgressLine
{
public:
    enum class Visibility { Automatic, Never };

    explicit ProgressLine(Visibility visibility);
    ~ProgressLine();

    /// @param total how many there are in all; 0 when nobody knows
    void show(const QString &activity, int done, int total);

    void clear();

private:
    using Clock = std::chrono::steady_clock;

    bool m_isPossible;
    bool m_isShown = false;
    Clock::time_point m_nextUpdate;
};
