#pragma once

#include "host/TextManagerBase.h"

#include <QHash>

/// The label texts of one language, in memory.
class TextManager : public TextManagerBase
{
public:
    /// @param texts the texts by identifier
    explicit TextManager(const QHash<QString, QString> &texts = {});

    /// An unknown identifier stands for itself; the context is not used.
    QString getText(const QString &textId, const QString &context) const override;

private:
    QHash<QString, QString> m_texts;
};
