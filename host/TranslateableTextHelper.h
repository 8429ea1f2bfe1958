#pragma once

#include <QObject>
#include <QString>
#include <QVariant>

/// Turns a text in several languages into its JSON form.
class TranslateableTextHelper : public QObject
{
public:
    /// @param instanceUrl the instance that the text belongs to
    TranslateableTextHelper(const QString &instanceUrl, QObject *parent);

    /// @param object a map from language to text
    void setTranslateableTextObject(const QVariant &object);

    /// The languages and texts as one JSON object; empty when no map was set.
    QString getTranslateableTextObjectAsJsonString() const;

private:
    QString m_instanceUrl;
    QVariant m_object;
};
