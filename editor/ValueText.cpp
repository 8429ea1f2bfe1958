#include "ValueText.h"

#include "filehost/json/JsonText.h"
#include "filehost/json/JsonValue.h"

#include <QJsonDocument>

namespace ConfigScript {

namespace ValueText {

QString toText(const QVariant &value)
{
    if (!value.isValid()) {
        return QStringLiteral("(none)");
    }
    return value.userType() == QMetaType::QString
        ? value.toString()
        : QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Spaced));
}

QString toLines(const QVariant &value)
{
    return isContainer(value)
        ? QString::fromUtf8(QJsonDocument::fromVariant(value).toJson().trimmed())
        : QString::fromUtf8(JsonValue::toText(value, JsonValue::Layout::Spaced));
}

QVariant toNumber(const QString &text)
{
    QString error;
    const QVariant value = toJson(text.trimmed(), error);
    return isNumber(value) ? value : QVariant();
}

QVariant toJson(const QString &text, QString &error)
{
    Diagnostic diagnostic;
    const JsonText json = JsonText::parse(text.toUtf8(), diagnostic);
    if (json.isNull()) {
        error = QStringLiteral("%1:%2: %3")
                    .arg(diagnostic.line)
                    .arg(diagnostic.column)
                    .arg(diagnostic.message);
        return QVariant();
    }
    return json.value(0);
}

QString counted(int count, const QString &one, const QString &many)
{
    return QStringLiteral("%1 %2").arg(count).arg(count == 1 ? one : many);
}

bool isNumber(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

bool isContainer(const QVariant &value)
{
    return value.userType() == QMetaType::QVariantMap
        || value.userType() == QMetaType::QVariantList;
}

} // namespace ValueText

} // namespace ConfigScript
