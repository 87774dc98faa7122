// Lock helpers shared by the manager's source files (not part of the interface).
#ifndef GPSDR_MM_MMSYNC_H
#define GPSDR_MM_MMSYNC_H

#include <cstdint>

#include "platform/mThread.h"

// The manager's locks exist only between Initialize and Destroy; before and after, the
// operations that take them run unguarded instead of touching a null lock.
inline void MMLock(mCSyncObject* sync)
{
    if (sync) sync->Lock();
}

inline void MMUnlock(mCSyncObject* sync)
{
    if (sync) sync->Unlock();
}

class MMScopedLock {
public:
    explicit MMScopedLock(mCSyncObject* sync) : m_sync(sync) { MMLock(m_sync); }
    ~MMScopedLock() { MMUnlock(m_sync); }
    MMScopedLock(const MMScopedLock&) = delete;
    MMScopedLock& operator=(const MMScopedLock&) = delete;

private:
    mCSyncObject* m_sync;
};

#endif
