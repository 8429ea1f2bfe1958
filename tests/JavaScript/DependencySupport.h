#pragma once

#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "support/MessageRecorder.h"

#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>

/// What the tests of the dependency resolvers share: nodes with a dependency script, and what the
/// resolvers warn of.
namespace DependencySupport {

/// A node, as TestHost takes it, whose dependency script is @p scriptFile.
inline QJsonObject dependentNode(const QJsonValue &scriptFile, QJsonObject otherProperties = {})
{
    otherProperties.insert(
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern(),
        scriptFile);
    return {{QStringLiteral("properties"), otherProperties}};
}

inline QByteArray dependentTree(const QJsonValue &scriptFile,
                                const QJsonObject &otherProperties = {})
{
    return QJsonDocument(dependentNode(scriptFile, otherProperties)).toJson();
}

inline Message noNode(const QString &instance)
{
    return warning(
        QStringLiteral("void JavaScriptDependencyResolverBase::addExternalDependencyToResolve("
                       "const QString&)"),
        QStringLiteral("Can not acquire root pointer of instance: \"%1\"").arg(instance));
}

inline Message emptyScript(const QString &instance)
{
    return warning(
        QStringLiteral("void JavaScriptDependencyResolverBase::addExternalDependencyToResolve("
                       "const QString&)"),
        QStringLiteral("The javascript file is empty for: \"%1\"").arg(instance));
}

inline Message unreadableScript(const QString &projectPath, const QString &fileName)
{
    return warning(
        QStringLiteral("QString JavaScriptDependencyFileCache::readContentOfFile(const QString&) "
                       "const"),
        QStringLiteral("Can not open file: \"%1/%2\"")
            .arg(PropertyManagerConst::getDependencyFolderPath(projectPath), fileName));
}

inline Message failedScript(const QString &url, const QString &instance)
{
    return warning(
        QStringLiteral("void JavaScriptDependencyResolverBase::resolveExternalDependencies()"),
        QStringLiteral("Error occured during execution of external dependency script url: \"%1\" "
                       "sourceInstance: \"%2\"")
            .arg(url, instance));
}

} // namespace DependencySupport
