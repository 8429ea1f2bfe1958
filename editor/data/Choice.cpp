#include "Choice.h"

#include "editor/data/ValueText.h"

namespace ConfigScript {

QVector<Choice> Choice::listOf(const QVariant &choices)
{
    QVector<Choice> result;
    const QVariantList list = choices.toList();
    for (const QVariant &choice : list) {
        if (choice.userType() == QMetaType::QVariantMap) {
            const QVariantMap map = choice.toMap();
            const QVariant url = map.value(QStringLiteral("url"));
            result.append({url, map.value(QStringLiteral("text"), url).toString()});
        } else {
            result.append({choice, ValueText::toText(choice)});
        }
    }
    return result;
}

} // namespace ConfigScript
