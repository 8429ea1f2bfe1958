#pragma once

#include "filehost/Diagnostic.h"
#include "filehost/JsonText.h"
#include "filehost/TextFile.h"

#include <QExplicitlySharedDataPointer>
#include <QHash>
#include <QString>
#include <QVariant>
#include <QtGlobal>

#include <map>
#include <utility>

class FileBatch;
class FileTree;
class TreeObserver;

/**
 * What the host's static operations and the objects that the library makes for itself work with,
 * beside the files. At most one at a time; it is in use from its construction to its destruction.
 * Without one, there are no units, nobody watches, and files are written. Resolvers and
 * UnitManagerWrapper objects take the units when they are constructed: the session comes first.
 *
 * Made and used on the thread that uses the library.
 */
class HostSession
{
public:
    enum class Writing { Files, Nothing };

    /**
     * @param units the texts of units: unit to language to text
     * @param writing with Nothing, storing a tree succeeds without touching its file
     */
    explicit HostSession(const QHash<QString, QVariantMap> &units,
                         Writing writing = Writing::Files);
    ~HostSession();

    /// @param observer not owned; null for none
    void setObserver(TreeObserver *observer);

    /// Files are written as part of a batch. Reading does not see them before it is committed.
    /// @param batch not owned; null for none
    void setBatch(FileBatch *batch);

    static QHash<QString, QVariantMap> units();
    static FileBatch *batch() { return s_current ? s_current->m_batch : nullptr; }
    static TreeObserver *observer() { return s_current ? s_current->m_observer : nullptr; }
    static bool writesFiles();

    /**
     * Whether @p tree may be stored in @p filePath. A session that writes nothing, or into a batch,
     * remembers the trees, and refuses, with @p error set, a second one for the same file: it was
     * read without what the first one would have written.
     */
    static bool admits(const QExplicitlySharedDataPointer<const FileTree> &tree,
                       const QString &filePath, Diagnostic &error);

    /// A file as it was last read, in order that it is parsed once. Forgotten with a batch.
    struct ParsedFile
    {
        QString path; ///< for all its trees
        JsonText json; ///< null when the file was not read yet
        TextFile::Stamp stamp;
    };
    static ParsedFile parsedFile(const QString &filePath);
    static void setParsedFile(const ParsedFile &file);

private:
    Q_DISABLE_COPY(HostSession)

    static HostSession *s_current;

    QHash<QString, QVariantMap> m_units;
    Writing m_writing;
    FileBatch *m_batch = nullptr;
    TreeObserver *m_observer = nullptr;
    std::map<std::pair<quint64, quint64>, QExplicitlySharedDataPointer<const FileTree>>
        m_storedTrees; ///< by file
    QHash<QString, ParsedFile> m_parsedFiles;
};
