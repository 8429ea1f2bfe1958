#pragma once

#include "filehost/FileHostExport.h"

#include <QByteArray>
#include <QString>
#include <QVariant>

namespace ConfigScript {

/// Values of JSON data as QVariants, in the form that JsonText::value() gives them.
namespace JsonValue {

/**
 * @p value in that form: maps, lists, numbers and JSON values of any C++ type; a QDateTime as its
 * ISO 8601 text in UTC. Invalid when @p value, or anything inside it, has no JSON form: invalid
 * values, NaN, infinities, other types; or when it nests deeper than a JsonText may.
 */
FILEHOST_EXPORT QVariant normalized(const QVariant &value);

/// How many lists and maps of a normalized value lie inside each other.
FILEHOST_EXPORT int depth(const QVariant &value);

/// Whether two normalized values are the same JSON value; numbers by value, whatever their type.
/// Invalid values, which stand for none, are equal to each other only.
FILEHOST_EXPORT bool areEqual(const QVariant &left, const QVariant &right);

/// How many elements two lists have in common at their beginnings, and of the rest at their ends.
struct CommonEnds
{
    int begin;
    int end;
};
FILEHOST_EXPORT CommonEnds commonEnds(const QVariantList &left, const QVariantList &right);

/// Layout of a text that is made anew: on one line, "{ "a": 1 }" or without any blanks "{"a":1}".
enum class Layout { Spaced, Compact };

/// The JSON text of a normalized value.
FILEHOST_EXPORT QByteArray toText(const QVariant &value, Layout layout);

/// A JSON string, quotes included.
FILEHOST_EXPORT QByteArray toText(const QString &string);

} // namespace JsonValue

} // namespace ConfigScript
