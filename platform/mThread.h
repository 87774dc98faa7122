// Threads, events, locks and clocks over POSIX threads. Threads are created detached and are
// never joined: their owners stop them by clearing a flag the thread polls.
#ifndef GPSDR_PLATFORM_MTHREAD_H
#define GPSDR_PLATFORM_MTHREAD_H

#include <pthread.h>

#include <atomic>
#include <cstdint>

// A thread body, as handed to mThreadCreate*.
typedef void* (*mThreadRoutine)(void*);

// Thread handle: the thread id cut to 32 bits; 0 means failure.
typedef uint32_t mTHREAD;

mTHREAD mThreadCreate(void* routine, void* arg);
mTHREAD mThreadCreateWithStackSize(void* routine, void* arg, unsigned long stackSize);
mTHREAD mThreadCreateWithPriority(void* routine, void* arg, int priority);
int mSetThreadName(const char* name);
mTHREAD mThreadSelf(void);  // the calling thread's handle, as its creator got it

void mThreadJoin(mTHREAD thread);
void mThreadClose(mTHREAD thread);
int mThreadSetPriority(mTHREAD thread, int priority);
void mThreadSetHighPriority(mTHREAD thread);
void mThreadSetLowPriority(mTHREAD thread);
void mThreadResume(mTHREAD thread);
void mThreadSuspend(mTHREAD thread);
void mThreadGetExitCode(mTHREAD thread);
void mThreadTerminate(mTHREAD thread);
int mThreadGetPriority(mTHREAD thread);

// ---------------------------------------------------------------- events
struct mEventObject;
typedef mEventObject* mEVENT;

#define M_INFINITE 0xFFFFFFFFUL

mEVENT mEventCreate(int manualReset);
void mEventRaise(mEVENT event);
void mEventReset(mEVENT event);
// 0 when the event was signalled, -1 on time-out or error. 0 polls, M_INFINITE waits forever.
int mEventWait(mEVENT event, unsigned long timeoutMs);
void mEventDestroy(mEVENT event);
int mEventMultiWait(void);

// ---------------------------------------------------------------- locks
// A plain, non-recursive mutex. Releasing it from a thread that does not hold it is harmless.
class mCSyncObject {
public:
    mCSyncObject();
    ~mCSyncObject();
    mCSyncObject(const mCSyncObject&) = delete;
    mCSyncObject& operator=(const mCSyncObject&) = delete;

    void Lock();
    void Unlock();
    int Trylock();  // 1 when acquired, else 0

private:
    pthread_mutex_t m_mutex;
    // Who holds the mutex (0: nobody), so that a release from any other thread, or a second
    // release, can be told apart and ignored. Only the holder stores its own id, so every
    // thread reads its own writes and relaxed order suffices.
    std::atomic<uintptr_t> m_owner;
};

void* mSyncCreate(void);
void mSyncLock(void* h);
void mSyncUnlock(void* h);
int mSyncTrylock(void* h);
void mSyncDestroy(void* h);

// ---------------------------------------------------------------- clocks
struct tm;

uint32_t mGetMilisec(void);      // wall clock in ms, wrapping at 32 bits
unsigned long mGetCurrentTime(void);  // local HHMMSS00
unsigned long mGetCurrentDate(void);  // local YYYYMMDD
int mGetLocalTime(struct tm* out);    // the wall clock as local time; 0 when it cannot be read
// mktime in 64 bits on every target: normalises *t (a broken-down local time, its tm_isdst
// obeyed as mktime obeys it) in place. 0 when mktime answers -1: an error, or the one second
// 1969-12-31 23:59:59 UTC.
int mMakeLocalTime(struct tm* t);
// The fixed waits of the manager and the facade: a select() with no descriptors.
void mSleepMs(uint32_t ms);

#endif
