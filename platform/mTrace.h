// Diagnostics: the Android log (INFO, tag "Varnex") and, once started, a file log.
#ifndef GPSDR_PLATFORM_MTRACE_H
#define GPSDR_PLATFORM_MTRACE_H

#include <atomic>

void mTraceW(const unsigned short* format, ...);
void mTraceA(const char* format, ...) __attribute__((format(printf, 1, 2)));
void mHexTrace(unsigned char* data, int len, unsigned int perLine);
void mException(unsigned short* what, const unsigned short* from, unsigned long line);

class mFLog {
public:
    mFLog();
    mFLog(char* dir, char* prefix);

    void SetDayLimit(int days);
    void Puts(const char* text);
    void Write(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteTitle(const char* format, ...) __attribute__((format(printf, 2, 3)));
    void WriteTitleLine(int width);
    void Dump(char* title, void* data, int size);

private:
    friend int mFLogStart(char* dir, char* prefix);

    int SetFile(char* dir, char* prefix);

    char m_szFile[260];
    unsigned short m_wszFile[260];  // the same path, for messages
    int m_nReady;                   // non-zero once the file was created
    int m_nDayLimit;                // stored only: old files are never pruned
};

int mFLogStart(char* dir, char* prefix);
// Ends the file log mFLogStart began and frees it, once traces on other threads have finished
// their appends to it.
void mFLogStop(void);
// The file log, null while there is none. Published whole: traces on any thread may find it at
// any moment.
extern std::atomic<mFLog*> g_pFileLog;

#endif
