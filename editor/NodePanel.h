#pragma once

#include "editor/NodeModel.h"

#include <QWidget>

class QLabel;
class QListWidget;
class QStackedWidget;

namespace ConfigScript {

class NodeView;
class NoticeBar;

/// The current instance: its fields, the errors that its script reported, and what else the user
/// should know of it; or why it cannot be shown.
class NodePanel : public QWidget
{
    Q_OBJECT

public:
    explicit NodePanel(QWidget *parent = nullptr);

    /// @param document null for none
    void setDocument(Document *document);
    void setLabels(const Labels &labels);
    void setShowsEverything(bool showsEverything);

    NodeModel &model() { return m_model; }
    NodeView &view() { return *m_view; }

    /// Ends editing in a field; what was entered counts.
    void commit();

    void focusErrors();

Q_SIGNALS:
    void reloadRequested(bool keepsChanges);

private:
    void showState();
    void showErrors();
    void jumpToError(int row);

    NodeModel m_model;
    QLabel *m_title;
    QLabel *m_script;
    NoticeBar *m_notice;
    QStackedWidget *m_pages;
    NodeView *m_view;
    QLabel *m_problem;
    QLabel *m_errorsLabel;
    QListWidget *m_errors;
};

} // namespace ConfigScript
