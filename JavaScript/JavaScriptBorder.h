#pragma once

#include "JavaScript/JavaScriptExport.h"

#include <QByteArray>
#include <QObject>
#include <QVector>

#include <vector>

class JavaScriptRun;

/**
 * The border between scripts and the host's values, around the invokable methods of the classes
 * that derive from it.
 *
 * When a script that a JavaScriptHandler runs calls an invokable method, values cross in a form
 * that both sides understand:
 *  - a script's object or array reaches a QVariant parameter as a QVariantMap or a QVariantList,
 *    never as a reference into the engine;
 *  - a QJsonDocument in a QVariant result reaches the script as a plain object or array, a null
 *    document as null;
 *  - a C++ exception of the host reaches the script as an Error with the exception's text.
 *
 * A call is not made at all when reading a value threw an exception, which goes on in the script,
 * when a value is nested too deep, or when the script is interrupted: what it wanted to pass is not
 * known then.
 *
 * For all other callers there is no border: C++ code, whichever way it calls, and engines that the
 * host made itself. The class has no meta data of its own, so that a derived class's meta-object
 * starts with its own methods.
 */
class JAVASCRIPT_EXPORT JavaScriptBorder : public QObject
{
public:
    ~JavaScriptBorder() override;

    int qt_metacall(QMetaObject::Call call, int id, void **arguments) override;

protected:
    explicit JavaScriptBorder(QObject *parent);

private:
    friend class JavaScriptRun;

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
    void callFromScript(const Method &method, void **arguments);
    void carryOut(const Method &method, void **arguments);
    void reportCall(const Method &method, void **arguments);

    JavaScriptRun *m_run = nullptr; ///< of the script that may call now; not owned
    std::vector<Method> m_methods; ///< by index
};
