#include "host/TextManager.h"

TextManager::TextManager(const QHash<QString, QString> &texts)
    : m_texts(texts)
{
}

QString TextManager::getText(const QString &textId, const QString & /*context*/) const
{
    return m_texts.value(textId, textId);
}
