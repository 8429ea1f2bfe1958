#include "OmittedRuns.h"

#include "filehost/FileTreeNode.h"
#include "filehost/Project.h"
#include "filehost/TextFile.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "runner/check/ScriptProbe.h"

#include <QMap>
#include <QSet>

QString reasonOfOmission(const Project &project, const QString &instance)
{
    QString pathError;
    const QString treePath = project.treePath(FileTree::Kind::Configuration, instance, pathError);
    if (treePath.isEmpty()) {
        return pathError.remove(project.path() + QLatin1Char('/'));
    }
    Diagnostic error;
    const auto root = project.readTree(FileTree::Kind::Configuration, instance, error);
    if (!error.message.isEmpty()) {
        return project.relative(error).toString();
    }
    if (root.isNull()) {
        return project.relativePath(treePath) + QStringLiteral(": no such file");
    }
    const QString key =
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
    const QString fileName = root->getProperty(key).toString();
    if (fileName.isEmpty()) {
        return QStringLiteral("%1: expected the property \"%2\", the name of a script")
            .arg(project.relativePath(treePath), key);
    }
    const QString folder = PropertyManagerConst::getDependencyFolderPath(project.path());
    QString scriptError = project.scriptError(folder, fileName);
    if (!scriptError.isEmpty()) {
        return scriptError;
    }
    const QString scriptPath = folder + QLatin1Char('/') + fileName;
    QByteArray text;
    switch (TextFile::read(scriptPath, FileTree::maximumFileSize, text, error)) {
    case TextFile::ReadResult::Missing:
        return project.relativePath(scriptPath) + QStringLiteral(": no such file");
    case TextFile::ReadResult::Unreadable:
        return project.relative(error).toString();
    case TextFile::ReadResult::Read:
        break;
    }
    return project.relativePath(scriptPath) + QStringLiteral(": the file is empty");
}

QVector<OmittedRun> omittedRuns(const QStringList &selected, const QVector<ScriptRun> &runs,
                                const std::function<QString(const QString &instance)> &reason)
{
    QSet<QString> ran;
    for (const ScriptRun &run : runs) {
        ran.insert(run.instance);
    }
    QVector<OmittedRun> omitted;
    for (const QString &instance : selected) {
        if (!ran.contains(instance)) {
            omitted.append({instance, reason(instance)});
        }
    }
    return omitted;
}

void noteForeignFunctions(const Project &project, ScriptGuard &guard, QVector<ScriptRun> &runs)
{
    QMap<QString, bool> definesFunction; // by script
    QString owner; // the script whose function the engine holds
    for (ScriptRun &run : runs) {
        auto defines = definesFunction.find(run.script);
        if (defines == definesFunction.end()) {
            QByteArray text;
            Diagnostic error;
            TextFile::read(project.path() + QLatin1Char('/') + run.script,
                           FileTree::maximumFileSize, text, error);
            defines = definesFunction.insert(run.script,
                                             ScriptProbe(QString::fromUtf8(text), run.script, guard)
                                                 .functions.contains(run.function));
        }
        if (*defines) {
            owner = run.script;
        } else if (!owner.isEmpty()) {
            run.ranInstead = owner;
            run.succeeded = false;
        }
    }
}
