#pragma once

#include "host/TextManagerBase.h"

#include <QHash>

/// An unknown identifier has the empty text.
class TextManager : public TextManagerBase
{
public:
    void setTexts(const QHash<QString, QString> &texts);

    QString getText(const QString &textId, const QString &context) const override;

private:
    QHash<QString, QString> m_texts;
};
