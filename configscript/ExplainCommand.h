#pragma once

#include "configscript/Command.h"
#include "configscript/process/ScriptLimits.h"
#include "runner/flow/PropertyUrls.h"

#include <QVariant>
#include <QVector>

class DataFlow;
class FileTreeNode;
class Output;

/// configscript explain: tells where a value comes from, or where it goes.
class ExplainCommand : public Command
{
public:
    explicit ExplainCommand(CLI::App &program);

    int run() override;

private:
    QVector<int> propertiesOf(const DataFlow &flow, const PropertyUrls::Place &place) const;
    void print(const DataFlow &flow, const PropertyUrls &urls, const PropertyUrls::Place &place,
               const QVector<int> &properties, const QVariant &value, Output &output) const;

    std::string m_projectPath;
    std::string m_url;
    bool m_isForwards = false;
    bool m_showsAll = false;
    int m_depth = -1;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
