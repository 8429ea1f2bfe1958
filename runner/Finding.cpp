#include "Finding.h"

QString Finding::toString() const
{
    Diagnostic text = place;
    text.column = 0;
    text.message =
        (severity == Severity::Error ? QStringLiteral("error: ") : QStringLiteral("warning: "))
        + place.message + QStringLiteral(" [") + name + QLatin1Char(']');
    return text.toString();
}
