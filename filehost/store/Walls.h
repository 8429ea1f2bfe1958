#pragma once

#include "filehost/FileHostExport.h"

#include <QString>

namespace ConfigScript {

/// Whether files lie where they seem to lie.
namespace Walls {

/// Whether the file, or as much of its path as exists, really lies in the project folder or below:
/// whether no link leads out.
/// @param filePath absolute, beginning with @p projectPath
FILEHOST_EXPORT bool liesInside(const QString &projectPath, const QString &filePath);

} // namespace Walls

} // namespace ConfigScript
