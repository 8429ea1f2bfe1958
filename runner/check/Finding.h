#pragma once

#include "filehost/Diagnostic.h"

#include <QString>
#include <QVector>

/// Something that a check found.
struct Finding
{
    enum class Severity { Error, Warning };

    /// What is wrong. kinds() has a row for each.
    enum class Kind {
        Project,
        Manifest,
        ManifestEntry,
        MissingTree,
        MalformedTree,
        NoScript,
        NotListed,
        MissingScript,
        EmptyScript,
        ScriptError,
        HiddenFunction,
        MissingFunction,
        UnsavedWrite,
        OtherModule,
        UnknownObject,
        UnknownInstance,
        MissingText,
        MissingUnit,
        Texts,
        UnusedScript,
        OrderDependent,
        NotSettling,
        TwoWriters,
        ScriptFailed,
        NotSaved,
        SameOrder,
    };

    /// What docs/command.md says of a kind.
    struct Description
    {
        Kind kind;
        const char *name; ///< for filters, such as "missing-tree"
        bool canBeError;
        bool canBeWarning;
    };

    Severity severity;
    Diagnostic place; ///< what and where; the file relative to the project
    Kind kind;

    /// A finding of a kind that has one severity only.
    static Finding of(Kind kind, const Diagnostic &place);

    /// All kinds, in the order of the enumeration.
    static const QVector<Description> &kinds();

    /// The kind's.
    QString name() const;

    /// "file:line: severity: message [name]"
    QString toString() const;

    /// The same with the column, where one is known.
    QString toStringWithColumn() const;
};
