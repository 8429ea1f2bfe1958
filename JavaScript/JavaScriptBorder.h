#pragma once

#include <QByteArray>
#include <QObject>
#include <QVector>

#include <atomic>
#include <vector>

class JavaScriptRunObserver;

/**
 * The border between scripts and the host's values, around the invokable methods of the classes
 * that derive from it.
 *
 * When the engine calls an invokable method by its index, values cross in a form that both sides
 * understand:
 *  - a script's object or array reaches a QVariant parameter as a QVariantMap or a QVariantList,
 *    never as a reference into the engine;
 *  - a QJsonDocument in a QVariant result reaches the script as a plain object or array, a null
 *    document as null.
 *
 * A call is not made at all when reading a value threw an exception, which goes on in the script,
 * or when the script is interrupted: what it wanted to pass is not known then.
 *
 * Calls from C++, QMetaObject::invokeMethod() included, do not pass here. The class has no meta
 * data of its own, so that a derived class's meta-object starts with its own methods.
 */
class JavaScriptBorder : public QObject
{
public:
    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override;

    /// @param observer learns of each call of a script; not owned; null for none
    void setRunObserver(JavaScriptRunObserver *observer);

    /// Lets the calls of scripts do nothing. May be called on any thread.
    void setInterrupted(bool interrupted);

protected:
    explicit JavaScriptBorder(QObject *parent);

private:
    /// What is to be done around a method, found out once.
    struct Method
    {
        const QMetaObject *owner = nullptr; ///< null while nothing is found out
        int ownIndex = 0; ///< among the owner's methods
        QByteArray name;
        QVector<int> values; ///< the parameters that are QVariants
        QVector<int> texts; ///< the parameters that are QStrings
        int parameterCount = 0;
        bool returnsValue = false; ///< a QVariant
    };

    const Method &method(int id);
    void reportCall(const Method &method, void **arguments);

    JavaScriptRunObserver *m_runObserver = nullptr;
    std::atomic<bool> m_isInterrupted{false};
    std::vector<Method> m_methods; ///< by index
};
