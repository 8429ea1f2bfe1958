#include "InstancePanel.h"

#include "editor/InstanceModel.h"
#include "editor/Reports.h"

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>
#include <QTreeView>
#include <QVBoxLayout>

namespace ConfigScript {

namespace {

constexpr int s_expandedInstances = 200; // with more, the tree begins closed

} // namespace

InstancePanel::InstancePanel(InstanceModel &model, QWidget *parent)
    : QWidget(parent)
    , m_model(model)
    , m_filter(new QLineEdit(this))
    , m_view(new QTreeView(this))
    , m_manifestError(new QLabel(this))
{
    m_filtered.setSourceModel(&model);
    m_filtered.setFilterRole(InstanceModel::PathRole);
    m_filtered.setFilterCaseSensitivity(Qt::CaseInsensitive);
    m_filtered.setRecursiveFilteringEnabled(true);

    m_filter->setPlaceholderText(tr("Filter"));
    m_filter->setAccessibleName(tr("Filter of the instances"));
    m_filter->setClearButtonEnabled(true);
    connect(m_filter, &QLineEdit::textChanged, this, &InstancePanel::filter);
    connect(m_filter, &QLineEdit::returnPressed, this, [this] { m_view->setFocus(); });

    m_manifestError->setWordWrap(true);
    m_manifestError->setTextInteractionFlags(Qt::TextSelectableByMouse
                                             | Qt::TextSelectableByKeyboard);
    m_manifestError->hide();

    m_view->setModel(&m_filtered);
    m_view->setUniformRowHeights(true);
    m_view->setAccessibleName(tr("Instances"));
    m_view->setEditTriggers(QAbstractItemView::NoEditTriggers);
    QHeaderView *header = m_view->header();
    const int iconSize = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
    header->setStretchLastSection(false);
    header->setMinimumSectionSize(iconSize);
    header->setSectionResizeMode(InstanceModel::NameColumn, QHeaderView::Stretch);
    for (int column = InstanceModel::UnsavedColumn; column < InstanceModel::ColumnCount; ++column) {
        header->setSectionResizeMode(column, QHeaderView::Fixed);
        header->resizeSection(column, iconSize * 3 / 2);
    }
    connect(m_view, &QTreeView::clicked, this, &InstancePanel::choose);
    connect(m_view, &QTreeView::activated, this, &InstancePanel::choose);

    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_filter);
    layout->addWidget(m_manifestError);
    layout->addWidget(m_view);
}

void InstancePanel::showProject(const ProjectReport &report)
{
    m_manifestError->setText(report.manifestError);
    m_manifestError->setVisible(!report.manifestError.isEmpty());
    if (report.instances.size() <= s_expandedInstances) {
        m_view->expandAll();
    }
}

void InstancePanel::filter(const QString &text)
{
    m_filtered.setFilterFixedString(text);
    if (!text.isEmpty()) {
        m_view->expandAll();
    }
}

void InstancePanel::select(const QString &instance)
{
    const QModelIndex index = m_filtered.mapFromSource(m_model.indexOf(instance));
    if (index.isValid() && m_view->currentIndex().siblingAtColumn(0) != index) {
        m_view->setCurrentIndex(index);
        m_view->scrollTo(index);
    }
}

void InstancePanel::focusFilter()
{
    m_filter->setFocus(Qt::ShortcutFocusReason);
    m_filter->selectAll();
}

void InstancePanel::choose(const QModelIndex &index)
{
    const QString instance = index.siblingAtColumn(0).data(InstanceModel::InstanceRole).toString();
    if (!instance.isEmpty()) {
        Q_EMIT chosen(instance);
    }
}

} // namespace ConfigScript
