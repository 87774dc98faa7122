// Host stand-in for the Android log: formats like liblog (at most 1023 characters of text) and
// hands the line to the installed sink, or writes it to standard error.
#include "platform/mAndroidLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace {

std::mutex g_sinkLock;
mHostLogSink g_sink = nullptr;
void* g_sinkCtx = nullptr;

void WriteStderr(int prio, const char* tag, const char* text)
{
    size_t len = std::strlen(text);
    const char* eol = (len > 0 && text[len - 1] == '\n') ? "" : "\n";
    std::fprintf(stderr, "%d/%s: %s%s", prio, tag ? tag : "", text, eol);
}

}  // namespace

void mHostLogSetSink(mHostLogSink sink, void* ctx)
{
    std::lock_guard<std::mutex> hold(g_sinkLock);
    g_sink = sink;
    g_sinkCtx = ctx;
}

extern "C" int __android_log_print(int prio, const char* tag, const char* fmt, ...)
{
    if (!fmt) return 0;
    char text[1024];
    va_list ap;
    va_start(ap, fmt);
    int n = std::vsnprintf(text, sizeof text, fmt, ap);
    va_end(ap);
    if (n < 0) text[0] = '\0';

    // Lines from many threads reach one sink; serialising them keeps each line whole.
    std::lock_guard<std::mutex> hold(g_sinkLock);
    if (g_sink)
        g_sink(prio, tag ? tag : "", text, g_sinkCtx);
    else
        WriteStderr(prio, tag, text);
    return n < 0 ? 0 : n;
}
