#include "JavaScriptArgumentReader.h"

#include <QQmlEngine>

#include <algorithm>
#include <utility>

namespace {

/**
 * Copies the members of an object or an array. Those that are objects themselves are handed over
 * one by one, so that the engine converts what it has a type for.
 *
 * Object.assign() reads each member once. Object.keys() reads getters, too, and is good for the
 * copy only.
 *
 * A function that is called from C++ cannot pass an exception on to the script behind that. So it
 * is thrown anew when the caller converts the result, and stays in progress then.
 *
 * Nothing that a script may have put into a prototype takes part: the copies have none.
 */
const QString s_copyMembers = QStringLiteral(R"((function (Object, keepMember) {
    const assign = Object.assign;
    const create = Object.create;
    const keys = Object.keys;
    const setPrototypeOf = Object.setPrototypeOf;
    return function (object, isList) {
        try {
            const members = isList ? setPrototypeOf([], null) : create(null);
            if (isList) {
                members.length = object.length;
            }
            assign(members, object);
            const names = isList ? null : keys(members);
            const count = isList ? members.length : names.length;
            for (let i = 0; i < count; ++i) {
                const name = isList ? i : names[i];
                const member = members[name];
                const type = typeof member;
                if (type === 'object' && member !== null) {
                    members[name] = undefined;
                    keepMember(name, member);
                } else if (type === 'symbol') {
                    members[name] = undefined;
                }
            }
            return { members: members };
        } catch (exception) {
            return { get members() { throw exception; } };
        }
    };
}))");

/// What the engine has a type of its own for, in a form that hosts know.
QVariant toHostValue(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QStringList: // a list of the host that comes back
        return value.value<QVariantList>();
    case QMetaType::QObjectStar:
        return QVariant();
    default:
        return value;
    }
}

} // namespace

JavaScriptArgumentReader::JavaScriptArgumentReader(QJSEngine &engine)
    : m_engine(engine)
{
    QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
    m_copyMembers = m_engine.evaluate(s_copyMembers)
                        .call({m_engine.globalObject().property(QStringLiteral("Object")),
                               m_engine.newQObject(this).property(QStringLiteral("keepMember"))});
}

JavaScriptArgumentReader::Result JavaScriptArgumentReader::read(QVariant &value)
{
    Path path;
    return read(value, path);
}

JavaScriptArgumentReader::Result JavaScriptArgumentReader::read(QVariant &value, Path &path)
{
    if (value.userType() == qMetaTypeId<QJSValue>()) {
        return readObject(value.value<QJSValue>(), value, path);
    }
    value = toHostValue(value);
    return Result::Read;
}

JavaScriptArgumentReader::Result JavaScriptArgumentReader::readObject(const QJSValue &object,
                                                                      QVariant &value, Path &path)
{
    value = QVariant();
    if (!object.isObject() || object.isCallable()) {
        return Result::Read;
    }
    const bool isInItself =
        std::any_of(path.cbegin(), path.cend(),
                    [&object](const QJSValue &outer) { return outer.strictlyEquals(object); });
    if (isInItself) {
        value = object.isArray() ? QVariant(QVariantList()) : QVariant(QVariantMap());
        return Result::Read;
    }
    if (path.size() == maximumDepth) {
        m_engine.throwError(
            QJSValue::RangeError,
            QStringLiteral("Objects and arrays are nested more than %1 deep").arg(maximumDepth));
        return Result::Threw;
    }

    QVector<Member> objects;
    Result result = copyMembers(object, value, objects);
    path.append(object);
    for (auto member = objects.begin(); member != objects.end() && result == Result::Read;
         ++member) {
        result = read(member->value, path);
    }
    path.removeLast();
    if (result == Result::Read && !objects.isEmpty()) {
        insertMembers(value, objects);
    }
    return result;
}

JavaScriptArgumentReader::Result JavaScriptArgumentReader::copyMembers(const QJSValue &object,
                                                                       QVariant &copy,
                                                                       QVector<Member> &objects)
{
    // A getter may call the API, which reads other values then.
    const auto outerMembers = std::exchange(m_keptMembers, {});
    const QJSValue result = m_copyMembers.call({object, object.isArray()});
    objects = std::exchange(m_keptMembers, outerMembers);

    if (result.isError()) { // the function came to its end before it could catch anything
        m_engine.throwError(result.errorType(),
                            result.property(QStringLiteral("message")).toString());
        return result.errorType() == QJSValue::RangeError ? Result::Threw : Result::Stopped;
    }
    copy = result.toVariant().toMap().value(QStringLiteral("members"));
    return copy.isValid() ? Result::Read : Result::Threw;
}

void JavaScriptArgumentReader::insertMembers(QVariant &value, const QVector<Member> &members)
{
    if (value.userType() == QMetaType::QVariantList) {
        auto list = std::exchange(value, QVariant()).toList();
        for (const Member &member : members) {
            list[member.key.toInt()] = member.value;
        }
        value = list;
    } else {
        auto map = std::exchange(value, QVariant()).toMap();
        for (const Member &member : members) {
            map.insert(member.key.toString(), member.value);
        }
        value = map;
    }
}

void JavaScriptArgumentReader::keepMember(const QVariant &key, const QVariant &member)
{
    m_keptMembers.append({key, member});
}
