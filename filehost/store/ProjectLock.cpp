#include "ProjectLock.h"

#include "filehost/ProjectLayout.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QSysInfo>
#include <QThread>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace ConfigScript {

namespace {

QString holderOf(const QByteArray &filePath)
{
    QFile file(QFile::decodeName(filePath));
    const QByteArrayList lines =
        file.open(QIODevice::ReadOnly) ? file.read(1000).split('\n') : QByteArrayList();
    return lines.size() == 4
        ? QStringLiteral("%1, process %2 on %3")
              .arg(QString::fromUtf8(lines.at(1)), QString::fromUtf8(lines.at(0)),
                   QString::fromUtf8(lines.at(2)))
        : QStringLiteral("another process");
}

} // namespace

ProjectLock::ProjectLock(const QByteArray &filePath)
    : m_filePath(filePath)
    , m_file(-1)
{
}

ProjectLock::~ProjectLock()
{
    if (m_file >= 0) {
        ::unlink(m_filePath.constData());
    }
}

std::unique_ptr<ProjectLock> ProjectLock::acquire(const QString &projectPath, Diagnostic &error)
{
    constexpr std::chrono::milliseconds interval{20};
    std::unique_ptr<ProjectLock> lock(
        new ProjectLock(QFile::encodeName(ProjectLayout(projectPath).lockFile())));
    QElapsedTimer timer;
    timer.start();
    while (!lock->tryLock()) {
        if (errno != EWOULDBLOCK) {
            error = {projectPath, 0, 0,
                     QStringLiteral("cannot be locked: ") + qt_error_string(errno)};
            return nullptr;
        }
        if (timer.hasExpired(patience.count())) {
            error = {projectPath, 0, 0,
                     QStringLiteral("is being written by %1; try again when it is done")
                         .arg(holderOf(lock->m_filePath))};
            return nullptr;
        }
        QThread::msleep(ulong(interval.count()));
    }
    lock->tellOthers();
    return lock;
}

/// Sets errno to EWOULDBLOCK when another process has the lock.
bool ProjectLock::tryLock()
{
    constexpr int flags = O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
    Descriptor file(::open(m_filePath.constData(), flags | O_RDWR, 0666));
    if (file < 0 && errno == EACCES) {
        file = Descriptor(::open(m_filePath.constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    }
    if (file < 0 || ::flock(file, LOCK_EX | LOCK_NB) != 0) {
        return false;
    }
    // The process that held it may have removed the file meanwhile: then others do not see this
    // lock.
    struct stat locked;
    struct stat named;
    if (::fstat(file, &locked) != 0 || ::stat(m_filePath.constData(), &named) != 0
        || locked.st_dev != named.st_dev || locked.st_ino != named.st_ino) {
        errno = EWOULDBLOCK;
        return false;
    }
    m_file = std::move(file);
    return true;
}

void ProjectLock::tellOthers() const
{
    const QString program = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    const QByteArray text = QByteArray::number(qlonglong(::getpid())) + '\n' + program.toUtf8()
        + '\n' + QSysInfo::machineHostName().toUtf8() + '\n';
    // The lock holds without it.
    const bool isTold = ::ftruncate(m_file, 0) == 0
        && ::write(m_file, text.constData(), size_t(text.size())) == text.size();
    Q_UNUSED(isTold)
}

} // namespace ConfigScript
