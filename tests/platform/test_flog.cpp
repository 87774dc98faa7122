#include "platform/mString16.h"
#include "platform/mTrace.h"

#include "tests/platform/RuntimeTestSupport.h"

#include <sys/time.h>
#include <unistd.h>

#include <ctime>

namespace {

std::string LocalMinute()
{
    const time_t now = time(nullptr);
    tm local;
    localtime_r(&now, &local);
    char text[32];
    strftime(text, sizeof text, "%Y%m%d_%H%M", &local);
    return text;
}

TEST(FLog, NamesCountUpWithinAMinuteAndMissingFoldersAreMade)
{
    rt::TempDir tmp;
    std::string dir = tmp.path + "/logs/today";
    char prefix[] = "gps";
    for (int attempt = 0; attempt < 3; ++attempt) {
        std::filesystem::remove_all(tmp.path + "/logs");
        const std::string minute = LocalMinute();
        rt::LogCapture log;
        mFLog first(&dir[0], prefix), second(&dir[0], prefix);
        if (LocalMinute() != minute) continue;
        const std::string base = dir + "/gps_" + minute;
        EXPECT_EQ(log.texts, (std::vector<std::string>{"{mFLog} LogFile = " + base + "_000.txt \n",
                                                       "{mFLog} LogFile = " + base + "_001.txt \n"}));
        EXPECT_TRUE(std::filesystem::exists(base + "_001.txt"));
        return;
    }
    FAIL() << "the minute kept changing";
}

TEST(FLog, StartFailsWithATraceAndSecondStartKeepsTheFirstLog)
{
    rt::NoFileLog noFile;
    rt::TempDir tmp;
    std::ofstream(tmp.path + "/plain") << "x";
    const std::string longDir = tmp.path + "/" + std::string(250, 'd');
    std::filesystem::create_directory(longDir);
    const struct {
        std::string dir, prefix, lineStart, lineEnd;
    } cases[] = {
        {"", "gps", "{mFLog} Folder Name is NULL \n", ""},
        {tmp.path + "/plain/sub", "gps", "{mFLog} Folder Make Fail![" + tmp.path + "/plain/sub]\n", ""},
        {tmp.path, "none/gps", "{mFLog} fopen Fail! = " + tmp.path + "/none/gps_", "_000.txt \n"},
        // A name too long for the path buffer is refused rather than cut.
        {longDir, "gps", "{mFLog} fopen Fail! = " + longDir.substr(0, 259) + " \n", ""},
    };
    for (auto c : cases) {
        rt::LogCapture log;
        EXPECT_EQ(mFLogStart(&c.dir[0], &c.prefix[0]), 0);
        EXPECT_EQ(g_pFileLog, nullptr);
        ASSERT_EQ(log.texts.size(), 1u);
        EXPECT_EQ(log.texts[0].rfind(c.lineStart, 0), 0u) << log.texts[0];
        EXPECT_EQ(log.texts[0].substr(log.texts[0].size() - c.lineEnd.size()), c.lineEnd);
    }
    char first[] = "first", second[] = "second";
    EXPECT_EQ(mFLogStart(nullptr, first), 0);
    ASSERT_EQ(mFLogStart(&tmp.path[0], first), 1);
    mFLog* started = g_pFileLog;
    EXPECT_EQ(mFLogStart(&tmp.path[0], second), 1);
    EXPECT_EQ(g_pFileLog, started);
    std::filesystem::remove_all(longDir);
    std::filesystem::remove(tmp.path + "/plain");
    EXPECT_EQ(rt::OnlyFile(tmp.path).rfind(tmp.path + "/first_", 0), 0u);
    delete started;
}

// The prefix of an append made at `at`: nine hours ahead of UTC.
std::string ExpectedPrefix(const timeval& at)
{
    const time_t shifted = at.tv_sec + 9 * 3600;
    tm t;
    gmtime_r(&shifted, &t);
    char text[40];
    snprintf(text, sizeof text, "%02d:%02d:%02d.%02d p:%5d> ", t.tm_hour, t.tm_min, t.tm_sec,
             static_cast<int>(at.tv_usec / 10000), static_cast<int>(getpid()));
    return text;
}

TEST(FLog, LinePrefixKeepsItsFixedZone)
{
    rt::TempDir tmp;
    char prefix[] = "zone";
    mFLog log(&tmp.path[0], prefix);
    const std::string savedTz = getenv("TZ") ? getenv("TZ") : "";
    setenv("TZ", "XST+5", 1);  // far from +9, so that local time would show
    tzset();
    bool compared = false;
    for (int attempt = 0; attempt < 50 && !compared; ++attempt) {
        timeval before, after;
        gettimeofday(&before, nullptr);
        log.Puts("x");
        gettimeofday(&after, nullptr);
        if (ExpectedPrefix(before) != ExpectedPrefix(after)) continue;
        const std::string text = rt::ReadFile(rt::OnlyFile(tmp.path));
        const std::string expected = ExpectedPrefix(before) + "x";
        EXPECT_EQ(text.substr(text.size() - expected.size()), expected);
        compared = true;
    }
    EXPECT_TRUE(compared);
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
              "<P>plain\n<P>7-x|<P>+------+<P>| Hi 5 |<P>+------+<P>+" + std::string(100, '-') +
                  "+" + equals + "<P> Title : [T]   Size : [20]" + dashes +
                  "<P>48 65 6C 6C 6F 2C 20 47 50 53 21 00 1F 7E 7F 80 | Hello, GPS!..~.." +
                  "<P>FF 20 41 0A " + std::string(36, ' ') + "| . A." + equals + equals +
                  "<P> Title : [E]   Size : [0]" + dashes + equals);
}

TEST(FLog, FailedAppendsAreReportedOnce)
{
    rt::NoFileLog noFile;
    rt::TempDir tmp;
    char prefix[] = "gone";
    mFLog unset, gone(&tmp.path[0], prefix);
    const std::string path = rt::OnlyFile(tmp.path);
    std::filesystem::remove_all(tmp.path);
    rt::LogCapture log;
    unset.Puts("a");
    unset.Write("b");
    // The report of a failed append is a trace, which appends again: it must not go round.
    g_pFileLog = &gone;
    mTraceW(W16("lost\n"));
    g_pFileLog = nullptr;
    EXPECT_EQ(log.texts, (std::vector<std::string>{"{mFLog} puts fopen Fail![]\n",
                                                   "{mFLog} fopen Fail![]\n", "lost\n",
                                                   "{mFLog} puts fopen Fail![" + path + "]\n"}));
}

}  // namespace
