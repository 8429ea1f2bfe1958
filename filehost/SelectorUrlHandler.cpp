#include "host/SelectorUrlHandler.h"

#include "filehost/PercentEncoding.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"

// <scheme>://<module>/<object>/<instance>#<path>. The instance may hold "/", and so may the path;
// everything else that has a meaning in the syntax is percent-encoded inside a part.

namespace {

const QLatin1String s_schemeEnd("://");

} // namespace

SelectorUrlHandler::SelectorUrlHandler(const QString &url)
{
    const int schemeEnd = url.indexOf(s_schemeEnd);
    if (schemeEnd < 0) {
        return;
    }
    const int moduleBegin = schemeEnd + s_schemeEnd.size();
    const int hash = url.indexOf(QLatin1Char('#'), moduleBegin);
    const int end = hash < 0 ? url.size() : hash;
    const int moduleEnd = url.indexOf(QLatin1Char('/'), moduleBegin);
    const int objectEnd = moduleEnd < 0 ? -1 : url.indexOf(QLatin1Char('/'), moduleEnd + 1);
    if (objectEnd < 0 || objectEnd > end) {
        return;
    }

    QString scheme;
    QString moduleName;
    QString objectName;
    QString instance;
    QString relUrl;
    const auto part = [&url](int from, int to) {
        return url.midRef(from, to - from);
    };
    if (PercentEncoding::decode(part(0, schemeEnd), scheme)
        && PercentEncoding::decode(part(moduleBegin, moduleEnd), moduleName)
        && PercentEncoding::decode(part(moduleEnd + 1, objectEnd), objectName)
        && PercentEncoding::decode(part(objectEnd + 1, end), instance)
        && (hash < 0 || PercentEncoding::decode(part(hash + 1, url.size()), relUrl))) {
        m_scheme = scheme;
        m_moduleName = moduleName;
        m_objectName = objectName;
        m_instance = instance;
        m_url = relUrl;
    }
}

bool SelectorUrlHandler::isValid() const
{
    return !m_scheme.isEmpty() && !m_objectName.isEmpty() && !m_instance.isEmpty();
}

QString SelectorUrlHandler::getScheme() const
{
    return m_scheme;
}

QString SelectorUrlHandler::getModuleName() const
{
    return m_moduleName;
}

QString SelectorUrlHandler::getObjectName() const
{
    return m_objectName;
}

QString SelectorUrlHandler::getInstance() const
{
    return m_instance;
}

QString SelectorUrlHandler::getUrl() const
{
    return m_url;
}

bool SelectorUrlHandler::isConfigurationScheme() const
{
    return m_scheme == ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
}

bool SelectorUrlHandler::isProcessDataScheme() const
{
    return m_scheme == QLatin1String("process");
}

QString SelectorUrlHandler::toString() const
{
    QString url;
    url.reserve(m_scheme.size() + m_moduleName.size() + m_objectName.size() + m_instance.size()
                + m_url.size() + 8);
    PercentEncoding::append(url, m_scheme, PercentEncoding::Slash::Encoded);
    url += s_schemeEnd;
    PercentEncoding::append(url, m_moduleName, PercentEncoding::Slash::Encoded);
    url += QLatin1Char('/');
    PercentEncoding::append(url, m_objectName, PercentEncoding::Slash::Encoded);
    url += QLatin1Char('/');
    PercentEncoding::append(url, m_instance, PercentEncoding::Slash::Kept);
    if (!m_url.isEmpty()) {
        url += QLatin1Char('#');
        PercentEncoding::append(url, m_url, PercentEncoding::Slash::Kept);
    }
    return url;
}

SelectorUrlHandler &SelectorUrlHandler::setScheme(const QString &scheme)
{
    m_scheme = scheme;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setModuleName(const QString &moduleName)
{
    m_moduleName = moduleName;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setObjectName(const QString &objectName)
{
    m_objectName = objectName;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setInstance(const QString &instance)
{
    m_instance = instance;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setUrl(const QString &relUrl)
{
    m_url = relUrl;
    return *this;
}
