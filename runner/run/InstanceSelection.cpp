#include "InstanceSelection.h"

#include "JavaScript/JavaScriptDependencyManager.h"
#include "filehost/Project.h"
#include "runner/record/SilentLog.h"

namespace ConfigScript {

QStringList selectedInstances(const Project &project, const QString &name, UnknownName unknown)
{
    const SilentLog log; // what is wrong with the manifest is told in another way
    JavaScriptDependencyManager manager(project.path(), unknown == UnknownName::StandsForItsParent);
    QStringList instances = name.isEmpty() ? manager.getExternalDependencySourceInstanceList()
                                           : manager.getInstancesToResolve(name);
    instances.removeDuplicates();
    return instances;
}

} // namespace ConfigScript
