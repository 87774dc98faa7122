// The facade's fixed waits. They stand in for joins (threads are detached), so they are real
// sleeps of exactly this length, as the stop sequence's timing relies on.
#ifndef GPSDR_JNI_SELECTSLEEP_H
#define GPSDR_JNI_SELECTSLEEP_H

#include <sys/select.h>

inline void SleepOneSecond()
{
    timeval tv{0, 1000000};
    select(0, nullptr, nullptr, nullptr, &tv);
}

#endif  // GPSDR_JNI_SELECTSLEEP_H
