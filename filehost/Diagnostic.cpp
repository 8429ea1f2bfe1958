#include "Diagnostic.h"

#include <QStringList>

namespace ConfigScript {

QString Diagnostic::toString() const
{
    QStringList place;
    if (!file.isEmpty()) {
        place.append(file);
    }
    if (line > 0) {
        place.append(QString::number(line));
        if (column > 0) {
            place.append(QString::number(column));
        }
    }
    const QString text = place.join(QLatin1Char(':'));
    return text.isEmpty() ? message : text + QStringLiteral(": ") + message;
}

} // namespace ConfigScript
