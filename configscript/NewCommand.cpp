#include "NewCommand.h"

#include "configscript/ProjectArgument.h"
#include "configscript/process/ExitCode.h"
#include "configscript/report/Output.h"
#include "filehost/PercentEncoding.h"
#include "filehost/TextFile.h"
#include "filehost/Walls.h"
#include "host/PropertyManagerConst.h"

#include <CLI/CLI.hpp>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

const char *const s_userInterface = "user-interface";
const char *const s_dependency = "dependency";

const QString s_typesFile = QStringLiteral("types/JavaScriptApi.d.ts");

/// A file that the program carries with it.
QByteArray resource(const QString &name)
{
    QFile file(QStringLiteral(":/") + name);
    file.open(QFile::ReadOnly);
    return file.readAll();
}

/// The files below a folder of the program's own, by their paths from there, sorted.
QStringList resources(const QString &folder)
{
    const QDir root(QStringLiteral(":/") + folder);
    QStringList names;
    QDirIterator files(root.path(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        names.append(root.relativeFilePath(files.next()));
    }
    names.sort();
    return names;
}

/// A string as it stands in JSON, in quotes.
QString quoted(const QString &text)
{
    const QByteArray array = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

/// Tells when something is there already.
bool isFree(const QString &path)
{
    const QFileInfo info(path);
    if (info.exists() || info.isSymLink()) {
        Output::error(path + QStringLiteral(": exists already, and is left as it is"));
        return false;
    }
    return true;
}

/// Makes a file, or tells why it cannot.
bool write(const QString &path, const QByteArray &content)
{
    Diagnostic error;
    if (!TextFile::write(path, content, error)) {
        Output::error(error.toString());
        return false;
    }
    return true;
}

/// What editors need, where the project does not have it yet.
bool addEditorFiles(const Project &project, Output &output)
{
    const QStringList names = resources(QStringLiteral("editor"));
    for (const QString &name : names) {
        const QString path = project.path() + QLatin1Char('/') + name;
        if (QFileInfo::exists(path)) {
            continue;
        }
        if (!Walls::liesInside(project.path(), path)) {
            Output::error(path + QStringLiteral(": a link leads out of the project folder"));
            return false;
        }
        if (!write(path, resource(QStringLiteral("editor/") + name))) {
            return false;
        }
        output.line(QStringLiteral("wrote ") + name);
    }
    QFile types(project.path() + QLatin1Char('/') + s_typesFile);
    if (!types.open(QFile::ReadOnly)
        || types.readAll() != resource(QStringLiteral("editor/") + s_typesFile)) {
        output.line(s_typesFile
                    + QStringLiteral(" is not this version's: remove it, and the next new script "
                                     "brings the present one"));
    }
    return true;
}

} // namespace

NewCommand::NewCommand(CLI::App &program)
    : Command(program, "new", "Write a starting script, or a small project that runs")
    , m_script(arguments().add_subcommand("script", "Write a script to start from"))
{
    arguments().require_subcommand(1);
    arguments().add_flag("--no-color", "Accepted as everywhere; there are no colours");

    m_script->fallthrough();
    m_script
        ->add_option("KIND", m_kind,
                     "user-interface (onOpen, onValueChange, onOk) or dependency (onSave)")
        ->required()
        ->check(CLI::IsMember({s_userInterface, s_dependency}).description(""));
    m_script
        ->add_option("NAME", m_scriptName,
                     "The file in scripts/ or dependency/, with or without .js")
        ->required();
    m_script
        ->add_option("--project", m_projectPath,
                     "The project folder; without it the one that holds the current folder")
        ->type_name("PROJECT");

    CLI::App *project = arguments().add_subcommand("project", "Write a small project that runs");
    project->fallthrough();
    project
        ->add_option("NAME", m_newProjectPath,
                     "The folder to make; its name is the project's object name")
        ->required();
}

int NewCommand::run()
{
    return m_script->parsed() ? makeScript() : makeProject();
}

int NewCommand::makeScript() const
{
    const QString name = scriptName();
    if (name.isEmpty()) {
        Output::error(Output::printable(
            QStringLiteral("\"%1\" names no file").arg(QString::fromStdString(m_scriptName))));
        return ExitCode::unusable;
    }
    std::unique_ptr<ProjectLock> lock;
    const auto project = m_projectPath.empty() ? openProjectAround("project.json", &lock)
                                               : openProject(m_projectPath, &lock);
    if (!project) {
        return ExitCode::unusable;
    }
    const bool isDependency = m_kind == s_dependency;
    const QString folder = isDependency
        ? PropertyManagerConst::getDependencyFolderPath(project->path())
        : project->userInterfaceScriptFolder();
    const QString wall = project->scriptError(folder, name);
    if (!wall.isEmpty()) {
        Output::error(Output::printable(wall));
        return ExitCode::unusable;
    }
    const QString path = folder + QLatin1Char('/') + name;
    const QString typesFile =
        QDir(QFileInfo(path).path())
            .relativeFilePath(project->path() + QLatin1Char('/') + s_typesFile);
    QByteArray text =
        resource(QStringLiteral("templates/%1.js").arg(QString::fromStdString(m_kind)));
    if (!isFree(path) || !write(path, text.replace("@TYPES@", typesFile.toUtf8()))) {
        return ExitCode::failure;
    }

    Output output(Output::Color::Never);
    output.line(QStringLiteral("wrote ") + Output::printable(project->relativePath(path)));
    if (!addEditorFiles(*project, output)) {
        return ExitCode::failure;
    }
    output.line();
    output.line(QStringLiteral("It runs for each instance whose root has \"%1\": %2%3")
                    .arg(isDependency ? QStringLiteral("dependencyFileExtern")
                                      : Project::keyOfUserInterfaceScript(),
                         Output::printable(quoted(name)),
                         isDependency ? QStringLiteral(",\nand that configuration/manifest.json "
                                                       "lists.")
                                      : QStringLiteral(".")));
    return ExitCode::success;
}

QString NewCommand::scriptName() const
{
    const QString given = QString::fromStdString(m_scriptName);
    const QString suffix = QStringLiteral(".js");
    QString name = QDir::cleanPath(given);
    if (!name.endsWith(suffix)) {
        name += suffix;
    }
    const bool isFile = !given.endsWith(QLatin1Char('/')) && !QFileInfo(name).baseName().isEmpty();
    return isFile ? name : QString();
}

int NewCommand::makeProject() const
{
    const QString given = QString::fromStdString(m_newProjectPath);
    const QString path = QDir::cleanPath(QFileInfo(given).absoluteFilePath());
    if (given.isEmpty()) {
        Output::error(QStringLiteral("NAME: expected a project folder, found an empty name"));
        return ExitCode::unusable;
    }
    if (!isFree(path)) {
        return ExitCode::failure;
    }

    const QString objectName = QFileInfo(path).fileName();
    QString objectInUrl;
    PercentEncoding::append(objectInUrl, objectName, PercentEncoding::Slash::Encoded);
    Output output(Output::Color::Never);
    for (const QString &source : {QStringLiteral("project"), QStringLiteral("editor")}) {
        const QStringList names = resources(source);
        for (const QString &name : names) {
            QByteArray text = resource(source + QLatin1Char('/') + name);
            text.replace("@OBJECT@", quoted(objectName).toUtf8());
            text.replace("@OBJECT_URL@", objectInUrl.toUtf8());
            if (!write(path + QLatin1Char('/') + name, text)) {
                QDir(path).removeRecursively();
                return ExitCode::failure;
            }
        }
    }
    output.line(QStringLiteral("wrote the project ") + Output::printable(given));
    return ExitCode::success;
}
