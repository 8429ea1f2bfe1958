#include "Diagnostic.h"

QString Diagnostic::toString() const
{
    QString place = file;
    if (line > 0) {
        place += QLatin1Char(':') + QString::number(line);
        if (column > 0) {
            place += QLatin1Char(':') + QString::number(column);
        }
    }
    return place.isEmpty() ? message : place + QStringLiteral(": ") + message;
}
