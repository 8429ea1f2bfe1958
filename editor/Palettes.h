#pragma once

#include <QString>
#include <QStringList>

namespace ConfigScript {

/// The palettes that the program can be started with.
namespace Palettes {

/// "system", "light", "dark".
QStringList names();

/// @return false when there is none of that name
bool use(const QString &name);

} // namespace Palettes

} // namespace ConfigScript
