#pragma once

#include "filehost/Diagnostic.h"

namespace ConfigScript {

/// Something that a check found.
struct Finding
{
    enum class Severity { Error, Warning };

    Severity severity;
    Diagnostic place; ///< what and where; the file relative to the project
    QString name; ///< of the kind of finding, for filters; docs/command.md lists them

    /// "file:line: severity: message [name]"
    QString toString() const;

    /// The same with the column, where one is known.
    QString toStringWithColumn() const;
};

} // namespace ConfigScript
