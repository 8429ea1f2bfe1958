// The journal that an interrupted run leaves in a project folder. Whatever it says, the project is
// recovered without a file outside being touched, and its trees hold what was staged or what they
// held before.
#include "filehost/ProjectFolder.h"
#include "filehost/ProjectLayout.h"
#include "filehost/store/FileBatch.h"
#include "fuzz/FuzzSupport.h"

#include <QDir>
#include <QFile>

#include <algorithm>

using namespace ConfigScript;

namespace {

const QString s_folder = QStringLiteral("project/configuration/");

/// The project's files in the middle of a run: the first tree is staged, the second one replaced.
const QVector<QPair<QString, QByteArray>> &filesInside()
{
    static const QVector<QPair<QString, QByteArray>> files{
        {QStringLiteral("first.json"), "{}"},
        {QStringLiteral("second.json"), "{ \"new\": 1 }"},
        {QStringLiteral(".configscript-0.new"), "{ \"new\": 0 }"},
        {QStringLiteral(".configscript-1.old"), "{ }"}};
    return files;
}

/// What lies outside; nothing there is staged.
const QVector<QPair<QString, QByteArray>> &filesOutside()
{
    static const QVector<QPair<QString, QByteArray>> files{
        {QStringLiteral("outside/tree.json"), "{}"},
        {QStringLiteral("other/project.json"), "{}"},
        {QStringLiteral("other/configuration/tree.json"), "{}"},
        {QStringLiteral("project/project.json"), "{}"}};
    return files;
}

/// Made anew where the input before has changed something.
void restore(const ProjectFolder &folder)
{
    const QDir inside(folder.path(s_folder));
    const QStringList names = inside.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : names) {
        QFile::remove(inside.filePath(name));
    }
    for (const auto &file : filesInside()) {
        folder.write(s_folder + file.first, file.second);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    Fuzzing::setUp();
    static const ProjectFolder folder;
    static const bool isMade = [] {
        for (const auto &file : filesOutside()) {
            folder.write(file.first, file.second);
        }
        return true;
    }();
    Q_UNUSED(isMade)
    restore(folder);
    const QString project = folder.path(QStringLiteral("project"));
    QFile journal(ProjectLayout(project).journalFile());
    Fuzzing::require(journal.open(QFile::WriteOnly), "a journal that can be written");
    journal.write(Fuzzing::bytesOf(data, size));
    journal.close();

    FileBatch::owner(project);
    Diagnostic error;
    const auto recovery = FileBatch::recover(project, error);
    Fuzzing::require((recovery == FileBatch::Recovery::Nothing) == !error.message.isEmpty(),
                     "a recovered project, or else a reason", error.toString());
    Fuzzing::require(FileBatch::isInterrupted(project) == !error.message.isEmpty(),
                     "no journal of a recovered project", error.toString());
    journal.remove();

    for (const auto &file : filesOutside()) {
        Fuzzing::require(folder.read(file.first) == file.second, "a file that nobody touches",
                         file.first);
    }
    QStringList entries;
    const QStringList names = folder.entries();
    for (const QString &name : names) {
        if (!name.startsWith(s_folder)) {
            entries.append(name);
        }
    }
    Fuzzing::require(
        entries
            == QStringList({QStringLiteral("other"), QStringLiteral("other/configuration"),
                            QStringLiteral("other/configuration/tree.json"),
                            QStringLiteral("other/project.json"), QStringLiteral("outside"),
                            QStringLiteral("outside/tree.json"), QStringLiteral("project"),
                            QStringLiteral("project/configuration"),
                            QStringLiteral("project/project.json")}),
        "the same files outside", entries.join(QLatin1Char('\n')));
    const QDir inside(folder.path(s_folder));
    const QStringList namesInside = inside.entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString &name : namesInside) {
        const QByteArray content = folder.read(s_folder + name);
        Fuzzing::require(
            std::any_of(filesInside().begin(), filesInside().end(),
                        [&content](const auto &file) { return file.second == content; }),
            "what a file held before", name);
    }
    return 0;
}
