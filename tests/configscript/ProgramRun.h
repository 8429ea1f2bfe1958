#pragma once

#include "configscript/ChildProcess.h"
#include "configscript/Files.h"

#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

#include <memory>

/**
 * The program, run to its end.
 *
 * Unless a test says otherwise it runs with C.UTF-8 as its locale, without a time zone or colours
 * of the tester's own, and its output is a pipe.
 */
struct ProgramRun
{
    int exitCode;
    QString output; ///< standard output, durations replaced by "#"
    QString errors; ///< standard error

    /// Of a run in a terminal, the output without the lines that tell how far it is: whether there
    /// are any is a matter of speed.
    QString outputWithoutProgress() const;

    /// For comparisons: one file for each of the three.
    Files files() const;
};

/// Where and how the program runs.
class Program
{
public:
    /// @param folder the folder to run in; it reads "<folder>" in the output
    explicit Program(const QString &folder);

    void setVariable(const QString &name, const QString &value);

    /// The command that starts the program, which is given the program and its arguments behind its
    /// own ones.
    void setLauncher(const QStringList &launcher);

    /// A shell command in which "$@" stands for the program and its arguments.
    void setShellCommand(const QString &command);

    /// Both outputs are one terminal, and so arrive as one.
    void runInTerminal();

    /// Without the superuser's power to read and write what the permissions forbid.
    void runWithoutPrivilege();

    ProgramRun run(const QStringList &arguments) const;

    /// Does not wait for the end. What it prints is as it comes.
    std::unique_ptr<RunningProcess> start(const QStringList &arguments) const;

    /// Whether an emulator runs the program, which is built for another machine.
    static bool isEmulated();

private:
    QString m_folder;
    QProcessEnvironment m_environment;
    QStringList m_launcher;
    Outputs m_outputs = Outputs::Pipes;
};

/// Compares the whole of a run.
#define COMPARE_RUN(actual, ...) COMPARE_FILES((actual).files(), (ProgramRun{__VA_ARGS__}).files())
