#pragma once

#include "runner/watch/ProjectWatcher.h"
#include "runner/watch/RoundDifference.h"

#include <QStringList>
#include <QVector>

class Output;
class Project;

/// Prints what a round of the command watch came to.
class WatchReport
{
public:
    enum class Format { Text, Json };

    /// What a round was about.
    struct Content
    {
        QVector<FileChange> changes; ///< none for the first round
        RoundDifference difference;
        QVector<ChangedTree> stored;
        QStringList unsettled; ///< files that the scripts would go on changing; relative
        int instances = 0; ///< in the project, for the first round
        int scripts = 0;
    };

    WatchReport(Format format, Output &output)
        : m_format(format)
        , m_output(output)
    {
    }

    void print(const Project &project, const Content &content, bool isDryRun);

private:
    void printText(const Project &project, const Content &content, bool isDryRun);
    void printJson(const Project &project, const Content &content, bool isDryRun);

    Format m_format;
    Output &m_output;
};
