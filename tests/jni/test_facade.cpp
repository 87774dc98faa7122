// The driver facade on a real manager (no serial port: positions are pushed in as raw
// records) and its update thread, including a facade whose manager another facade freed.
#include <algorithm>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "jni/GpsDRInterface.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WaitUntil.h"
#include "tools/common/Format.h"
#include "tools/common/ProcSelf.h"

namespace {

using testsupport::LogCapture;
using testsupport::WaitUntil;

const char kCycle[] = "[LIB_DBG] call sendGISInfo";

size_t UpdateThreads()
{
    const std::vector<procself::Task> tasks = procself::Tasks();
    return std::count_if(tasks.begin(), tasks.end(), [](const procself::Task& t) { return t.name == "Update_Thread"; });
}

// The trace formatter's %f of a positive value: six decimals, cut rather than rounded.
std::string TraceF(double v)
{
    const int32_t whole = static_cast<int32_t>(v);
    return Format("%d.%06lld", whole, static_cast<long long>((v - whole) * 1e6));
}

// Publishes a fix in Seoul (units of 1/1024 arc-second, as the offset step expects) on a
// date given as DDMMYY; 0 means no time.
void StartWithFix(GpsDRInterface& dr, int32_t date = 150321)
{
    ASSERT_EQ(1, dr.Initialize(1));
    ASSERT_EQ(1, dr.SetDataType(3));
    // lon, lat, heading, speed, date, time, used, in view, DOP 1-3, reserved, fix, altitude
    _mGpsDataEx ex{static_cast<int32_t>(126.978 * 3686400), static_cast<int32_t>(37.5665 * 3686400),
                   1234, 456, date, 123456000, 7, 9, 12, 15, 21, 0, 1, -12, 0, {}};
    ASSERT_EQ(1, dr.SetPosData(reinterpret_cast<char*>(&ex), sizeof ex));
}

std::string Summary(const _mGpsInfo& i)
{
    return Format("%d %d h%u s%d %d-%d-%d %d:%d:%d w%u sat%u/%u fix%u alt%d %g %g %g %g port%u",
                  i.lLon, i.lLat, i.wHeading, i.sSpeed, i.lYear, i.lMonth, i.lDay, i.lHour, i.lMinute, i.lSecond,
                  i.ucDayOfWeek, i.ucSatUsed, i.ucSatView, i.ucFixValid, i.lAltitude, i.fSpeed, i.fDop1, i.fDop2,
                  i.fDop3, i.ulPortState);
}

// What a facade without a manager (never had one, or lost it) answers, silently.
void ExpectNoManagerAnswers(GpsDRInterface& dr)
{
    LogCapture log;
    char buf[36] = {};
    unsigned short name[2] = {};
    unsigned char command = 7;
    unsigned long ms = 7;
    _mGPSDRDiagnosis diag{};
    _mGPSDREngineerInfo eng{};
    _mGPSDREngineerInfoEx engEx{};
    _mZelkoLowDataInfo low{};
    _mMMPosition pos{};
    _mSatelInfo sats{};
    sats.lSatelNum = 5;
    _mGpsInfo info;
    std::memset(&info, 0xAB, sizeof info);
    dr.SetParam(32, 5);  // a manager would log its refusal
    const std::vector<std::pair<long, std::function<long()>>> answers = {
        {-1, [&] { return dr.GetParam(16); }},
        {0, [&] { return dr.SetDataType(1); }},
        {0, [&] { return dr.SetPosData(buf, sizeof buf); }},
        {0, [&] { return dr.CreateDataThread(name, 115200, 8, 0, 0, 360, 0); }},
        {0, [&] { return dr.PauseDataThread(1); }},
        {0, [&] { return dr.StopDataThread(); }},
        {0, [&] { return dr.DestroyAllThread(); }},
        {0, [&] { return dr.SendZelkoCommand(0); }},
        {0, [&] { return dr.SetZelkoMountAngle(0, 1, 2); }},
        {0, [&] { return dr.GetZelkoResetTime(command, ms); }},
        {0, [&] { return dr.SetZelkoEngFactoryMode(1); }},
        {0, [&] { return dr.GetGPSDRDiagnosisData(&diag); }},
        {0, [&] { return dr.GetGPSDREngineerInfo(&eng); }},
        {0, [&] { return dr.GetGPSDREngineerInfoEx(&engEx); }},
        {0, [&] { return dr.GetZelkoLowInfo(&low); }},
        {0, [&] { return dr.GetGPSInfo(&info, 0); }},
        {0, [&] { return dr.GetCarPos(&pos); }},
        {0, [&] { return dr.GetSatelInfo(&sats); }},
        {1, [&] { return dr.Destroy(); }},
    };
    for (size_t i = 0; i < answers.size(); ++i) EXPECT_EQ(answers[i].first, answers[i].second()) << "row " << i;
    EXPECT_EQ(command * 1000 + ms, 7007u);  // untouched
    EXPECT_EQ(Summary(_mGpsInfo{}), Summary(info));  // cleared before the manager is asked
    EXPECT_EQ(5, sats.lSatelNum);
    EXPECT_TRUE(log.Texts().empty());
}

TEST(Facade, ForwardsToItsManagerAndAnswersFixedResultsWithoutOne)
{
    GpsDRInterface dr;
    ExpectNoManagerAnswers(dr);
    StartWithFix(dr);
    EXPECT_EQ(1, dr.Initialize(1));  // already held
    EXPECT_EQ(3, dr.GetParam(16));

    _mMMPosition pos{};
    EXPECT_EQ(1, dr.GetCarPos(&pos));
    EXPECT_NEAR(126.978, pos.dLon / 360000.0, 0.01);  // moved by the offset transform
    EXPECT_NEAR(37.5665, pos.dLat / 360000.0, 0.01);
    EXPECT_EQ(1234, pos.wHeading);
    EXPECT_EQ(0, pos.ucStatusFlag);  // the published status is 3, never 2

    _mGpsInfo info;
    EXPECT_EQ(1, dr.GetGPSInfo(&info, 0));
    EXPECT_EQ("468091699 138485145 h1234 s456 2021-3-15 12:34:56 w1 sat7/9 fix1 alt-12 456 12 15 21 port1",
              Summary(info));
    // The device clock instead of the module's time.
    time_t now = time(nullptr);
    struct tm local {};
    localtime_r(&now, &local);
    EXPECT_EQ(1, dr.GetGPSInfo(&info, 1));
    EXPECT_EQ(local.tm_year + 1900, info.lYear);
    EXPECT_EQ(local.tm_mday, info.lDay);
    // No time: six zeros and day of week 255.
    StartWithFix(dr, 0);
    EXPECT_EQ(1, dr.GetGPSInfo(&info, 0));
    EXPECT_EQ("468091699 138485145 h1234 s456 0-0-0 0:0:0 w255 sat7/9 fix1 alt-12 456 12 15 21 port1",
              Summary(info));

    _mSatelInfo sats;
    sats.lSatelNum = 5;
    EXPECT_EQ(1, dr.GetSatelInfo(&sats));
    EXPECT_EQ(0, sats.lSatelNum);  // this input kind reports no satellites
    EXPECT_EQ(0, dr.GetSatelInfo(nullptr));

    EXPECT_EQ(1, dr.Destroy());
    ExpectNoManagerAnswers(dr);
}

// Update threads are detached and tell nobody when they have let go of their facade, so the
// facades they run on outlive the tests, as the bridge's do.
TEST(Facade, UpdateThreadTracesThePublishedPositionEverySecondUntilStopped)
{
    static GpsDRInterface dr;
    StartWithFix(dr);
    _mMMPosition pos{};
    _mGpsInfo info{};
    dr.GetCarPos(&pos);
    dr.GetGPSInfo(&info, 0);
    SendGISArgs sent = MakeSendGISArgs(pos, info);
    const std::string line = Format("%s (%u,%u), (%s,%s)\n", kCycle, static_cast<unsigned>(pos.lLon),
                                    static_cast<unsigned>(pos.lLat), TraceF(sent.lat).c_str(), TraceF(sent.lon).c_str());

    LogCapture log;
    auto started = std::chrono::steady_clock::now();
    EXPECT_EQ(1, dr.CreateUpdateOnlyThread());
    EXPECT_TRUE(log.WaitFor(line, 2));
    EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1000));

    // Asked again, it finds its thread and makes no other.
    EXPECT_EQ(1, dr.CreateUpdateThread());
    EXPECT_EQ(1, dr.StartUpdateThread());
    EXPECT_EQ(3, log.Count("[MM-Dbg][CMM::StartDataThread] Start UpdateThread Success!!\n"));
    std::this_thread::sleep_for(std::chrono::milliseconds(100));  // time for a wrong second one to name itself
    EXPECT_EQ(1u, UpdateThreads());

    EXPECT_EQ(1, dr.StopUpdateThread());
    EXPECT_TRUE(WaitUntil([] { return UpdateThreads() == 0; }));
    EXPECT_EQ(log.Count(kCycle), log.Count(line));
    EXPECT_EQ(1, dr.Destroy());

    log.Clear();
    std::thread([] { EXPECT_EQ(nullptr, UpdateThread(nullptr)); }).join();
    const testsupport::LogLine only{ANDROID_LOG_INFO, "Varnex", "[MM-Dbg][UpdateThread] pGpsDRInter NULL\n"};
    EXPECT_EQ(std::vector<testsupport::LogLine>{only}, log.All());
}

// Two facades share the singleton, as after two starts from Java. When one frees it, the other
// must neither touch the freed manager nor start a driver of its own, and its update thread must
// end rather than go on sending empty positions.
TEST(Facade, AFacadeWhoseManagerWasFreedByAnotherLetsGoOfIt)
{
    static GpsDRInterface orphan;
    GpsDRInterface other, next;
    StartWithFix(orphan);
    ASSERT_EQ(1, other.Initialize(1));
    other.SetParam(288, 333);
    EXPECT_EQ(333, orphan.GetParam(288));  // the same manager

    LogCapture log;
    ASSERT_EQ(1, orphan.CreateUpdateOnlyThread());
    ASSERT_TRUE(log.WaitFor(kCycle));
    EXPECT_EQ(1, other.Destroy());
    int cycles = log.Count(kCycle);
    EXPECT_TRUE(WaitUntil([] { return UpdateThreads() == 0; }));
    EXPECT_EQ(cycles, log.Count(kCycle));
    EXPECT_EQ(0, log.Count("[LIB_DBG] call sendGISInfo (0,0)"));

    // It still holds the lost manager: no second driver, and the next manager is not its own.
    ASSERT_EQ(1, next.Initialize(1));
    EXPECT_EQ(1, orphan.Initialize(1));
    EXPECT_EQ(0, orphan.StartOnlyGpsDRModule());
    ExpectNoManagerAnswers(orphan);  // its Destroy lets go of the lost one
    EXPECT_EQ(1, next.GetParam(16));

    // Then it is an ordinary facade, update thread included.
    ASSERT_EQ(1, orphan.Initialize(1));
    EXPECT_EQ(1, orphan.GetParam(16));
    EXPECT_EQ(1, orphan.CreateUpdateOnlyThread());
    EXPECT_TRUE(WaitUntil([] { return UpdateThreads() == 1; }));
    EXPECT_EQ(1, orphan.StopUpdateThread());
    EXPECT_EQ(1, orphan.Destroy());
    EXPECT_EQ(-1, next.GetParam(16));
    EXPECT_TRUE(WaitUntil([] { return UpdateThreads() == 0; }));
}

}  // namespace
