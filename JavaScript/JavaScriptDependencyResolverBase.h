#pragma once

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptDependencyFileCache.h"
#include "JavaScript/JavaScriptExport.h"
#include "JavaScript/JavaScriptHandler.h"
#include "host/ConfigurationAndProcessDataBase.h"
#include "host/UnitManagerWrapper.h"

#include <QHash>
#include <QObject>
#include <QString>

class JavaScriptDependencyManager;
class JavaScriptRootPointerHandler;
class JavaScriptRunObserver;
class TextManager;

/**
 * Runs the dependency scripts of the instances collected: each script's "onSave", against its
 * instance's configuration tree; then saves all changed trees and announces the changed process
 * data.
 *
 * Which instances are collected is the derived classes' matter. They own the manifest manager and
 * the root pointer handler, and construct them after this base: the constructor stores the
 * references and uses neither.
 *
 * Failures are warned of and stop nothing. Used on one thread, but for setInterrupted(); a receiver
 * of the signal must not start another run on the same resolver.
 */
class JAVASCRIPT_EXPORT JavaScriptDependencyResolverBase : public QObject
{
    Q_OBJECT

public:
    /// What runs for one instance.
    struct DependencyToResolve
    {
        QString javaScript; ///< the script's text
        ConfigurationAndProcessDataBase::BaseClassSharedPointer
            rootPointer; ///< the instance's node
    };

    /**
     * @param projectPath the project folder; its dependency folder holds the scripts
     * @param moduleName module of the scripts' instances; absolute URLs of others are refused
     * @param objectName object of the scripts' instances
     * @param acceptAllObjects whether absolute URLs may name other objects
     */
    JavaScriptDependencyResolverBase(const QString &projectPath, const QString &moduleName,
                                     const QString &objectName,
                                     JavaScriptDependencyManager &dependencyManager,
                                     JavaScriptRootPointerHandler &rootPointerHandler,
                                     const TextManager &textManager, bool acceptAllObjects,
                                     QObject *parent);
    ~JavaScriptDependencyResolverBase() override;

    /// Collects an instance. One without a node or without a script is dropped with a warning.
    void addExternalDependencyToResolve(const QString &instanceName);

    /// Runs everything collected, in no particular order; does nothing when nothing is.
    void resolveExternalDependencies();

    /// See JavaScriptHandler::setRunObserver().
    void setRunObserver(JavaScriptRunObserver *observer);

    /// See JavaScriptHandler::setInterrupted(). The resolver goes on with the next instance, whose
    /// script is stopped in its turn.
    void setInterrupted(bool interrupted);

Q_SIGNALS:
    /// The process description of an instance was changed. Emitted after all trees were saved,
    /// once for each changed URL.
    void processDataDescriptionChanged(const QString &instanceName);

protected:
    QHash<QString, DependencyToResolve> m_dependenciesToResolve; ///< by instance name
    QString m_projectPath;

private:
    QString m_moduleName;
    QString m_objectName;
    UnitManagerWrapper m_unitManagerWrapper;
    const TextManager &m_textManager;
    JavaScriptDependencyManager &m_dependencyManager;
    JavaScriptRootPointerHandler &m_rootPointerHandler;
    JavaScriptApi m_javaScriptApi;
    JavaScriptHandler m_javaScriptHandler;
    JavaScriptDependencyFileCache m_fileCache;
    JavaScriptRunObserver *m_runObserver;
};
