#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/FileHostExport.h"

#include <QString>
#include <QStringList>
#include <QVector>

#include <memory>

namespace ConfigScript {

class JsonText;
class Project;

/**
 * The manifest of a project as a person should see it: which instances it lists, and where, and
 * what is wrong with it. The library reads the same file in its own way.
 */
class FILEHOST_EXPORT Manifest
{
public:
    struct Entry
    {
        QString instanceName;
        int element; ///< of the entry in the manifest's text
    };

    explicit Manifest(const Project &project);

    QString filePath() const { return m_filePath; }

    /// Why the manifest cannot be used; without a message when it can.
    const Diagnostic &error() const { return m_error; }
    bool hasFailed() const { return !m_error.message.isEmpty(); }

    /// Entries that name no instance.
    const QVector<Diagnostic> &entryErrors() const { return m_entryErrors; }

    /// What is odd, but does no harm.
    const QVector<Diagnostic> &warnings() const { return m_warnings; }

    /// Where an entry stands, without a message.
    Diagnostic placeOf(const Entry &entry) const;

    /// The instances in the manifest's order, duplicates included.
    const QVector<Entry> &entries() const { return m_entries; }

private:
    void read();
    void addEntries(int array);
    Diagnostic placeOf(int element, const QString &message) const;

    QString m_filePath;
    std::shared_ptr<const JsonText> m_json;
    Diagnostic m_error;
    QVector<Diagnostic> m_entryErrors;
    QVector<Diagnostic> m_warnings;
    QVector<Entry> m_entries;
};

} // namespace ConfigScript
