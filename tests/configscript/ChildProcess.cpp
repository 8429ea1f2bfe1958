#include "ChildProcess.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Texts as the system's calls take them: pointers, ended by a null pointer.
class CStrings
{
public:
    explicit CStrings(const QStringList &texts)
    {
        m_texts.reserve(texts.size());
        for (const QString &text : texts) {
            m_texts.append(QFile::encodeName(text));
        }
        for (QByteArray &text : m_texts) {
            m_pointers.append(text.data());
        }
        m_pointers.append(nullptr);
    }

    char *const *data() const { return m_pointers.constData(); }

private:
    QList<QByteArray> m_texts;
    QVector<char *> m_pointers;
};

ChildProcess notRun(const QByteArray &reason)
{
    return {-1, QByteArray(), "did not run to its end: " + reason + '\n'};
}

/// The end of a pipe or a terminal to read from, and what was read from it.
class Outlet
{
public:
    explicit Outlet(Outputs outputs)
        : m_isOpen(outputs == Outputs::Pipes
                       ? pipe2(m_ends, O_CLOEXEC) == 0
                       : openpty(&m_ends[0], &m_ends[1], nullptr, nullptr, nullptr) == 0)
    {
    }
    Outlet(const Outlet &) = delete;
    Outlet &operator=(const Outlet &) = delete;

    bool isOpen() const { return m_isOpen; }
    int writeEnd() const { return m_ends[1]; }
    void closeWriteEnd() { close(m_ends[1]); }
    void closeReadEnd()
    {
        if (m_isOpen) {
            close(m_ends[0]);
            m_isOpen = false;
        }
    }
    pollfd pollable() const { return {m_isOpen ? m_ends[0] : -1, POLLIN, 0}; }
    QByteArray contents() const { return m_contents; }

    /// Reads what there is; ends with the last writer. A terminal tells that with an error.
    void read()
    {
        char buffer[65536];
        const ssize_t length = ::read(m_ends[0], buffer, sizeof buffer);
        if (length > 0) {
            m_contents.append(buffer, int(length));
        } else if (length == 0 || errno != EINTR) {
            closeReadEnd();
        }
    }

private:
    int m_ends[2] = {-1, -1};
    bool m_isOpen;
    QByteArray m_contents;
};

/// Reads what there is, from one of the two at least.
/// @return false when there is nothing within the time, in milliseconds; negative for any time
bool readSome(Outlet &one, Outlet &other, int time)
{
    pollfd pollables[] = {one.pollable(), other.pollable()};
    const int count = poll(pollables, 2, time);
    if (pollables[0].revents != 0) {
        one.read();
    }
    if (pollables[1].revents != 0) {
        other.read();
    }
    return count != 0;
}

} // namespace

/// The process, and the ends of its outputs.
struct RunningProcess::Parts
{
    explicit Parts(Outputs outputs)
        : output(outputs)
        , errors(Outputs::Pipes)
    {
    }

    Outlet output;
    Outlet errors;
    pid_t process = 0;
    ChildProcess ending{-1, QByteArray(), QByteArray()};
};

RunningProcess::RunningProcess(const QStringList &command, const QString &folder,
                               const QProcessEnvironment &environment, Outputs outputs)
    : m_parts(std::make_unique<Parts>(outputs))
{
    Outlet &output = m_parts->output;
    Outlet &errors = m_parts->errors;
    if (!output.isOpen() || !errors.isOpen()) {
        m_parts->ending = notRun("no pipe or terminal");
        return;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, QFile::encodeName(folder).constData());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output.writeEnd(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(
        &actions, outputs == Outputs::Pipes ? errors.writeEnd() : output.writeEnd(), STDERR_FILENO);

    const CStrings arguments(QStringList{QStringLiteral("timeout"), QStringLiteral("--foreground"),
                                         QStringLiteral("--signal=KILL"), QStringLiteral("120")}
                             + command);
    const CStrings variables(environment.toStringList());
    const int error = posix_spawnp(&m_parts->process, "timeout", &actions, nullptr,
                                   arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    output.closeWriteEnd();
    errors.closeWriteEnd();
    if (error != 0) {
        m_parts->process = 0;
        m_parts->ending = notRun(std::strerror(error));
    }
}

RunningProcess::~RunningProcess()
{
    if (m_parts->process != 0) {
        signal(SIGTERM); // "timeout" hands it on
        closeOutput();
        waitForEnd();
    }
}

QByteArray RunningProcess::output() const
{
    return m_parts->output.contents();
}

QByteArray RunningProcess::errors() const
{
    return m_parts->errors.contents();
}

bool RunningProcess::readMore(int time)
{
    return (m_parts->output.isOpen() || m_parts->errors.isOpen())
        && readSome(m_parts->output, m_parts->errors, time);
}

void RunningProcess::closeOutput()
{
    m_parts->output.closeReadEnd();
}

void RunningProcess::signal(int number) const
{
    kill(m_parts->process, number);
}

ChildProcess RunningProcess::waitForEnd()
{
    if (m_parts->process == 0) {
        return m_parts->ending;
    }
    while (readMore(-1)) { }
    int status = 0;
    while (waitpid(m_parts->process, &status, 0) == -1 && errno == EINTR) { }
    m_parts->process = 0;
    // The shells' convention for a program that is not there, cannot run, or ended by a signal.
    constexpr int firstFailureToRun = 125;
    m_parts->ending = !WIFEXITED(status) || WEXITSTATUS(status) >= firstFailureToRun
        ? notRun("status " + QByteArray::number(status) + "\n" + errors())
        : ChildProcess{WEXITSTATUS(status), output(), errors()};
    return m_parts->ending;
}

ChildProcess runChildProcess(const QStringList &command, const QString &folder,
                             const QProcessEnvironment &environment, Outputs outputs)
{
    return RunningProcess(command, folder, environment, outputs).waitForEnd();
}
