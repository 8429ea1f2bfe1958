#include "ScriptProbe.h"

#include "configscript/SilentLog.h"

#include <QJSEngine>
#include <QJSValue>

namespace {

/// Whether the script knows a function of that name, wherever it is kept. What is declared with
/// const, let or class is known only to the text that declares it.
bool isDeclared(const QString &text, const QString &name)
{
    QJSEngine engine;
    engine.installExtensions(QJSEngine::ConsoleExtension);
    return engine.evaluate(text + QStringLiteral("\n;typeof ") + name).toString()
        == QLatin1String("function");
}

} // namespace

ScriptProbe::ScriptProbe(const QString &text)
{
    const SilentLog log;
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
        } else if (isEvaluated && isDeclared(text, name)) {
            hidden.insert(name);
        }
    }
}

QStringList ScriptProbe::eventFunctions()
{
    return {QStringLiteral("onOpen"), QStringLiteral("onValueChange"), QStringLiteral("onOk"),
            QStringLiteral("onSave")};
}
