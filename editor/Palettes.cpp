#include "Palettes.h"

#include "editor/EditorColors.h"

#include <QApplication>
#include <QPalette>

namespace ConfigScript {

namespace {

QPalette paletteOf(const QColor &window, const QColor &base, const QColor &text,
                   const QColor &highlight)
{
    const QColor disabled = EditorColors::mixed(window, text, 0.45);
    QPalette palette(window, window); // and the shades between
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, EditorColors::mixed(base, window, 0.5));
    palette.setColor(QPalette::Text, text);
    palette.setColor(QPalette::WindowText, text);
    palette.setColor(QPalette::ButtonText, text);
    palette.setColor(QPalette::ToolTipBase, base);
    palette.setColor(QPalette::ToolTipText, text);
    palette.setColor(QPalette::PlaceholderText, disabled);
    palette.setColor(QPalette::Highlight, highlight);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Link, highlight);
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
        palette.setColor(QPalette::Disabled, role, disabled);
    }
    return palette;
}

} // namespace

namespace Palettes {

QStringList names()
{
    return {QStringLiteral("system"), QStringLiteral("light"), QStringLiteral("dark")};
}

bool use(const QString &name)
{
    if (!names().contains(name)) {
        return false;
    }
    if (name == QLatin1String("system")) {
        return true;
    }
    QApplication::setStyle(QStringLiteral("Fusion"));
    QApplication::setPalette(name == QLatin1String("dark")
                                 ? paletteOf(QColor(45, 47, 51), QColor(32, 34, 37),
                                             QColor(226, 228, 231), QColor(58, 116, 190))
                                 : paletteOf(QColor(240, 240, 241), Qt::white, QColor(28, 30, 33),
                                             QColor(42, 104, 184)));
    return true;
}

} // namespace Palettes

} // namespace ConfigScript
