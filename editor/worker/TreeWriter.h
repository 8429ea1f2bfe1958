#pragma once

#include "filehost/HostSession.h"
#include "filehost/store/FileBatch.h"
#include "filehost/store/ProjectLock.h"
#include "runner/record/SilentLog.h"

#include <QSharedPointer>
#include <QString>
#include <QStringList>

#include <memory>

namespace ConfigScript {

class FileTreeNode;
class Project;

/// Writes trees that were read: all of them or none. It locks the project and makes a
/// HostSession, both as long as it lives: there must be no other.
class TreeWriter
{
public:
    /// @param recoveries gets a message for each project that had to be recovered first
    /// @return null, with @p error set, when the project cannot be written
    static std::unique_ptr<TreeWriter> open(const Project &project, QStringList &recoveries,
                                            QString &error);

    void add(const QSharedPointer<FileTreeNode> &root);

    /// @return false, with @p error set, when nothing was written
    bool commit(QString &error);

private:
    TreeWriter(const Project &project, std::unique_ptr<ProjectLock> lock);

    const Project &m_project;
    const std::unique_ptr<ProjectLock> m_lock;
    const SilentLog m_log; ///< the batch gives the same reasons
    HostSession m_session;
    FileBatch m_batch;
};

} // namespace ConfigScript
