#pragma once

#include <QJSEngine>
#include <QJSValue>
#include <QObject>
#include <QPair>
#include <QVariant>
#include <QVector>

/**
 * Reads what the scripts of an engine pass to a method: their objects and arrays as plain maps and
 * lists, which have no tie to the engine.
 *
 * Each member is read once, as a script would read it: getters and traps of proxies run. What they
 * throw goes on in the script, just as it was thrown. What has no form of data (a function, a
 * symbol, an object of C++) becomes an invalid value, and an object inside itself an empty one.
 *
 * Made before the engine runs its first script, which could replace what the reader builds on; used
 * on the engine's thread, and destroyed before the engine.
 */
class JavaScriptArgumentReader : public QObject
{
    Q_OBJECT

public:
    /// How deep objects and arrays may be nested; deeper ones are refused with a RangeError.
    static constexpr int maximumDepth = 512;

    explicit JavaScriptArgumentReader(QJSEngine &engine);

    enum class Result {
        Read,
        Threw, ///< an exception is in progress in the script
        Stopped ///< as Threw, by an interruption
    };

    /// Makes a plain value of what the engine passed.
    Result read(QVariant &value);

    /// For the reader's own script: a member that is an object or an array.
    Q_INVOKABLE void keepMember(const QVariant &key, const QVariant &member);

private:
    struct Member
    {
        QVariant key; ///< a name, or an index
        QVariant value;
    };

    using Path = QVector<QJSValue>; ///< an object and those that it lies in, from the outermost

    Result read(QVariant &value, Path &path);
    Result readObject(const QJSValue &object, QVariant &value, Path &path);
    Result copyMembers(const QJSValue &object, QVariant &copy, QVector<Member> &objects);
    static void insertMembers(QVariant &value, const QVector<Member> &members);

    QJSEngine &m_engine;
    QJSValue m_copyMembers;
    QVector<Member> m_keptMembers;
};
