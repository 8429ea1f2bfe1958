#pragma once

#include "configscript/report/Output.h"
#include "runner/record/RunRecord.h"

#include <QSharedPointer>
#include <QString>

class FileTreeNode;
class Project;
class ScriptGuard;
struct Diagnostic;

/// Resolves the dependencies of an instance inside one tree file.
class InplaceResolve
{
public:
    enum class Writing { File, Nothing };
    enum class Format { Text, Json };

    /**
     * @param treePath the file. Below the project's configuration folder it is the tree of the
     *        instance it is named after; anywhere else the tree of @p instance itself.
     */
    InplaceResolve(const Project &project, const QString &treePath, const QString &instance,
                   ScriptGuard &guard);

    /// Runs the scripts, prints what they changed as a diff, and writes it if all succeeded.
    /// @return the program's exit code
    int run(Writing writing, Format format, Output &output) const;

private:
    /// What came of it.
    struct Outcome
    {
        RunRecord report;
        QString diff; ///< empty when nothing changed
        QString error; ///< why the changes were not written, when they were to be
        bool isWritten = false;
        bool isSelectionEmpty = false;
    };

    QSharedPointer<FileTreeNode> readTree() const;
    bool write(const FileTreeNode &root, Diagnostic &error) const;
    void printJson(const Outcome &outcome, Writing writing, Output &output) const;
    void printText(const Outcome &outcome, Output &output) const;

    const Project &m_project;
    const QString m_treePath;
    const QString m_instance;
    ScriptGuard &m_guard;
};
