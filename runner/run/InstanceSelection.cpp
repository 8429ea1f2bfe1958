#include "InstanceSelection.h"

#include "JavaScript/JavaScriptDependencyManager.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "runner/record/SilentLog.h"

QStringList selectedInstances(const Project &project, const QString &name, UnknownName unknown)
{
    QStringList instances;
    if (name.isEmpty()) {
        const Manifest manifest(project);
        for (const Manifest::Entry &entry : manifest.entries()) {
            instances.append(entry.instanceName);
        }
    } else {
        const SilentLog log; // what is wrong with the manifest is told in another way
        JavaScriptDependencyManager manager(project.path(),
                                            unknown == UnknownName::StandsForItsParent);
        instances = manager.getInstancesToResolve(name);
    }
    instances.removeDuplicates();
    return instances;
}
