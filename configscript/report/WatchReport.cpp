#include "WatchReport.h"

#include "configscript/report/Findings.h"
#include "configscript/report/JsonReport.h"
#include "configscript/report/Output.h"
#include "configscript/report/TextReport.h"
#include "filehost/Project.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

using Style = Output::Style;

constexpr int s_namedFiles = 3; ///< in a heading

QStringList fileNames(const Project &project, const QVector<FileChange> &changes)
{
    QStringList names;
    for (const FileChange &change : changes) {
        names.append(project.relativePath(change.filePath));
    }
    return names;
}

QString heading(const QStringList &files)
{
    const QString rest = files.size() > s_namedFiles
        ? QStringLiteral(" and %1 more").arg(files.size() - s_namedFiles)
        : QString();
    return QTime::currentTime().toString(QStringLiteral("HH:mm:ss")) + QStringLiteral("  ")
        + Output::printable(files.mid(0, s_namedFiles).join(QStringLiteral(", "))) + rest;
}

/// The trees as a report of their own.
RunRecord reportOf(const QVector<ChangedTree> &trees)
{
    RunRecord report;
    report.trees = trees;
    return report;
}

} // namespace

void WatchReport::print(const Project &project, const Content &content, bool isDryRun)
{
    if (m_format == Format::Json) {
        printJson(project, content, isDryRun);
    } else {
        printText(project, content, isDryRun);
    }
}

void WatchReport::printText(const Project &project, const Content &content, bool isDryRun)
{
    const RoundDifference &difference = content.difference;
    const bool isFirst = content.changes.isEmpty();
    if (!isFirst) {
        m_output.line();
        m_output.line(m_output.styled(Style::Bold, heading(fileNames(project, content.changes))));
    }
    for (const Finding &finding : difference.fixedFindings) {
        m_output.line(m_output.styled(Style::Good, QStringLiteral("fixed: "))
                      + Output::printable(finding.toStringWithColumn()));
    }
    for (const Finding &finding : difference.newFindings) {
        m_output.line(m_output.styled(
            finding.severity == Finding::Severity::Error ? Style::Bad : Style::Warning,
            QStringLiteral("+ ") + Output::printable(finding.toStringWithColumn())));
    }
    for (const QString &instance : difference.mended) {
        m_output.line(m_output.styled(Style::Good, QStringLiteral("works again: ")) + instance);
    }
    TextReport report(project, m_output, TextReport::Detail::Everything);
    report.printRuns(difference.record);
    for (const ScriptRun &run : difference.withdrawn) {
        report.printWithdrawn(run);
    }
    report.printTrees(difference.record, isDryRun);
    report.printDropped(difference.dropped);
    report.printTrees(reportOf(content.stored), false);
    if (!content.unsettled.isEmpty()) {
        m_output.line();
        m_output.line(m_output.styled(Style::Bad, QStringLiteral("unsettled: "))
                      + QStringLiteral("each time that the scripts run, they change %1; they run "
                                       "again when you change something")
                            .arg(content.unsettled.join(QStringLiteral(", "))));
    }
    if (isFirst) {
        if (!difference.isEmpty() || !content.stored.isEmpty()) {
            m_output.line();
        }
        m_output.line(QStringLiteral("Watching %1: %2, %3. Ctrl+C ends.")
                          .arg(QFileInfo(project.path()).fileName(),
                               Output::counted(content.instances, QStringLiteral("instance")),
                               Output::counted(content.scripts, QStringLiteral("script"))));
    } else if (difference.isEmpty() && content.stored.isEmpty() && content.unsettled.isEmpty()) {
        m_output.line(m_output.styled(Style::Dim, QStringLiteral("no difference")));
    }
}

void WatchReport::printJson(const Project &project, const Content &content, bool isDryRun)
{
    const RoundDifference &difference = content.difference;
    RunRecord gone = reportOf(difference.dropped);
    gone.runs = difference.withdrawn;
    const QJsonObject now = JsonReport::make(project, difference.record, isDryRun);
    const QJsonObject before = JsonReport::make(project, gone, isDryRun);
    const QJsonObject saved = JsonReport::make(project, reportOf(content.stored), false);
    const QJsonObject object{
        {QStringLiteral("project"), project.path()},
        {QStringLiteral("time"), QDateTime::currentDateTime().toString(Qt::ISODateWithMs)},
        {QStringLiteral("dryRun"), isDryRun},
        {QStringLiteral("changed"),
         QJsonArray::fromStringList(fileNames(project, content.changes))},
        {QStringLiteral("newFindings"), Findings::toArray(difference.newFindings)},
        {QStringLiteral("fixedFindings"), Findings::toArray(difference.fixedFindings)},
        {QStringLiteral("runs"), now.value(QStringLiteral("runs"))},
        {QStringLiteral("notRun"), now.value(QStringLiteral("notRun"))},
        {QStringLiteral("worksAgain"), QJsonArray::fromStringList(difference.mended)},
        {QStringLiteral("withdrawn"), before.value(QStringLiteral("runs"))},
        {QStringLiteral("files"), now.value(QStringLiteral("files"))},
        {QStringLiteral("noLongerChanged"), before.value(QStringLiteral("files"))},
        {QStringLiteral("saved"), saved.value(QStringLiteral("files"))},
        {QStringLiteral("unsettled"), QJsonArray::fromStringList(content.unsettled)}};
    m_output.text(QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact))
                  + QLatin1Char('\n'));
}
