#pragma once

#include <QColor>

class QPalette;

namespace ConfigScript {

/// The colours with a meaning, as they are readable on a palette's base.
class EditorColors
{
public:
    explicit EditorColors(const QPalette &palette);

    QColor error; ///< text, and marks
    QColor errorBase; ///< behind the text of a field with an error
    QColor warning; ///< text
    QColor scriptBase; ///< behind a value that a script has written
    QColor flash; ///< behind a value that a script writes at this moment
    QColor subdued; ///< less important text

    static QColor mixed(const QColor &first, const QColor &second, qreal shareOfSecond);
};

} // namespace ConfigScript
