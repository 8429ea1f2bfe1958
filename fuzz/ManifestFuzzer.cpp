// A manifest: what the command says of it, and which instances the library takes from it.
#include "JavaScript/JavaScriptDependencyManager.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "filehost/ProjectFolder.h"
#include "fuzz/FuzzSupport.h"

#include <QStringList>

#include <algorithm>

using namespace ConfigScript;

namespace {

void requirePlace(const Diagnostic &place, const Manifest &manifest)
{
    Fuzzing::require(place.file == manifest.filePath() && place.line > 0 && place.column > 0,
                     "a place in the manifest", place.toString());
}

void requireMessage(const Diagnostic &message, const Manifest &manifest)
{
    requirePlace(message, manifest);
    Fuzzing::require(!message.message.isEmpty(), "a reason");
}

/// Whether the library's reader of JSON takes names for others: it drops byte order marks in front
/// of them, and sorts those with characters beyond 16 bits by how they are spelled.
bool hasUnreliableNames(const QByteArray &text)
{
    return text.lastIndexOf("\xef\xbb\xbf") > 0 || text.toLower().contains("\\ud")
        || std::any_of(text.begin(), text.end(), [](char byte) { return uchar(byte) >= 0xf0; });
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    static const ProjectFolder folder;
    static const Project project = [] {
        folder.write(QStringLiteral("project.json"),
                     R"({ "moduleName": "pumps", "objectName": "station" })");
        Diagnostic error;
        const auto opened = Project::open(folder.path(), error);
        Fuzzing::require(opened.has_value(), "a project", error.toString());
        return *opened;
    }();
    const QByteArray text = Fuzzing::bytesOf(data, size);
    folder.write(QStringLiteral("configuration/manifest.json"), text);

    const Manifest manifest(project);
    if (manifest.hasFailed()) {
        requireMessage(manifest.error(), manifest);
        Fuzzing::require(manifest.entries().isEmpty(), "no entries of a bad manifest");
        return 0;
    }
    // Only now: Qt's reader leaks when a member stands twice.
    JavaScriptDependencyManager manager(folder.path(), true);
    const QStringList instances = manager.getExternalDependencySourceInstanceList();
    for (const QString &instance : instances) {
        Fuzzing::require(manager.getInstancesToResolve(instance).contains(instance),
                         "a listed instance among those that it selects", instance);
    }

    for (const Diagnostic &message : manifest.entryErrors() + manifest.warnings()) {
        requireMessage(message, manifest);
    }
    QStringList names;
    for (const Manifest::Entry &entry : manifest.entries()) {
        requirePlace(manifest.placeOf(entry), manifest);
        names.append(entry.instanceName);
    }
    Fuzzing::require(
        !manifest.entryErrors().isEmpty() || hasUnreliableNames(text) || names == instances,
        "the instances that the library takes from the manifest",
        names.join(QLatin1Char('|')) + QLatin1Char('\n') + instances.join(QLatin1Char('|')));
    return 0;
}
