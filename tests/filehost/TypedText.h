#pragma once

#include <QDebug>
#include <QLocale>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <cmath>

/// A value of JSON data with its C++ types: QCOMPARE on variants takes 5 for 5.0 and for "5".
inline QString typedText(const QVariant &value)
{
    QString text;
    QDebug(&text).nospace() << value;
    switch (value.userType()) {
    case QMetaType::Double:
        return QStringLiteral("double %1%2")
            .arg(QLatin1String(value.toDouble() == 0 && std::signbit(value.toDouble()) ? "-" : ""))
            .arg(value.toDouble(), 0, 'g', QLocale::FloatingPointShortest);
    case QMetaType::QVariantList: {
        QStringList elements;
        const QVariantList list = value.toList();
        for (const QVariant &element : list) {
            elements.append(typedText(element));
        }
        return QStringLiteral("[%1]").arg(elements.join(QStringLiteral(", ")));
    }
    case QMetaType::QVariantMap: {
        QStringList members;
        const QVariantMap map = value.toMap();
        for (auto it = map.cbegin(); it != map.cend(); ++it) {
            members.append(it.key() + QStringLiteral(": ") + typedText(it.value()));
        }
        return QStringLiteral("{%1}").arg(members.join(QStringLiteral(", ")));
    }
    default:
        return text;
    }
}
