// Events: a flag with a condition variable, reset by hand (manual) or by the waiter it wakes
// (auto).
#include "platform/mThread.h"

#include <sys/time.h>

#include <cerrno>
#include <cstdint>
#include <new>

struct mEventObject {
    pthread_mutex_t mutex;
    pthread_cond_t cond;
    uint8_t signalled;    // guarded by mutex
    uint8_t manualReset;  // 1: stays signalled after a wait
};

mEVENT mEventCreate(int manualReset)
{
    mEventObject* event = new (std::nothrow) mEventObject;
    if (!event) return nullptr;
    pthread_mutex_init(&event->mutex, nullptr);
    if (pthread_cond_init(&event->cond, nullptr) != 0) {
        pthread_mutex_destroy(&event->mutex);
        delete event;
        return nullptr;
    }
    event->signalled = 0;
    event->manualReset = static_cast<uint8_t>(manualReset);
    return event;
}

void mEventRaise(mEVENT event)
{
    if (!event) return;
    pthread_mutex_lock(&event->mutex);
    event->signalled = 1;
    pthread_cond_signal(&event->cond);
    pthread_mutex_unlock(&event->mutex);
}

void mEventReset(mEVENT event)
{
    if (!event) return;
    pthread_mutex_lock(&event->mutex);
    event->signalled = 0;
    pthread_mutex_unlock(&event->mutex);
}

namespace {

// Waits under the held mutex until the event is signalled; false on time-out or error.
bool WaitSignalled(mEventObject* event, uint32_t timeoutMs)
{
    if (timeoutMs == 0) return event->signalled != 0;
    if (timeoutMs == M_INFINITE) {
        while (!event->signalled) pthread_cond_wait(&event->cond, &event->mutex);
        return true;
    }
    timeval now;
    if (gettimeofday(&now, nullptr) != 0) return false;
    // Microseconds in 32 bits: time-outs above about 4294 s wrap to a near deadline. Callers
    // never ask for that long, and the arithmetic stays that of the device.
    const uint32_t usec = static_cast<uint32_t>(now.tv_usec) + 1000u * timeoutMs;
    timespec deadline;
    deadline.tv_sec = now.tv_sec + static_cast<time_t>(usec / 1000000u);
    deadline.tv_nsec = static_cast<long>(usec % 1000000u) * 1000;
    while (!event->signalled) {
        // A raise that lands together with the time-out still counts as a time-out.
        if (pthread_cond_timedwait(&event->cond, &event->mutex, &deadline) == ETIMEDOUT)
            return false;
    }
    return true;
}

}  // namespace

int mEventWait(mEVENT event, unsigned long timeoutMs)
{
    if (!event) return -1;
    pthread_mutex_lock(&event->mutex);
    if (!WaitSignalled(event, static_cast<uint32_t>(timeoutMs))) {
        pthread_mutex_unlock(&event->mutex);
        return -1;
    }
    if (event->manualReset)
        pthread_cond_signal(&event->cond);  // a raise wakes one waiter; pass it on to the next
    else
        event->signalled = 0;
    pthread_mutex_unlock(&event->mutex);
    return 0;
}

void mEventDestroy(mEVENT event)
{
    if (!event) return;
    pthread_mutex_destroy(&event->mutex);
    pthread_cond_destroy(&event->cond);
    delete event;
}

int mEventMultiWait(void)
{
    return 0;
}
