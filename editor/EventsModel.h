#pragma once

#include "editor/Reports.h"

#include <QStandardItemModel>

namespace ConfigScript {

/// The events of the session, the latest one last; below each, what the user changed, what the
/// script wrote and what it reported.
class EventsModel : public QStandardItemModel
{
    Q_OBJECT

public:
    enum Column { EventColumn, ResultColumn, ColumnCount };

    /// Older ones are dropped.
    static constexpr int maximumEvents = 500;

    explicit EventsModel(QObject *parent = nullptr);

    void add(const EventReport &report);
    void add(const DependencyReport &report);

private:
    void addRun(const QString &title, const ScriptRun &run, const QVector<PropertyChange> &edits,
                const QVector<PropertyChange> &answers);
};

} // namespace ConfigScript
