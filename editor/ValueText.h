#pragma once

#include <QString>
#include <QVariant>

namespace ConfigScript {

/// Values as people read and enter them.
namespace ValueText {

/// A text as it is, any other value as JSON; "(none)" when there is no value.
QString toText(const QVariant &value);

/// JSON, with a line for each member of a map and each element of a list.
QString toLines(const QVariant &value);

/// A JSON number; invalid when @p text is none.
QVariant toNumber(const QString &text);

/// @param error set to what is wrong with @p text, and where, when the result is invalid
QVariant toJson(const QString &text, QString &error);

/// "1 file", "2 files"
QString counted(int count, const QString &one, const QString &many);

bool isNumber(const QVariant &value);

/// Whether the value is a map or a list.
bool isContainer(const QVariant &value);

} // namespace ValueText

} // namespace ConfigScript
