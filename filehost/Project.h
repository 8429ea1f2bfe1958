#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/FileHostExport.h"
#include "filehost/FileTree.h"
#include "host/SystemInformationManagerDBusProviderDescriptionHandler.h"

#include <QHash>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <optional>

namespace ConfigScript {

/**
 * A project folder: what its own files say of it, and which instances it has.
 *
 * project.json holds "moduleName", "objectName", and optionally "language" (of label texts; "en")
 * and "otherFiles" (object name to the folder of the project it lives in, relative to this one).
 * texts/<language>.json, units.json and providers.json may be missing. All are read by open().
 */
class FILEHOST_EXPORT Project
{
public:
    /// @return nothing, with @p error set, when @p folder is no project or one of its files is
    ///         malformed
    static std::optional<Project> open(const QString &folder, Diagnostic &error);

    QString path() const { return m_path; } ///< absolute
    QString moduleName() const { return m_moduleName; }
    QString objectName() const { return m_objectName; }
    QString language() const { return m_language; }

    /// Object names to absolute project folders. The project's own object maps to path().
    QHash<QString, QString> otherFiles() const { return m_otherFiles; }

    /// Has other objects' projects looked for elsewhere. @p folders as otherFiles() gives them.
    void setOtherFiles(const QHash<QString, QString> &folders);

    /// Object names to the project folders that scripts reach: otherFiles(), and the objects that
    /// provide system information.
    QHash<QString, QString> reachableObjects() const;

    /// The property of a tree's root that names its user-interface script.
    static QString keyOfUserInterfaceScript();

    QString userInterfaceScriptFolder() const;

    /// Label texts of the project's language by identifier.
    QHash<QString, QString> texts() const { return m_texts; }

    /// Label texts of any language; none, with @p error set, when its file is malformed.
    QHash<QString, QString> texts(const QString &language, Diagnostic &error) const;

    /// The languages that have a file of texts, sorted.
    QStringList languages() const;

    /// Unit to language to text.
    QHash<QString, QVariantMap> units() const { return m_units; }

    SystemInformationManagerDBusProviderDescriptionHandler providers() const { return m_providers; }

    /// The instances with a tree of that kind, sorted.
    QStringList instances(FileTree::Kind kind) const;

    /// Where the tree of an instance lies; empty, with @p error set, for a name that no instance
    /// can have, and where a link leads out of the project.
    QString treePath(FileTree::Kind kind, const QString &instance, QString &error) const;
    QString treePath(FileTree::Kind kind, const QString &instance) const;

    /// A tree as it is now; null without such a file, and with @p error set when it is malformed.
    QSharedPointer<FileTreeNode> readTree(FileTree::Kind kind, const QString &instance,
                                          Diagnostic &error) const;

    /**
     * What is wrong with the place of a script, which need not exist.
     * @param folder the scripts'
     * @return that its name or a link leads out; empty for nothing
     */
    QString scriptError(const QString &folder, const QString &fileName) const;

    /// @p diagnostic with its file as seen from the project folder.
    Diagnostic relative(Diagnostic diagnostic) const;

    /// @p filePath as seen from the project folder.
    QString relativePath(const QString &filePath) const;

private:
    Project() = default;

    bool readProjectFile(Diagnostic &error);
    bool readUnits(Diagnostic &error);
    bool readProviders(Diagnostic &error);

    QString m_path;
    QString m_moduleName;
    QString m_objectName;
    QString m_language = QStringLiteral("en");
    QHash<QString, QString> m_otherFiles;
    QHash<QString, QString> m_texts;
    QHash<QString, QVariantMap> m_units;
    SystemInformationManagerDBusProviderDescriptionHandler m_providers;
};

} // namespace ConfigScript
