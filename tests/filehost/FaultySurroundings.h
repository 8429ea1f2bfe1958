#pragma once

#include "filehost/ProjectFolder.h"

#include <QFile>

#include <csignal>

#include <sys/resource.h>
#include <unistd.h>

/// No file can grow beyond some bytes for its life, as on a full disk.
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        // Not the end of the program, but an error of the write.
        m_previousHandler = std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_previousLimit);
        rlimit limit = m_previousLimit;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    ~FullDisk()
    {
        setrlimit(RLIMIT_FSIZE, &m_previousLimit);
        std::signal(SIGXFSZ, m_previousHandler);
    }

private:
    Q_DISABLE_COPY(FullDisk)

    rlimit m_previousLimit;
    void (*m_previousHandler)(int);
};

/// Someone who may not do everything, for a scope, and a folder that is theirs.
class OrdinaryUser
{
public:
    static constexpr uid_t user = 65534;

    explicit OrdinaryUser(const ProjectFolder &folder)
        : m_isSuperuser(geteuid() == 0)
    {
        if (m_isSuperuser
            && (chown(QFile::encodeName(folder.path()).constData(), user, gid_t(-1)) != 0
                || setresuid(user, user, 0) != 0)) {
            qFatal("cannot become an ordinary user");
        }
    }

    ~OrdinaryUser()
    {
        if (m_isSuperuser && setresuid(0, 0, 0) != 0) {
            qFatal("cannot become the superuser again");
        }
    }

private:
    Q_DISABLE_COPY(OrdinaryUser)

    bool m_isSuperuser;
};
