#pragma once

#include "filehost/FileHostExport.h"

#include <QString>
#include <QStringList>

namespace ConfigScript {

/**
 * Which files make a project, and where they lie. Nothing else knows their names.
 *
 * The paths begin with that of the project folder, as it was given; with an empty one they are
 * relative to it.
 */
class FILEHOST_EXPORT ProjectLayout
{
public:
    explicit ProjectLayout(const QString &projectPath = QString());

    QString projectFile() const; ///< a folder that holds it is a project; the other files may miss
    QString unitsFile() const;
    QString providersFile() const;

    QString configurationFolder() const; ///< of configuration trees, and the manifest
    QString manifestFile() const;
    QString processFolder() const; ///< of process descriptions
    QString dependencyFolder() const; ///< of dependency scripts
    QString scriptsFolder() const; ///< of user-interface scripts
    QString textsFolder() const;
    QString textsFile(const QString &language) const;
    QString testsFolder() const; ///< of script tests

    QString journalFile() const; ///< of a batch at work; see BatchJournal
    QString lockFile() const; ///< while somebody writes; see ProjectLock

    /// The files that stand on their own.
    QStringList files() const;

    /// All files and folders that scripts, and what they are run on, are made of.
    QStringList content() const;

    /// The file of an instance in a folder of trees.
    static QString treeFile(const QString &folder, const QString &instance);

    /// The name that a file of trees, texts or the like has without its suffix; empty for a file
    /// with another suffix than theirs.
    static QString baseName(const QString &fileName);

    static QString manifestName();

    /// What the names of all files of trees and texts end with.
    static QString suffix();

private:
    QString path(const QString &name) const;

    QString m_projectPath;
};

} // namespace ConfigScript
