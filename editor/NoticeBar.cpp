#include "NoticeBar.h"

#include "editor/EditorColors.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

namespace ConfigScript {

NoticeBar::NoticeBar(QWidget *parent)
    : QFrame(parent)
    , m_text(new QLabel(this))
    , m_reload(new QPushButton(this))
    , m_discard(new QPushButton(tr("Reload and &Discard My Changes"), this))
{
    setFrameShape(StyledPanel);
    setAutoFillBackground(true);
    m_text->setWordWrap(true);
    m_text->setTextFormat(Qt::PlainText);
    m_text->setAccessibleName(tr("Notice"));
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    connect(m_reload, &QPushButton::clicked, this, [this] { Q_EMIT reloadRequested(true); });
    connect(m_discard, &QPushButton::clicked, this, [this] { Q_EMIT reloadRequested(false); });
    auto *layout = new QHBoxLayout(this);
    layout->addWidget(m_text, 1);
    layout->addWidget(m_reload);
    layout->addWidget(m_discard);
    hide();
}

void NoticeBar::show(const QString &text, bool offersReload, bool isUnsaved)
{
    QPalette colors = parentWidget()->palette();
    colors.setColor(QPalette::Window, EditorColors(colors).errorBase);
    setPalette(colors);
    m_text->setText(text);
    m_reload->setText(isUnsaved ? tr("Reload and &Keep My Changes") : tr("&Reload"));
    m_reload->setVisible(offersReload);
    m_discard->setVisible(offersReload && isUnsaved);
    setVisible(!text.isEmpty());
}

} // namespace ConfigScript
