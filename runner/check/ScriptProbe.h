#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>

class QJSEngine;
class QJSValue;
class ScriptGuard;

/**
 * What the library will find in a script: the result of evaluating its text, alone, in an engine
 * of its own, and of looking its event functions up as the library does.
 */
class ScriptProbe
{
public:
    /// @param file the script's, for messages
    ScriptProbe(const QString &text, const QString &file, ScriptGuard &guard);

    /// Whether the library will not find an event function, because it is declared with const, let
    /// or class. Evaluates the text once more.
    bool isHidden(const QString &name) const;

    /// The event functions of scripts, in the order in which they occur.
    static QStringList eventFunctions();

    bool isEvaluated = false;
    int errorLine = 0; ///< of the text's error; 0 when the engine knows none
    QString error;
    QSet<QString> functions; ///< event functions that the library will find

private:
    QString evaluate(
        const QString &text,
        const std::function<void(const QJSEngine &engine, const QJSValue &result)> &look) const;

    QString m_text;
    QString m_file;
    ScriptGuard &m_guard;
};
