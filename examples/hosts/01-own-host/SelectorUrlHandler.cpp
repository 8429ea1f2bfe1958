#include "host/SelectorUrlHandler.h"

#include "host/ConfigurationAndProcessDataDefinitions.h"

#include <QUrl>

SelectorUrlHandler::SelectorUrlHandler(const QString &url)
    : m_parts(url.split(QLatin1Char(':')))
{
    if (m_parts.size() != PartCount) {
        m_parts = QStringList{{}, {}, {}, {}, {}};
    }
    for (QString &part : m_parts) {
        part = QUrl::fromPercentEncoding(part.toUtf8());
    }
}

bool SelectorUrlHandler::isValid() const
{
    return !m_parts[Scheme].isEmpty() && !m_parts[Object].isEmpty() && !m_parts[Instance].isEmpty();
}

QString SelectorUrlHandler::getScheme() const
{
    return m_parts[Scheme];
}

QString SelectorUrlHandler::getModuleName() const
{
    return m_parts[Module];
}

QString SelectorUrlHandler::getObjectName() const
{
    return m_parts[Object];
}

QString SelectorUrlHandler::getInstance() const
{
    return m_parts[Instance];
}

QString SelectorUrlHandler::getUrl() const
{
    return m_parts[Path];
}

bool SelectorUrlHandler::isConfigurationScheme() const
{
    return m_parts[Scheme]
        == ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
}

bool SelectorUrlHandler::isProcessDataScheme() const
{
    return m_parts[Scheme] == QLatin1String("process");
}

QString SelectorUrlHandler::toString() const
{
    QStringList parts;
    for (const QString &part : m_parts) {
        parts.append(QString::fromLatin1(QUrl::toPercentEncoding(part, "/")));
    }
    return parts.join(QLatin1Char(':'));
}

SelectorUrlHandler &SelectorUrlHandler::setScheme(const QString &scheme)
{
    return setPart(Scheme, scheme);
}

SelectorUrlHandler &SelectorUrlHandler::setModuleName(const QString &moduleName)
{
    return setPart(Module, moduleName);
}

SelectorUrlHandler &SelectorUrlHandler::setObjectName(const QString &objectName)
{
    return setPart(Object, objectName);
}

SelectorUrlHandler &SelectorUrlHandler::setInstance(const QString &instance)
{
    return setPart(Instance, instance);
}

SelectorUrlHandler &SelectorUrlHandler::setUrl(const QString &relUrl)
{
    return setPart(Path, relUrl);
}

SelectorUrlHandler &SelectorUrlHandler::setPart(Part part, const QString &text)
{
    m_parts[part] = text;
    return *this;
}
