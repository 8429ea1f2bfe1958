#include "host/SelectorUrlHandler.h"

#include "filehost/hosttypes/PercentEncoding.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"

using namespace ConfigScript;

// <scheme>://<module>/<object>/<instance>#<path>. The instance may hold "/", and so may the path;
// everything else that has a meaning in the syntax is percent-encoded inside a part.

namespace {

const QLatin1String s_schemeEnd("://");

} // namespace

/// What a URL is made of. Shared by handlers: it does not change, but remembers what it has
/// computed.
class SelectorUrlHandler::Parts
{
public:
    using Pointer = QExplicitlySharedDataPointer<Parts>;

    /// Counts the pointers, all of which belong to one thread: an atomic counter takes much longer.
    struct PointerCounter
    {
        void ref() { ++count; }
        bool deref() { return --count != 0; }
        int count = 0;
    };

    Parts() = default;
    Parts(const Parts &other)
        : scheme(other.scheme)
        , isConfiguration(other.isConfiguration)
        , isProcess(other.isProcess)
        , moduleName(other.moduleName)
        , objectName(other.objectName)
        , instance(other.instance)
        , relUrl(other.relUrl)
    {
    }
    Parts &operator=(const Parts &other) = delete;

    /// The parts of @p url; those of the last URL are kept: the library parses each URL of a
    /// script several times.
    static Pointer of(const QString &url);

    void parse(const QString &url);
    QString join() const;

    /// The same parts with an empty relative URL.
    const Pointer &ofInstance() const;

    void setScheme(const QString &newScheme);

    mutable PointerCounter ref; ///< as QExplicitlySharedDataPointer wants it
    QString scheme;
    bool isConfiguration = false;
    bool isProcess = false;
    QString moduleName;
    QString objectName;
    QString instance;
    QString relUrl;
    mutable QString text; ///< of all parts; null while nobody has asked for it

private:
    mutable Pointer m_ofInstance;
};

SelectorUrlHandler::Parts::Pointer SelectorUrlHandler::Parts::of(const QString &url)
{
    struct Last
    {
        QString url;
        Pointer parts;
    };
    thread_local Last last;
    if (!last.parts || last.url != url) {
        last.parts = new Parts;
        last.parts->parse(url);
        last.url = url;
    }
    return last.parts;
}

void SelectorUrlHandler::Parts::parse(const QString &url)
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
    const auto part = [&url](int from, int to) {
        return url.midRef(from, to - from);
    };
    const bool isWellFormed = PercentEncoding::decode(part(0, schemeEnd), scheme)
        && PercentEncoding::decode(part(moduleBegin, moduleEnd), moduleName)
        && PercentEncoding::decode(part(moduleEnd + 1, objectEnd), objectName)
        && PercentEncoding::decode(part(objectEnd + 1, end), instance)
        && (hash < 0 || PercentEncoding::decode(part(hash + 1, url.size()), relUrl));
    if (isWellFormed) {
        setScheme(scheme);
    } else {
        for (QString *decoded : {&scheme, &moduleName, &objectName, &instance, &relUrl}) {
            decoded->clear();
        }
    }
}

void SelectorUrlHandler::Parts::setScheme(const QString &newScheme)
{
    scheme = newScheme;
    isConfiguration =
        scheme == ConfigurationAndProcessDataDefinitions::getSelectorUrlSchemeConfiguration();
    isProcess = scheme == QLatin1String("process");
}

QString SelectorUrlHandler::Parts::join() const
{
    QString url;
    url.reserve(scheme.size() + moduleName.size() + objectName.size() + instance.size()
                + relUrl.size() + 8);
    PercentEncoding::append(url, scheme, PercentEncoding::Slash::Encoded);
    url += s_schemeEnd;
    PercentEncoding::append(url, moduleName, PercentEncoding::Slash::Encoded);
    url += QLatin1Char('/');
    PercentEncoding::append(url, objectName, PercentEncoding::Slash::Encoded);
    url += QLatin1Char('/');
    PercentEncoding::append(url, instance, PercentEncoding::Slash::Kept);
    if (!relUrl.isEmpty()) {
        url += QLatin1Char('#');
        PercentEncoding::append(url, relUrl, PercentEncoding::Slash::Kept);
    }
    return url;
}

const SelectorUrlHandler::Parts::Pointer &SelectorUrlHandler::Parts::ofInstance() const
{
    if (!m_ofInstance) {
        m_ofInstance = new Parts(*this);
        m_ofInstance->relUrl.clear();
    }
    return m_ofInstance;
}

SelectorUrlHandler::SelectorUrlHandler(const QString &url)
    : m_parts(Parts::of(url))
{
}

SelectorUrlHandler::SelectorUrlHandler(const SelectorUrlHandler &other) = default;

SelectorUrlHandler &SelectorUrlHandler::operator=(const SelectorUrlHandler &other) = default;

SelectorUrlHandler::~SelectorUrlHandler() = default;

bool SelectorUrlHandler::isValid() const
{
    return !m_parts->scheme.isEmpty() && !m_parts->objectName.isEmpty()
        && !m_parts->instance.isEmpty();
}

QString SelectorUrlHandler::getScheme() const
{
    return m_parts->scheme;
}

QString SelectorUrlHandler::getModuleName() const
{
    return m_parts->moduleName;
}

QString SelectorUrlHandler::getObjectName() const
{
    return m_parts->objectName;
}

QString SelectorUrlHandler::getInstance() const
{
    return m_parts->instance;
}

QString SelectorUrlHandler::getUrl() const
{
    return m_parts->relUrl;
}

bool SelectorUrlHandler::isConfigurationScheme() const
{
    return m_parts->isConfiguration;
}

bool SelectorUrlHandler::isProcessDataScheme() const
{
    return m_parts->isProcess;
}

QString SelectorUrlHandler::toString() const
{
    if (m_parts->text.isNull()) {
        m_parts->text = m_parts->join();
    }
    return m_parts->text;
}

SelectorUrlHandler &SelectorUrlHandler::setScheme(const QString &scheme)
{
    changeableParts().setScheme(scheme);
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setModuleName(const QString &moduleName)
{
    changeableParts().moduleName = moduleName;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setObjectName(const QString &objectName)
{
    changeableParts().objectName = objectName;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setInstance(const QString &instance)
{
    changeableParts().instance = instance;
    return *this;
}

SelectorUrlHandler &SelectorUrlHandler::setUrl(const QString &relUrl)
{
    if (!relUrl.isEmpty()) {
        changeableParts().relUrl = relUrl;
    } else if (!m_parts->relUrl.isEmpty()) {
        m_parts = m_parts->ofInstance();
    }
    return *this;
}

/// Parts of this handler's own.
SelectorUrlHandler::Parts &SelectorUrlHandler::changeableParts()
{
    m_parts = new Parts(*m_parts);
    return *m_parts;
}
