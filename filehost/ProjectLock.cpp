#include "ProjectLock.h"

ProjectLock::ProjectLock(const QString &filePath)
    : m_file(filePath)
{
    m_file.setStaleLockTime(0); // a run may take long; a dead process is found out all the same
}

std::unique_ptr<ProjectLock> ProjectLock::acquire(const QString &projectPath, Diagnostic &error)
{
    std::unique_ptr<ProjectLock> lock(
        new ProjectLock(projectPath + QStringLiteral("/.configscript-lock")));
    if (lock->m_file.tryLock(patience)) {
        return lock;
    }
    if (lock->m_file.error() != QLockFile::LockFailedError) {
        error = {projectPath, 0, 0,
                 QStringLiteral("cannot be locked: no file can be made in the project folder")};
        return nullptr;
    }
    qint64 process = 0;
    QString host;
    QString program;
    lock->m_file.getLockInfo(&process, &host, &program);
    error = {projectPath, 0, 0,
             QStringLiteral("is being written by %1, process %2 on %3; try again when it is done")
                 .arg(program)
                 .arg(process)
                 .arg(host)};
    return nullptr;
}
