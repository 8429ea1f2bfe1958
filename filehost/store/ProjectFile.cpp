#include "ProjectFile.h"

#include "filehost/store/TextFile.h"

namespace ConfigScript {

ProjectFile::ProjectFile(const QString &filePath)
    : m_filePath(filePath)
{
    QByteArray text("{}");
    const auto result = TextFile::read(filePath, TextFile::maximumSize, text, m_error);
    m_exists = result != TextFile::ReadResult::Missing;
    if (result != TextFile::ReadResult::Unreadable) {
        m_json = JsonText::parse(text, m_error);
        if (hasFailed()) {
            m_error.file = filePath;
        }
    }
}

QVector<ProjectFile::Member> ProjectFile::members(int element)
{
    QVector<Member> members;
    if (expect(element, JsonText::Type::Object, QStringLiteral("an object"))) {
        for (int i = m_json.firstChild(element); i < m_json.element(element).next;
             i = m_json.element(i + 1).next) {
            members.append({m_json.string(i), i + 1});
        }
    }
    return members;
}

QString ProjectFile::string(int element)
{
    return expect(element, JsonText::Type::String, QStringLiteral("a string"))
        ? m_json.string(element)
        : QString();
}

QStringList ProjectFile::strings(int element)
{
    QStringList strings;
    if (expect(element, JsonText::Type::Array, QStringLiteral("an array of strings"))) {
        for (int i = m_json.firstChild(element); i < m_json.element(element).next;
             i = m_json.element(i).next) {
            strings.append(string(i));
        }
    }
    return strings;
}

QHash<QString, QString> ProjectFile::stringMap(int element)
{
    QHash<QString, QString> map;
    const auto all = members(element);
    for (const Member &member : all) {
        map.insert(member.first, string(member.second));
    }
    return map;
}

QString ProjectFile::requiredString(const QString &key)
{
    const auto all = members();
    for (const Member &member : all) {
        if (member.first == key) {
            return string(member.second);
        }
    }
    if (!hasFailed()) {
        fail(0, QStringLiteral("expected a member \"%1\"").arg(key));
    }
    return QString();
}

void ProjectFile::fail(int element, const QString &message)
{
    setError(m_json.placeOf(m_json.element(element).begin, message));
}

bool ProjectFile::expect(int element, JsonText::Type type, const QString &expected)
{
    if (m_json.isNull()) {
        return false;
    }
    if (m_json.element(element).type != type) {
        setError(m_json.unexpected(element, expected));
        return false;
    }
    return true;
}

void ProjectFile::setError(const Diagnostic &error)
{
    if (!hasFailed()) {
        m_error = error;
        m_error.file = m_filePath;
    }
}

} // namespace ConfigScript
