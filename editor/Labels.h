#pragma once

#include <QHash>
#include <QString>
#include <QVariant>

namespace ConfigScript {

/// Label texts and the texts of units in the language of the window.
struct Labels
{
    QString language;
    QHash<QString, QString> texts; ///< by identifier
    QHash<QString, QVariantMap> units; ///< unit to language to text

    /// An identifier without a text stands for itself.
    QString text(const QString &textId) const { return texts.value(textId, textId); }

    /// A unit without a text in the language stands for itself.
    QString unit(const QString &unit) const
    {
        return units.value(unit).value(language, unit).toString();
    }
};

} // namespace ConfigScript
