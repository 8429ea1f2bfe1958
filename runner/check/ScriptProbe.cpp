#include "ScriptProbe.h"

#include "runner/record/ScriptGuard.h"
#include "runner/record/SilentLog.h"

#include <QJSEngine>
#include <QJSValue>

ScriptProbe::ScriptProbe(const QString &text, const QString &file, ScriptGuard &guard)
    : m_text(text)
    , m_file(file)
    , m_guard(guard)
{
    const QString overrun = evaluate(text, [this](const QJSEngine &engine, const QJSValue &result) {
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
    });
    if (!overrun.isEmpty()) {
        isEvaluated = false;
        error = overrun;
    }
}

bool ScriptProbe::isHidden(const QString &name) const
{
    if (!isEvaluated || functions.contains(name)) {
        return false;
    }
    // What is declared with const, let or class is known only to the text that declares it.
    bool isFunction = false;
    evaluate(m_text + QStringLiteral("\n;typeof ") + name,
             [&isFunction](const QJSEngine & /*engine*/, const QJSValue &result) {
                 isFunction = result.toString() == QLatin1String("function");
             });
    return isFunction;
}

/// @param look what is to be done with the result; it may run the script's functions
/// @return why the script was stopped; empty when it was not
QString ScriptProbe::evaluate(
    const QString &text,
    const std::function<void(const QJSEngine &engine, const QJSValue &result)> &look) const
{
    const SilentLog log;
    QJSEngine engine;
    engine.installExtensions(QJSEngine::ConsoleExtension);
    m_guard.begin({QString(), m_file, QString()},
                  [&engine](bool isInterrupted) { engine.setInterrupted(isInterrupted); });
    look(engine, engine.evaluate(text));
    return m_guard.end();
}

QStringList ScriptProbe::eventFunctions()
{
    return {QStringLiteral("onOpen"), QStringLiteral("onValueChange"), QStringLiteral("onOk"),
            QStringLiteral("onSave")};
}
