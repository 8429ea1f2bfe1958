#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"

#include <QVector>

class OrderRecord;
class Output;
class Project;
struct Finding;

/// configscript check: looks for mistakes in a project. Without --order no script's function runs.
class CheckCommand : public Command
{
public:
    explicit CheckCommand(CLI::App &program);

    int run() override;

private:
    void print(const Project &project, const QVector<Finding> &findings,
               const OrderRecord *orders) const;

    std::string m_projectPath;
    bool m_checksOrder = false;
    int m_orders = 8;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
