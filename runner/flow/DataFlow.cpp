#include "DataFlow.h"

#include "filehost/JsonValue.h"

#include <QMap>
#include <QSet>

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

bool DataFlow::Property::isChanged() const
{
    return !JsonValue::areEqual(oldValue, newValue);
}

DataFlow::DataFlow(QVector<ScriptRun> runs)
    : m_runs(std::move(runs))
{
    for (int run = 0; run < m_runs.size(); ++run) {
        m_firstSteps.append(m_steps.size());
        for (const TreeAccess &access : m_runs.at(run).accesses) {
            addStep(run, access);
        }
    }
    m_firstSteps.append(m_steps.size());
    findValues();
}

/// What the properties held before and after the run. A script's own copy of a tree tells it where
/// nobody used the common one.
void DataFlow::findValues()
{
    QVector<bool> isKnown(m_properties.size());
    for (const bool isOfOwnCopy : {false, true}) {
        const QVector<bool> isKnownBefore = isKnown;
        for (const Step &step : qAsConst(m_steps)) {
            if (step.access->isOfOwnCopy != isOfOwnCopy || isKnownBefore.at(step.property)) {
                continue;
            }
            Property &property = m_properties[step.property]; // clazy:exclude=detaching-member
            if (!isKnown.at(step.property)) {
                isKnown[step.property] = true;
                property.oldValue =
                    step.access->isWrite() ? step.access->oldValue : step.access->value;
                property.newValue = property.oldValue;
            }
            if (step.access->isWrite() && !isOfOwnCopy) {
                property.newValue = step.access->value;
            }
        }
    }
}

int DataFlow::treeOf(const FileTree::Identity &identity)
{
    const auto known = m_treeNumbers.constFind(identity.filePath);
    if (known != m_treeNumbers.constEnd()) {
        return *known;
    }
    m_treeNumbers.insert(identity.filePath, m_trees.size());
    m_trees.append(identity);
    return m_trees.size() - 1;
}

int DataFlow::propertyOf(const TreeAccess &access)
{
    const int tree = treeOf(access.tree);
    const PropertyId name{access.tree.filePath, access.path, access.key};
    const auto known = m_propertyNumbers.constFind(name);
    if (known != m_propertyNumbers.constEnd()) {
        return *known;
    }
    m_propertyNumbers.insert(name, m_properties.size());
    m_properties.append({tree, access.path, access.key, {}, {}, {}, {}});
    return m_properties.size() - 1;
}

void DataFlow::addStep(int run, const TreeAccess &access)
{
    const int number = propertyOf(access);
    Property &property = m_properties[number]; // clazy:exclude=detaching-member
    (access.kind == TreeAccess::Kind::Read ? property.reads : property.writes)
        .append(m_steps.size());
    m_steps.append({run, number, &access});
}

int DataFlow::propertyOf(const QString &treeFile, const QString &path, const QString &key) const
{
    return m_propertyNumbers.value({treeFile, path, key}, -1);
}

QVector<int> DataFlow::propertiesOf(const QString &treeFile, const QString &path) const
{
    const int tree = m_treeNumbers.value(treeFile, -1);
    QMap<QString, int> byKey;
    for (int i = 0; i < m_properties.size(); ++i) {
        const Property &property = m_properties.at(i);
        if (property.tree == tree && property.path == path) {
            byKey.insert(property.key, i);
        }
    }
    QVector<int> numbers;
    std::copy(byKey.cbegin(), byKey.cend(), std::back_inserter(numbers));
    return numbers;
}

QVector<int> DataFlow::readsBefore(int write) const
{
    QVector<int> reads;
    QSet<int> known;
    for (int i = write - 1; i >= m_firstSteps.at(m_steps.at(write).run); --i) {
        const Step &step = m_steps.at(i);
        if (step.access->kind == TreeAccess::Kind::Read && !known.contains(step.property)) {
            known.insert(step.property);
            reads.prepend(i);
        }
    }
    return reads;
}

QVector<int> DataFlow::writesAfter(int read) const
{
    QVector<int> writes;
    QSet<int> known;
    for (int i = m_firstSteps.at(m_steps.at(read).run + 1) - 1; i > read; --i) {
        const Step &step = m_steps.at(i);
        if (step.access->kind != TreeAccess::Kind::Read && !known.contains(step.property)) {
            known.insert(step.property);
            writes.prepend(i);
        }
    }
    return writes;
}

int DataFlow::sourceOf(int read) const
{
    const Step &reading = m_steps.at(read);
    const QVector<int> &writes = m_properties.at(reading.property).writes;
    int seen = -1;
    int equal = -1;
    for (const int write : writes) {
        const Step &writing = m_steps.at(write);
        if (write < read && writing.access->isOfOwnCopy == reading.access->isOfOwnCopy) {
            seen = write;
        } else if (!writing.access->isOfOwnCopy && writing.run != reading.run
                   && reading.access->value.isValid()
                   && JsonValue::areEqual(writing.access->value, reading.access->value)) {
            equal = write;
        }
    }
    return seen >= 0 ? seen : equal;
}

QVector<DataFlow::Edge> DataFlow::edges() const
{
    QMap<std::tuple<QString, QString, int, bool>, QSet<int>> properties;
    for (const Step &step : m_steps) {
        const bool isWrite = step.access->kind != TreeAccess::Kind::Read;
        properties[{step.access->tree.filePath, m_runs.at(step.run).instance, step.run, isWrite}]
            .insert(step.property);
    }
    QVector<Edge> edges;
    for (auto it = properties.cbegin(); it != properties.cend(); ++it) {
        const auto &[filePath, instance, run, isWrite] = it.key();
        QVector<int> sorted(it->cbegin(), it->cend());
        std::sort(sorted.begin(), sorted.end(), [this](int a, int b) {
            const Property &left = m_properties.at(a);
            const Property &right = m_properties.at(b);
            return std::tie(left.path, left.key) < std::tie(right.path, right.key);
        });
        edges.append({run, m_treeNumbers.value(filePath), isWrite, sorted});
    }
    return edges;
}
