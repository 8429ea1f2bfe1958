#include "Fixture.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <cstdlib>

namespace Fixture {

namespace {

QString nodeName(int node)
{
    return QStringLiteral("n%1").arg(node);
}

QJsonObject treeNode(int node, int nodeCount, int fanOut)
{
    QJsonObject properties{
        {QStringLiteral("labelTextId"), QStringLiteral("plant.device.label%1").arg(node)},
        {QStringLiteral("unit"), QStringLiteral("kW")},
        {QStringLiteral("value"), node + 0.5}};
    if (node % 4 == 0) {
        properties.insert(QStringLiteral("limits"),
                          QJsonObject{{QStringLiteral("max"), 3000}, {QStringLiteral("min"), -50}});
    }
    QJsonObject object{{QStringLiteral("properties"), properties}};
    QJsonObject children;
    for (int child = node * fanOut + 1; child <= (node + 1) * fanOut && child < nodeCount;
         ++child) {
        children.insert(nodeName(child), treeNode(child, nodeCount, fanOut));
    }
    if (!children.isEmpty()) {
        object.insert(QStringLiteral("children"), children);
    }
    return object;
}

QString scratchTemplate()
{
    const QString memory = QStringLiteral("/dev/shm");
    const QFileInfo info(memory);
    return (info.isDir() && info.isWritable() ? memory : QDir::tempPath())
        + QStringLiteral("/configscript-benchmark-XXXXXX");
}

} // namespace

QByteArray treeText(int nodeCount, int fanOut)
{
    return QJsonDocument(treeNode(0, nodeCount, fanOut)).toJson();
}

QString nodeUrl(int node, int fanOut)
{
    QStringList names;
    for (; node > 0; node = (node - 1) / fanOut) {
        names.prepend(nodeName(node));
    }
    return names.join(QLatin1Char('/'));
}

QString scriptText(int size)
{
    QString text = QStringLiteral("function onOpen(api) {\n"
                                  "  const value = api.getProperty(\"n1\", \"value\");\n"
                                  "  api.setProperty(\"n1\", \"value\", check1(api, value));\n"
                                  "}\n");
    for (int i = 1; text.size() < size; ++i) {
        text += QStringLiteral("\n"
                               "// Keeps a value within the limits of one of the nodes.\n"
                               "function check%1(api, value) {\n"
                               "  const limits = api.getProperty(\"n%1\", \"limits\");\n"
                               "  if (limits && value > limits.max) {\n"
                               "    api.setError(\"n%1\", \"error.aboveMaximum\", limits.max);\n"
                               "    return limits.max;\n"
                               "  }\n"
                               "  return Math.round(value * 100 + %1) / 100;\n"
                               "}\n")
                    .arg(i);
    }
    return text;
}

QByteArray manifestText(const QStringList &instanceNames)
{
    QJsonArray entries;
    for (const QString &name : instanceNames) {
        entries.append(QJsonObject{{QStringLiteral("instanceName"), name}});
    }
    const QJsonObject manifest{{QStringLiteral("dependencyFileExtern"), entries}};
    return QJsonDocument(QJsonArray{manifest}).toJson();
}

ScratchProject::ScratchProject()
    : m_folder(scratchTemplate())
{
    if (!m_folder.isValid()) {
        fail(m_folder.errorString());
    }
}

void ScratchProject::store(const QString &filePath, const QByteArray &content) const
{
    QFile file(m_folder.filePath(filePath));
    if (!QDir().mkpath(QFileInfo(file).path()) || !file.open(QIODevice::WriteOnly)
        || file.write(content) != content.size()) {
        fail(file.fileName() + QStringLiteral(": ") + file.errorString());
    }
}

void fail(const QString &reason)
{
    std::fprintf(stderr, "%s\n", qUtf8Printable(reason));
    std::exit(EXIT_FAILURE);
}

void failOnWarnings()
{
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext &, const QString &message) {
        if (type != QtDebugMsg && type != QtInfoMsg) {
            fail(QStringLiteral("unexpected warning: ") + message);
        }
    });
}

} // namespace Fixture
