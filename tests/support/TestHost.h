#pragma once

#include "host/ConfigurationAndProcessDataBase.h"
#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"
#include "host/TextManager.h"

#include <QHash>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

#include <memory>

/**
 * What a test needs of the host that the library is built on, whichever it is.
 *
 * Trees are given as JSON: { "properties": { key: value }, "readOnly": [ key ], "children": { name:
 * node } }, each member optional. Child names in relative URLs and instance names are joined by
 * "/" on every host; the syntax of absolute URLs differs.
 */
namespace TestHost {

enum class TreeKind { Configuration, Process };

/// Absolute URL with a scheme of any name.
QString url(const QString &scheme, const QString &moduleName, const QString &objectName,
            const QString &instance, const QString &relUrl = QString());
QString configUrl(const QString &moduleName, const QString &objectName, const QString &instance,
                  const QString &relUrl = QString());
QString processUrl(const QString &moduleName, const QString &objectName, const QString &instance,
                   const QString &relUrl = QString());

/// A tree that belongs to no project.
ConfigurationAndProcessDataBase::BaseClassSharedPointer makeTree(const QByteArray &json);

/// Puts a tree where the host's access operations read it.
void storeTree(const QString &projectPath, TreeKind kind, const QString &instance,
               const QByteArray &json);

/// A property as it is stored now; invalid when the tree, the node or the property is missing.
QVariant storedProperty(const QString &projectPath, TreeKind kind, const QString &instance,
                        const QString &relUrl, const QString &propertyKey);

std::unique_ptr<TextManager> makeTextManager(const QHash<QString, QString> &texts);

/// Objects that provide system information, by data type.
SystemInformationManagerDBusProviderDescriptionHandler makeProviders(
    const QVector<QPair<QString, QStringList>> &objectsByDataType);

/// The units that UnitManagerWrapper objects constructed from now on serve: unit to language to
/// text.
void useUnits(const QHash<QString, QVariantMap> &units);

} // namespace TestHost
