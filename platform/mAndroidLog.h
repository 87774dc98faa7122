// The Android system log. On Android this is <android/log.h>; on a host the library links a
// stand-in (platform/host/) whose destination tests and tools can replace.
#ifndef GPSDR_PLATFORM_MANDROIDLOG_H
#define GPSDR_PLATFORM_MANDROIDLOG_H

#ifdef __ANDROID__
#include <android/log.h>
#else

enum {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
};

extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

// Where host log lines go. `text` is the final text after formatting. A null sink restores the
// default destination, standard error, as "<P>/<tag>: <text>" lines.
typedef void (*mHostLogSink)(int prio, const char* tag, const char* text, void* ctx);
void mHostLogSetSink(mHostLogSink sink, void* ctx);

#endif
#endif
