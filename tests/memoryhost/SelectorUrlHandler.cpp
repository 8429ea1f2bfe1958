#include "host/SelectorUrlHandler.h"

#include "memoryhost/CallLog.h"
#include "support/CallText.h"

namespace {

void log(const QString &call)
{
    CallLog::addUrlHandlerCall(QLatin1String("url: ") + call);
}

QStringList split(const QString &url)
{
    QStringList parts{QString()};
    for (int i = 0; i < url.size(); ++i) {
        if (url[i] == QLatin1Char('|')) {
            parts.append(QString());
            continue;
        }
        if (url[i] == QLatin1Char('\\') && i + 1 < url.size()) {
            ++i;
        }
        parts.last().append(url[i]);
    }
    return parts;
}

QString escaped(QString part)
{
    return part.replace(QLatin1String("\\"), QLatin1String("\\\\"))
        .replace(QLatin1String("|"), QLatin1String("\\|"));
}

} // namespace

SelectorUrlHandler::SelectorUrlHandler(const QString &url)
    : m_parts(split(url))
{
    CallLog::addUrlHandlerCall(callText("SelectorUrlHandler", url));
    if (m_parts.size() != PartCount) {
        m_parts = QStringList{{}, {}, {}, {}, {}};
    }
}

bool SelectorUrlHandler::isValid() const
{
    log(callText("isValid"));
    return !m_parts[Scheme].isEmpty() && !m_parts[Object].isEmpty() && !m_parts[Instance].isEmpty();
}

QString SelectorUrlHandler::getScheme() const
{
    log(callText("getScheme"));
    return m_parts[Scheme];
}

QString SelectorUrlHandler::getModuleName() const
{
    log(callText("getModuleName"));
    return m_parts[Module];
}

QString SelectorUrlHandler::getObjectName() const
{
    log(callText("getObjectName"));
    return m_parts[Object];
}

QString SelectorUrlHandler::getInstance() const
{
    log(callText("getInstance"));
    return m_parts[Instance];
}

QString SelectorUrlHandler::getUrl() const
{
    log(callText("getUrl"));
    return m_parts[Path];
}

bool SelectorUrlHandler::isConfigurationScheme() const
{
    log(callText("isConfigurationScheme"));
    return m_parts[Scheme] == QLatin1String("cfg");
}

bool SelectorUrlHandler::isProcessDataScheme() const
{
    log(callText("isProcessDataScheme"));
    return m_parts[Scheme] == QLatin1String("prc");
}

QString SelectorUrlHandler::toString() const
{
    log(callText("toString"));
    QStringList texts;
    for (const QString &part : m_parts) {
        texts.append(escaped(part));
    }
    return texts.join(QLatin1Char('|'));
}

SelectorUrlHandler &SelectorUrlHandler::setScheme(const QString &scheme)
{
    return setPart("setScheme", Scheme, scheme);
}

SelectorUrlHandler &SelectorUrlHandler::setModuleName(const QString &moduleName)
{
    return setPart("setModuleName", Module, moduleName);
}

SelectorUrlHandler &SelectorUrlHandler::setObjectName(const QString &objectName)
{
    return setPart("setObjectName", Object, objectName);
}

SelectorUrlHandler &SelectorUrlHandler::setInstance(const QString &instance)
{
    return setPart("setInstance", Instance, instance);
}

SelectorUrlHandler &SelectorUrlHandler::setUrl(const QString &relUrl)
{
    return setPart("setUrl", Path, relUrl);
}

SelectorUrlHandler &SelectorUrlHandler::setPart(const char *operation, Part part,
                                                const QString &text)
{
    // No host is handed a text that is none, where it is asked to set an empty one.
    log(text.isNull() ? QLatin1String(operation) + QLatin1String("(null)")
                      : callText(operation, text));
    m_parts[part] = text;
    return *this;
}
