#include "EditorSettings.h"

#include <QSettings>

namespace ConfigScript {

namespace {

const QString s_geometry = QStringLiteral("window/geometry");
const QString s_layout = QStringLiteral("window/state");
const QString s_language = QStringLiteral("language");
const QString s_showsEverything = QStringLiteral("showsEverything");

} // namespace

EditorSettings EditorSettings::load()
{
    const QSettings settings;
    return {settings.value(s_geometry).toByteArray(), settings.value(s_layout).toByteArray(),
            settings.value(s_language).toString(), settings.value(s_showsEverything).toBool()};
}

void EditorSettings::save() const
{
    QSettings settings;
    settings.setValue(s_geometry, geometry);
    settings.setValue(s_layout, layout);
    settings.setValue(s_language, language);
    settings.setValue(s_showsEverything, showsEverything);
}

} // namespace ConfigScript
