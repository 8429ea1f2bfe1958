#include "host/TranslateableTextHelper.h"

#include <QJsonDocument>
#include <QJsonObject>

TranslateableTextHelper::TranslateableTextHelper(const QString &instanceUrl, QObject *parent)
    : QObject(parent)
    , m_instanceUrl(instanceUrl)
{
}

void TranslateableTextHelper::setTranslateableTextObject(const QVariant &object)
{
    m_object = object;
}

QString TranslateableTextHelper::getTranslateableTextObjectAsJsonString() const
{
    if (m_object.userType() != QMetaType::QVariantMap) {
        return QString();
    }
    const QJsonDocument document(QJsonObject::fromVariantMap(m_object.toMap()));
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}
