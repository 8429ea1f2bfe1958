#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/Project.h"
#include "filehost/TextFile.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <optional>

/**
 * A copy of a project and of the other projects that its scripts reach, in which scripts may write
 * what they like. It lies in the system's folder for temporary files, and goes with the object.
 *
 * Copied are the files that make a project (see docs/file-formats.md), and nothing else that lies
 * in its folder. Links are copied as links: one that leads into a project leads into its copy, any
 * other to where it led before. The folders lie to each other as the real ones do.
 */
class ScratchCopy
{
public:
    /// @return null, with @p error set, when a file could not be copied or a folder not be read
    static std::unique_ptr<ScratchCopy> make(const Project &project, Diagnostic &error);

    const Project &project() const { return *m_project; }

    /// The path of the real file that @p filePath, a path in the copy, stands for; any other path
    /// as it is.
    QString originalOf(const QString &filePath) const;

    /// Makes the copy what it was at first.
    /// @return false, with @p error set, when a file could not be copied or removed
    bool restore(Diagnostic &error);

private:
    ScratchCopy() = default;

    bool copyFile(const QString &from, const QString &to, Diagnostic &error);
    QString copyOf(const QString &path) const;

    QTemporaryDir m_scratch;
    QString m_commonFolder; ///< of all originals
    QStringList m_folders; ///< of the copies
    QHash<QString, TextFile::Stamp> m_files; ///< of the copies, as they were at first; no
                                             ///< file's for a link
    std::optional<Project> m_project;
};
