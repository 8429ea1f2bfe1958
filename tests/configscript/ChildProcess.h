#pragma once

#include <QByteArray>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

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
 * Runs a command to its end, without input.
 *
 * QProcess would do, but not under user-mode emulation: it takes the kernel's word that processes
 * can be started with a file descriptor of their own, and the emulator cannot.
 *
 * @param command the program, looked up in PATH, and its arguments
 * @return exit code -1, and the reason as errors, if it did not start, was killed by a signal, or
 *         took more than two minutes
 */
ChildProcess runChildProcess(
    const QStringList &command, const QString &folder,
    const QProcessEnvironment &environment = QProcessEnvironment::systemEnvironment(),
    Outputs outputs = Outputs::Pipes);
