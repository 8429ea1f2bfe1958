#include "JavaScriptBorder.h"

#include <QJSValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QVarLengthArray>
#include <QVariant>

namespace {

/// A script's value without any tie to the engine.
QVariant toHostValue(const QVariant &value)
{
    if (value.userType() == qMetaTypeId<QJSValue>()) {
        return value.value<QJSValue>().toVariant();
    }
    // The engine hands a string list that it got from the host back as one. An array stays an
    // array: a list of one string would convert to a text.
    if (value.userType() == QMetaType::QStringList) {
        return value.value<QVariantList>();
    }
    return value;
}

/// A host's value in a form whose members a script can read.
QVariant toScriptValue(const QVariant &value)
{
    if (value.userType() != QMetaType::QJsonDocument) {
        return value;
    }
    const QJsonDocument document = value.toJsonDocument();
    if (document.isObject()) {
        return document.object();
    }
    if (document.isArray()) {
        return document.array();
    }
    return QVariant::fromValue(nullptr);
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

    const QMetaMethod method = metaObject()->method(id);
    const int parameterCount = method.parameterCount();
    QVarLengthArray<void *, 8> hostArguments(parameterCount + 1);
    QVarLengthArray<QVariant, 8> hostValues(parameterCount);
    hostArguments[0] = arguments[0];
    for (int i = 0; i < parameterCount; ++i) {
        void *argument = arguments[i + 1];
        if (method.parameterType(i) == QMetaType::QVariant) {
            hostValues[i] = toHostValue(*static_cast<const QVariant *>(argument));
            argument = &hostValues[i];
        }
        hostArguments[i + 1] = argument;
    }

    const QMetaObject *owner = method.enclosingMetaObject();
    owner->d.static_metacall(this, call, id - owner->methodOffset(), hostArguments.data());

    if (arguments[0] && method.returnType() == QMetaType::QVariant) {
        auto *result = static_cast<QVariant *>(arguments[0]);
        *result = toScriptValue(*result);
    }
    return -1;
}
