#pragma once

#include "configscript/Command.h"
#include "configscript/RunReport.h"
#include "configscript/ScriptLimits.h"

#include <QSharedPointer>
#include <QString>
#include <QVector>

#include <optional>
#include <vector>

class FileTreeNode;
class Project;

/// configscript run: fires events of one instance's user-interface script.
class RunCommand : public Command
{
public:
    explicit RunCommand(CLI::App &program);

    int run() override;

private:
    struct Event
    {
        QString function;
        QString argument;
    };

    /// A value that the user edits before the events.
    struct Edit
    {
        QString relUrl;
        QString key;
        QVariant value;
    };

    std::optional<QVector<Event>> parseEvents() const;
    std::optional<QVector<Edit>> parseEdits() const;
    static bool areEditsPossible(const FileTreeNode &root, const QVector<Edit> &edits);
    std::optional<RunReport> fire(const Project &project, const QString &instance,
                                  const QVector<Edit> &edits, const QVector<Event> &events) const;
    void print(const Project &project, const RunReport &report, const QVector<Edit> &edits) const;

    std::string m_projectPath;
    std::string m_instance;
    std::string m_event;
    std::string m_argument;
    std::vector<std::string> m_events;
    std::vector<std::string> m_edits;
    bool m_isWriting = false;
    bool m_isJson = false;
    bool m_isColorless = false;
    ScriptLimits m_limits;
};
