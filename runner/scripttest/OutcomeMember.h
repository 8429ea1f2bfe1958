#pragma once

#include <QString>
#include <QVariant>
#include <QVector>

/// A member of the object "expect" of a step, which docs/file-formats.md describes.
struct OutcomeMember
{
    enum class Id {
        Result,
        Writes,
        Unsaved,
        Errors,
        Announced,
        Exceptions,
        Warnings,
        Problems,
        Console,
        Reads,
    };

    Id id;
    QString name;
    QVariant defaultValue; ///< what a step expects that says nothing of it
    bool isOfEvents;
    bool isOfResolves;
    bool isOptional; ///< compared only where something is expected of it

    /// All, in the order in which they are shown.
    static const QVector<OutcomeMember> &all();

    static const OutcomeMember &of(Id id) { return all().at(int(id)); }

    /// Null for a name that no member has.
    static const OutcomeMember *find(const QString &name);
};
