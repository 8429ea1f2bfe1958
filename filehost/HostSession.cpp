#include "HostSession.h"

#include "filehost/store/TreeStore.h"

namespace ConfigScript {

namespace {

thread_local HostSession *s_current = nullptr;

} // namespace

HostSession::HostSession(const QHash<QString, QVariantMap> &units, Writing writing)
    : m_before(s_current)
    , m_units(units)
    , m_treeStore(std::make_unique<TreeStore>())
{
    if (writing == Writing::Nothing || !writesFiles()) {
        m_treeStore->writeNothing();
    }
    s_current = this;
}

HostSession::~HostSession()
{
    if (s_current != this) {
        qFatal("A HostSession must end on its own thread, and before those that were made earlier");
    }
    s_current = m_before;
}

void HostSession::setObserver(TreeObserver *observer)
{
    m_observer = observer;
}

void HostSession::setBatch(FileBatch *batch)
{
    m_treeStore->setBatch(batch);
}

QHash<QString, QVariantMap> HostSession::units()
{
    return s_current ? s_current->m_units : QHash<QString, QVariantMap>();
}

FileBatch *HostSession::batch()
{
    return s_current ? s_current->m_treeStore->batch() : nullptr;
}

TreeObserver *HostSession::observer()
{
    return s_current ? s_current->m_observer : nullptr;
}

bool HostSession::writesFiles()
{
    return !s_current || s_current->m_treeStore->isWriting();
}

TreeStore *HostSession::treeStore()
{
    return s_current ? s_current->m_treeStore.get() : nullptr;
}

} // namespace ConfigScript
