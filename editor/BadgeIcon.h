#pragma once

#include <QIcon>

namespace ConfigScript {

/// Small marks in the colours of the application's palette.
namespace BadgeIcon {

QIcon unsaved(); ///< a dot
QIcon error(); ///< an exclamation mark in a disc
QIcon warning(); ///< an exclamation mark in a triangle
QIcon listed(); ///< two linked rings
QIcon more(); ///< three dots

} // namespace BadgeIcon

} // namespace ConfigScript
