#include "host/SelectorUrlHandler.h"
#include "support/TestHost.h"

QString TestHost::url(const QString &scheme, const QString &moduleName, const QString &objectName,
                      const QString &instance, const QString &relUrl)
{
    return SelectorUrlHandler(QString())
        .setScheme(scheme)
        .setModuleName(moduleName)
        .setObjectName(objectName)
        .setInstance(instance)
        .setUrl(relUrl)
        .toString();
}
