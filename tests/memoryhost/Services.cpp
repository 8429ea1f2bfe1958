#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"
#include "host/TextManager.h"
#include "host/TranslateableTextHelper.h"
#include "host/UnitManagerWrapper.h"

#include "MemoryHost.h"
#include "memoryhost/CallLog.h"
#include "support/CallText.h"

#include <QJsonDocument>

SystemInformationManagerDBusProviderDescriptionHandler::
    SystemInformationManagerDBusProviderDescriptionHandler(const ObjectsByDataType &providers)
    : m_providers(providers)
{
}

QStringList SystemInformationManagerDBusProviderDescriptionHandler::getRegisteredDataTypes() const
{
    CallLog::add(callText("getRegisteredDataTypes"));
    QStringList dataTypes;
    for (const auto &entry : m_providers) {
        dataTypes.append(entry.first);
    }
    return dataTypes;
}

SystemInformationManagerDBusProviderDescriptionItemContainer
SystemInformationManagerDBusProviderDescriptionHandler::getProviderData(
    const QString &dataType) const
{
    CallLog::add(callText("getProviderData", dataType));
    SystemInformationManagerDBusProviderDescriptionItemContainer container;
    for (const auto &entry : m_providers) {
        if (entry.first == dataType) {
            for (const QString &objectName : entry.second) {
                container.items.append({objectName});
            }
        }
    }
    return container;
}

void TextManager::setTexts(const QHash<QString, QString> &texts)
{
    m_texts = texts;
}

QString TextManager::getText(const QString &textId, const QString &context) const
{
    CallLog::add(callText("getText", textId, context));
    return m_texts.value(textId);
}

UnitManagerWrapper::UnitManagerWrapper(bool first, bool second)
    : m_textsByUnit(MemoryHost::units())
{
    CallLog::add(callText("UnitManagerWrapper", first, second));
}

QVariant UnitManagerWrapper::getUnitTextJsonMap(const QString &unit) const
{
    CallLog::add(callText("getUnitTextJsonMap", unit));
    const auto texts = m_textsByUnit.find(unit);
    return texts == m_textsByUnit.end() ? QVariant() : QVariant(*texts);
}

TranslateableTextHelper::TranslateableTextHelper(const QString &instanceUrl, QObject *parent)
    : QObject(parent)
{
    CallLog::add(
        callText("TranslateableTextHelper", instanceUrl, parent ? "a parent" : "no parent"));
}

TranslateableTextHelper::~TranslateableTextHelper()
{
    CallLog::add(callText("~TranslateableTextHelper"));
}

void TranslateableTextHelper::setTranslateableTextObject(const QVariant &texts)
{
    CallLog::add(callText("setTranslateableTextObject", texts));
    m_texts = QJsonObject::fromVariantMap(texts.toMap());
}

QString TranslateableTextHelper::getTranslateableTextObjectAsJsonString() const
{
    CallLog::add(callText("getTranslateableTextObjectAsJsonString"));
    return m_texts.isEmpty() ? QString() : QString::fromUtf8(QJsonDocument(m_texts).toJson());
}
