#include "NodePanel.h"

#include "editor/BadgeIcon.h"
#include "editor/NodeView.h"
#include "editor/NoticeBar.h"

#include <QApplication>
#include <QLabel>
#include <QListWidget>
#include <QStackedWidget>
#include <QStyle>
#include <QVBoxLayout>

namespace ConfigScript {

namespace {

enum Page { EmptyPage, NodesPage, ProblemPage };

QLabel *makePage(const QString &text, QWidget *parent)
{
    auto *page = new QLabel(text, parent);
    page->setAlignment(Qt::AlignCenter);
    page->setWordWrap(true);
    page->setMargin(page->fontMetrics().height());
    page->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    return page;
}

} // namespace

NodePanel::NodePanel(QWidget *parent)
    : QWidget(parent)
    , m_title(new QLabel(this))
    , m_script(new QLabel(this))
    , m_notice(new NoticeBar(this))
    , m_pages(new QStackedWidget(this))
    , m_view(new NodeView(this))
    , m_problem(makePage(QString(), this))
    , m_errorsLabel(new QLabel(tr("&Errors"), this))
    , m_errors(new QListWidget(this))
{
    QFont font = m_title->font();
    font.setPointSizeF(font.pointSizeF() * 1.3);
    font.setBold(true);
    m_title->setFont(font);
    m_title->setAccessibleName(tr("Instance"));
    m_script->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_problem->setAccessibleName(tr("Why the instance cannot be shown"));
    m_view->setModel(&m_model);
    m_pages->addWidget(makePage(tr("Choose an instance to open it."), this));
    m_pages->addWidget(m_view);
    m_pages->addWidget(m_problem);
    m_errorsLabel->setBuddy(m_errors);
    m_errors->setAccessibleName(tr("Errors that the script reported"));
    connect(m_errors, &QListWidget::itemActivated, this,
            [this](QListWidgetItem *item) { jumpToError(m_errors->row(item)); });
    connect(m_errors, &QListWidget::itemClicked, this,
            [this](QListWidgetItem *item) { jumpToError(m_errors->row(item)); });
    connect(m_notice, &NoticeBar::reloadRequested, this, &NodePanel::reloadRequested);
    connect(&m_model, &NodeModel::modelReset, this, [this] { m_view->showAll(); });

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_title);
    layout->addWidget(m_script);
    layout->addWidget(m_notice);
    layout->addWidget(m_pages, 1);
    layout->addWidget(m_errorsLabel);
    layout->addWidget(m_errors);
    showState();
    showErrors();
}

void NodePanel::setDocument(Document *document)
{
    if (m_model.document()) {
        m_model.document()->disconnect(this);
    }
    m_model.setDocument(document);
    if (document) {
        connect(document, &Document::stateChanged, this, &NodePanel::showState);
        connect(document, &Document::wasReset, this, &NodePanel::showState);
        connect(document, &Document::errorsChanged, this, &NodePanel::showErrors);
    }
    showState();
    showErrors();
}

void NodePanel::setLabels(const Labels &labels)
{
    m_model.setLabels(labels);
    showState();
    showErrors();
}

void NodePanel::setShowsEverything(bool showsEverything)
{
    const QModelIndex current = m_view->currentIndex();
    const QString path = current.data(NodeModel::PathRole).toString();
    const QString key = current.data(NodeModel::KeyRole).toString();
    m_model.setShowsEverything(showsEverything);
    if (current.isValid()) {
        m_view->setCurrentIndex(m_model.indexOf(path, key));
    }
}

void NodePanel::commit()
{
    if (m_view->isAncestorOf(QApplication::focusWidget())) {
        m_view->setFocus(Qt::OtherFocusReason);
    }
}

void NodePanel::focusErrors()
{
    m_errors->setFocus(Qt::ShortcutFocusReason);
}

void NodePanel::showState()
{
    const Document *document = m_model.document();
    m_title->setVisible(document);
    m_script->setVisible(document && document->problem().isEmpty());
    if (!document) {
        m_pages->setCurrentIndex(EmptyPage);
        m_notice->show(QString(), false, false);
        return;
    }
    const QString label = m_model.labelOf(QString());
    m_title->setText(label == document->instance()
                         ? label
                         : QStringLiteral("%1 \u2014 %2").arg(document->instance(), label));
    m_script->setText(document->script().isEmpty() ? tr("No user-interface script")
                                                   : document->script());
    m_problem->setText(document->problem());
    m_pages->setCurrentIndex(document->problem().isEmpty() ? NodesPage : ProblemPage);
    m_notice->show(document->notice(), document->offersReload(), document->isUnsaved());
}

void NodePanel::showErrors()
{
    m_errors->clear();
    if (const Document *document = m_model.document()) {
        for (const Document::Error &error : document->errors()) {
            new QListWidgetItem(
                BadgeIcon::error(),
                QStringLiteral("%1: %2").arg(m_model.labelOf(error.path), m_model.errorText(error)),
                m_errors);
        }
    }
    constexpr int mostRows = 5;
    m_errors->setFixedHeight(qMin(m_errors->count(), mostRows) * m_errors->sizeHintForRow(0)
                             + 2 * m_errors->frameWidth());
    m_errors->setVisible(m_errors->count() > 0);
    m_errorsLabel->setVisible(m_errors->count() > 0);
}

void NodePanel::jumpToError(int row)
{
    m_view->jumpTo(m_model.indexOf(m_model.document()->errors().at(row).path));
}

} // namespace ConfigScript
