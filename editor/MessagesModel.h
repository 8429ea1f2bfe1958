#pragma once

#include "editor/Reports.h"

#include <QStandardItemModel>

namespace ConfigScript {

/// What scripts wrote to their consoles, and what the library and the host warned of.
class MessagesModel : public QStandardItemModel
{
    Q_OBJECT

public:
    enum Column { PlaceColumn, TextColumn, ColumnCount };

    /// Older ones are dropped.
    static constexpr int maximumMessages = 2000;

    explicit MessagesModel(QObject *parent = nullptr);

    void add(const EventReport &report);
    void add(const DependencyReport &report);
    void add(const QString &place, const QString &text, QtMsgType level);

private:
    void addRun(const ScriptRun &run);
};

} // namespace ConfigScript
