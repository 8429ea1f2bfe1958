#pragma once

#include <QByteArray>
#include <QString>

namespace ConfigScript {

/// What the editor remembers from one start to the next, in the user's settings.
struct EditorSettings
{
    QByteArray geometry; ///< of the window, as QWidget saves it
    QByteArray layout; ///< of the window's docks and bars, as QMainWindow saves it
    QString language; ///< of labels and units; empty for the project's
    bool showsEverything = false; ///< properties that describe others, too

    static EditorSettings load();
    void save() const;
};

} // namespace ConfigScript
