#pragma once

#include "filehost/FileHostExport.h"

#include <QString>

namespace ConfigScript {

/// What is wrong in a file, and where.
struct FILEHOST_EXPORT Diagnostic
{
    QString file;
    int line = 0; ///< from 1; 0 for the file as a whole
    int column = 0; ///< in characters, from 1; 0 for the line as a whole
    QString message;

    /// "file:line:column: message", without the numbers that are 0.
    QString toString() const;
};

} // namespace ConfigScript
