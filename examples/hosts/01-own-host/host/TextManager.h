#pragma once

#include "host/TextManagerBase.h"

#include <QHash>

/// An unknown identifier gives the empty text.
class TextManager : public TextManagerBase
{
public:
    explicit TextManager(const QHash<QString, QString> &texts);

    QString getText(const QString &textId, const QString &context) const override;

private:
    QHash<QString, QString> m_texts;
};
