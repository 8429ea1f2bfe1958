#include "ChildProcess.h"

#include <QFile>

#include <cerrno>
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
            close(m_ends[0]);
            m_isOpen = false;
        }
    }

private:
    int m_ends[2] = {-1, -1};
    bool m_isOpen;
    QByteArray m_contents;
};

void readToEnd(Outlet &one, Outlet &other)
{
    while (one.isOpen() || other.isOpen()) {
        pollfd pollables[] = {one.pollable(), other.pollable()};
        if (poll(pollables, 2, -1) == -1) {
            continue;
        }
        if (pollables[0].revents != 0) {
            one.read();
        }
        if (pollables[1].revents != 0) {
            other.read();
        }
    }
}

} // namespace

ChildProcess runChildProcess(const QStringList &command, const QString &folder,
                             const QProcessEnvironment &environment, Outputs outputs)
{
    Outlet output(outputs);
    Outlet errors(Outputs::Pipes);
    if (!output.isOpen() || !errors.isOpen()) {
        return notRun("no pipe or terminal");
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
    pid_t process = 0;
    const int error =
        posix_spawnp(&process, "timeout", &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    output.closeWriteEnd();
    errors.closeWriteEnd();
    if (error != 0) {
        return notRun(std::strerror(error));
    }
    readToEnd(output, errors);
    int status = 0;
    while (waitpid(process, &status, 0) == -1 && errno == EINTR) { }
    // The shells' convention for a program that is not there, cannot run, or ended by a signal.
    constexpr int firstFailureToRun = 125;
    if (!WIFEXITED(status) || WEXITSTATUS(status) >= firstFailureToRun) {
        return notRun("status " + QByteArray::number(status) + "\n" + errors.contents());
    }
    return {WEXITSTATUS(status), output.contents(), errors.contents()};
}
