#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"
#include "configscript/report/DotText.h"

#include <optional>

class Output;
class Project;

/// configscript graph: draws which instances the scripts read and write.
class GraphCommand : public Command
{
public:
    explicit GraphCommand(CLI::App &program);

    int run() override;

private:
    bool draw(const FlowGraph &graph, const QString &title, Output &output) const;

    std::string m_projectPath;
    std::string m_instance;
    std::string m_svgPath;
    std::string m_pngPath;
    std::optional<DotText::Level> m_level;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
