// Locks: a plain, non-recursive mutex that ignores a release by any thread but its holder. The
// manager releases one of its locks twice on purpose; the second release must not free a lock
// that another thread has taken in between.
#include "platform/mThread.h"

#include <new>

namespace {

// Unique and non-zero for every live thread.
uintptr_t SelfId()
{
    static thread_local char marker;
    return reinterpret_cast<uintptr_t>(&marker);
}

}  // namespace

mCSyncObject::mCSyncObject() : m_owner(0)
{
    pthread_mutex_init(&m_mutex, nullptr);
}

mCSyncObject::~mCSyncObject()
{
    pthread_mutex_destroy(&m_mutex);
}

void mCSyncObject::Lock()
{
    pthread_mutex_lock(&m_mutex);
    m_owner.store(SelfId(), std::memory_order_relaxed);
}

void mCSyncObject::Unlock()
{
    if (m_owner.load(std::memory_order_relaxed) != SelfId()) return;
    m_owner.store(0, std::memory_order_relaxed);
    pthread_mutex_unlock(&m_mutex);
}

int mCSyncObject::Trylock()
{
    if (pthread_mutex_trylock(&m_mutex) != 0) return 0;
    m_owner.store(SelfId(), std::memory_order_relaxed);
    return 1;
}

void* mSyncCreate(void)
{
    return new (std::nothrow) mCSyncObject;
}

void mSyncLock(void* h)
{
    if (h) static_cast<mCSyncObject*>(h)->Lock();
}

void mSyncUnlock(void* h)
{
    if (h) static_cast<mCSyncObject*>(h)->Unlock();
}

int mSyncTrylock(void* h)
{
    return h ? static_cast<mCSyncObject*>(h)->Trylock() : 0;
}

void mSyncDestroy(void* h)
{
    delete static_cast<mCSyncObject*>(h);
}
