#include "MessagesModel.h"

#include "editor/model/BadgeIcon.h"
#include "editor/model/ReadOnlyRow.h"

namespace ConfigScript {

namespace {

QString placeOf(const QString &file, int line)
{
    return line > 0 ? QStringLiteral("%1:%2").arg(file).arg(line) : file;
}

} // namespace

MessagesModel::MessagesModel(QObject *parent)
    : QStandardItemModel(0, ColumnCount, parent)
{
    setHorizontalHeaderLabels({tr("Place"), tr("Message")});
}

void MessagesModel::add(const QString &place, const QString &text, QtMsgType level)
{
    const auto row = readOnlyRow({place, text});
    if (level == QtWarningMsg) {
        row.constFirst()->setIcon(BadgeIcon::warning());
    } else if (level == QtCriticalMsg) {
        row.constFirst()->setIcon(BadgeIcon::error());
    }
    appendRow(row);
    if (rowCount() > maximumMessages) {
        removeRow(0);
    }
}

void MessagesModel::addRun(const ScriptRun &run)
{
    for (const ConsoleMessage &message : run.console) {
        add(placeOf(run.scriptOf(message.isOfFunction), message.line), message.text, message.level);
    }
    for (const ScriptException &exception : run.exceptions) {
        add(placeOf(run.scriptOf(exception.isOfFunction), exception.line), exception.text,
            QtCriticalMsg);
    }
    for (const QString &warning : run.warnings) {
        add(run.script, warning, QtWarningMsg);
    }
}

void MessagesModel::add(const EventReport &report)
{
    addRun(report.run);
    for (const QString &warning : report.warnings) {
        add(report.instance, warning, QtWarningMsg);
    }
}

void MessagesModel::add(const DependencyReport &report)
{
    for (const Finding &finding : report.findings) {
        add(report.instance, finding.toString(),
            finding.severity == Finding::Severity::Error ? QtCriticalMsg : QtWarningMsg);
    }
    for (const ScriptRun &run : report.record.runs) {
        addRun(run);
    }
    const QStringList warnings = report.record.projectWarnings + report.record.warnings;
    for (const QString &warning : warnings) {
        add(report.instance, warning, QtWarningMsg);
    }
    for (const OmittedRun &omitted : report.record.notRun) {
        add(omitted.instance, tr("not run: %1").arg(omitted.reason), QtCriticalMsg);
    }
}

} // namespace ConfigScript
