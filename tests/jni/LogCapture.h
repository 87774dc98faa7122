// Collects host log lines for the lifetime of the object, for exact assertions from any thread.
#ifndef GPSDR_TESTS_JNI_LOGCAPTURE_H
#define GPSDR_TESTS_JNI_LOGCAPTURE_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "platform/mAndroidLog.h"

struct LogLine {
    int prio;
    std::string tag;
    std::string text;
    bool operator==(const LogLine& o) const { return prio == o.prio && tag == o.tag && text == o.text; }
};

class LogCapture {
public:
    LogCapture() { mHostLogSetSink(&LogCapture::Sink, this); }
    ~LogCapture() { mHostLogSetSink(nullptr, nullptr); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogLine> Tagged(const std::string& tag) const
    {
        std::lock_guard<std::mutex> hold(m_lock);
        std::vector<LogLine> out;
        for (const LogLine& l : m_lines)
            if (l.tag == tag) out.push_back(l);
        return out;
    }

    // Lines that begin with `text` (a whole line, end included, matches only itself).
    int Count(const std::string& text) const
    {
        std::lock_guard<std::mutex> hold(m_lock);
        return CountLocked(text);
    }

    // Waits until Count(text) reaches `times`; false at the deadline.
    bool WaitFor(const std::string& text, int times = 1,
                 std::chrono::milliseconds within = std::chrono::milliseconds(5000)) const
    {
        std::unique_lock<std::mutex> hold(m_lock);
        return m_changed.wait_for(hold, within, [&] { return CountLocked(text) >= times; });
    }

private:
    int CountLocked(const std::string& text) const
    {
        int n = 0;
        for (const LogLine& l : m_lines) n += l.text.compare(0, text.size(), text) == 0;
        return n;
    }

    static void Sink(int prio, const char* tag, const char* text, void* ctx)
    {
        auto* self = static_cast<LogCapture*>(ctx);
        std::lock_guard<std::mutex> hold(self->m_lock);
        self->m_lines.push_back({prio, tag, text});
        self->m_changed.notify_all();
    }

    mutable std::mutex m_lock;
    mutable std::condition_variable m_changed;
    std::vector<LogLine> m_lines;
};

#endif
