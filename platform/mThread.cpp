// Thread creation and naming over POSIX threads. Threads are detached: nobody joins them, their
// owners stop them through flags.
#include "platform/mThread.h"

#include "platform/mTrace.h"

#include <sched.h>
#include <sys/prctl.h>

#include <cstring>

namespace {

mThreadRoutine AsRoutine(void* routine)
{
    return reinterpret_cast<mThreadRoutine>(routine);
}

mTHREAD AsHandle(pthread_t id)
{
    return static_cast<mTHREAD>(id);
}

// Prepares detached-thread attributes; null on success, else the failure's trace text.
const char* InitDetached(pthread_attr_t* attr)
{
    if (pthread_attr_init(attr) != 0) return "mThread - pthread_attr_init fail!\n";
    if (pthread_attr_setdetachstate(attr, PTHREAD_CREATE_DETACHED) != 0)
        return "mThread - pthread_attr_setdetachstate fail!\n";
    return nullptr;
}

}  // namespace

mTHREAD mThreadCreate(void* routine, void* arg)
{
    // The attributes are not destroyed: on this platform they hold no resources.
    pthread_attr_t attr;
    if (const char* failure = InitDetached(&attr)) {
        mTraceA("%s", failure);
        return 0;
    }
    pthread_t id;
    if (pthread_create(&id, &attr, AsRoutine(routine), arg) != 0) {
        mTraceA("mThread - pthread_create fail!\n");
        return 0;
    }
    return AsHandle(id);
}

mTHREAD mThreadSelf(void)
{
    return AsHandle(pthread_self());
}

mTHREAD mThreadCreateWithStackSize(void* routine, void* arg, unsigned long stackSize)
{
    pthread_attr_t attr;
    if (const char* failure = InitDetached(&attr)) {
        mTraceA("%s", failure);
        return 0;
    }
    size_t defaultSize = 0;
    pthread_attr_getstacksize(&attr, &defaultSize);
    mTraceA("mThread - pthread_attr_getstacksize ======= %d Byte =====!!!\n",
            static_cast<int>(defaultSize));
    // A size the system refuses (below its minimum) leaves the default in place.
    pthread_attr_setstacksize(&attr, stackSize);
    pthread_t id;
    if (pthread_create(&id, &attr, AsRoutine(routine), arg) != 0) return 0;
    return AsHandle(id);
}

mTHREAD mThreadCreateWithPriority(void* routine, void* arg, int priority)
{
    const int policy = 0;  // SCHED_OTHER
    pthread_attr_t attr;
    if (InitDetached(&attr) || pthread_attr_setschedpolicy(&attr, policy) != 0) return 0;
    // Inverted on purpose: callers were written against this mapping (positive asks for the
    // least urgent priority), so it stays.
    sched_param param{};
    if (priority > 0)
        param.sched_priority = sched_get_priority_min(policy);
    else if (priority < 0)
        param.sched_priority = sched_get_priority_max(policy);
    else
        param.sched_priority = sched_get_priority_max(policy) / 2;
    if (pthread_attr_setschedparam(&attr, &param) != 0) return 0;
    pthread_t id;
    if (pthread_create(&id, &attr, AsRoutine(routine), arg) != 0) return 0;
    pthread_attr_destroy(&attr);
    return AsHandle(id);
}

int mSetThreadName(const char* name)
{
    if (!name) return -1;
    char shortName[17] = {};
    std::strncpy(shortName, name, 16);
    return prctl(PR_SET_NAME, reinterpret_cast<unsigned long>(shortName), 0, 0, 0);
}

// Threads are stopped by their flags and never joined, suspended or re-prioritised, so these
// are kept only for the interface.
void mThreadJoin(mTHREAD) {}
void mThreadClose(mTHREAD) {}
int mThreadSetPriority(mTHREAD, int priority) { return priority; }
void mThreadSetHighPriority(mTHREAD) {}
void mThreadSetLowPriority(mTHREAD) {}
void mThreadResume(mTHREAD) {}
void mThreadSuspend(mTHREAD) {}
void mThreadGetExitCode(mTHREAD) {}
void mThreadTerminate(mTHREAD) {}
int mThreadGetPriority(mTHREAD) { return 0; }
