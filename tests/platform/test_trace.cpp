#include "platform/mString16.h"
#include "platform/mThread.h"
#include "platform/mTrace.h"

#include "tests/platform/RuntimeTestSupport.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WaitUntil.h"

#include <sys/time.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <ctime>
#include <iomanip>
#include <set>
#include <thread>

namespace {

using testsupport::LogLine;
using Lines = std::vector<std::string>;

TEST(Trace, EveryKindOfTraceReachesTheSystemLogExactly)
{
    rt::NoFileLog noFile;
    testsupport::LogCapture log;
    unsigned short what[] = {'b', 'o', 'o', 'm', 0};
    mTraceW(W16("[MM-Err][CMM::Initialize] %s %d\n"), W16("UpdateThread"), -7);
    mTraceW(W16("%s\n"), W16("\uAC00\uB098"));
    mTraceA("{mThreadCreate} FileName %s, Fuction %s, line %d \n", "module/MM/MM", "Init", 12);
    mException(what, W16("MM.cpp"), 77);
    mTraceW(W16("load 50%%%%\n"));  // formatted once more by the system log
    mTraceW(W16("[HardwareReport] %s\n"), W16("Z%s%d%n"));  // a module name is no format
    mTraceA("%s", std::string(3000, 'x').c_str());  // the system log keeps 1023 characters, like liblog
    std::vector<LogLine> want;
    for (const std::string text : {"[MM-Err][CMM::Initialize] UpdateThread -7\n", "\xB0\xA1\xB3\xAA\n",
                                   "{mThreadCreate} FileName module/MM/MM, Fuction Init, line 12 \n",
                                   "[### Exception Occurs] boom, [From] MM.cpp, [Line] 77\n", "load 50%\n",
                                   "[HardwareReport] Z%s%d%n\n"})
        want.push_back({4, "Varnex", text});
    want.push_back({4, "Varnex", std::string(1023, 'x')});
    EXPECT_EQ(log.All(), want);

    log.Clear();
    unsigned char data[20];
    for (int i = 0; i < 20; ++i) data[i] = static_cast<unsigned char>(0xA0 + i);
    mHexTrace(data, 20, 16);
    mHexTrace(data, 16, 8);
    mHexTrace(data, 0, 8);
    std::string pieces;  // every piece of a listing is an entry of its own
    for (const std::string& piece : log.Texts()) pieces += piece + "|";
    EXPECT_EQ(pieces,
              "0000 -| A0| A1| A2| A3| A4| A5| A6| A7| A8| A9| AA| AB| AC| AD| AE| AF|\n|"
              "0010 -| B0| B1| B2| B3|\n|"
              "0000 -| A0| A1| A2| A3| A4| A5| A6| A7|\n|0008 -| A8| A9| AA| AB| AC| AD| AE| AF|\n|");
}

// A file log in a scratch directory, installed as the global one while alive.
struct ScopedFileLog {
    ScopedFileLog() : log(&dir.path[0], prefix), saved(g_pFileLog.exchange(&log)) {}
    ~ScopedFileLog() { g_pFileLog = saved; }
    rt::TempDir dir;
    char prefix[6] = "trace";
    mFLog log;
    mFLog* saved;
};

// Runs of units, terminated.
std::vector<unsigned short> Runs(std::initializer_list<std::pair<unsigned short, size_t>> runs)
{
    std::vector<unsigned short> s;
    for (const auto& r : runs) s.insert(s.end(), r.second, r.first);
    s.push_back(0);
    return s;
}

TEST(Trace, FileLogGetsTheTextCutToItsBuffer)
{
    ScopedFileLog file;
    const unsigned short ga = 0xAC00, thai = 0x0E01;  // thai has no EUC-KR code
    std::string gas;
    for (int i = 0; i < 1023; ++i) gas += "\xB0\xA1";
    const struct {
        std::vector<unsigned short> text;
        std::string expected;
    } cases[] = {
        {Runs({{'A', 5000}}), std::string(2047, 'A')},
        {Runs({{ga, 3000}}), gas},
        {Runs({{'a', 2}, {thai, 1}, {'c', 1}}), "aa"},
        {Runs({{'A', 1500}, {thai, 1}, {'B', 1}}), std::string(1500, 'A')},
        {Runs({{'A', 1500}, {ga, 273}, {'Z', 2}}), std::string(1500, 'A') + gas.substr(0, 546) + "Z"},
    };
    std::string expected;
    for (const auto& c : cases) {
        mTraceW(W16("%s"), c.text.data());
        expected += "<P>" + c.expected;
    }
    mTraceA("%s", std::string(5000, 'x').c_str());
    mTraceW(W16("load 50%%%%\n"));
    expected += "<P>" + std::string(4095, 'x') + "<P>load 50%%\n";
    EXPECT_EQ(rt::LogText(file.dir.path), expected);
}

TEST(Trace, ManyThreadsTraceAtOnceWhileTheFileLogStartsAndStops)
{
    rt::NoFileLog noFile;
    rt::TempDir dir;
    char prefix[] = "trace";
    testsupport::LogCapture log;
    std::atomic<int> started{0}, finished{0};
    std::atomic<bool> go{false};
    rt::Body trace = [&] {
        const int id = started++;
        while (!go) std::this_thread::yield();
        for (int i = 0; i < 100; ++i) mTraceW(W16("thread %d line %d\n"), id, i);
        ++finished;
    };
    std::multiset<std::string> want, inFile;
    for (int id = 0; id < 8; ++id) {
        ASSERT_NE(mThreadCreate(rt::kRunBody, &trace), 0u);
        for (int i = 0; i < 100; ++i)
            want.insert("thread " + std::to_string(id) + " line " + std::to_string(i) + "\n");
    }
    go = true;
    for (int round = 0; round < 200 && finished.load() < 8; ++round) {
        EXPECT_EQ(mFLogStart(&dir.path[0], prefix), 1);
        mFLogStop();
    }
    ASSERT_TRUE(testsupport::WaitUntil([&] { return finished.load() == 8; }, 30000));
    std::vector<std::string> texts = log.Texts();
    const auto isStart = [](const std::string& t) { return t.rfind("{mFLog} LogFile = ", 0) == 0; };
    texts.erase(std::remove_if(texts.begin(), texts.end(), isStart), texts.end());
    EXPECT_EQ(std::multiset<std::string>(texts.begin(), texts.end()), want);
    // The files hold lines of the system log, each whole.
    std::istringstream text(rt::LogText(dir.path));
    for (std::string line; std::getline(text, line);) inFile.insert(line.substr(3) + "\n");
    EXPECT_TRUE(std::includes(want.begin(), want.end(), inFile.begin(), inFile.end()));
}

// Local time as log file names show it.
std::string LocalMinute()
{
    const time_t now = time(nullptr);
    std::ostringstream out;
    out << std::put_time(std::localtime(&now), "%Y%m%d_%H%M");
    return out.str();
}

TEST(FLog, FailuresAreReportedOnceAndTheLogStartsOnceWithACountedName)
{
    rt::NoFileLog noFile;
    rt::TempDir tmp;
    std::ofstream(tmp.path + "/plain") << "x";
    const std::string longDir = tmp.path + "/" + std::string(250, 'd');
    std::filesystem::create_directory(longDir);
    const struct {
        std::string dir, prefix, line;
    } cases[] = {
        {"", "gps", "{mFLog} Folder Name is NULL \n"},
        {tmp.path + "/plain/sub", "gps", "{mFLog} Folder Make Fail![" + tmp.path + "/plain/sub]\n"},
        {tmp.path, "none/gps", "{mFLog} fopen Fail! = " + tmp.path + "/none/gps_<time>_000.txt \n"},
        // A name too long for the path buffer is refused rather than cut.
        {longDir, "gps", "{mFLog} fopen Fail! = " + longDir.substr(0, 259) + " \n"},
    };
    for (auto c : cases) {
        testsupport::LogCapture log;
        EXPECT_EQ(mFLogStart(&c.dir[0], &c.prefix[0]), 0);
        EXPECT_EQ(g_pFileLog.load(), nullptr);
        const Lines got = log.Texts();  // the time in a name is checked below
        EXPECT_EQ(got.size() == 1 ? std::regex_replace(got[0], std::regex(R"(_\d{8}_\d{4}_)"), "_<time>_") : "",
                  c.line);
    }

    // Missing folders are made; a second start keeps the first log; names count up within a minute.
    std::string dir = tmp.path + "/logs/today";
    char first[] = "gps", second[] = "second";
    testsupport::LogCapture log;
    EXPECT_EQ(mFLogStart(nullptr, first), 0);
    const std::string minute = LocalMinute();
    ASSERT_EQ(mFLogStart(&dir[0], first), 1);
    mFLog* started = g_pFileLog;
    EXPECT_EQ(mFLogStart(&dir[0], second), 1);
    EXPECT_EQ(g_pFileLog.load(), started);
    mFLog another(&dir[0], first), unset;
    const bool sameMinute = std::filesystem::exists(dir + "/gps_" + minute + "_000.txt");
    const std::string base = dir + "/gps_" + (sameMinute ? minute : LocalMinute());
    EXPECT_EQ(log.Take(),
              (Lines{"{mFLog} LogFile = " + base + "_000.txt \n", "{mFLog} LogFile = " + base + "_001.txt \n"}));

    // The report of a failed append is a trace, which appends again: it must not go round.
    std::filesystem::remove_all(tmp.path + "/logs");
    g_pFileLog = nullptr;
    unset.Puts("a");
    unset.Write("b");
    g_pFileLog = &another;
    mTraceW(W16("lost\n"));
    g_pFileLog = nullptr;
    EXPECT_EQ(log.Texts(), (Lines{"{mFLog} puts fopen Fail![]\n", "{mFLog} fopen Fail![]\n", "lost\n",
                                  "{mFLog} puts fopen Fail![" + base + "_001.txt]\n"}));
    delete started;
}

TEST(FLog, LinePrefixKeepsItsFixedZone)
{
    rt::TempDir tmp;
    char prefix[] = "zone";
    mFLog log(&tmp.path[0], prefix);
    const std::string savedTz = getenv("TZ") ? getenv("TZ") : "";
    setenv("TZ", "XST+5", 1);  // far from +9, so that local time would show
    tzset();
    // The prefix of an append made at `at`: nine hours ahead of UTC.
    const auto prefixAt = [](const timeval& at) {
        const time_t shifted = at.tv_sec + 9 * 3600;
        char text[40];
        const size_t n = strftime(text, sizeof text, "%H:%M:%S", gmtime(&shifted));
        snprintf(text + n, sizeof text - n, ".%02d p:%5d> x", int(at.tv_usec / 10000), int(getpid()));
        return std::string(text);
    };
    timeval before{}, after{1, 0};
    for (int attempt = 0; attempt < 50 && prefixAt(before) != prefixAt(after); ++attempt) {
        gettimeofday(&before, nullptr);
        log.Puts("x");
        gettimeofday(&after, nullptr);  // else the clock turned meanwhile: again
    }
    const std::string text = rt::LogText(tmp.path, true), expected = prefixAt(before);
    EXPECT_EQ(text.substr(text.size() - std::min(text.size(), expected.size())), expected);  // the last append
    savedTz.empty() ? unsetenv("TZ") : setenv("TZ", savedTz.c_str(), 1);
    tzset();
}

TEST(FLog, TitlesAndDumpsAreWrittenByteForByte)
{
    rt::TempDir tmp;
    char prefix[] = "dump", title[] = "T", empty[] = "E";
    mFLog log(&tmp.path[0], prefix);
    log.Puts("plain\n");
    log.Write("%d-%s|", 7, "x");
    log.WriteTitle("Hi %d", 5);
    log.WriteTitleLine(150);
    unsigned char data[] = "Hello, GPS!\x00\x1F\x7E\x7F\x80\xFF\x20\x41\x0A";
    log.Dump(title, data, 20);
    log.Dump(empty, data, 0);
    const std::string equals = "<P>" + std::string(66, '=') + "\n";
    const std::string dashes = "<P>" + std::string(66, '-') + "\n";
    EXPECT_EQ(rt::LogText(tmp.path),
              "<P>plain\n<P>7-x|<P>+------+<P>| Hi 5 |<P>+------+<P>+" + std::string(100, '-') + "+" + equals +
                  "<P> Title : [T]   Size : [20]" + dashes +
                  "<P>48 65 6C 6C 6F 2C 20 47 50 53 21 00 1F 7E 7F 80 | Hello, GPS!..~.." + "<P>FF 20 41 0A " +
                  std::string(36, ' ') + "| . A." + equals + equals + "<P> Title : [E]   Size : [0]" + dashes +
                  equals);
}

}  // namespace
