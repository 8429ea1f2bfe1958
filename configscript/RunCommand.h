#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"
#include "runner/run/EventRun.h"

#include <QVector>

#include <optional>
#include <vector>

class Project;

/// configscript run: fires events of one instance's user-interface script.
class RunCommand : public Command
{
public:
    explicit RunCommand(CLI::App &program);

    int run() override;

private:
    std::optional<QVector<EventRun::Event>> parseEvents() const;
    std::optional<QVector<EventRun::Edit>> parseEdits() const;
    bool isKnownInstance(const Project &project) const;
    bool canRecord() const;
    bool record(const QByteArray &text) const;
    void print(const Project &project, const RunRecord &report,
               const QVector<EventRun::Edit> &edits) const;

    std::string m_projectPath;
    std::string m_instance;
    std::string m_event;
    std::string m_argument;
    std::vector<std::string> m_events;
    std::vector<std::string> m_edits;
    std::string m_reach;
    std::string m_recordPath;
    bool m_isWriting = false;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
