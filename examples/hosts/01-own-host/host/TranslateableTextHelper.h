#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

class TranslateableTextHelper : public QObject
{
public:
    TranslateableTextHelper(const QString &instanceUrl, QObject *parent);

    void setTranslateableTextObject(const QVariant &object);
    QString getTranslateableTextObjectAsJsonString() const;

private:
    QVariantMap m_texts;
};
