#pragma once

#include "JavaScript/JavaScriptApi.h"
#include "filehost/FileTree.h"
#include "runner/record/PropertyChange.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <QtGlobal>

#include <chrono>

/// A property that a script read or wrote.
struct TreeAccess
{
    /// Confirm: a write of the value that was there already.
    enum class Kind { Read, Write, Confirm };

    Kind kind;
    FileTree::Identity tree; ///< that the property is in
    QString path; ///< relative URL of the node
    QString key;
    QVariant value; ///< read, or written; invalid when there was none to read
    QVariant oldValue; ///< of a write; invalid when the property was added
    /// Of the copy that a script has of its own instance's tree, which it reaches by relative URL.
    bool isOfOwnCopy = false;

    bool isWrite() const { return kind == Kind::Write; }
    PropertyChange change() const { return {path, key, oldValue, value}; } ///< of a write
};

/// What a script wrote to its console.
struct ConsoleMessage
{
    QtMsgType level;
    int line; ///< 0 when the engine knows none
    QString text;
    bool isOfFunction; ///< not of the evaluation of the script's text
};

/// An Error that a script threw, or that kept it from being compiled.
struct ScriptException
{
    int line; ///< 0 when the engine knows none
    QString text;
    bool isOfFunction; ///< not of the evaluation of the script's text
};

/// A script's text evaluated and one of its functions called.
struct ScriptRun
{
    QString instance;
    QString script; ///< file, relative to the project
    QString function;
    QString argument;
    bool isEvaluated = false; ///< whether the text could be evaluated
    bool succeeded = false;
    std::chrono::nanoseconds duration{0};
    QVector<ScriptException> exceptions;
    QList<JavaScriptApi::ErrorMessage> errors;
    QVector<ConsoleMessage> console;
    QStringList warnings; ///< of the library and the host
    QVector<TreeAccess> accesses; ///< in their order, as far as they are recorded
    QString ranInstead; ///< the script whose function ran because this one has none
    QVector<PropertyChange> unsavedChanges; ///< by relative URL, in a tree that nobody saves

    /// The script whose text or function a message is of.
    QString scriptOf(bool isOfFunction) const
    {
        return isOfFunction && !ranInstead.isEmpty() ? ranInstead : script;
    }

    /// That the function of another script ran; empty when it did not.
    QString foreignFunctionText() const;
};

/// A tree that scripts changed.
struct ChangedTree
{
    FileTree::Identity identity;
    QString error; ///< why it could not be stored; empty when it could
    QVector<PropertyChange> changes;
};

/// An instance that was to run and could not.
struct OmittedRun
{
    QString instance;
    QString reason;
};

/// What happened when scripts ran.
struct RunRecord
{
    QStringList projectWarnings; ///< what is odd in the project's own files
    QVector<ScriptRun> runs;
    QVector<ChangedTree> trees;
    QVector<OmittedRun> notRun;
    QStringList announced; ///< instances whose process data changed
    QStringList warnings; ///< of the library and the host, outside the runs
    QSet<QString> treesRead; ///< files; those that were written, too
    QString refusal; ///< why nothing was saved, when it was to be
    std::chrono::nanoseconds duration{0};

    int failedRuns() const;
    int changedValues() const; ///< in the trees that could be stored; inside maps and lists, each
    int storedTrees() const;
    bool succeeded() const;

    /// Brings runs, trees, changes and announcements into an order that does not differ from run
    /// to run.
    void sort();
};
