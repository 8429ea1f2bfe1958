#include "HostSession.h"

HostSession *HostSession::s_current = nullptr;

HostSession::HostSession(const QHash<QString, QVariantMap> &units, Writing writing)
    : m_units(units)
    , m_writing(writing)
{
    Q_ASSERT(!s_current);
    s_current = this;
}

HostSession::~HostSession()
{
    s_current = nullptr;
}

void HostSession::setObserver(TreeObserver *observer)
{
    m_observer = observer;
}

QHash<QString, QVariantMap> HostSession::units()
{
    return s_current ? s_current->m_units : QHash<QString, QVariantMap>();
}

bool HostSession::writesFiles()
{
    return !s_current || s_current->m_writing == Writing::Files;
}

bool HostSession::admits(const FileTree &tree, const QString &filePath, Diagnostic &error)
{
    if (writesFiles()) {
        return true;
    }
    const FileTree *&stored = s_current->m_storedTrees[filePath];
    if (stored && stored != &tree) {
        error = {filePath, 0, 0,
                 QStringLiteral("cannot be written: the file has changed since it was read")};
        return false;
    }
    stored = &tree;
    return true;
}
