#include "JavaScriptHandler.h"

#include "JavaScript/JavaScriptArgumentReader.h"
#include "JavaScript/JavaScriptRun.h"
#include "JavaScript/JavaScriptRunObserver.h"

#include <QDebug>
#include <QPointer>
#include <QQmlEngine>

#include <utility>

JavaScriptHandler::JavaScriptHandler(JavaScriptApi &javaScriptApi, QObject *parent)
    : QObject(parent)
    , m_isEvaluated(false)
    , m_isScriptEmpty(true)
    , m_javaScriptApi(javaScriptApi)
    , m_globalObject(m_jsEngine.globalObject())
    , m_runObserver(nullptr)
    , m_interruptions(0)
{
    m_jsEngine.installExtensions(QJSEngine::ConsoleExtension);
    m_argumentReader = std::make_unique<JavaScriptArgumentReader>(m_jsEngine);
    // Otherwise the engine would own an API without a parent, and collect it.
    QQmlEngine::setObjectOwnership(&m_javaScriptApi, QQmlEngine::CppOwnership);
}

JavaScriptHandler::~JavaScriptHandler()
{
    m_jsEngine.collectGarbage();
}

void JavaScriptHandler::initializeHandler(
    ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer, const QString &javaScript,
    const QString &instanceUrl)
{
    initializeJavaScriptEngine(javaScript);
    m_javaScriptApi.initializeJavaScriptApi(std::move(rootPointer), instanceUrl);
}

void JavaScriptHandler::initializeJavaScriptEngine(const QString &javaScript)
{
    if (javaScript.isEmpty()) {
        return;
    }
    m_isScriptEmpty = false;
    JavaScriptRunObserver *const observer = m_runObserver;
    if (observer) {
        observer->runBegins(QString(), QString());
    }
    JavaScriptRun run(m_javaScriptApi, m_jsEngine, *m_argumentReader, observer);
    const QJSValue result = m_jsEngine.evaluate(javaScript, QString(), 1);
    const bool succeeded = !result.isError();
    if (succeeded) {
        m_isEvaluated = true;
    } else {
        const int line = result.property(QStringLiteral("lineNumber")).toInt();
        const QString text = result.toString();
        if (observer) {
            observer->exceptionThrown(line, text);
        }
        qWarning() << "Uncaught exception at line" << line << ":" << text;
    }
    run.restoreErrors();
    if (observer) {
        observer->runEnded(succeeded, {});
    }
}

bool JavaScriptHandler::callFunction(const QString &functionName, const QString &argument)
{
    JavaScriptRun::setErrorsAside(m_javaScriptApi);
    m_javaScriptApi.deleteListOfErrors();

    bool succeeded = m_isScriptEmpty;
    if (!m_isScriptEmpty) {
        const unsigned interruptions = m_interruptions.load();
        JavaScriptRunObserver *const observer = m_runObserver;
        if (observer) {
            observer->runBegins(functionName, argument);
        }
        JavaScriptRun run(m_javaScriptApi, m_jsEngine, *m_argumentReader, observer);
        QJSValueList arguments;
        if (!m_isEvaluated) {
            qWarning() << "The script is not evaluated.";
        } else if (QJSValue function = m_globalObject.property(functionName); function.isError()) {
            qWarning() << "No property:" << functionName;
        } else if (!function.isCallable()) {
            qWarning() << "Property is no function:" << functionName;
        } else if (arguments.append(m_jsEngine.newQObject(&m_javaScriptApi));
                   arguments.constFirst().isError()) {
            qWarning() << "Can not create object with JavaScriptApi.";
        } else {
            if (!argument.isEmpty()) {
                arguments.append(QJSValue(argument));
            }
            const QJSValue result = function.call(arguments);
            if (result.isError()) {
                qWarning() << "Error on calling function" << functionName << argument;
                const int line = result.property(QStringLiteral("lineNumber")).toInt();
                const QString text = result.toString();
                if (observer) {
                    observer->exceptionThrown(line, text);
                }
                qWarning() << "Uncaught exception at line" << line << ":" << text;
            } else {
                // An interrupted script may come to its end all the same, but in vain.
                succeeded = (!result.isBool() || result.toBool()) && !run.hasLostCall()
                    && !m_jsEngine.isInterrupted() && m_interruptions.load() == interruptions;
            }
        }
        run.restoreErrors();
        if (observer) {
            observer->runEnded(succeeded, m_javaScriptApi.getListOfErrors());
        }
    }

    if (m_javaScriptApi.hasInstanceChanged()) {
        // A receiver may destroy this handler, for example with the dialog that it belongs to.
        const QPointer<JavaScriptApi> api(&m_javaScriptApi);
        Q_EMIT parametersChanged(m_javaScriptApi.getChangedLocalUrls());
        if (api) {
            api->deleteChangedLocalUrls();
        }
    }
    return succeeded;
}

bool JavaScriptHandler::callFunctionOnOpen()
{
    return callFunction(QStringLiteral("onOpen"), QString());
}

bool JavaScriptHandler::callFunctionOnOk()
{
    return callFunction(QStringLiteral("onOk"), QString());
}

bool JavaScriptHandler::callFunctionOnValueChanged(const QString &argument)
{
    return callFunction(QStringLiteral("onValueChange"), argument);
}

bool JavaScriptHandler::callFunctionOnSave(const QString &argument)
{
    return callFunction(QStringLiteral("onSave"), argument);
}

bool JavaScriptHandler::hasInstanceChanged() const
{
    return m_javaScriptApi.hasInstanceChanged();
}

QStringList JavaScriptHandler::getChangedLocalUrls() const
{
    return m_javaScriptApi.getChangedLocalUrls();
}

QStringList JavaScriptHandler::getChangedExternalConfigAbsoluteUrls() const
{
    return m_javaScriptApi.getChangedExternalConfigIAbsoluteUrls();
}

QStringList JavaScriptHandler::getChangedExternalProcessAbsoluteUrls() const
{
    return m_javaScriptApi.getChangedExternalProcessAbsoluteUrls();
}

void JavaScriptHandler::saveChangedFiles()
{
    m_javaScriptApi.saveChangedFiles();
}

QList<JavaScriptApi::ErrorMessage> JavaScriptHandler::getErrorMesageList()
{
    const QList<JavaScriptApi::ErrorMessage> errors = m_javaScriptApi.getListOfErrors();
    m_javaScriptApi.deleteListOfErrors();
    return errors;
}

void JavaScriptHandler::resetState()
{
    m_isEvaluated = false;
    m_isScriptEmpty = true;
    m_javaScriptApi.resetState();
    m_jsEngine.collectGarbage();
}

void JavaScriptHandler::setRunObserver(JavaScriptRunObserver *observer)
{
    m_runObserver = observer;
}

void JavaScriptHandler::setInterrupted(bool interrupted)
{
    m_jsEngine.setInterrupted(interrupted);
    if (interrupted) {
        ++m_interruptions; // behind the engine: a call that ends in between sees one of them
    }
}
