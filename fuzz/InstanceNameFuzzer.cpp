// Each line is the name of an instance in a project with links that stay inside and lead out.
#include "filehost/ProjectFolder.h"
#include "filehost/store/InstanceFile.h"
#include "fuzz/FuzzSupport.h"

#include <QDir>
#include <QFile>

#include <cstdlib>
#include <memory>

using namespace ConfigScript;

namespace {

const QString s_configuration = QStringLiteral("project/configuration");
const QString s_process = QStringLiteral("project/process");

/// A project folder "project" beside a folder "outside".
const ProjectFolder &folder()
{
    static const ProjectFolder folder;
    static const bool isFilled = [] {
        folder.write(QStringLiteral("outside/tree.json"), "{}");
        folder.write(QStringLiteral("project/project.json"), "{}");
        folder.write(QStringLiteral("project/configuration/manifest.json"), "[]");
        folder.write(QStringLiteral("project/configuration/line1.json"), "{}");
        folder.write(QStringLiteral("project/configuration/line1/pump1.json"), "{}");
        folder.write(QStringLiteral("project/process/line1.json"), "{}");
        const auto link = [](const char *name, const char *target) {
            folder.link(QLatin1String("project/configuration/") + QLatin1String(name),
                        QLatin1String(target));
        };
        link("out", "../../outside");
        link("up", "..");
        link("top", "/");
        link("nowhere", "../../missing");
        link("loop", "loop");
        link("in", "../process");
        link("twice", "in");
        link("inout", "out");
        link("file.json", "../../outside/tree.json");
        link("new.json", "../../outside/new.json");
        link("inside.json", "line1.json");
        return true;
    }();
    Q_UNUSED(isFilled)
    return folder;
}

/// Where the kernel finds the file, or as much of its path as exists.
QByteArray realPath(QByteArray path)
{
    for (;;) {
        const std::unique_ptr<char, decltype(&std::free)> real(
            ::realpath(path.constData(), nullptr), std::free);
        if (real) {
            return real.get();
        }
        const int slash = path.lastIndexOf('/');
        if (slash <= 0) {
            return "/";
        }
        path.truncate(slash);
    }
}

void requireInside(const QString &folderName, const QString &name)
{
    const QString path = folder().path(folderName);
    QString error;
    const QString filePath = InstanceFile::path(QDir(path), name, error);
    Fuzzing::require(filePath.isEmpty() != error.isEmpty(), "either a path or an error", name);
    if (filePath.isEmpty()) {
        return;
    }
    Fuzzing::require(InstanceFile::nameError(name).isEmpty(), "a name without an error", name);
    Fuzzing::require(filePath == path + QLatin1Char('/') + name + QStringLiteral(".json"),
                     "the file of the instance's name", filePath);
    Fuzzing::require(QDir::cleanPath(filePath) == filePath, "a clean path", filePath);
    const QByteArray encoded = QFile::encodeName(filePath);
    Fuzzing::require(encoded.count('/') == filePath.count(QLatin1Char('/'))
                         && !encoded.contains('\0') && !encoded.contains("/../"),
                     "the same path for the system", filePath);
    const QByteArray real = realPath(encoded);
    const QByteArray project =
        realPath(QFile::encodeName(folder().path(QStringLiteral("project"))));
    Fuzzing::require(real == project || real.startsWith(project + '/'),
                     "a file inside the project folder", filePath);
    Fuzzing::require(filePath != folder().path(s_configuration + QStringLiteral("/manifest.json")),
                     "a file that is not the manifest", filePath);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    Fuzzing::Reader input(Fuzzing::bytesOf(data, size));
    do {
        const QString name = input.text();
        requireInside(s_configuration, name);
        requireInside(s_process, name);
    } while (!input.isAtEnd());
    return 0;
}
