#include "Document.h"

#include "editor/EditCommand.h"
#include "editor/ValueText.h"
#include "filehost/json/JsonValue.h"

#include <algorithm>

namespace ConfigScript {

Document::Document(const QString &instance)
    : m_instance(instance)
{
}

void Document::setNotice(const QString &notice, bool offersReload)
{
    m_notice = notice;
    m_offersReload = offersReload;
    Q_EMIT stateChanged();
}

void Document::edit(int node, const QString &key, const QVariant &value)
{
    const QVariant oldValue = m_snapshot.node(node).value(key);
    if (oldValue.isValid() && JsonValue::areEqual(oldValue, value)) {
        return;
    }
    const QString path = m_snapshot.node(node).path;
    apply({path, key, oldValue, value}, false);
    countUnsaved();
    Q_EMIT editRequested(path, key, value);
}

/// The view keeps its place where only values are others.
void Document::setSnapshot(const InstanceSnapshot &snapshot)
{
    if (m_snapshot.isLike(snapshot)) {
        m_snapshot = snapshot;
        Q_EMIT valuesChanged();
    } else {
        Q_EMIT aboutToReset();
        m_snapshot = snapshot;
        Q_EMIT wasReset();
    }
}

void Document::takeReport(const InstanceReport &report)
{
    InstanceSnapshot snapshot = report.snapshot;
    snapshot.adoptMarks(m_snapshot);
    setSnapshot(snapshot);
    if (!report.keepsHistory) {
        m_undoStack.clear();
    }
    m_problem = report.error;
    m_hasEvents = false;
    m_treePath = report.treePath;
    m_scriptPath = report.scriptPath;
    m_script = report.script;
    m_errors.clear();
    m_unsaved = m_snapshot.changedProperties();
    setNotice(QString());
    if (m_problem.isEmpty()) {
        takeReport(report.onOpen);
    }
    Q_EMIT errorsChanged();
}

void Document::takeReport(const EventReport &report)
{
    for (const PropertyChange &change : report.edits) {
        apply(change, false);
    }
    if (!report.refusal.isEmpty()) {
        setNotice(tr("Not changed: %1.").arg(report.refusal));
        countUnsaved();
        return;
    }
    m_hasEvents = !report.run.script.isEmpty();
    for (const PropertyChange &change : report.answers) {
        apply(change, true);
        const int node = m_snapshot.find(change.path);
        if (node >= 0) {
            Q_EMIT scriptWrote(node, change.key);
        }
    }
    const QVector<Error> errorsBefore = m_errors;
    addErrors(report);
    if (!report.edits.isEmpty()) {
        m_undoStack.push(new EditCommand(*this, nameOf(report.edits.constFirst()), report,
                                         errorsBefore, m_errors));
    }
    QString notice;
    if (!report.run.succeeded && report.run.function != QLatin1String("onOk")) {
        notice = report.run.exceptions.isEmpty()
            ? tr("%1 failed.").arg(report.run.function)
            : report.run.exceptions.constFirst().text + QLatin1Char('.');
    }
    if (!notice.isEmpty() || !m_offersReload) {
        setNotice(notice, m_offersReload);
    }
    countUnsaved();
}

void Document::takeReport(const SaveReport &report)
{
    takeReport(report.onOk);
    if (report.isSaved) {
        // The tree was read again: the values in the file are others now.
        setSnapshot(report.snapshot);
        m_undoStack.setClean();
        m_hasEvents = false;
        setNotice(QString());
    } else if (!report.error.isEmpty()) {
        setNotice(tr("Not saved: %1").arg(report.error), true);
    } else if (!report.onOk.run.exceptions.isEmpty()) {
        setNotice(tr("Not saved: %1.").arg(report.onOk.run.exceptions.constFirst().text));
    } else if (!report.onOk.run.errors.isEmpty()) {
        setNotice(tr("Not saved: the script reports an error."));
    } else if (!report.onOk.run.warnings.isEmpty()) {
        setNotice(tr("Not saved: onOk failed: %1").arg(report.onOk.run.warnings.constLast()));
    } else {
        setNotice(tr("Not saved: onOk returned false."));
    }
    countUnsaved();
}

void Document::apply(const PropertyChange &change, bool isFromScript)
{
    const int node = m_snapshot.find(change.path);
    if (node < 0) {
        return;
    }
    switch (m_snapshot.set(node, change.key, change.newValue, isFromScript)) {
    case InstanceSnapshot::Effect::Nothing:
    case InstanceSnapshot::Effect::Changed:
        Q_EMIT propertyChanged(node, change.key); // its mark may be another
        break;
    case InstanceSnapshot::Effect::Added:
        Q_EMIT propertyAdded(node, change.key);
        break;
    case InstanceSnapshot::Effect::Removed:
        Q_EMIT propertyRemoved(node, change.key);
        break;
    }
}

void Document::undoOrRedo(const QVector<PropertyChange> &edits,
                          const QVector<PropertyChange> &answers, const QVector<Error> &errors)
{
    for (const PropertyChange &change : edits) {
        apply(change, false);
    }
    for (const PropertyChange &change : answers) {
        apply(change, true);
    }
    setErrors(errors);
    setNotice(QString(), m_offersReload);
    countUnsaved();
    Q_EMIT changesRequested(edits + answers);
}

void Document::setErrors(const QVector<Error> &errors)
{
    m_errors = errors;
    Q_EMIT errorsChanged();
}

/// The event of a node takes the place of what was said about the node, and of what the last event
/// of the same node said; the other events look at all nodes.
void Document::addErrors(const EventReport &report)
{
    const QString origin = report.run.argument;
    QVector<Error> errors;
    if (report.run.function == QLatin1String("onValueChange")) {
        std::copy_if(m_errors.cbegin(), m_errors.cend(), std::back_inserter(errors),
                     [&](const Error &error) {
                         return error.path != origin
                             && (error.origin != origin || origin.isEmpty());
                     });
    }
    for (const JavaScriptApi::ErrorMessage &message : report.run.errors) {
        errors.append({message.relUrl, message.errorLabelTextId, message.value, origin});
    }
    setErrors(errors);
}

QString Document::nameOf(const PropertyChange &change) const
{
    const QString place = change.path.isEmpty() ? m_instance : change.path;
    return change.key == QLatin1String("value") ? place : place + QLatin1Char(':') + change.key;
}

void Document::countUnsaved()
{
    const int unsaved = m_snapshot.changedProperties();
    if (unsaved != m_unsaved) {
        m_unsaved = unsaved;
        Q_EMIT stateChanged();
    }
}

} // namespace ConfigScript
