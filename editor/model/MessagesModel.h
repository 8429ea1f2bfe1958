#pragma once

#include "editor/data/DependencyReport.h"
#include "editor/data/EventReport.h"

#include <QStandardItemModel>

namespace ConfigScript {

/// What scripts wrote to their consoles, and what the library and the host warned of.
class MessagesModel : public QStandardItemModel
{
    Q_OBJECT

public:
    enum Column { PlaceColumn, TextColumn, ColumnCount };

    /// When there are more, the oldest are dropped.
    static constexpr int maximumMessages = 2000;

    explicit MessagesModel(QObject *parent = nullptr);

    void add(const EventReport &report);
    void add(const DependencyReport &report);
    void add(const QString &place, const QString &text, QtMsgType level);

private:
    void addRun(const ScriptRun &run);
};

} // namespace ConfigScript
