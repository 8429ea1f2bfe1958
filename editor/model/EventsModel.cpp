#include "EventsModel.h"

#include "editor/data/ValueText.h"
#include "editor/model/BadgeIcon.h"
#include "editor/model/ReadOnlyRow.h"

#include <QTime>

namespace ConfigScript {

namespace {

QString placeOf(const PropertyChange &change)
{
    return change.path + QLatin1Char(':') + change.key;
}

QString textOf(const PropertyChange &change)
{
    return change.oldValue.isValid()
        ? QStringLiteral("%1 \u2192 %2")
              .arg(ValueText::toText(change.oldValue), ValueText::toText(change.newValue))
        : EventsModel::tr("new: %1").arg(ValueText::toText(change.newValue));
}

QString durationOf(const ScriptRun &run)
{
    return QStringLiteral("%1 ms").arg(double(run.duration.count()) / 1e6, 0, 'f', 1);
}

} // namespace

EventsModel::EventsModel(QObject *parent)
    : QStandardItemModel(0, ColumnCount, parent)
{
    setHorizontalHeaderLabels({tr("Event"), tr("Result")});
}

void EventsModel::addRun(const QString &title, const ScriptRun &run,
                         const QVector<PropertyChange> &edits,
                         const QVector<PropertyChange> &answers)
{
    const auto row = readOnlyRow(
        {title, (run.succeeded ? tr("ok, %1") : tr("failed, %1")).arg(durationOf(run))});
    QStandardItem *event = row.constFirst();
    appendRow(row);
    if (!run.succeeded) {
        event->setIcon(BadgeIcon::error());
    } else if (!run.errors.isEmpty()) {
        event->setIcon(BadgeIcon::warning());
    }
    for (const PropertyChange &edit : edits) {
        event->appendRow(readOnlyRow({tr("entered %1").arg(placeOf(edit)), textOf(edit)}));
    }
    for (const PropertyChange &answer : answers) {
        event->appendRow(readOnlyRow({tr("wrote %1").arg(placeOf(answer)), textOf(answer)}));
    }
    for (const JavaScriptApi::ErrorMessage &error : run.errors) {
        event->appendRow(
            readOnlyRow({tr("error at %1").arg(error.relUrl), error.errorLabelTextId}));
    }
    for (const ScriptException &exception : run.exceptions) {
        event->appendRow(readOnlyRow({tr("ended"), exception.text}));
    }
    if (rowCount() > maximumEvents) {
        removeRow(0);
    }
}

void EventsModel::add(const EventReport &report)
{
    if (!report.run.script.isEmpty()) { // else nothing ran
        const QString title = QStringLiteral("%1  %2  %3")
                                  .arg(report.time.time().toString(Qt::ISODate),
                                       report.run.function, report.run.argument);
        addRun(title.trimmed(), report.run, report.edits, report.answers);
    }
}

void EventsModel::add(const DependencyReport &report)
{
    const QString time = QTime::currentTime().toString(Qt::ISODate);
    for (const ScriptRun &run : report.record.runs) {
        addRun(QStringLiteral("%1  %2  %3").arg(time, run.function, run.instance), run, {}, {});
    }
}

} // namespace ConfigScript
