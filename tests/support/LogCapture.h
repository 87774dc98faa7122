// Collects host log lines while alive, for exact assertions from any thread.
#ifndef GPSDR_TESTS_SUPPORT_LOGCAPTURE_H
#define GPSDR_TESTS_SUPPORT_LOGCAPTURE_H

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "platform/mAndroidLog.h"

namespace testsupport {

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

    // Every line so far, in order.
    std::vector<LogLine> All() const
    {
        std::lock_guard<std::mutex> hold(m_lock);
        return m_lines;
    }

    // The texts of the lines with this tag ("Varnex": the library's traces).
    std::vector<std::string> Texts(const std::string& tag = "Varnex") const
    {
        std::lock_guard<std::mutex> hold(m_lock);
        std::vector<std::string> out;
        for (const LogLine& l : m_lines)
            if (l.tag == tag) out.push_back(l.text);
        return out;
    }

    // Texts(tag), then forgets every line.
    std::vector<std::string> Take(const std::string& tag = "Varnex")
    {
        std::vector<std::string> out = Texts(tag);
        Clear();
        return out;
    }

    void Clear()
    {
        std::lock_guard<std::mutex> hold(m_lock);
        m_lines.clear();
    }

    // Lines whose text begins with `text` (a whole line, end included, matches only itself).
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

}  // namespace testsupport

#endif
