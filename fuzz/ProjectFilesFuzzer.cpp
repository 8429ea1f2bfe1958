// One of a project's small files. The first line tells which: "project", "texts", "units" or
// "providers"; the file is what follows.
#include "filehost/Project.h"
#include "filehost/ProjectFolder.h"
#include "filehost/json/JsonText.h"
#include "fuzz/FuzzSupport.h"

#include <QDir>

using namespace ConfigScript;

namespace {

const QString s_projectFile = QStringLiteral("project.json");
const QString s_textsFile = QStringLiteral("texts/en.json");
const QString s_unitsFile = QStringLiteral("units.json");
const QString s_providersFile = QStringLiteral("providers.json");

/// A project with the file @p name, and the other ones as they should be.
const ProjectFolder &folderWith(const QString &name, const QByteArray &content)
{
    static const ProjectFolder folder;
    static QString changed;
    const auto restore = [](const QString &file) {
        folder.write(file,
                     file == s_projectFile ? R"({ "moduleName": "pumps", "objectName": "station" })"
                                           : "{}");
    };
    if (changed.isEmpty()) {
        restore(s_projectFile);
        restore(s_textsFile);
        restore(s_unitsFile);
        restore(s_providersFile);
    } else if (changed != name) {
        restore(changed);
    }
    folder.write(name, content);
    changed = name;
    return folder;
}

QStringList sorted(QStringList strings)
{
    strings.sort();
    return strings;
}

QHash<QString, QString> stringsOf(const QVariant &object)
{
    QHash<QString, QString> strings;
    const QVariantMap map = object.toMap();
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        strings.insert(it.key(), it->toString());
    }
    return strings;
}

void requireSameProject(const Project &project, const QVariantMap &file)
{
    const auto text = [&file](const char *key, const char *fallback) {
        return file.value(QLatin1String(key), QLatin1String(fallback)).toString();
    };
    Fuzzing::require(project.moduleName() == text("moduleName", ""), "the file's module");
    Fuzzing::require(project.objectName() == text("objectName", ""), "the file's object");
    Fuzzing::require(project.language() == text("language", "en"), "the file's language");
    Fuzzing::require(!project.objectName().isEmpty(), "an object's name");
    Fuzzing::require(!project.language().contains(QLatin1Char('/')), "a language without a path",
                     project.language());

    QHash<QString, QString> folders = stringsOf(file.value(QStringLiteral("otherFiles")));
    for (QString &folder : folders) {
        folder = QDir::cleanPath(QDir(project.path()).absoluteFilePath(folder));
    }
    folders.insert(project.objectName(), project.path());
    Fuzzing::require(project.otherFiles() == folders, "the file's other folders");
}

void requireSameUnits(const Project &project, const QVariantMap &file)
{
    const auto units = project.units();
    Fuzzing::require(sorted(units.keys()) == file.keys(), "the file's units");
    for (auto it = units.cbegin(); it != units.cend(); ++it) {
        Fuzzing::require(it.value() == file.value(it.key()).toMap(), "the file's texts of a unit",
                         it.key());
    }
}

void requireSameProviders(const Project &project, const QVariantMap &file)
{
    const auto providers = project.providers();
    Fuzzing::require(sorted(providers.getRegisteredDataTypes()) == file.keys(),
                     "the file's data types");
    const auto objects = project.reachableObjects();
    for (auto it = file.cbegin(); it != file.cend(); ++it) {
        QStringList names;
        const auto items = providers.getProviderData(it.key()).getItemList();
        for (const auto &item : items) {
            names.append(item.getObjectName());
            Fuzzing::require(objects.value(item.getObjectName()) == project.path(),
                             "a provider in the project's own folder", item.getObjectName());
        }
        Fuzzing::require(names == it->toStringList(), "the file's objects of a data type",
                         it.key());
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    const QByteArray input = Fuzzing::bytesOf(data, size);
    const int lineEnd = input.indexOf('\n');
    const QByteArray kind = input.left(qMax(lineEnd, 0));
    const QString name = kind == "texts" ? s_textsFile
        : kind == "units"                ? s_unitsFile
        : kind == "providers"            ? s_providersFile
                                         : s_projectFile;
    const QByteArray text = input.mid(lineEnd + 1);
    const ProjectFolder &folder = folderWith(name, text);

    Diagnostic error;
    const auto project = Project::open(folder.path(), error);
    if (!project) {
        Fuzzing::require(!error.message.isEmpty() && !error.file.isEmpty(),
                         "a reason, and the file", error.toString());
        Fuzzing::require(error.line == 0 || (error.file == folder.path(name) && error.column > 0),
                         "a place in the file", error.toString());
        return 0;
    }
    Fuzzing::require(error.message.isEmpty(), "no error", error.toString());
    const JsonText json = JsonText::parse(text, error);
    Fuzzing::require(!json.isNull(), "JSON in what was accepted", error.toString());
    const QVariantMap file = json.value(0).toMap();
    if (name == s_projectFile) {
        requireSameProject(*project, file);
    } else if (name == s_textsFile) {
        Fuzzing::require(project->texts() == stringsOf(file), "the file's texts");
    } else if (name == s_unitsFile) {
        requireSameUnits(*project, file);
    } else {
        requireSameProviders(*project, file);
    }
    return 0;
}
