#pragma once

#include <QDebug>
#include <QString>
#include <QStringList>

template <typename Argument>
QString argumentText(const Argument &argument)
{
    QString text;
    QDebug(&text).nospace() << argument;
    return text;
}

/// A call as readable text: callText("setProperty", key, value) is setProperty("speed",
/// QVariant(int, 5)).
template <typename... Arguments>
QString callText(const char *operation, const Arguments &...arguments)
{
    return QLatin1String(operation) + QLatin1Char('(')
        + QStringList{argumentText(arguments)...}.join(QLatin1String(", ")) + QLatin1Char(')');
}
