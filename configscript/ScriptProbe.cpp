#include "ScriptProbe.h"

#include <QJSEngine>
#include <QJSValue>

ScriptProbe::ScriptProbe(const QString &text)
{
    QJSEngine engine;
    engine.installExtensions(QJSEngine::ConsoleExtension);
    const QJSValue result = engine.evaluate(text);
    isEvaluated = !result.isError();
    if (!isEvaluated) {
        errorLine = result.property(QStringLiteral("lineNumber")).toInt();
        error = result.toString();
    }
    const QStringList names = eventFunctions();
    for (const QString &name : names) {
        if (engine.globalObject().property(name).isCallable()) {
            functions.insert(name);
        } else if (engine.evaluate(QStringLiteral("typeof ") + name).toString()
                   == QLatin1String("function")) {
            hidden.insert(name);
        }
    }
}

QStringList ScriptProbe::eventFunctions()
{
    return {QStringLiteral("onOpen"), QStringLiteral("onValueChange"), QStringLiteral("onOk"),
            QStringLiteral("onSave")};
}
