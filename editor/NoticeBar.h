#pragma once

#include <QFrame>

class QLabel;
class QPushButton;

namespace ConfigScript {

/// A line that tells something about the current instance, and may offer to read it again.
class NoticeBar : public QFrame
{
    Q_OBJECT

public:
    explicit NoticeBar(QWidget *parent = nullptr);

    /// @param text empty to hide the bar
    void show(const QString &text, bool offersReload, bool isUnsaved);

Q_SIGNALS:
    void reloadRequested(bool keepsChanges);

private:
    QLabel *m_text;
    QPushButton *m_reload;
    QPushButton *m_discard;
};

} // namespace ConfigScript
