#pragma once

#include "JavaScript/JavaScriptApi.h"

#include <QJSEngine>
#include <QList>
#include <QString>
#include <QtGlobal>

class JavaScriptArgumentReader;
class JavaScriptRunObserver;

/**
 * An evaluation of a script's text or a call of one of its functions, for as long as it takes:
 * whose calls the API receives meanwhile, and who hears of it.
 *
 * A run may begin inside another one of the same API, where an operation of the host fires an
 * event. The API belongs to the inner one then, and to the outer one again when the inner one is
 * destroyed.
 */
class JavaScriptRun
{
public:
    /**
     * @param api receives the script's calls
     * @param engine runs the script
     * @param reader reads the script's values; of the same engine
     * @param observer hears of the run; null for none
     *
     * Nothing is owned, and all of it outlives the run.
     */
    JavaScriptRun(JavaScriptApi &api, QJSEngine &engine, JavaScriptArgumentReader &reader,
                  JavaScriptRunObserver *observer);
    ~JavaScriptRun();

    QJSEngine &engine() const { return m_engine; }
    JavaScriptArgumentReader &reader() const { return m_reader; }
    JavaScriptRunObserver *observer() const { return m_observer; }

    /// Whether the API is carrying out a call of the script. Who calls it meanwhile is the host.
    bool isInCall() const { return m_isInCall; }
    void setInCall(bool isInCall) { m_isInCall = isInCall; }

    /// Whether a call of the script was not carried out because of an interruption.
    bool hasLostCall() const { return m_hasLostCall; }
    void loseCall() { m_hasLostCall = true; }

    /// Lets an event that is fired inside the run of @p api, if there is one, have the list of
    /// errors to itself: what the run has reported so far is kept.
    static void setErrorsAside(const JavaScriptApi &api);

    /// Puts the errors that were set aside back, in front of those of the API's list.
    void restoreErrors();

private:
    Q_DISABLE_COPY(JavaScriptRun)

    JavaScriptApi &m_api;
    QJSEngine &m_engine;
    JavaScriptArgumentReader &m_reader;
    JavaScriptRunObserver *m_observer;
    JavaScriptRun *m_outer;
    bool m_isInCall = false;
    bool m_hasLostCall = false;
    QList<JavaScriptApi::ErrorMessage> m_errors; ///< set aside
};
