// Trace output: every diagnostic goes to the Android log and, once started, to the file log.
// Called from every thread without a lock, so each call works in its own stack buffers.
#include "platform/mTrace.h"

#include "platform/mAndroidLog.h"
#include "platform/mCharset.h"
#include "platform/mString16.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <new>
#include <thread>

std::atomic<mFLog*> g_pFileLog{nullptr};

namespace {

// Serialises starting and stopping the file log; a trace never takes it.
std::mutex g_fileLogStartStop;
// Traces inside an append to the file log. A trace counts itself in before it looks at the log
// and a stop takes the log away before it looks at the count (both sequentially consistent), so
// a stop never frees a log that a trace is about to append to.
std::atomic<int32_t> g_fileLogWriters{0};

const unsigned int kWideUnits = 8192;
const unsigned int kTextBytes = 2048;
const unsigned int kNarrowBytes = 4096;
// Units that fit into the text buffer whatever they are: EUC-KR takes at most two bytes each.
const unsigned int kSafeUnits = (kTextBytes - 1) / 2;

// Converts to EUC-KR, cut where the text stops fitting or reaches a character EUC-KR lacks.
void Narrow(const unsigned short* wide, unsigned char (&text)[kTextBytes])
{
    const unsigned int len = wcslen16(wide);
    const unsigned int bulk = len < kSafeUnits ? len : kSafeUnits;
    const int done = WideToEucKr(text, wide, static_cast<int>(bulk * 2));
    // Every unit takes at least one byte, so 0 from a non-empty run also means a failure.
    if (done < 0 || (done == 0 && bulk > 0)) {
        text[done < 0 ? -done : 0] = 0;
        return;
    }
    unsigned int used = static_cast<unsigned int>(done);
    for (unsigned int i = bulk; i < len; ++i) {
        unsigned char one[3];
        const int n = WideToEucKr(one, wide + i, 2);
        if (n <= 0 || used + static_cast<unsigned int>(n) >= kTextBytes) break;
        std::memcpy(text + used, one, static_cast<size_t>(n));
        used += static_cast<unsigned int>(n);
    }
    text[used] = 0;
}

// The system log has always received the text as its format, so a "%%" that survives the first
// formatting reaches it as one '%'. That second pass is kept, but done here: any other '%' would
// make the log read arguments that were never passed, so it goes out as it stands.
void SecondPass(const char* text, char (&out)[kNarrowBytes])
{
    unsigned int j = 0;
    for (unsigned int i = 0; text[i] != 0 && j + 1 < kNarrowBytes; ++i) {
        out[j++] = text[i];
        if (text[i] == '%' && text[i + 1] == '%') ++i;
    }
    out[j] = 0;
}

void Emit(const char* text)
{
    char logText[kNarrowBytes];
    SecondPass(text, logText);
    __android_log_print(ANDROID_LOG_INFO, "Varnex", "%s", logText);
    if (!g_pFileLog.load(std::memory_order_relaxed)) return;  // no file log: no further cost
    g_fileLogWriters.fetch_add(1);
    if (mFLog* log = g_pFileLog.load()) log->Puts(text);
    g_fileLogWriters.fetch_sub(1);
}

}  // namespace

void mTraceW(const unsigned short* format, ...)
{
    if (!format) return;
    unsigned short wide[kWideUnits];
    va_list ap;
    va_start(ap, format);
    vswprintf16(wide, kWideUnits, format, ap);
    va_end(ap);
    unsigned char text[kTextBytes];
    Narrow(wide, text);
    Emit(reinterpret_cast<const char*>(text));
}

void mTraceA(const char* format, ...)
{
    if (!format) return;
    char text[kNarrowBytes];
    va_list ap;
    va_start(ap, format);
    if (std::vsnprintf(text, sizeof text, format, ap) < 0) text[0] = 0;
    va_end(ap);
    Emit(text);
}

void mHexTrace(unsigned char* data, int len, unsigned int perLine)
{
    if (!data) return;
    unsigned int column = 0;
    for (int i = 0; i < len; ++i) {
        if (column == 0) mTraceW(W16("%04X -"), i);
        mTraceW(W16(" %02X"), data[i]);
        if (++column == perLine) {
            mTraceW(W16("\n"));
            column = 0;
        }
    }
    if (column != 0) mTraceW(W16("\n"));
}

void mException(unsigned short* what, const unsigned short* from, unsigned long line)
{
    mTraceW(W16("[### Exception Occurs] %s, [From] %s, [Line] %d\n"), what, from,
            static_cast<int>(static_cast<uint32_t>(line)));
}

int mFLogStart(char* dir, char* prefix)
{
    std::lock_guard<std::mutex> hold(g_fileLogStartStop);
    if (g_pFileLog.load()) return 1;
    mFLog* log = new (std::nothrow) mFLog(dir, prefix);
    if (!log) return 0;
    if (!log->m_nReady) {
        delete log;
        return 0;
    }
    g_pFileLog.store(log);
    return 1;
}

void mFLogStop(void)
{
    std::lock_guard<std::mutex> hold(g_fileLogStartStop);
    mFLog* log = g_pFileLog.exchange(nullptr);
    while (g_fileLogWriters.load() != 0) std::this_thread::yield();
    delete log;
}
