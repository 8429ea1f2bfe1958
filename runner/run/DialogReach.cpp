#include "DialogReach.h"

namespace ConfigScript {

QStringList dialogReachNames()
{
    return {nameOf(DialogReach::Instance), nameOf(DialogReach::Project)};
}

QString nameOf(DialogReach reach)
{
    return reach == DialogReach::Project ? QStringLiteral("project") : QStringLiteral("instance");
}

std::optional<DialogReach> dialogReachOf(const QString &name)
{
    for (const DialogReach reach : {DialogReach::Instance, DialogReach::Project}) {
        if (name == nameOf(reach)) {
            return reach;
        }
    }
    return std::nullopt;
}

} // namespace ConfigScript
