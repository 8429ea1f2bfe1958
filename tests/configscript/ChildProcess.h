#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <memory>

/// How a command ended, and what it wrote.
struct ChildProcess
{
    int exitCode;
    QByteArray output; ///< standard output
    QByteArray errors; ///< standard error
};

enum class Outputs {
    Pipes,
    Terminal, ///< one for both, which arrive as output
};

/**
 * A command that runs, without input. It ends with this object, if it did not before.
 *
 * QProcess would do, but not under user-mode emulation: it takes the kernel's word that processes
 * can be started with a file descriptor of their own, and the emulator cannot.
 */
class RunningProcess
{
public:
    /// @param command the program, looked up in PATH, and its arguments
    RunningProcess(const QStringList &command, const QString &folder,
                   const QProcessEnvironment &environment, Outputs outputs = Outputs::Pipes);
    ~RunningProcess();

    QByteArray output() const; ///< as far as it was read
    QByteArray errors() const;

    /// Waits until there is more to read. @return false when nothing came within the time, in
    /// milliseconds, or when all is read
    bool readMore(int time);

    /// Reads no output any more, and takes none.
    void closeOutput();

    void signal(int number) const;

    /// @return exit code -1, and the reason as errors, if it did not start, was killed by a signal,
    ///         or took more than two minutes
    ChildProcess waitForEnd();

private:
    Q_DISABLE_COPY(RunningProcess)

    struct Parts;
    std::unique_ptr<Parts> m_parts;
};

/**
 * Runs a command to its end.
 * @return as RunningProcess::waitForEnd() does
 */
ChildProcess runChildProcess(
    const QStringList &command, const QString &folder,
    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
    Outputs outputs = Outputs::Pipes);
