#pragma once

#include "JavaScript/JavaScriptApi.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <QtGlobal>

/**
 * Watches the scripts that a JavaScriptHandler runs.
 *
 * A run is one evaluation of a script's text or one call of an event function. Where an operation
 * of the host, called by a script, fires another event, that event's run begins and ends inside the
 * script's: what is told in between belongs to the inner run.
 *
 * All operations are called on the handler's thread, in the middle of its work: they must not call
 * the handler, nor destroy it, nor throw. An observer changes nothing that the handler does. It is
 * asked for when a run begins, and hears that run to its end.
 *
 * It is the only one to learn which errors the scripts of a dependency resolver report.
 */
class JavaScriptRunObserver
{
public:
    JavaScriptRunObserver() = default;
    virtual ~JavaScriptRunObserver() = default;

    /// A dependency resolver turns to an instance: the runs to come are of its script.
    virtual void instanceBegins(const QString & /*instanceName*/) { }

    /**
     * A run begins.
     * @param functionName the event function; empty for the evaluation of the script's text
     * @param argument what the function receives after the API object; empty for none
     */
    virtual void runBegins(const QString &functionName, const QString &argument) = 0;

    /**
     * The script calls an operation of its API; comes before the operation does its work. Once for
     * each call: keep it short.
     * @param operation the operation's name
     * @param texts the arguments that the operation takes as texts, such as URL and property key
     */
    virtual void apiCalled(const QByteArray & /*operation*/, const QStringList & /*texts*/) { }

    /**
     * The innermost run has thrown an Error, or its text could not be compiled. Comes before the
     * warning that shows line and text, and behind the one that names the function; before
     * runEnded().
     * @param line line in the script's text, from 1; 0 when the engine knows none
     * @param text the exception as text
     */
    virtual void exceptionThrown(int line, const QString &text) = 0;

    /**
     * The innermost run has ended.
     * @param succeeded whether the text was evaluated; for a function, the result of the call
     * @param errors what the function reported with setError(), in the order of its calls, and what
     *        nobody read of the reports of events inside the run; empty for the evaluation of the
     *        script's text
     */
    virtual void runEnded(bool succeeded, const QList<JavaScriptApi::ErrorMessage> &errors) = 0;

private:
    Q_DISABLE_COPY(JavaScriptRunObserver)
};
