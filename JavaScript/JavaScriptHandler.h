#pragma once

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptExport.h"

#include <QJSEngine>
#include <QJSValue>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>

class JavaScriptArgumentReader;
class JavaScriptRunObserver;

/**
 * Runs one configuration script at a time: evaluates its text once, then calls its event
 * functions with the API object.
 *
 * Order of use: initializeHandler() once for a script and a tree; any number of event calls; read
 * the changes and errors; saveChangedFiles() if the changes of other instances are to be written;
 * resetState() before the next instance.
 *
 * The engine lives as long as the handler: what a script defines globally stays defined until
 * another script defines it anew. Events do nothing and succeed as long as every script since
 * construction or resetState() was empty; an empty one changes nothing. Whatever fails is warned
 * of; nothing is thrown. A C++ exception of the host is an Error in the script.
 *
 * An operation of the host that a script calls may fire another event, but not bind, reset or
 * destroy anything.
 *
 * The API object is referred to, not owned, and must outlive the handler. Several handlers may
 * share it. A QCoreApplication must exist. The handler is used on the thread that created it, but
 * for setInterrupted(). A new handler costs about a millisecond (the engine), the evaluation of a
 * script about 0.14 ms for each KB of its text.
 */
class JAVASCRIPT_EXPORT JavaScriptHandler : public QObject
{
    Q_OBJECT

public:
    JavaScriptHandler(JavaScriptApi &javaScriptApi, QObject *parent);
    ~JavaScriptHandler() override;

    /**
     * Evaluates a script and binds the API to the tree that the script configures, also when the
     * script is empty or cannot be evaluated.
     */
    void initializeHandler(ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer,
                           const QString &javaScript, const QString &instanceUrl);

    /// Evaluates a script. An empty one changes nothing.
    void initializeJavaScriptEngine(const QString &javaScript);

    /**
     * Calls a global function of the script with the API object and, unless it is empty,
     * @p argument. Emits parametersChanged() once the instance was changed.
     * @return false when the function returned false, threw an Error, or could not be called
     */
    bool callFunction(const QString &functionName, const QString &argument);

    bool callFunctionOnOpen(); ///< calls the script's "onOpen"
    bool callFunctionOnOk(); ///< calls the script's "onOk"
    bool callFunctionOnValueChanged(
        const QString &argument); ///< calls the script's "onValueChange"
    bool callFunctionOnSave(const QString &argument); ///< calls the script's "onSave"

    bool hasInstanceChanged() const;
    QStringList getChangedLocalUrls() const;
    QStringList getChangedExternalConfigAbsoluteUrls() const;
    QStringList getChangedExternalProcessAbsoluteUrls() const;
    void saveChangedFiles();

    /// The errors that the last event call reported. Reading the list empties it.
    QList<JavaScriptApi::ErrorMessage> getErrorMesageList();

    /// Forgets script, instance, changes and errors, and every tree that was loaded.
    void resetState();

    /// @param observer watches the runs from now on; not owned; null for none
    void setRunObserver(JavaScriptRunObserver *observer);

    /**
     * Stops the script that runs, and all that are to run, until it is called with false: a call
     * that is stopped returns false, after the warnings of an exception "Error: Interrupted", or
     * without them when the script had come to its end. A call that returns true has lost nothing.
     * A script that was to be evaluated meanwhile has to be initialized again.
     *
     * Scripts are stopped within milliseconds in loops and at calls, also inside try and finally;
     * what is built into the engine, such as JSON.stringify() of a large object, is not.
     *
     * May be called on any thread, as long as the handler exists.
     */
    void setInterrupted(bool interrupted);

Q_SIGNALS:
    /**
     * An event call has ended on an instance that was changed since resetState().
     * @param urls the relative URLs written since the last emission, in the order of the writes;
     *        may be empty
     *
     * Receivers run before the handler empties its list of these URLs: for an event that they fire,
     * the same URLs are emitted again. They may destroy the handler.
     */
    void parametersChanged(const QStringList &urls);

private:
    bool m_isEvaluated;
    bool m_isScriptEmpty;
    JavaScriptApi &m_javaScriptApi;
    QJSEngine m_jsEngine;
    QJSValue
        m_globalObject; ///< while the engine has a value to keep, it keeps the memory for others
    std::unique_ptr<JavaScriptArgumentReader> m_argumentReader;
    JavaScriptRunObserver *m_runObserver;
    std::atomic<unsigned> m_interruptions; ///< how often setInterrupted() was called with true
};
