#include "Manifest.h"

#include "filehost/FileTree.h"
#include "filehost/Project.h"
#include "filehost/TextFile.h"
#include "host/ConfigurationAndProcessDataDefinitions.h"
#include "host/PropertyManagerConst.h"
#include "host/SystemInformationManagerDataDefinitions.h"

#include <QMap>
#include <QSet>

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
    : m_filePath(PropertyManagerConst::getConfigurationFolderPath(project.path()) + QLatin1Char('/')
                 + PropertyManagerConst::getConfigurationManifestFilename())
{
    read();
}

void Manifest::read()
{
    QByteArray text;
    switch (TextFile::read(m_filePath, FileTree::maximumFileSize, text, m_error)) {
    case TextFile::ReadResult::Missing:
        m_error = {m_filePath, 0, 0,
                   QStringLiteral("no such file: expected the project's manifest")};
        return;
    case TextFile::ReadResult::Unreadable:
        return;
    case TextFile::ReadResult::Read:
        break;
    }
    const JsonText json = JsonText::parse(text, m_error);
    if (json.isNull()) {
        m_error.file = m_filePath;
        return;
    }
    if (json.element(0).type != JsonText::Type::Array) {
        m_error = json.unexpected(0, QStringLiteral("an array on top"));
        m_error.file = m_filePath;
        return;
    }
    const QString key =
        ConfigurationAndProcessDataDefinitions::getKeyDataPropertyDependencyFileExtern();
    const int value = findMember(json, 0, key);
    if (value < 0) {
        m_warnings.append(
            placeOf(json, 0, QStringLiteral("expected an object with the member \"%1\"").arg(key)));
    } else if (json.element(value).type == JsonText::Type::Array) {
        addEntries(json, value);
    } else if (json.element(value).type != JsonText::Type::Null) {
        m_error = json.unexpected(value, QStringLiteral("an array as \"%1\"").arg(key));
        m_error.file = m_filePath;
    }
}

void Manifest::addEntries(const JsonText &json, int array)
{
    const QString key = SystemInformationManagerDataDefinitions::getKeyInstanceName();
    QSet<QString> known;
    for (int i = json.firstChild(array); i < json.element(array).next; i = json.element(i).next) {
        const int name = json.element(i).type == JsonText::Type::Object ? json.member(i, key) : -1;
        if (name < 0 || json.element(name).type != JsonText::Type::String) {
            m_entryErrors.append(placeOf(
                json, i, QStringLiteral("expected an object with the string \"%1\"").arg(key)));
            continue;
        }
        const QString instanceName = json.string(name);
        if (known.contains(instanceName)) {
            m_warnings.append(
                placeOf(json, i, QStringLiteral("\"%1\" is listed twice").arg(instanceName)));
        }
        known.insert(instanceName);
        m_entries.append({instanceName, placeOf(json, i, QString())});
    }
}

Diagnostic Manifest::placeOf(const JsonText &json, int element, const QString &message) const
{
    Diagnostic place = json.placeOf(json.element(element).begin, message);
    place.file = m_filePath;
    return place;
}
