#include "Finding.h"

namespace ConfigScript {

QString Finding::toString() const
{
    Finding finding = *this;
    finding.place.column = 0;
    return finding.toStringWithColumn();
}

QString Finding::toStringWithColumn() const
{
    Diagnostic text = place;
    text.message =
        (severity == Severity::Error ? QStringLiteral("error: ") : QStringLiteral("warning: "))
        + place.message + QStringLiteral(" [") + name + QLatin1Char(']');
    return text.toString();
}

} // namespace ConfigScript
