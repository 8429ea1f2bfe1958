#include "CheckCommand.h"

#include "configscript/ExitCode.h"
#include "configscript/Findings.h"
#include "configscript/Output.h"
#include "configscript/ProjectArgument.h"
#include "configscript/ScriptWatchdog.h"
#include "filehost/Manifest.h"
#include "runner/ProjectCheck.h"

CheckCommand::CheckCommand(CLI::App &program)
    : Command(program, "check",
              "Look for mistakes in a project, without calling its scripts' functions")
{
    arguments().add_option("PROJECT", m_projectPath, "The project folder")->required();
    arguments().add_flag("--json", m_isJson, "Print the findings as JSON");
    arguments().add_flag("--no-color", m_isColorless, "Print no colours, not even on a terminal");
    m_limits.addOptions(arguments());
}

int CheckCommand::run()
{
    m_limits.limitMemory();
    const auto project = openProject(m_projectPath);
    if (!project) {
        return ExitCode::unusable;
    }
    ScriptWatchdog watchdog(m_limits.timeout());
    const auto findings = ProjectCheck(*project, watchdog).checkAll(Manifest(*project));
    Output output(m_isColorless ? Output::Color::Never : Output::Color::Automatic);
    if (m_isJson) {
        output.json(Findings::toJson(*project, findings));
    } else {
        Findings::print(output, findings);
        output.line(Findings::summary(findings));
    }
    return Findings::hasErrors(findings) ? ExitCode::failure : ExitCode::success;
}
