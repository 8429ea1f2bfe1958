#include "JavaScriptBorder.h"

#include "JavaScript/JavaScriptArgumentReader.h"
#include "JavaScript/JavaScriptRun.h"
#include "JavaScript/JavaScriptRunObserver.h"

#include <QJSEngine>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMetaMethod>
#include <QScopeGuard>
#include <QVarLengthArray>
#include <QVariant>

#include <algorithm>
#include <exception>

namespace {

/// Whether a value is of the most frequent kinds, which hosts know as the engine passes them.
bool isPlain(const QVariant &value)
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

} // namespace

JavaScriptBorder::JavaScriptBorder(QObject *parent)
    : QObject(parent)
{
}

JavaScriptBorder::~JavaScriptBorder() = default;

int JavaScriptBorder::qt_metacall(QMetaObject::Call call, int id, void **arguments)
{
    const int remainingId = QObject::qt_metacall(call, id, arguments);
    const bool isCallOfScript =
        remainingId >= 0 && call == QMetaObject::InvokeMetaMethod && m_run && !m_run->isInCall();
    if (!isCallOfScript) {
        return remainingId;
    }
#ifdef QT_NO_EXCEPTIONS
    callFromScript(method(id), arguments);
#else
    // The engine is not made to be left by an exception.
    try {
        callFromScript(method(id), arguments);
    } catch (const std::exception &exception) {
        m_run->engine().throwError(QString::fromLocal8Bit(exception.what()));
    } catch (...) {
        m_run->engine().throwError(QStringLiteral("The host has thrown an exception"));
    }
#endif
    return -1;
}

void JavaScriptBorder::callFromScript(const Method &method, void **arguments)
{
    JavaScriptRun &run = *m_run;
    if (run.engine().isInterrupted()) {
        run.loseCall();
        return;
    }
    if (run.observer()) {
        reportCall(method, arguments);
    }
    const bool arePlain =
        std::all_of(method.values.cbegin(), method.values.cend(), [arguments](int i) {
            return isPlain(*static_cast<const QVariant *>(arguments[i]));
        });
    if (arePlain) {
        carryOut(method, arguments);
        return;
    }

    QVarLengthArray<void *, 8> hostArguments(method.parameterCount + 1);
    std::copy_n(arguments, hostArguments.size(), hostArguments.begin());
    QVarLengthArray<QVariant, 2> hostValues(method.values.size());
    auto result = JavaScriptArgumentReader::Result::Read;
    for (int i = 0; i < method.values.size(); ++i) {
        void *&argument = hostArguments[method.values.at(i)];
        hostValues[i] = *static_cast<const QVariant *>(argument);
        argument = &hostValues[i];
        if (result == JavaScriptArgumentReader::Result::Read) {
            result = run.reader().read(hostValues[i]);
        }
    }
    if (result == JavaScriptArgumentReader::Result::Stopped || run.engine().isInterrupted()) {
        run.loseCall();
    } else if (result == JavaScriptArgumentReader::Result::Read) {
        carryOut(method, hostArguments.data());
    }
}

void JavaScriptBorder::carryOut(const Method &method, void **arguments)
{
    {
        JavaScriptRun &run = *m_run;
        run.setInCall(true);
        const auto callEnds = qScopeGuard([&run] { run.setInCall(false); });
        method.owner->d.static_metacall(this, QMetaObject::InvokeMetaMethod, method.ownIndex,
                                        arguments);
    }
    if (arguments[0] && method.returnsValue) {
        auto *result = static_cast<QVariant *>(arguments[0]);
        if (result->userType() == QMetaType::QJsonDocument) {
            *result = toScriptValue(result->toJsonDocument());
        }
    }
}

void JavaScriptBorder::reportCall(const Method &method, void **arguments)
{
    QStringList texts;
    for (const int i : method.texts) {
        texts.append(*static_cast<const QString *>(arguments[i]));
    }
    m_run->observer()->apiCalled(method.name, texts);
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
