#include "platform/mString16.h"
#include "platform/mThread.h"
#include "platform/mTrace.h"

#include "tests/platform/RuntimeTestSupport.h"

#include <atomic>
#include <set>

namespace {

// A file log in a scratch directory, installed as the global one while alive.
struct ScopedFileLog {
    ScopedFileLog() : log(&dir.path[0], prefix), saved(g_pFileLog) { g_pFileLog = &log; }
    ~ScopedFileLog() { g_pFileLog = saved; }
    rt::TempDir dir;
    char prefix[6] = "trace";
    mFLog log;
    mFLog* saved;
};

TEST(Trace, LinesReachTheSystemLogOnlyWhileNoFileLogRuns)
{
    rt::NoFileLog noFile;
    rt::LogCapture log;
    unsigned short what[] = {'b', 'o', 'o', 'm', 0};
    mTraceW(W16("[MM-Err][CMM::Initialize] %s %d\n"), W16("UpdateThread"), -7);
    mTraceW(W16("%s\n"), W16("\uAC00\uB098"));
    mTraceA("{mThreadCreate} FileName %s, Fuction %s, line %d \n", "module/MM/MM", "Init", 12);
    mException(what, W16("MM.cpp"), 77);
    mTraceW(W16("load 50%%%%\n"));  // formatted once more by the system log
    unsigned char data[20];
    for (int i = 0; i < 20; ++i) data[i] = static_cast<unsigned char>(0xA0 + i);
    mHexTrace(data, 20, 16);
    mHexTrace(data, 16, 8);
    mHexTrace(data, 0, 8);
    const std::vector<std::string> lines(log.texts.begin(), log.texts.begin() + 5);
    EXPECT_EQ(lines, (std::vector<std::string>{
                         "[MM-Err][CMM::Initialize] UpdateThread -7\n",
                         "\xB0\xA1\xB3\xAA\n",
                         "{mThreadCreate} FileName module/MM/MM, Fuction Init, line 12 \n",
                         "[### Exception Occurs] boom, [From] MM.cpp, [Line] 77\n",
                         "load 50%\n",
                     }));
    // Every piece of a hex listing is an entry of its own.
    ASSERT_EQ(log.texts.size(), 5u + 24 + 20);
    EXPECT_EQ(log.texts[5], "0000 -");
    EXPECT_EQ(log.texts[6], " A0");
    std::string hex;
    for (size_t i = 5; i < log.texts.size(); ++i) hex += log.texts[i];
    EXPECT_EQ(hex,
              "0000 - A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF\n0010 - B0 B1 B2 B3\n"
              "0000 - A0 A1 A2 A3 A4 A5 A6 A7\n0008 - A8 A9 AA AB AC AD AE AF\n");
}

std::vector<unsigned short> Units(std::initializer_list<std::pair<unsigned short, size_t>> runs)
{
    std::vector<unsigned short> s;
    for (const auto& r : runs) s.insert(s.end(), r.second, r.first);
    s.push_back(0);
    return s;
}

std::string Times(const std::string& s, size_t n)
{
    std::string out;
    while (n--) out += s;
    return out;
}

TEST(Trace, FileLogGetsTheTextCutToItsBuffer)
{
    ScopedFileLog file;
    const unsigned short ga = 0xAC00, thai = 0x0E01;  // thai has no EUC-KR code
    const struct {
        std::vector<unsigned short> text;
        std::string expected;
    } cases[] = {
        {Units({{'A', 5000}}), std::string(2047, 'A')},
        {Units({{ga, 3000}}), Times("\xB0\xA1", 1023)},
        {Units({{'a', 2}, {thai, 1}, {'c', 1}}), "aa"},
        {Units({{'A', 1500}, {thai, 1}, {'B', 1}}), std::string(1500, 'A')},
        {Units({{'A', 1500}, {ga, 273}, {'Z', 2}}),
         std::string(1500, 'A') + Times("\xB0\xA1", 273) + "Z"},
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

struct Tracer {
    int id;
    std::atomic<int>* finished;
};

void* TraceLines(void* arg)
{
    Tracer* t = static_cast<Tracer*>(arg);
    for (int i = 0; i < 100; ++i) mTraceW(W16("thread %d line %d\n"), t->id, i);
    t->finished->fetch_add(1);
    return nullptr;
}

TEST(Trace, ManyThreadsTraceAtOnce)
{
    ScopedFileLog file;
    rt::LogCapture log;
    std::atomic<int> finished{0};
    Tracer tracers[8];
    for (int i = 0; i < 8; ++i) {
        tracers[i] = {i, &finished};
        ASSERT_NE(mThreadCreate(reinterpret_cast<void*>(&TraceLines), &tracers[i]), 0u);
    }
    ASSERT_TRUE(rt::WaitFor([&] { return finished.load() == 8; }, 30000));

    std::set<std::string> want;
    for (int t = 0; t < 8; ++t)
        for (int i = 0; i < 100; ++i)
            want.insert("thread " + std::to_string(t) + " line " + std::to_string(i) + "\n");
    EXPECT_EQ(std::set<std::string>(log.texts.begin(), log.texts.end()), want);
    EXPECT_EQ(log.texts.size(), 800u);
    // The file holds the same 800 lines, each whole.
    std::multiset<std::string> inFile;
    std::istringstream text(rt::LogText(file.dir.path));
    for (std::string line; std::getline(text, line);) inFile.insert(line.substr(3) + "\n");
    EXPECT_EQ(inFile, std::multiset<std::string>(want.begin(), want.end()));
}

}  // namespace
