// The file log: one text file per start, appended to by every trace. Each append opens and
// closes the file, so no handle is shared between threads and a crash loses nothing written.
#include "platform/mTrace.h"

#include "platform/mCharset.h"
#include "platform/mString16.h"

#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

const int kRuleWidth = 66;
const int kBytesPerRow = 16;

bool IsDirectory(const char* path)
{
    struct stat st;
    return stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

// Creates every missing level of path.
void MakeDirectories(const char* path)
{
    char partial[4096];
    const size_t len = std::strlen(path);
    if (len >= sizeof partial) return;
    std::memcpy(partial, path, len + 1);
    for (size_t i = 1; i < len; ++i) {
        if (partial[i] != '/') continue;
        partial[i] = 0;
        mkdir(partial, 0777);
        partial[i] = '/';
    }
    mkdir(partial, 0777);
}

int CreateFile(const char* dir, const char* path, const unsigned short* path16)
{
    unsigned short dir16[260];
    // The name is only shown in a message; a long one is cut.
    UtilMbcsToWide3(reinterpret_cast<const unsigned char*>(dir),
                    static_cast<int>(std::strlen(dir)), dir16, 259);
    dir16[259] = 0;
    if (!IsDirectory(dir)) {
        if (dir[0] == 0) {
            mTraceW(W16("{mFLog} Folder Name is NULL \n"));
            return 0;
        }
        MakeDirectories(dir);
        if (!IsDirectory(dir)) {
            mTraceW(W16("{mFLog} Folder Make Fail![%s]\n"), dir16);
            return 0;
        }
    }
    FILE* file = std::fopen(path, "wb");
    if (!file) {
        mTraceW(W16("{mFLog} fopen Fail! = %s \n"), path16);
        return 0;
    }
    std::fclose(file);
    mTraceW(W16("{mFLog} LogFile = %s \n"), path16);
    return 1;
}

// "HH:MM:SS.hh p:pid> ". The clock is UTC+9 whatever the device's zone (file names use the
// local zone): logs from the field are read against that fixed clock.
void FormatLogTime(char (&out)[32])
{
    timeval now;
    gettimeofday(&now, nullptr);
    const int64_t secs = now.tv_sec;
    std::snprintf(out, sizeof out, "%02d:%02d:%02d.%02d p:%5d> ",
                  static_cast<int>((secs / 3600 + 9) % 24), static_cast<int>(secs / 60 % 60),
                  static_cast<int>(secs % 60), static_cast<int>(now.tv_usec / 10000),
                  static_cast<int>(getpid()));
}

thread_local bool t_reportingFailure = false;

// A failure report is a trace, and traces append to this same file log; when the file cannot
// be opened that append fails as well and must not report again.
void ReportFailure(const unsigned short* message, const unsigned short* path16)
{
    if (t_reportingFailure) return;
    t_reportingFailure = true;
    mTraceW(message, path16);
    t_reportingFailure = false;
}

void AppendV(const char* path, const unsigned short* path16, const unsigned short* failure,
             const char* format, va_list ap)
{
    FILE* file = std::fopen(path, "ab");
    if (!file) {
        ReportFailure(failure, path16);
        return;
    }
    char prefix[32];
    FormatLogTime(prefix);
    std::fwrite(prefix, 1, std::strlen(prefix), file);
    std::vfprintf(file, format, ap);
    std::fflush(file);
    std::fclose(file);
}

void Append(const char* path, const unsigned short* path16, const unsigned short* failure,
            const char* format, ...) __attribute__((format(printf, 4, 5)));

void Append(const char* path, const unsigned short* path16, const unsigned short* failure,
            const char* format, ...)
{
    va_list ap;
    va_start(ap, format);
    AppendV(path, path16, failure, format, ap);
    va_end(ap);
}

// A full-width line of c, with a line end.
void PutsRule(mFLog& log, char c)
{
    char rule[kRuleWidth + 2];
    std::memset(rule, c, kRuleWidth);
    rule[kRuleWidth] = '\n';
    rule[kRuleWidth + 1] = 0;
    log.Puts(rule);
}

// One dump row: hex column padded to 16 places, then the printable bytes.
void FormatRow(const unsigned char* bytes, int count, char (&row)[kBytesPerRow * 4 + 3])
{
    char* out = row;
    for (int i = 0; i < kBytesPerRow; ++i) {
        if (i < count)
            std::snprintf(out, 4, "%02X ", bytes[i]);
        else
            std::memcpy(out, "   ", 4);
        out += 3;
    }
    *out++ = '|';
    *out++ = ' ';
    for (int i = 0; i < count; ++i)
        *out++ = (bytes[i] >= 0x20 && bytes[i] <= 0x7E) ? static_cast<char>(bytes[i]) : '.';
    *out = 0;
}

}  // namespace

mFLog::mFLog() : m_szFile(), m_wszFile(), m_nReady(0), m_nDayLimit(0) {}

mFLog::mFLog(char* dir, char* prefix) : m_szFile(), m_wszFile(), m_nReady(0), m_nDayLimit(0)
{
    m_nReady = SetFile(dir, prefix);
}

int mFLog::SetFile(char* dir, char* prefix)
{
    if (!dir || !prefix) return 0;
    timeval now{};
    const bool clockRead = gettimeofday(&now, nullptr) == 0;
    const time_t secs = now.tv_sec;
    tm local{};
    if (!clockRead || !localtime_r(&secs, &local)) {
        mTraceW(W16("{mFLog} gettimeofday fail! \n"));
        return 0;
    }
    bool fits = true;
    for (int n = 0;; ++n) {
        const int len = std::snprintf(m_szFile, sizeof m_szFile,
                                      "%s/%s_%04d%02d%02d_%02d%02d_%03d.txt", dir, prefix,
                                      local.tm_year + 1900, local.tm_mon + 1, local.tm_mday,
                                      local.tm_hour, local.tm_min, n);
        // A cut name would lose its sequence number and never become free.
        fits = len >= 0 && static_cast<size_t>(len) < sizeof m_szFile;
        if (!fits || access(m_szFile, F_OK) != 0) break;
    }
    UtilMbcsToWide(reinterpret_cast<const unsigned char*>(m_szFile), m_wszFile);
    if (!fits) m_szFile[0] = 0;  // never open a cut name, now or on a later append
    return CreateFile(dir, m_szFile, m_wszFile);
}

void mFLog::SetDayLimit(int days)
{
    m_nDayLimit = days;
}

void mFLog::Puts(const char* text)
{
    Append(m_szFile, m_wszFile, W16("{mFLog} puts fopen Fail![%s]\n"), "%s", text);
}

void mFLog::Write(const char* format, ...)
{
    va_list ap;
    va_start(ap, format);
    AppendV(m_szFile, m_wszFile, W16("{mFLog} fopen Fail![%s]\n"), format, ap);
    va_end(ap);
}

void mFLog::WriteTitle(const char* format, ...)
{
    char text[1024];
    va_list ap;
    va_start(ap, format);
    if (std::vsnprintf(text, sizeof text, format, ap) < 0) text[0] = 0;
    va_end(ap);
    const int width = static_cast<int>(std::strlen(text)) + 2;
    WriteTitleLine(width);
    Write("| %s |", text);
    WriteTitleLine(width);
}

void mFLog::WriteTitleLine(int width)
{
    static const char kDashes[] =
        "----------------------------------------------------------------------------------------------------";
    const int dashes = width < 100 ? width : 100;
    Write("+%*.*s+", dashes, dashes, kDashes);
}

void mFLog::Dump(char* title, void* data, int size)
{
    PutsRule(*this, '=');
    Write(" Title : [%s]   Size : [%d]", title ? title : "(null)", size);
    PutsRule(*this, '-');
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    for (int at = 0; bytes && at < size; at += kBytesPerRow) {
        char row[kBytesPerRow * 4 + 3];
        FormatRow(bytes + at, size - at < kBytesPerRow ? size - at : kBytesPerRow, row);
        Puts(row);
    }
    PutsRule(*this, '=');
}
