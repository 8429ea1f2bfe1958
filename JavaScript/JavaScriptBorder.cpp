#include "JavaScriptBorder.h"

#include <QJSValue>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QVarLengthArray>
#include <QVariant>

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
