#pragma once

#include <QString>
#include <QStringRef>

namespace ConfigScript {

/**
 * Percent-encoding of the parts of a selector URL (RFC 3986, section 2.1).
 *
 * Encoded are control characters, the blank, and the ASCII characters that RFC 3986 reserves or
 * excludes, but for those that are harmless in every part. Characters beyond ASCII stay as they
 * are.
 */
namespace PercentEncoding {

enum class Slash { Kept, Encoded };

/// Appends the encoded form of @p part to @p url.
void append(QString &url, const QString &part, Slash slash);

/// @return false when @p text has a "%" without two hexadecimal digits, or encodes bytes that are
///         no UTF-8; @p part is then undefined
bool decode(const QStringRef &text, QString &part);

} // namespace PercentEncoding

} // namespace ConfigScript
