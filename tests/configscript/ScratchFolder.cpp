#include "ScratchFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

QString ScratchFolder::path(const QString &name) const
{
    return m_folder.filePath(name);
}

Files ScratchFolder::files() const
{
    return readFiles(path());
}

void ScratchFolder::write(const QString &name, const QByteArray &content) const
{
    writeFiles(path(), {{name, content}});
}

void ScratchFolder::remove(const QString &name) const
{
    const bool removed = QFileInfo(path(name)).isDir() ? QDir(path(name)).removeRecursively()
                                                       : QFile::remove(path(name));
    if (!removed) {
        qFatal("cannot remove %s", qPrintable(path(name)));
    }
}

void ScratchFolder::link(const QString &name, const QString &target) const
{
    QDir().mkpath(QFileInfo(path(name)).path());
    if (!QFile::link(target, path(name))) {
        qFatal("cannot link %s", qPrintable(path(name)));
    }
}

void ScratchFolder::copyExamples() const
{
    writeFiles(path(), readFiles(QStringLiteral(EXAMPLES_FOLDER)));
}

void ScratchFolder::makePlant() const
{
    write(QStringLiteral("plant/project.json"),
          "{ \"moduleName\": \"pumps\", \"objectName\": \"plant\" }\n");
    listInstances({QStringLiteral("pump")});
    addInstance(QStringLiteral("pump"), QStringLiteral("pump.js"));
    writeScript(QStringLiteral("pump.js"),
                "function onSave(api, url) {\n"
                "  api.setPropertyExtern(url, \"speed\", 1500);\n"
                "}\n");
}

void ScratchFolder::listInstances(const QStringList &instances) const
{
    QStringList entries;
    for (const QString &instance : instances) {
        entries.append(QStringLiteral("{ \"instanceName\": \"%1\" }").arg(instance));
    }
    write(QStringLiteral("plant/configuration/manifest.json"),
          QStringLiteral("[\n  { \"dependencyFileExtern\": [\n    %1\n  ] }\n]\n")
              .arg(entries.join(QStringLiteral(",\n    ")))
              .toUtf8());
}

void ScratchFolder::addInstance(const QString &instance, const QString &script) const
{
    write(QStringLiteral("plant/configuration/%1.json").arg(instance),
          QStringLiteral(
              "{ \"properties\": { \"dependencyFileExtern\": \"%1\", \"speed\": 1200 } }\n")
              .arg(script)
              .toUtf8());
}

void ScratchFolder::writeScript(const QString &name, const QByteArray &content) const
{
    write(QStringLiteral("plant/dependency/") + name, content);
}
