#include "EditorColors.h"

#include <QPalette>

namespace ConfigScript {

EditorColors::EditorColors(const QPalette &palette)
{
    const QColor &base = palette.color(QPalette::Base);
    const QColor &text = palette.color(QPalette::Text);
    const bool isDark = base.lightnessF() < text.lightnessF();
    const auto readable = [isDark](int hue) {
        return QColor::fromHsl(hue, 200, isDark ? 170 : 90);
    };
    error = readable(0);
    warning = readable(35);
    errorBase = mixed(base, error, 0.15);
    scriptBase = mixed(base, palette.color(QPalette::Highlight), 0.15);
    flash = mixed(base, palette.color(QPalette::Highlight), 0.6);
    subdued = mixed(base, text, 0.65);
}

QColor EditorColors::mixed(const QColor &first, const QColor &second, qreal shareOfSecond)
{
    const qreal shareOfFirst = 1 - shareOfSecond;
    return QColor::fromRgbF(first.redF() * shareOfFirst + second.redF() * shareOfSecond,
                            first.greenF() * shareOfFirst + second.greenF() * shareOfSecond,
                            first.blueF() * shareOfFirst + second.blueF() * shareOfSecond);
}

} // namespace ConfigScript
