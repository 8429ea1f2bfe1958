#include "FlowJson.h"

#include "runner/flow/PropertyUrls.h"

#include <QJsonArray>
#include <QSet>

#include <algorithm>
#include <tuple>

namespace FlowJson {

namespace {

void insertValue(QJsonObject &object, const QString &name, const QVariant &value)
{
    if (value.isValid()) {
        object.insert(name, QJsonValue::fromVariant(value));
    }
}

/// Makes the objects for properties, and notes which ones they name.
class Explanation
{
public:
    Explanation(const DataFlow &flow, const PropertyUrls &urls, Direction direction)
        : m_flow(flow)
        , m_urls(urls)
        , m_direction(direction)
    {
    }

    QString urlOf(int property) const
    {
        const DataFlow::Property &named = m_flow.properties().at(property);
        return m_urls.urlOf(m_flow.trees().at(named.tree), named.path, named.key);
    }

    /// @param next receives the properties that are one script away
    QJsonObject object(int number, QVector<int> &next) const
    {
        const DataFlow::Property &property = m_flow.properties().at(number);
        const FileTree::Identity &tree = m_flow.trees().at(property.tree);
        QJsonObject object{{QStringLiteral("url"), urlOf(number)},
                           {QStringLiteral("instance"), tree.instance},
                           {QStringLiteral("kind"),
                            tree.kind == FileTree::Kind::Process ? QStringLiteral("process")
                                                                 : QStringLiteral("configuration")},
                           {QStringLiteral("path"), property.path},
                           {QStringLiteral("key"), property.key}};
        insertValue(object, QStringLiteral("old"), property.oldValue);
        insertValue(object, QStringLiteral("new"), property.newValue);
        QJsonArray writes;
        for (const int write : property.writes) {
            writes.append(writeObject(write, next));
        }
        object.insert(QStringLiteral("writes"), writes);
        QJsonArray reads;
        QVector<int> sorted = property.reads; // the scripts run in random order
        std::sort(sorted.begin(), sorted.end(), [this](int a, int b) {
            return std::tie(m_flow.runs().at(m_flow.step(a).run).instance, a)
                < std::tie(m_flow.runs().at(m_flow.step(b).run).instance, b);
        });
        for (const int read : qAsConst(sorted)) {
            reads.append(readObject(read, next));
        }
        object.insert(QStringLiteral("reads"), reads);
        return object;
    }

private:
    QJsonObject stepObject(int step) const
    {
        const ScriptRun &run = m_flow.runs().at(m_flow.step(step).run);
        QJsonObject object{{QStringLiteral("instance"), run.instance},
                           {QStringLiteral("script"), run.script},
                           {QStringLiteral("step"), step},
                           {QStringLiteral("relative"), m_flow.step(step).access->isOfOwnCopy}};
        insertValue(object, QStringLiteral("value"), m_flow.step(step).access->value);
        return object;
    }

    QJsonObject writeObject(int write, QVector<int> &next) const
    {
        QJsonObject object = stepObject(write);
        insertValue(object, QStringLiteral("old"), m_flow.step(write).access->oldValue);
        if (m_direction == Direction::Backwards) {
            QJsonArray after;
            const QVector<int> reads = m_flow.readsBefore(write);
            for (const int read : reads) {
                const int property = m_flow.step(read).property;
                const int source = m_flow.sourceOf(read);
                QJsonObject readBefore{{QStringLiteral("url"), urlOf(property)}};
                insertValue(readBefore, QStringLiteral("value"), m_flow.step(read).access->value);
                if (source >= 0) {
                    readBefore.insert(QStringLiteral("source"), source);
                }
                after.append(readBefore);
                next.append(property);
            }
            object.insert(QStringLiteral("after"), after);
        }
        return object;
    }

    QJsonObject readObject(int read, QVector<int> &next) const
    {
        QJsonObject object = stepObject(read);
        if (m_direction == Direction::Forwards) {
            QJsonArray before;
            const QVector<int> writes = m_flow.writesAfter(read);
            for (const int write : writes) {
                before.append(urlOf(m_flow.step(write).property));
                next.append(m_flow.step(write).property);
            }
            object.insert(QStringLiteral("before"), before);
        }
        return object;
    }

    const DataFlow &m_flow;
    const PropertyUrls &m_urls;
    const Direction m_direction;
};

} // namespace

QJsonObject explanation(const DataFlow &flow, const PropertyUrls &urls,
                        const QVector<int> &properties, Direction direction, int depth)
{
    const Explanation explanation(flow, urls, direction);
    QJsonArray asked;
    QJsonArray objects;
    QSet<int> known;
    QVector<int> level = properties;
    for (const int property : properties) {
        asked.append(explanation.urlOf(property));
    }
    for (int distance = 0; !level.isEmpty(); ++distance) {
        QVector<int> next;
        for (const int property : qAsConst(level)) {
            if (!known.contains(property)) {
                known.insert(property);
                objects.append(explanation.object(property, next));
            }
        }
        level = depth < 0 || distance < depth ? next : QVector<int>();
    }
    return {{QStringLiteral("asked"), asked}, {QStringLiteral("properties"), objects}};
}

} // namespace FlowJson
