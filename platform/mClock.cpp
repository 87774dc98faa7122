// Wall-clock readings, calendar normalisation and the fixed waits.
//
// Calendar dates reach 2079, past the end of a 32-bit time_t (2038): 32-bit targets use their
// 64-bit time functions so that every target gives the same answers.
#if !defined(__ANDROID__)
#define _FILE_OFFSET_BITS 64
#define _TIME_BITS 64
#endif

#include "platform/mThread.h"

#include <sys/select.h>
#include <sys/time.h>

#include <ctime>

#if defined(__ANDROID__) && !defined(__LP64__)
#include <time64.h>
#define M_MKTIME mktime64
#else
#define M_MKTIME mktime
#endif

namespace {

tm LocalNow()
{
    tm local{};
    mGetLocalTime(&local);
    return local;
}

}  // namespace

uint32_t mGetMilisec(void)
{
    timeval now;
    gettimeofday(&now, nullptr);
    return static_cast<uint32_t>(now.tv_sec) * 1000u + static_cast<uint32_t>(now.tv_usec / 1000);
}

unsigned long mGetCurrentTime(void)
{
    const tm t = LocalNow();
    // Hundredths are always 0; readers expect the HHMMSS00 shape.
    return static_cast<unsigned long>(((t.tm_hour * 100 + t.tm_min) * 100 + t.tm_sec) * 100);
}

unsigned long mGetCurrentDate(void)
{
    const tm t = LocalNow();
    return static_cast<unsigned long>((t.tm_year + 1900) * 10000 + (t.tm_mon + 1) * 100 + t.tm_mday);
}

int mGetLocalTime(struct tm* out)
{
    timeval now;
    if (!out || gettimeofday(&now, nullptr) != 0) return 0;
    const time_t secs = now.tv_sec;
    return localtime_r(&secs, out) ? 1 : 0;
}

int mMakeLocalTime(struct tm* t)
{
    return t && M_MKTIME(t) != -1 ? 1 : 0;
}

void mSleepMs(uint32_t ms)
{
    timeval tv;
    tv.tv_sec = static_cast<time_t>(ms / 1000);
    tv.tv_usec = static_cast<suseconds_t>((ms % 1000) * 1000);
    select(0, nullptr, nullptr, nullptr, &tv);
}
