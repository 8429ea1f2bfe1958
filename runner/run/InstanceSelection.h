#pragma once

#include <QString>
#include <QStringList>

namespace ConfigScript {

class Project;

/// What becomes of a name that selects nothing.
enum class UnknownName {
    SelectsNothing,
    StandsForItsParent, ///< the name up to its last "/"
};

/**
 * The instances in a project's manifest whose scripts run when @p name is resolved, each once, in
 * the manifest's order: the one with that name; or, if the manifest does not list it, those whose
 * names begin with it; all for an empty name.
 */
QStringList selectedInstances(const Project &project, const QString &name,
                              UnknownName unknown = UnknownName::SelectsNothing);

} // namespace ConfigScript
