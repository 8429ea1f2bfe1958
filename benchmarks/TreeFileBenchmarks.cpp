// Reading a tree from its file, and writing it back with one value changed. The floor reads it as a
// QJsonDocument, and writes that with QSaveFile. The files are in memory where the machine allows
// it: what the disk costs belongs to the whole programs.

#include "Body.h"
#include "Fixture.h"

#include "filehost/FileTreeNode.h"
#include "host/ConfigurationDataAndProcessDescriptionAccess.h"

#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>
#include <QStringList>

#include <map>

using namespace ConfigScript;

namespace {

const QString s_value = QStringLiteral("value");

struct TreeFile
{
    TreeFile(int nodeCount, int fanOut)
        : url(Fixture::nodeUrl(nodeCount - 1, fanOut))
        , value(nodeCount - 0.5)
    {
        project.store(QStringLiteral("configuration/tree.json"),
                      Fixture::treeText(nodeCount, fanOut));
    }

    QString path() const { return project.configurationFolder() + QStringLiteral("/tree.json"); }

    Fixture::ScratchProject project;
    QString url; ///< of the last node
    double value; ///< of the last node
};

ConfigurationAndProcessDataBase::BaseClassSharedPointer readOurs(const TreeFile &file)
{
    return ConfigurationDataAndProcessDescriptionAccess::getParsedConfigurationProcessDescription(
        file.project.configurationFolder(), QStringLiteral("tree"), false);
}

bool writeOurs(const TreeFile &file,
               const ConfigurationAndProcessDataBase::BaseClassSharedPointer &root)
{
    return ConfigurationDataAndProcessDescriptionAccess::setParsedConfigurationProcessDescription(
        file.project.configurationFolder(), QStringLiteral("plant"), QStringLiteral("station"),
        QStringLiteral("tree"), root, false);
}

double valueOf(const TreeFile &file,
               const ConfigurationAndProcessDataBase::BaseClassSharedPointer &root)
{
    const auto node = root.isNull() ? root : root->getNode(file.url);
    return node.isNull() ? 0 : node->getProperty(s_value).toDouble();
}

QJsonObject readFloor(const TreeFile &file)
{
    QFile device(file.path());
    return device.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(device.readAll()).object()
                                            : QJsonObject();
}

bool writeFloor(const TreeFile &file, const QJsonObject &root)
{
    const QByteArray text = QJsonDocument(root).toJson();
    QSaveFile device(file.path());
    return device.open(QIODevice::WriteOnly) && device.write(text) == text.size()
        && device.commit();
}

double valueOf(const TreeFile &file, QJsonObject node)
{
    const QStringList names = file.url.split(QLatin1Char('/'));
    for (const QString &name : names) {
        node = node.value(QStringLiteral("children")).toObject().value(name).toObject();
    }
    return node.value(QStringLiteral("properties")).toObject().value(s_value).toDouble();
}

/// @return @p node with another value at the end of the path that begins with its child @p depth
QJsonObject withValue(QJsonObject node, const QStringList &names, int depth, double value)
{
    const QString member =
        depth < names.size() ? QStringLiteral("children") : QStringLiteral("properties");
    QJsonObject object = node.value(member).toObject();
    if (depth < names.size()) {
        object.insert(names.at(depth),
                      withValue(object.value(names.at(depth)).toObject(), names, depth + 1, value));
    } else {
        object.insert(s_value, value);
    }
    node.insert(member, object);
    return node;
}

void measureReadOurs(benchmark::State &state, int nodeCount, int fanOut)
{
    const TreeFile file(nodeCount, fanOut);
    if (!Body::expect(state, valueOf(file, readOurs(file)) == file.value, "the last value")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(readOurs(file));
    }
}

void measureReadFloor(benchmark::State &state, int nodeCount, int fanOut)
{
    const TreeFile file(nodeCount, fanOut);
    if (!Body::expect(state, valueOf(file, readFloor(file)) == file.value, "the last value")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(readFloor(file));
    }
}

void measureWriteOurs(benchmark::State &state, int nodeCount, int fanOut)
{
    const TreeFile file(nodeCount, fanOut);
    const auto root = readOurs(file);
    double value = 0.25;
    const auto change = [&] {
        value += 1;
        return root->getNode(file.url)->setProperty(s_value, value) == 0 && writeOurs(file, root);
    };
    const bool isWritten = change();
    if (!Body::expect(state, isWritten && valueOf(file, readOurs(file)) == 1.25,
                      "the value that was written")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(change());
    }
    Body::expect(state, valueOf(file, readOurs(file)) == value, "the last value that was written");
}

void measureWriteFloor(benchmark::State &state, int nodeCount, int fanOut)
{
    const TreeFile file(nodeCount, fanOut);
    const QStringList names = file.url.split(QLatin1Char('/'));
    QJsonObject root = readFloor(file);
    double value = 0.25;
    const auto change = [&] {
        value += 1;
        root = withValue(root, names, 0, value);
        return writeFloor(file, root);
    };
    const bool isWritten = change();
    if (!Body::expect(state, isWritten && valueOf(file, readFloor(file)) == 1.25,
                      "the value that was written")) {
        return;
    }
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(change());
    }
    Body::expect(state, valueOf(file, readFloor(file)) == value, "the last value that was written");
}

BENCHMARK_CAPTURE(measureReadOurs, , 40, 3)->Name("reading a tree of 40 nodes/ours");
BENCHMARK_CAPTURE(measureReadFloor, , 40, 3)->Name("reading a tree of 40 nodes/floor");
BENCHMARK_CAPTURE(measureWriteOurs, , 40, 3)->Name("rewriting a tree of 40 nodes/ours");
BENCHMARK_CAPTURE(measureWriteFloor, , 40, 3)->Name("rewriting a tree of 40 nodes/floor");
BENCHMARK_CAPTURE(measureReadOurs, , 40000, 34)->Name("reading a tree of 40,000 nodes/ours");
BENCHMARK_CAPTURE(measureReadFloor, , 40000, 34)->Name("reading a tree of 40,000 nodes/floor");
BENCHMARK_CAPTURE(measureWriteOurs, , 40000, 34)->Name("rewriting a tree of 40,000 nodes/ours");
BENCHMARK_CAPTURE(measureWriteFloor, , 40000, 34)->Name("rewriting a tree of 40,000 nodes/floor");

} // namespace
