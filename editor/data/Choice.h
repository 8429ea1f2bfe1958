#pragma once

#include <QString>
#include <QVariant>
#include <QVector>

namespace ConfigScript {

/// A value to choose, and the text that stands for it.
struct Choice
{
    QVariant value;
    QString text;

    /// The choices that a property "choices" holds: a list of values, which stand for themselves,
    /// or of maps { "url": value, "text": its text }, as scripts get listings.
    static QVector<Choice> listOf(const QVariant &choices);
};

} // namespace ConfigScript
