#include "configscript/CheckCommand.h"
#include "configscript/ExplainCommand.h"
#include "configscript/GraphCommand.h"
#include "configscript/ListCommand.h"
#include "configscript/NewCommand.h"
#include "configscript/ResolveCommand.h"
#include "configscript/RunCommand.h"
#include "configscript/TestCommand.h"
#include "configscript/WatchCommand.h"
#include "configscript/process/ExitCode.h"
#include "configscript/process/LastWords.h"
#include "configscript/report/Output.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>
#include <QTextCodec>

#include <memory>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

/// Opens the standard streams that are closed, so that no file of a project takes their place.
void openStandardStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) == -1) {
            open("/dev/null", O_RDWR); // takes the lowest free descriptor: this one
        }
    }
}

} // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): running out of memory may end the program
int main(int argc, char *argv[])
{
    openStandardStreams();
    LastWords::prepare();
    // Arguments, file names and files are UTF-8, whatever the locale says.
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));

    CLI::App program("Runs the configuration scripts of a project.", "configscript");
    program.set_version_flag("--version", CONFIGSCRIPT_VERSION);
    program.set_help_all_flag("--help-all", "Print the help of all commands");
    program.require_subcommand(0, 1);
    program.footer(
        "Exit codes: 0 all went well; 1 a script or a test failed, the check found errors, or a\n"
        "file was not written; 2 wrong arguments or an unreadable project.");

    std::vector<std::unique_ptr<Command>> commands;
    commands.push_back(std::make_unique<ResolveCommand>(program));
    commands.push_back(std::make_unique<RunCommand>(program));
    commands.push_back(std::make_unique<WatchCommand>(program));
    commands.push_back(std::make_unique<CheckCommand>(program));
    commands.push_back(std::make_unique<TestCommand>(program));
    commands.push_back(std::make_unique<ListCommand>(program));
    commands.push_back(std::make_unique<GraphCommand>(program));
    commands.push_back(std::make_unique<ExplainCommand>(program));
    commands.push_back(std::make_unique<NewCommand>(program));

    try {
        program.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return program.exit(error) == 0 ? ExitCode::success : ExitCode::unusable;
    }

    const QCoreApplication application(argc, argv);
    for (const auto &command : commands) {
        if (command->isChosen()) {
            const int exitCode = command->run();
            const bool isWritten = Output::finish();
            return isWritten || exitCode != ExitCode::success ? exitCode : ExitCode::failure;
        }
    }
    Output::error(QStringLiteral("a command is missing; configscript --help lists them"));
    return ExitCode::unusable;
}
