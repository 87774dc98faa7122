// Scratch directories, file-log reading and a thread routine for the platform tests.
#ifndef GPSDR_TESTS_PLATFORM_RUNTIMETESTSUPPORT_H
#define GPSDR_TESTS_PLATFORM_RUNTIMETESTSUPPORT_H

#include "platform/mTrace.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <regex>
#include <sstream>
#include <string>

namespace rt {

// Thread routine for the library's thread creators: runs the Body it is given.
using Body = std::function<void()>;
inline void* RunBody(void* body)
{
    (*static_cast<Body*>(body))();
    return nullptr;
}
inline void* const kRunBody = reinterpret_cast<void*>(&RunBody);

// No file log while alive, whatever earlier tests left installed.
struct NoFileLog {
    NoFileLog() : saved(g_pFileLog.exchange(nullptr)) {}
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

// The text of the files in dir (the tests make one); unless raw, line prefixes show as "<P>".
inline std::string LogText(const std::string& dir, bool raw = false)
{
    static const std::regex prefix(R"(\d\d:\d\d:\d\d\.\d\d p:[ \d]{5,}> )");
    std::ostringstream all;
    for (const auto& file : std::filesystem::directory_iterator(dir)) all << std::ifstream(file.path()).rdbuf();
    return raw ? all.str() : std::regex_replace(all.str(), prefix, "<P>");
}

}  // namespace rt

#endif
