#include "JavaScriptHandlerUiWrapper.h"

#include <utility>

JavaScriptHandlerUiWrapper::JavaScriptHandlerUiWrapper(const UnitManagerWrapper &unitManagerWrapper,
                                                       const TextManager &textManager,
                                                       QObject *parent)
    : QObject(parent)
    , m_javaScriptRootPointerHandler(QString(), QHash<QString, QString>())
    , m_javaScriptApi(unitManagerWrapper, m_javaScriptRootPointerHandler, textManager, QString(),
                      QString(), true, nullptr)
    , m_javaScriptHandler(m_javaScriptApi, nullptr)
{
    connect(&m_javaScriptHandler, &JavaScriptHandler::parametersChanged, this,
            &JavaScriptHandlerUiWrapper::parametersChanged);
}

JavaScriptHandlerUiWrapper::~JavaScriptHandlerUiWrapper() = default;

void JavaScriptHandlerUiWrapper::initializeHandler(
    ConfigurationAndProcessDataBase::BaseClassSharedPointer rootPointer, const QString &javaScript,
    const QString &instanceUrl)
{
    m_javaScriptHandler.initializeHandler(std::move(rootPointer), javaScript, instanceUrl);
}

bool JavaScriptHandlerUiWrapper::callFunctionOnOpen()
{
    return m_javaScriptHandler.callFunctionOnOpen();
}

bool JavaScriptHandlerUiWrapper::callFunctionOnOk()
{
    return m_javaScriptHandler.callFunctionOnOk();
}

bool JavaScriptHandlerUiWrapper::callFunctionOnValueChanged(const QString &argument)
{
    return m_javaScriptHandler.callFunctionOnValueChanged(argument);
}

QList<JavaScriptApi::ErrorMessage> JavaScriptHandlerUiWrapper::getErrorMesageList()
{
    return m_javaScriptHandler.getErrorMesageList();
}

void JavaScriptHandlerUiWrapper::setInterrupted(bool interrupted)
{
    m_javaScriptHandler.setInterrupted(interrupted);
}

void JavaScriptHandlerUiWrapper::setRunObserver(JavaScriptRunObserver *observer)
{
    m_javaScriptHandler.setRunObserver(observer);
}
