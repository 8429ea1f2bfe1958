#pragma once

#include "filehost/FileHostExport.h"

#include <QDir>
#include <QString>

namespace ConfigScript {

/// Where the tree of an instance lies, and the walls around it.
namespace InstanceFile {

/**
 * The path of an instance's tree in a project's configuration or process folder: <instance>.json.
 *
 * @return empty, with @p error set, when the name is none ("", ".", "..", empty segments, a
 *         backslash, NUL, the manifest's), or when a link on the way leads out of the project
 * folder, the folder that holds @p folder. The file need not exist.
 */
FILEHOST_EXPORT QString path(const QDir &folder, const QString &instance, QString &error);

/// What is wrong with an instance name; empty for nothing.
FILEHOST_EXPORT QString nameError(const QString &instance);

} // namespace InstanceFile

} // namespace ConfigScript
