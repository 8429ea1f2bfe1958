#pragma once

#include "ApiFixture.h"
#include "JavaScript/JavaScriptHandler.h"

#include <QList>
#include <QSignalSpy>
#include <QString>
#include <QStringList>

/// The lists that a parametersChanged signal was emitted with since the last time.
inline QList<QStringList> takeUrlLists(QSignalSpy &emissions)
{
    QList<QStringList> lists;
    while (!emissions.isEmpty()) {
        lists.append(emissions.takeFirst().first().toStringList());
    }
    return lists;
}

/// A handler on an API with recording collaborators.
struct HandlerFixture : ApiFixture
{
    HandlerFixture()
        : handler(api, nullptr)
        , emissions(&handler, &JavaScriptHandler::parametersChanged)
    {
    }

    /// Binds a root and the script.
    void initialize(const QString &javaScript)
    {
        handler.initializeHandler(makeRoot(), javaScript, QStringLiteral("the instance"));
        takeCalls();
    }

    /// The URLs of each emission of parametersChanged since the last time.
    QList<QStringList> takeEmissions() { return takeUrlLists(emissions); }

    /// What the script said last, as the text identifiers of its errors.
    QStringList takeErrorIds()
    {
        QStringList ids;
        const auto errors = handler.getErrorMesageList();
        for (const JavaScriptApi::ErrorMessage &error : errors) {
            ids.append(error.errorLabelTextId);
        }
        return ids;
    }

    JavaScriptHandler handler;
    QSignalSpy emissions;
};

/// What the handler warns of.
namespace HandlerWarnings {

inline const QString evaluation =
    QStringLiteral("void JavaScriptHandler::initializeJavaScriptEngine(const QString&)");
inline const QString call =
    QStringLiteral("bool JavaScriptHandler::callFunction(const QString&, const QString&)");

inline Message uncaughtException(const QString &function, int line, const QString &text)
{
    return warning(
        function,
        QStringLiteral("Uncaught exception at line %1 : %2").arg(line).arg(argumentText(text)));
}

inline Message errorOnCalling(const QString &functionName, const QString &argument)
{
    return warning(call,
                   QStringLiteral("Error on calling function %1 %2")
                       .arg(argumentText(functionName), argumentText(argument)));
}

inline Message notEvaluated()
{
    return warning(call, QStringLiteral("The script is not evaluated."));
}

inline Message noFunction(const QString &functionName)
{
    return warning(call, QLatin1String("Property is no function: ") + argumentText(functionName));
}

} // namespace HandlerWarnings
