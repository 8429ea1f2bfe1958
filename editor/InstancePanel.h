#pragma once

#include <QSortFilterProxyModel>
#include <QWidget>

class QLabel;
class QLineEdit;
class QTreeView;

namespace ConfigScript {

class InstanceModel;
struct ProjectReport;

/// The instances of the project, and a filter for their names.
class InstancePanel : public QWidget
{
    Q_OBJECT

public:
    explicit InstancePanel(InstanceModel &model, QWidget *parent = nullptr);

    void showProject(const ProjectReport &report);
    void select(const QString &instance);
    void focusFilter();

Q_SIGNALS:
    void chosen(const QString &instance);

private:
    void filter(const QString &text);
    void choose(const QModelIndex &index);

    InstanceModel &m_model;
    QSortFilterProxyModel m_filtered;
    QLineEdit *m_filter;
    QTreeView *m_view;
    QLabel *m_manifestError;
};

} // namespace ConfigScript
