#include "JavaScriptBorder.h"

#include "JavaScript/JavaScriptRunObserver.h"

#include <QJSEngine>
#include <QJSValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QVarLengthArray>
#include <QVariant>

#include <algorithm>

namespace {

/// A script's value without any tie to the engine or to the API object.
QVariant toHostValue(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QVariantMap: {
        QVariantMap map = value.toMap();
        for (QVariant &member : map) {
            member = toHostValue(member);
        }
        return map;
    }
    case QMetaType::QStringList: // where a string list of the host comes back
    case QMetaType::QVariantList: {
        auto list = value.value<QVariantList>();
        for (QVariant &element : list) {
            element = toHostValue(element);
        }
        return list;
    }
    case QMetaType::QObjectStar:
        return QVariant();
    default:
        return value.userType() == qMetaTypeId<QJSValue>()
            ? toHostValue(value.value<QJSValue>().toVariant())
            : value;
    }
}

/// Whether a value of the most frequent kinds has no tie to the engine.
bool isHostValue(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::Bool:
    case QMetaType::Int:
    case QMetaType::Double:
    case QMetaType::QString:
        return true;
    default:
        return false;
    }
}

/// A document in a form whose members a script can read.
QVariant toScriptValue(const QJsonDocument &document)
{
    if (document.isObject()) {
        return document.object();
    }
    if (document.isArray()) {
        return document.array();
    }
    return QVariant::fromValue(nullptr);
}

/// Whether reading a script's value threw an exception, which then goes on behind the call.
bool throwsAgain(QJSEngine &engine)
{
    // To read a property is the one way to learn of an exception in progress, and ends it.
    const QJSValue exception = engine.newObject().property(QStringLiteral("exception"));
    if (exception.isUndefined()) {
        return false;
    }
    if (exception.isError()) {
        engine.throwError(exception.errorType(),
                          exception.property(QStringLiteral("message")).toString());
    } else {
        engine.throwError(exception.toString());
    }
    return true;
}

} // namespace

JavaScriptBorder::JavaScriptBorder(QObject *parent)
    : QObject(parent)
{
}

int JavaScriptBorder::qt_metacall(QMetaObject::Call call, int id, void **arguments)
{
    const int remainingId = QObject::qt_metacall(call, id, arguments);
    if (remainingId < 0 || call != QMetaObject::InvokeMetaMethod) {
        return remainingId;
    }

    if (m_isInterrupted.load(std::memory_order_relaxed)) {
        return -1;
    }
    const Method &method = this->method(id);
    if (m_runObserver) {
        reportCall(method, arguments);
    }
    const bool areHostValues =
        std::all_of(method.values.cbegin(), method.values.cend(), [arguments](int i) {
            return isHostValue(*static_cast<const QVariant *>(arguments[i]));
        });
    if (areHostValues) {
        method.owner->d.static_metacall(this, call, method.ownIndex, arguments);
    } else {
        QVarLengthArray<void *, 8> hostArguments(method.parameterCount + 1);
        std::copy_n(arguments, hostArguments.size(), hostArguments.begin());
        QVarLengthArray<QVariant, 2> hostValues(method.values.size());
        for (int i = 0; i < method.values.size(); ++i) {
            void *&argument = hostArguments[method.values.at(i)];
            hostValues[i] = toHostValue(*static_cast<const QVariant *>(argument));
            argument = &hostValues[i];
        }
        if (m_isInterrupted.load(std::memory_order_relaxed) || throwsAgain(*qjsEngine(this))) {
            return -1;
        }
        method.owner->d.static_metacall(this, call, method.ownIndex, hostArguments.data());
    }

    if (arguments[0] && method.returnsValue) {
        auto *result = static_cast<QVariant *>(arguments[0]);
        if (result->userType() == QMetaType::QJsonDocument) {
            *result = toScriptValue(result->toJsonDocument());
        }
    }
    return -1;
}

void JavaScriptBorder::setRunObserver(JavaScriptRunObserver *observer)
{
    m_runObserver = observer;
}

void JavaScriptBorder::setInterrupted(bool interrupted)
{
    m_isInterrupted.store(interrupted, std::memory_order_relaxed);
}

void JavaScriptBorder::reportCall(const Method &method, void **arguments)
{
    QStringList texts;
    for (const int i : method.texts) {
        texts.append(*static_cast<const QString *>(arguments[i]));
    }
    m_runObserver->apiCalled(method.name, texts);
}

const JavaScriptBorder::Method &JavaScriptBorder::method(int id)
{
    if (m_methods.empty()) {
        m_methods.resize(size_t(metaObject()->methodCount()));
    }
    Method &method = m_methods[size_t(id)];
    if (!method.owner) {
        const QMetaMethod metaMethod = metaObject()->method(id);
        method.owner = metaMethod.enclosingMetaObject();
        method.name = metaMethod.name();
        method.ownIndex = id - method.owner->methodOffset();
        method.parameterCount = metaMethod.parameterCount();
        for (int i = 0; i < method.parameterCount; ++i) {
            if (metaMethod.parameterType(i) == QMetaType::QVariant) {
                method.values.append(i + 1); // behind the result
            } else if (metaMethod.parameterType(i) == QMetaType::QString) {
                method.texts.append(i + 1);
            }
        }
        method.returnsValue = metaMethod.returnType() == QMetaType::QVariant;
    }
    return method;
}
