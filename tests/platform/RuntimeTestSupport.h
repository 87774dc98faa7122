// Helpers for the runtime tests: log capture, a scratch directory, file reading, deadlines.
#ifndef GPSDR_TESTS_PLATFORM_RUNTIMETESTSUPPORT_H
#define GPSDR_TESTS_PLATFORM_RUNTIMETESTSUPPORT_H

#include "platform/mAndroidLog.h"
#include "platform/mTrace.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace rt {

// Collects the texts of trace lines (INFO, "Varnex") while alive.
struct LogCapture {
    LogCapture() { mHostLogSetSink(&Sink, this); }
    ~LogCapture() { mHostLogSetSink(nullptr, nullptr); }
    static void Sink(int prio, const char* tag, const char* text, void* ctx)
    {
        EXPECT_EQ(prio, 4);
        EXPECT_STREQ(tag, "Varnex");
        static_cast<LogCapture*>(ctx)->texts.push_back(text);
    }
    std::vector<std::string> texts;
};

// No file log while alive, whatever earlier tests left installed.
struct NoFileLog {
    NoFileLog() : saved(g_pFileLog) { g_pFileLog = nullptr; }
    ~NoFileLog() { g_pFileLog = saved; }
    mFLog* saved;
};

struct TempDir {
    TempDir()
    {
        char name[] = "/tmp/gpsdr-rt-XXXXXX";
        path = mkdtemp(name) ? name : "";
        EXPECT_FALSE(path.empty());
    }
    ~TempDir() { std::filesystem::remove_all(path); }
    std::string path;
};

inline std::string ReadFile(const std::string& path)
{
    std::ostringstream all;
    all << std::ifstream(path, std::ios::binary).rdbuf();
    return all.str();
}

// The only file in dir (empty when there is not exactly one).
inline std::string OnlyFile(const std::string& dir)
{
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir)) names.push_back(e.path());
    return names.size() == 1 ? names[0] : std::string();
}

// The file log's text with each line prefix replaced by "<P>".
inline std::string LogText(const std::string& dir)
{
    static const std::regex prefix(R"(\d\d:\d\d:\d\d\.\d\d p:[ \d]{5,}> )");
    return std::regex_replace(ReadFile(OnlyFile(dir)), prefix, "<P>");
}

inline bool WaitFor(const std::function<bool()>& cond, int timeoutMs = 5000)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!cond()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace rt

#endif
