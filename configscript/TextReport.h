#pragma once

#include "configscript/Output.h"
#include "configscript/RunReport.h"

#include <QHash>

class Project;

/// Prints what happened in a run, for people.
class TextReport
{
public:
    enum class Detail { Everything, OnlyTrouble };

    TextReport(const Project &project, Output &output, Detail detail);

    void print(const RunReport &report, bool isDryRun);

private:
    void printRun(const ScriptRun &run, int instanceWidth, int scriptWidth);
    void printTree(const ChangedTree &tree, bool isDryRun);
    void printChanges(const QVector<PropertyChange> &changes, const QString &indentation);
    void printSummary(const RunReport &report, bool isDryRun);

    const Project &m_project;
    Output &m_output;
    Detail m_detail;
    QHash<QString, QString> m_texts;
};
