#include "FileTreeFormat.h"

namespace ConfigScript {

FileTreeFormat::FileTreeFormat(const JsonText &json, Diagnostic &error)
    : m_json(json)
    , m_error(error)
{
}

bool FileTreeFormat::isNode(int element)
{
    if (!expect(element, JsonText::Type::Object, "a node: an object")) {
        return false;
    }
    static const QString properties = QStringLiteral("properties");
    static const QString readOnly = QStringLiteral("readOnly");
    static const QString children = QStringLiteral("children");
    const int end = m_json.element(element).next;
    for (int i = m_json.firstChild(element); i < end; i = m_json.element(i + 1).next) {
        if ((m_json.isString(i, properties) && !isProperties(i + 1))
            || (m_json.isString(i, readOnly) && !isReadOnlyKeys(i + 1))
            || (m_json.isString(i, children) && !isChildren(i + 1))) {
            return false;
        }
    }
    return true;
}

bool FileTreeFormat::isProperties(int element)
{
    return expect(element, JsonText::Type::Object, "an object as \"properties\"");
}

bool FileTreeFormat::isReadOnlyKeys(int element)
{
    if (!expect(element, JsonText::Type::Array, "an array of keys as \"readOnly\"")) {
        return false;
    }
    const int end = m_json.element(element).next;
    for (int i = m_json.firstChild(element); i < end; i = m_json.element(i).next) {
        if (!expect(i, JsonText::Type::String, "a property's key in \"readOnly\"")) {
            return false;
        }
    }
    return true;
}

bool FileTreeFormat::isChildren(int element)
{
    if (!expect(element, JsonText::Type::Object, "an object as \"children\"")) {
        return false;
    }
    const int end = m_json.element(element).next;
    for (int i = m_json.firstChild(element); i < end; i = m_json.element(i + 1).next) {
        const QString name = m_json.string(i);
        if (name.isEmpty() || name.contains(QLatin1Char('/'))) {
            m_error =
                m_json.placeOf(m_json.element(i).begin,
                               QStringLiteral("expected a child's name: not empty, without \"/\""));
            return false;
        }
        if (!isNode(i + 1)) {
            return false;
        }
    }
    return true;
}

bool FileTreeFormat::expect(int element, JsonText::Type type, const char *expected)
{
    if (m_json.element(element).type == type) {
        return true;
    }
    m_error = m_json.unexpected(element, QLatin1String(expected));
    return false;
}

} // namespace ConfigScript
