#pragma once

#include <QByteArray>
#include <QVariant>

/// JSON text for people, and for what compares texts line by line.
namespace JsonLines {

/**
 * @param value a normalized one (see JsonValue)
 * @param indentation of the line that the value begins in; not in front of the value
 * @param openLevels of objects and arrays, from the outside, each with a line for every member;
 * those further inside have them only when they do not fit into one line
 */
QByteArray toText(const QVariant &value, const QByteArray &indentation, int openLevels);

} // namespace JsonLines
