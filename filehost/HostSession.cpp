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
