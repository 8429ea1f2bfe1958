#pragma once

#include "editor/Labels.h"
#include "editor/Reports.h"

#include <QDialog>
#include <QStandardItemModel>

namespace ConfigScript {

class Project;

/// What dependency scripts change, per file and property, and how they fared; to be accepted or
/// refused when it is not written yet.
class DependencyDialog : public QDialog
{
    Q_OBJECT

public:
    DependencyDialog(const Project &project, const Labels &labels, const DependencyReport &report,
                     QWidget *parent = nullptr);

    /// The files and their changes: place, old value, new value.
    const QStandardItemModel &changes() const { return m_changes; }

private:
    int fillChanges(const Project &project, const DependencyReport &report);
    static QStringList scriptTexts(const Labels &labels, const DependencyReport &report);
    static QString summary(const DependencyReport &report);

    QStandardItemModel m_changes;
};

} // namespace ConfigScript
