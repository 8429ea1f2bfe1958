#include "ScriptProbe.h"

#include "configscript/SilentLog.h"

#include <QJSEngine>
#include <QJSValue>

ScriptProbe::ScriptProbe(const QString &text)
    : m_text(text)
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
        }
    }
}

bool ScriptProbe::isHidden(const QString &name) const
{
    if (!isEvaluated || functions.contains(name)) {
        return false;
    }
    // What is declared with const, let or class is known only to the text that declares it.
    const SilentLog log;
    QJSEngine engine;
    engine.installExtensions(QJSEngine::ConsoleExtension);
    return engine.evaluate(m_text + QStringLiteral("\n;typeof ") + name).toString()
        == QLatin1String("function");
}

QStringList ScriptProbe::eventFunctions()
{
    return {QStringLiteral("onOpen"), QStringLiteral("onValueChange"), QStringLiteral("onOk"),
            QStringLiteral("onSave")};
}
