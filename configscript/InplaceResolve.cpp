#include "InplaceResolve.h"

#include "configscript/process/ExitCode.h"
#include "configscript/report/JsonReport.h"
#include "configscript/report/TextReport.h"
#include "filehost/FileTreeNode.h"
#include "filehost/HostSession.h"
#include "filehost/Manifest.h"
#include "filehost/Project.h"
#include "filehost/ProjectLayout.h"
#include "filehost/json/JsonText.h"
#include "filehost/store/FileBatch.h"
#include "host/PropertyManagerConst.h"
#include "runner/record/LineDiff.h"
#include "runner/run/InplaceRun.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

namespace ConfigScript {

namespace {

QString rootInstanceOf(const Project &project, const QString &treePath, const QString &instance)
{
    const QString folder =
        QFileInfo(ProjectLayout(project.path()).configurationFolder()).canonicalFilePath()
        + QLatin1Char('/');
    const QString ownInstance = treePath.startsWith(folder)
        ? ProjectLayout::baseName(treePath.mid(folder.size()))
        : QString();
    return ownInstance.isEmpty() ? instance : ownInstance;
}

} // namespace

InplaceResolve::InplaceResolve(const Project &project, const QString &treePath,
                               const QString &instance, ScriptGuard &guard)
    : m_project(project)
    , m_treePath(QFileInfo::exists(treePath) ? QFileInfo(treePath).canonicalFilePath()
                                             : QFileInfo(treePath).absoluteFilePath())
    , m_instance(instance)
    , m_guard(guard)
{
}

int InplaceResolve::run(Writing writing, Format format, Output &output) const
{
    const auto root = readTree();
    if (root.isNull()) {
        return ExitCode::unusable;
    }
    const InplaceRun run(m_project, m_instance, m_guard);
    auto [findings, report] = run.run(root);
    if (!findings.isEmpty()) {
        Diagnostic place = findings.constFirst().place;
        place.file = QDir::cleanPath(m_project.path() + QLatin1Char('/') + place.file);
        Output::error(place.toString());
        return ExitCode::unusable;
    }
    const QString name =
        QDir(QFileInfo(m_project.path()).canonicalFilePath()).relativeFilePath(m_treePath);
    Outcome outcome;
    outcome.diff = unifiedDiff(root->tree().json().text(), root->text(), name, name);
    outcome.isSelectionEmpty = run.instances().isEmpty();
    Diagnostic error;
    if (!outcome.diff.isEmpty() && !report.succeeded()) {
        error.message = QStringLiteral("Nothing was written: a script failed.");
    } else if (!outcome.diff.isEmpty() && writing == Writing::File) {
        outcome.isWritten = write(*root, error);
    }
    outcome.error = error.toString();
    if (writing == Writing::File) {
        for (ChangedTree &tree : report.trees) {
            tree.error = error.message;
        }
    }
    outcome.report = report;
    if (format == Format::Json) {
        printJson(outcome, writing, output);
    } else {
        printText(outcome, output);
    }
    return report.succeeded() ? ExitCode::success : ExitCode::failure;
}

/// @return null, after a message, when there is nothing to work on
QSharedPointer<FileTreeNode> InplaceResolve::readTree() const
{
    const Manifest manifest(m_project);
    if (manifest.hasFailed()) {
        Output::error(manifest.error().toString());
        return {};
    }
    Diagnostic error;
    auto root = FileTree::read({m_treePath, rootInstanceOf(m_project, m_treePath, m_instance),
                                FileTree::Kind::Configuration},
                               error);
    if (root.isNull()) {
        Output::error(error.message.isEmpty() ? m_treePath + QStringLiteral(": no such file")
                                              : error.toString());
    }
    return root;
}

void InplaceResolve::printJson(const Outcome &outcome, Writing writing, Output &output) const
{
    QJsonObject object = JsonReport::make(m_project, outcome.report, writing == Writing::Nothing);
    object.insert(QStringLiteral("diff"), outcome.diff);
    object.insert(QStringLiteral("written"), outcome.isWritten);
    output.json(object);
}

void InplaceResolve::printText(const Outcome &outcome, Output &output) const
{
    TextReport(m_project, output, TextReport::Detail::Everything).printRuns(outcome.report);
    if (!outcome.report.notRun.isEmpty()) {
        for (const QString &warning : outcome.report.warnings) {
            output.line(output.styled(Output::Style::Warning, QStringLiteral("warning: "))
                        + warning);
        }
    }
    if (outcome.isSelectionEmpty) {
        output.line(QStringLiteral("Nothing to do: the manifest lists no instance that \"%1\" "
                                   "selects.")
                        .arg(m_instance));
    } else if (outcome.diff.isEmpty()) {
        output.line(QStringLiteral("The scripts change nothing."));
    } else {
        output.text(outcome.diff);
        output.line(outcome.isWritten ? QStringLiteral("Written.")
                        : !outcome.error.isEmpty()
                        ? outcome.error
                        : QStringLiteral("Nothing was written; --write saves the changes."));
    }
}

/// @param error set when it could not be written; its text names the file
bool InplaceResolve::write(const FileTreeNode &root, Diagnostic &error) const
{
    const QString folder = QFileInfo(m_project.path()).canonicalFilePath() + QLatin1Char('/');
    if (!m_treePath.startsWith(folder)) {
        // A batch is for the files of projects.
        return root.tree().write(root, m_project.path(), m_treePath, error);
    }
    HostSession session(m_project.units());
    FileBatch batch(m_project.path());
    session.setBatch(&batch);
    if (!root.tree().write(root, m_project.path(), m_treePath, error)) {
        return false;
    }
    if (!batch.commit(error)) {
        error = {QString(), 0, 0, error.toString()};
        return false;
    }
    return true;
}

} // namespace ConfigScript
