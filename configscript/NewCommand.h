#pragma once

#include "configscript/Command.h"

#include <QString>

namespace ConfigScript {

class Project;

/// configscript new: starting points for authors, a script or a whole project.
class NewCommand : public Command
{
public:
    explicit NewCommand(CLI::App &program);

    int run() override;

private:
    int makeScript() const;
    int makeProject() const;
    QString scriptName() const; ///< with its suffix; empty for a name without a file

    CLI::App *m_script;
    std::string m_kind;
    std::string m_scriptName;
    std::string m_projectPath;
    std::string m_newProjectPath;
};

} // namespace ConfigScript
