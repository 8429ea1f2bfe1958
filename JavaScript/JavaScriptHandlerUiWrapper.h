#pragma once

#include "JavaScript/JavaScriptApi.h"
#include "JavaScript/JavaScriptExport.h"
#include "JavaScript/JavaScriptHandler.h"
#include "JavaScript/JavaScriptRootPointerHandler.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

class JavaScriptRunObserver;

/**
 * All that a user-interface host needs to run the script of the instance that its user edits.
 *
 * The host binds a tree and a script with initializeHandler(), fires the events as the user works,
 * refreshes the fields that parametersChanged() names, and reads the errors after each event. The
 * tree stays the host's: nothing is saved here. Absolute URLs reach nothing: the wrapper knows no
 * projects. A host that needs them makes a JavaScriptHandler of its own.
 *
 * Make one for each dialog. Nothing is reset when another instance is bound: a first write to the
 * instance before makes parametersChanged() come for this one, too, and an empty script leaves the
 * functions of the one before in place.
 *
 * The two stores must outlive the wrapper. It is used on the thread that created it, but for
 * setInterrupted().
 */
class JAVASCRIPT_EXPORT JavaScriptHandlerUiWrapper : public QObject
{
    Q_OBJECT

public:
    JavaScriptHandlerUiWrapper(const UnitManagerWrapper &unitManagerWrapper,
                               const TextManager &textManager, QObject *parent);
    ~JavaScriptHandlerUiWrapper() override;

    /// See JavaScriptHandler::initializeHandler().
    void initializeHandler(ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer,
                           const QString &javaScript, const QString &instanceUrl);

    bool callFunctionOnOpen(); ///< calls the script's "onOpen"
    bool callFunctionOnOk(); ///< calls the script's "onOk"
    bool callFunctionOnValueChanged(
        const QString &argument); ///< calls the script's "onValueChange"

    /// The errors that the last event call reported. Reading the list empties it.
    QList<JavaScriptApi::ErrorMessage> getErrorMesageList();

    /// See JavaScriptHandler::setInterrupted().
    void setInterrupted(bool interrupted);

    /// See JavaScriptHandler::setRunObserver().
    void setRunObserver(JavaScriptRunObserver *observer);

Q_SIGNALS:
    /// See JavaScriptHandler::parametersChanged().
    void parametersChanged(const QStringList &urls);

private:
    JavaScriptRootPointerHandler m_javaScriptRootPointerHandler;
    JavaScriptApi m_javaScriptApi;
    JavaScriptHandler m_javaScriptHandler;
};
