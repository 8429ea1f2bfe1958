#pragma once

#include <QJsonObject>
#include <QObject>
#include <QString>
#include <QVariant>

class TranslateableTextHelper : public QObject
{
public:
    TranslateableTextHelper(const QString &instanceUrl, QObject *parent);
    ~TranslateableTextHelper() override;

    void setTranslateableTextObject(const QVariant &texts);

    /// Empty without texts.
    QString getTranslateableTextObjectAsJsonString() const;

private:
    QJsonObject m_texts;
};
