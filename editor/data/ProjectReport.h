#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

namespace ConfigScript {

/// Which instances a project has.
struct ProjectReport
{
    QStringList instances;
    QSet<QString> listed; ///< those in the manifest
    QString manifestError; ///< why the manifest cannot be used; empty when it can
};

} // namespace ConfigScript
