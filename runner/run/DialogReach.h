#pragma once

#include <QString>
#include <QStringList>

#include <optional>

namespace ConfigScript {

/// Which trees the script of a dialog can reach.
enum class DialogReach {
    Instance, ///< its own, as in a product's dialogs: nothing by absolute URL
    Project, ///< by absolute URL those of the project and of the other objects that it names, too
};

/// The names that options and files have for them; the default comes first.
QStringList dialogReachNames();

QString nameOf(DialogReach reach);

/// Nothing when no reach has this name.
std::optional<DialogReach> dialogReachOf(const QString &name);

} // namespace ConfigScript
