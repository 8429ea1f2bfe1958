#include "Manifest.h"

#include "filehost/FileTree.h"
#include "filehost/Project.h"
#include "filehost/ProjectLayout.h"
#include "filehost/json/JsonText.h"
#include "filehost/store/TextFile.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/SystemInformationManagerDataDefinitions.h"

#include <QJsonDocument>
#include <QMap>
#include <QSet>

namespace ConfigScript {

namespace {

/// The first value under @p key in the element and all below it; an object's own member goes before
/// those of its members. -1 when there is none.
int findMember(const JsonText &json, int element, const QString &key)
{
    const auto &container = json.element(element);
    const bool isObject = container.type == JsonText::Type::Object;
    if (isObject) {
        const int value = json.member(element, key);
        if (value >= 0) {
            return value;
        }
    } else if (container.type != JsonText::Type::Array) {
        return -1;
    }
    QMap<QString, int> values; // in the order of the library's search: members by name
    for (int i = json.firstChild(element); i < container.next;) {
        const int value = isObject ? i + 1 : i;
        values.insert(isObject ? json.string(i) : QString::number(i).rightJustified(10), value);
        i = json.element(value).next;
    }
    for (const int value : qAsConst(values)) {
        const int found = findMember(json, value, key);
        if (found >= 0) {
            return found;
        }
    }
    return -1;
}

} // namespace

Manifest::Manifest(const Project &project)
    : m_filePath(ProjectLayout(project.path()).manifestFile())
{
    read();
}

void Manifest::read()
{
    QByteArray text;
    switch (TextFile::read(m_filePath, TextFile::maximumSize, text, m_error)) {
    case TextFile::ReadResult::Missing:
        m_error = {m_filePath, 0, 0,
                   QStringLiteral("no such file: expected the project's manifest")};
        return;
    case TextFile::ReadResult::Unreadable:
        return;
    case TextFile::ReadResult::Read:
        break;
    }
    m_json = std::make_shared<const JsonText>(JsonText::parse(text, m_error));
    if (m_json->isNull()) {
        m_error.file = m_filePath;
        return;
    }
    QJsonParseError libraryError;
    QJsonDocument::fromJson(text, &libraryError);
    if (libraryError.error != QJsonParseError::NoError) {
        m_error = m_json->placeOf(libraryError.offset,
                                  QStringLiteral("the library cannot read the manifest: ")
                                      + libraryError.errorString());
        m_error.file = m_filePath;
        return;
    }
    if (m_json->element(0).type != JsonText::Type::Array) {
        m_error = m_json->unexpected(0, QStringLiteral("an array on top"));
        m_error.file = m_filePath;
        return;
    }
    const QString key =
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
    const int value = findMember(*m_json, 0, key);
    if (value < 0) {
        m_warnings.append(
            placeOf(0, QStringLiteral("expected an object with the member \"%1\"").arg(key)));
    } else if (m_json->element(value).type == JsonText::Type::Array) {
        addEntries(value);
    } else if (m_json->element(value).type != JsonText::Type::Null) {
        m_error = m_json->unexpected(value, QStringLiteral("an array as \"%1\"").arg(key));
        m_error.file = m_filePath;
    }
}

void Manifest::addEntries(int array)
{
    const QString key = SystemInformationManagerDataDefinitions::getKeyInstanceName();
    QSet<QString> known;
    for (int i = m_json->firstChild(array); i < m_json->element(array).next;
         i = m_json->element(i).next) {
        const int name =
            m_json->element(i).type == JsonText::Type::Object ? m_json->member(i, key) : -1;
        if (name < 0 || m_json->element(name).type != JsonText::Type::String) {
            m_entryErrors.append(
                placeOf(i, QStringLiteral("expected an object with the string \"%1\"").arg(key)));
            continue;
        }
        const QString instanceName = m_json->string(name);
        if (known.contains(instanceName)) {
            m_warnings.append(
                placeOf(i, QStringLiteral("\"%1\" is listed twice").arg(instanceName)));
        }
        known.insert(instanceName);
        m_entries.append({instanceName, i});
    }
}

Diagnostic Manifest::placeOf(const Entry &entry) const
{
    return placeOf(entry.element, QString());
}

Diagnostic Manifest::placeOf(int element, const QString &message) const
{
    Diagnostic place = m_json->placeOf(m_json->element(element).begin, message);
    place.file = m_filePath;
    return place;
}

} // namespace ConfigScript
