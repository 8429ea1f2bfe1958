#pragma once

#include "filehost/FileHostExport.h"

#include <QHash>
#include <QString>
#include <QVariant>
#include <QtGlobal>

#include <memory>

namespace ConfigScript {

class FileBatch;
class TreeObserver;
class TreeStore;

/**
 * What the host's static operations and the objects that the library makes for itself work with,
 * beside the files: units, an observer, and whether and how files are written. Without a session,
 * there are no units, nobody watches, and files are written.
 *
 * A session is in use on the thread that made it, from its construction to its destruction on the
 * same thread; other threads have their own, or none. Trees, resolvers and wrappers belong to the
 * thread whose session they are used with. Resolvers and UnitManagerWrapper objects take the units
 * when they are constructed: the session comes first.
 *
 * Where a thread has several sessions, the one that was made last is in use; once it ends, the one
 * before it is again. Within a session that writes nothing, no other one writes.
 */
class FILEHOST_EXPORT HostSession
{
public:
    enum class Writing { Files, Nothing };

    /**
     * @param units the texts of units: unit to language to text
     * @param writing with Nothing, storing a tree succeeds without touching its file
     */
    explicit HostSession(const QHash<QString, QVariantMap> &units,
                         Writing writing = Writing::Files);

    /// On the thread of the constructor; on another one the program ends with a message.
    ~HostSession();

    /// @param observer not owned; null for none
    void setObserver(TreeObserver *observer);

    /// Files are written as part of a batch. Reading does not see them before it is committed.
    /// @param batch not owned; null for none
    void setBatch(FileBatch *batch);

    // What the calling thread's session says.
    static QHash<QString, QVariantMap> units();
    static FileBatch *batch();
    static TreeObserver *observer();
    static bool writesFiles();

private:
    Q_DISABLE_COPY(HostSession)
    friend class FileTree;

    /// Null without a session.
    static TreeStore *treeStore();

    HostSession *const m_before; ///< the thread's session before this one; null for none
    const QHash<QString, QVariantMap> m_units;
    const std::unique_ptr<TreeStore> m_treeStore;
    TreeObserver *m_observer = nullptr;
};

} // namespace ConfigScript
