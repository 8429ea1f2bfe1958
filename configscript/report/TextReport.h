#pragma once

#include "configscript/report/Output.h"
#include "runner/record/RunRecord.h"

#include <QHash>

class Project;

/// Prints what happened in a run, for people.
class TextReport
{
public:
    enum class Detail { Everything, OnlyTrouble };

    TextReport(const Project &project, Output &output, Detail detail);

    /// All of it, as a resolver's run.
    void print(const RunRecord &report, bool isDryRun);

    void printRuns(const RunRecord &report);

    /// The runs as the events of one instance, each with what it wrote.
    void printEvents(const RunRecord &report);

    void printTrees(const RunRecord &report, bool isDryRun);

    /// Changes that a dry run does not come to any more.
    void printDropped(const QVector<ChangedTree> &trees);

    /// Errors that a run does not report any more.
    void printWithdrawn(const ScriptRun &run);

private:
    void printHeading(const ScriptRun &run, const QString &text);
    void printDetails(const ScriptRun &run);
    void printTree(const ChangedTree &tree, const QString &state);
    QString errorText(const JavaScriptApi::ErrorMessage &error) const;
    template <typename List, typename Print>
    void printSome(const List &list, const QString &noun, Print print);
    void printWrites(const ScriptRun &run);
    void printChanges(const QVector<PropertyChange> &changes, const QString &indentation);
    void printAnnounced(const RunRecord &report);
    void printSummary(const RunRecord &report, bool isDryRun);

    const Project &m_project;
    Output &m_output;
    Detail m_detail;
    QHash<QString, QString> m_texts;
};
