// Makes a project to resolve: ProjectGenerator FOLDER COUNT
//
// COUNT devices, 25 to a line, each with a configuration tree of 30 nodes and a process description
// of 13. Twenty scripts of 2 KB serve them all. Each line has a tree of 30 nodes, from which its
// devices read, and to which they write. Every device's script changes all of these trees. The same
// count always gives the same bytes; trees have the layout of QJsonDocument.

#include "Fixture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QList>
#include <QPair>
#include <QStringList>

namespace {

constexpr int s_devicesPerLine = 25;
constexpr int s_scriptCount = 20;

QString lineName(int line)
{
    return QStringLiteral("line%1").arg(line + 1, 4, 10, QLatin1Char('0'));
}

QString deviceName(int device)
{
    return QStringLiteral("device%1").arg(device % s_devicesPerLine + 1, 2, 10, QLatin1Char('0'));
}

QString instanceName(int device)
{
    return lineName(device / s_devicesPerLine) + QLatin1Char('/') + deviceName(device);
}

QString scriptName(int script)
{
    return QStringLiteral("type%1.js").arg(script + 1, 2, 10, QLatin1Char('0'));
}

using Children = QList<QPair<QString, QJsonObject>>;

QJsonObject node(const QJsonObject &properties, const Children &children = {})
{
    QJsonObject node{{QStringLiteral("properties"), properties}};
    QJsonObject object;
    for (const auto &child : children) {
        object.insert(child.first, child.second);
    }
    if (!object.isEmpty()) {
        node.insert(QStringLiteral("children"), object);
    }
    return node;
}

/// A node with a number, labelled after its name.
QPair<QString, QJsonObject> valueNode(const QString &name, const QString &unit, double value)
{
    return {name,
            node({{QStringLiteral("labelTextId"), QStringLiteral("label.") + name},
                  {QStringLiteral("unit"), unit},
                  {QStringLiteral("value"), value}})};
}

/// A node whose thresholds a script calculates.
QPair<QString, QJsonObject> limitNode(const QString &name, const QString &unit)
{
    return {name,
            node({{QStringLiteral("labelTextId"), QStringLiteral("label.") + name},
                  {QStringLiteral("thresholds"),
                   QJsonObject{{QStringLiteral("alarm"), 0}, {QStringLiteral("warning"), 0}}},
                  {QStringLiteral("unit"), unit}})};
}

/// A node whose range and thresholds a script calculates.
QPair<QString, QJsonObject> measurementNode(const QString &name, const QString &unit)
{
    auto measurement = limitNode(name, unit);
    QJsonObject properties = measurement.second.value(QStringLiteral("properties")).toObject();
    properties.insert(QStringLiteral("range"),
                      QJsonObject{{QStringLiteral("max"), 0}, {QStringLiteral("min"), 0}});
    return {name, node(properties)};
}

QJsonObject configurationTree(int device)
{
    const QString kW = QStringLiteral("kW");
    const QString ampere = QStringLiteral("A");
    const QString rpm = QStringLiteral("1/min");
    const QString bar = QStringLiteral("bar");
    const QString celsius = QStringLiteral("°C");
    const QString flowUnit = QStringLiteral("m³/h");
    const QString percent = QStringLiteral("%");
    const QString hours = QStringLiteral("h");

    const double power = 1.5 + (device * 7) % 90 * 0.5;
    return node(
        {{QStringLiteral("dependencyFileExtern"), scriptName(device % s_scriptCount)},
         {QStringLiteral("labelTextId"), QStringLiteral("label.device")},
         {QStringLiteral("revision"), device % 9}},
        {{QStringLiteral("identification"),
          node({{QStringLiteral("manufacturer"), QStringLiteral("Pumpenwerk Süd")},
                {QStringLiteral("serialNumber"), QStringLiteral("SN-%1").arg(100000 + device)},
                {QStringLiteral("tag"), QStringLiteral("P-%1").arg(device)}})},
         {QStringLiteral("location"),
          node({{QStringLiteral("building"), device % 12}, {QStringLiteral("floor"), device % 4}})},
         {QStringLiteral("motor"),
          node({{QStringLiteral("labelTextId"), QStringLiteral("label.motor")}},
               {valueNode(QStringLiteral("power"), kW, power),
                valueNode(QStringLiteral("speed"), rpm, 900 + (device * 11) % 60 * 10),
                valueNode(QStringLiteral("current"), ampere, power * 1.875),
                valueNode(QStringLiteral("protection"), percent, 105 + device % 3 * 5),
                valueNode(QStringLiteral("efficiency"), percent, 80 + device % 15),
                valueNode(QStringLiteral("powerFactor"), percent, 75 + device % 20)})},
         {QStringLiteral("medium"),
          node({{QStringLiteral("labelTextId"), QStringLiteral("label.medium")}},
               {valueNode(QStringLiteral("flow"), flowUnit, 10 + (device * 3) % 50),
                valueNode(QStringLiteral("pressure"), bar, 2 + device % 8 * 0.25),
                valueNode(QStringLiteral("temperature"), celsius, 10 + device % 40),
                valueNode(QStringLiteral("density"), QStringLiteral("kg/m³"), 998.5),
                valueNode(QStringLiteral("solids"), percent, device % 7)})},
         {QStringLiteral("limits"),
          node(
              {{QStringLiteral("labelTextId"), QStringLiteral("label.limits")}},
              {limitNode(QStringLiteral("power"), kW), limitNode(QStringLiteral("current"), ampere),
               limitNode(QStringLiteral("speed"), rpm), limitNode(QStringLiteral("flow"), flowUnit),
               limitNode(QStringLiteral("pressure"), bar),
               limitNode(QStringLiteral("temperature"), celsius)})},
         {QStringLiteral("maintenance"),
          node({{QStringLiteral("labelTextId"), QStringLiteral("label.maintenance")}},
               {valueNode(QStringLiteral("interval"), hours, 2000 + device % 5 * 500),
                valueNode(QStringLiteral("operatingHours"), hours, device * 13 % 9000),
                valueNode(QStringLiteral("remaining"), hours, 0)})},
         {QStringLiteral("display"),
          node({{QStringLiteral("decimals"), 1}, {QStringLiteral("title"), QString()}},
               {valueNode(QStringLiteral("refresh"), QStringLiteral("s"), 0.5),
                valueNode(QStringLiteral("brightness"), percent, 60)})}});
}

QJsonObject processTree()
{
    return node(
        {{QStringLiteral("labelTextId"), QStringLiteral("label.device")}},
        {{QStringLiteral("measurements"),
          node({{QStringLiteral("labelTextId"), QStringLiteral("label.measurements")}},
               {measurementNode(QStringLiteral("power"), QStringLiteral("kW")),
                measurementNode(QStringLiteral("current"), QStringLiteral("A")),
                measurementNode(QStringLiteral("speed"), QStringLiteral("1/min")),
                measurementNode(QStringLiteral("flow"), QStringLiteral("m³/h")),
                measurementNode(QStringLiteral("pressure"), QStringLiteral("bar")),
                measurementNode(QStringLiteral("temperature"), QStringLiteral("°C"))})},
         {QStringLiteral("states"),
          node({{QStringLiteral("labelTextId"), QStringLiteral("label.states")}},
               {{QStringLiteral("running"), node({{QStringLiteral("value"), false}})},
                {QStringLiteral("fault"), node({{QStringLiteral("value"), false}})},
                {QStringLiteral("local"), node({{QStringLiteral("value"), true}})},
                {QStringLiteral("maintenance"), node({{QStringLiteral("value"), false}})}})}});
}

QJsonObject lineTree(int line)
{
    Children loads;
    for (int device = 0; device < s_devicesPerLine; ++device) {
        loads.append(
            {deviceName(device),
             node({{QStringLiteral("unit"), QStringLiteral("kW")}, {QStringLiteral("value"), 0}})});
    }
    return node({{QStringLiteral("labelTextId"), QStringLiteral("label.line")}},
                {{QStringLiteral("identification"),
                  node({{QStringLiteral("shortName"), QStringLiteral("L%1").arg(line + 1)}})},
                 {QStringLiteral("supply"),
                  node({{QStringLiteral("labelTextId"), QStringLiteral("label.supply")}},
                       {valueNode(QStringLiteral("voltage"), QStringLiteral("V"),
                                  line % 2 == 0 ? 400 : 690)})},
                 {QStringLiteral("loads"),
                  node({{QStringLiteral("labelTextId"), QStringLiteral("label.loads")}}, loads)}});
}

QByteArray scriptText(int script)
{
    QFile file(QStringLiteral(CONFIGSCRIPT_DEVICE_SCRIPT));
    if (!file.open(QIODevice::ReadOnly)) {
        Fixture::fail(file.fileName() + QStringLiteral(": ") + file.errorString());
    }
    return file.readAll()
        .replace("NUMBER", QByteArray::number(script + 1))
        .replace("RESERVE", QByteArray::number(1.05 + script * 0.01));
}

/// Each unit and label identifier that stands in the trees, in the form of units.json and texts/.
QJsonObject unitTexts()
{
    QJsonObject units;
    const QStringList names{QStringLiteral("%"),  QStringLiteral("1/min"), QStringLiteral("A"),
                            QStringLiteral("V"),  QStringLiteral("bar"),   QStringLiteral("h"),
                            QStringLiteral("kW"), QStringLiteral("kg/m³"), QStringLiteral("m³/h"),
                            QStringLiteral("s"),  QStringLiteral("°C")};
    for (const QString &name : names) {
        units.insert(name, QJsonObject{{QStringLiteral("en"), name}});
    }
    return units;
}

void collectLabels(const QJsonObject &tree, QJsonObject &texts)
{
    const QString label = tree.value(QStringLiteral("properties"))
                              .toObject()
                              .value(QStringLiteral("labelTextId"))
                              .toString();
    if (!label.isEmpty()) {
        texts.insert(label, label.mid(label.lastIndexOf(QLatin1Char('.')) + 1));
    }
    const QJsonObject children = tree.value(QStringLiteral("children")).toObject();
    for (const QJsonValue &child : children) {
        collectLabels(child.toObject(), texts);
    }
}

class ProjectFolder
{
public:
    explicit ProjectFolder(const QString &path)
        : m_path(path)
    {
    }

    void store(const QString &filePath, const QByteArray &content) const
    {
        QFile file(m_path + QLatin1Char('/') + filePath);
        if (!QDir().mkpath(QFileInfo(file).path()) || !file.open(QIODevice::WriteOnly)
            || file.write(content) != content.size()) {
            Fixture::fail(file.fileName() + QStringLiteral(": ") + file.errorString());
        }
    }

    void store(const QString &filePath, const QJsonObject &object) const
    {
        store(filePath, QJsonDocument(object).toJson());
    }

private:
    QString m_path;
};

void generate(const ProjectFolder &folder, int count)
{
    folder.store(QStringLiteral("project.json"),
                 QJsonObject{{QStringLiteral("moduleName"), QStringLiteral("plant")},
                             {QStringLiteral("objectName"), QStringLiteral("station")}});
    folder.store(QStringLiteral("units.json"), unitTexts());
    QJsonObject texts;
    for (const QJsonObject &tree : {configurationTree(0), processTree(), lineTree(0)}) {
        collectLabels(tree, texts);
    }
    folder.store(QStringLiteral("texts/en.json"), texts);
    for (int script = 0; script < qMin(count, s_scriptCount); ++script) {
        folder.store(QStringLiteral("dependency/") + scriptName(script), scriptText(script));
    }

    QStringList instances;
    for (int device = 0; device < count; ++device) {
        const QString instance = instanceName(device);
        const QString file = QLatin1Char('/') + instance + QStringLiteral(".json");
        folder.store(QStringLiteral("configuration") + file, configurationTree(device));
        folder.store(QStringLiteral("process") + file, processTree());
        if (device % s_devicesPerLine == 0) {
            const int line = device / s_devicesPerLine;
            folder.store(QStringLiteral("configuration/%1.json").arg(lineName(line)),
                         lineTree(line));
        }
        instances.append(instance);
    }
    folder.store(QStringLiteral("configuration/manifest.json"), Fixture::manifestText(instances));
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    const int count = arguments.value(2).toInt();
    if (arguments.size() != 3 || count < 1) {
        Fixture::fail(QStringLiteral("Usage: ProjectGenerator FOLDER COUNT"));
    }
    if (QFileInfo::exists(arguments.at(1))) {
        Fixture::fail(arguments.at(1) + QStringLiteral(" exists already"));
    }
    generate(ProjectFolder(arguments.at(1)), count);
    return 0;
}
