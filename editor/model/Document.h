#pragma once

#include "editor/data/InstanceReport.h"
#include "editor/data/SaveReport.h"

#include <QObject>
#include <QString>
#include <QUndoStack>
#include <QVariant>
#include <QVector>

namespace ConfigScript {

/**
 * An open instance as the window knows it: a snapshot of its tree, the errors that its script
 * reported, and what can be undone.
 *
 * A change by the user is shown at once and requested of the worker, whose report comes later.
 */
class Document : public QObject
{
    Q_OBJECT

public:
    /// An error that the script reported.
    struct Error
    {
        QString path; ///< of the node, as the script named it
        QString textId;
        QVariant value; ///< invalid for none
        QString origin; ///< the node whose change reported it; empty for onOpen, onOk and the root
    };

    explicit Document(const QString &instance);

    QString instance() const { return m_instance; }
    const InstanceSnapshot &snapshot() const { return m_snapshot; }
    const QVector<Error> &errors() const { return m_errors; }
    QUndoStack &undoStack() { return m_undoStack; }
    bool isUnsaved() const { return m_unsaved > 0; }
    int unsavedProperties() const { return m_unsaved; }

    /// Whether an event was fired since the instance was last read or saved.
    bool hasEvents() const { return m_hasEvents; }

    /// Why the instance cannot be shown; empty when it can.
    QString problem() const { return m_problem; }
    QString script() const { return m_script; } ///< as seen from the project; empty for none
    QString treePath() const { return m_treePath; }
    QString scriptPath() const { return m_scriptPath; }

    /// Something that the user should know about the instance, until the next save or reload.
    QString notice() const { return m_notice; }
    bool offersReload() const { return m_offersReload; }
    void setNotice(const QString &notice, bool offersReload = false);

    /// The user changes a property.
    void edit(int node, const QString &key, const QVariant &value);

    void takeReport(const InstanceReport &report);
    void takeReport(const EventReport &report);
    void takeReport(const SaveReport &report);

Q_SIGNALS:
    void editRequested(const QString &path, const QString &key, const QVariant &value);
    /// Something was undone or redone: the worker's tree has to follow, without an event.
    void changesRequested(const QVector<ConfigScript::PropertyChange> &changes);

    void aboutToReset();
    void wasReset();
    void valuesChanged(); ///< of any properties
    void propertyChanged(int node, const QString &key);
    void propertyAdded(int node, const QString &key);
    void propertyRemoved(int node, const QString &key);
    void scriptWrote(int node, const QString &key);
    void errorsChanged();
    /// Something of this has changed: whether anything is unsaved, the notice, the problem.
    void stateChanged();

private:
    friend class EditCommand;

    void setSnapshot(const InstanceSnapshot &snapshot);
    void apply(const PropertyChange &change, bool isFromScript);
    void undoOrRedo(const QVector<PropertyChange> &edits, const QVector<PropertyChange> &answers,
                    const QVector<Error> &errors);
    void setErrors(const QVector<Error> &errors);
    void addErrors(const EventReport &report);
    QString nameOf(const PropertyChange &change) const;
    void countUnsaved();

    const QString m_instance;
    InstanceSnapshot m_snapshot;
    QVector<Error> m_errors;
    QString m_problem;
    QString m_script;
    QString m_treePath;
    QString m_scriptPath;
    QString m_notice;
    bool m_offersReload = false;
    bool m_hasEvents = false;
    int m_unsaved = 0;
    QUndoStack m_undoStack;
};

} // namespace ConfigScript
