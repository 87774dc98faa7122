// The module session as the data thread drives it, against a module on a pseudo-terminal that
// answers queries: start-up queries, mount-angle queries, the vehicle profile's angle.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <vector>

#include "module/MM/MM.h"
#include "tests/mm/MMTestSupport.h"

using mmt::Bytes;
using mmt::FakeModule;
using mmt::LogCapture;
using mmt::WaitUntil;

namespace {

const int kRoundMs = 4000;  // generous bound for one session round (ten data-thread cycles)

// Waits until the data thread has run the session upkeep once more after now.
bool NextRoundDone()
{
    const uint32_t tick = g_dwDataThreadLifeTick.load();
    const uint32_t target = (tick / 10 + 1) * 10 + 1;
    return WaitUntil([&] { return g_dwDataThreadLifeTick.load() >= target; }, kRoundMs);
}

// The module's reader cuts frames a little after they were written.
bool FramesBecome(const FakeModule& port, const std::vector<Bytes>& expected)
{
    return WaitUntil([&] { return port.Frames() == expected; }, 1000);
}

bool ProfileCleared(CMM* mm)
{
    return WaitUntil([&] { return mm->GetParam(MM_PARAM_MOUNTANGLEPROFILEUSE) == 0; }, 3 * kRoundMs);
}

// A module that reports its angles when asked and takes a calibration command's angles.
struct AnsweringModule {
    FakeModule port;
    std::atomic<int> versionQueries{0};
    std::atomic<int> answerVersionFrom{1};
    uint8_t major = 2, minor = 2;
    std::atomic<int> pitch{5}, roll{7};
    int commandedPitch = 0, commandedRoll = 0;

    AnsweringModule()
    {
        port.SetResponder([this](const Bytes& f) {
            if (f == mmt::kQueryVersion) {
                if (++versionQueries >= answerVersionFrom) port.Send(mmt::Version1101(major, minor));
            } else if (f == mmt::kQueryMountAngle) {
                port.Send(mmt::MountAngle7060(pitch, roll));
            } else if (mmt::IsMountAngleCommand(f)) {
                pitch = commandedPitch;
                roll = commandedRoll;
                port.Send(mmt::MountAngle7060(pitch, roll));
            }
        });
    }
};

}  // namespace

TEST(MMSession, Version22ModuleIsAskedForItsMountAngleAndGivenTheProfileAngle)
{
    AnsweringModule module;
    module.answerVersionFrom = 2;  // the first round of queries goes unanswered
    module.commandedPitch = 3;
    module.commandedRoll = -2;
    LogCapture log;
    CMM* mm = new CMM;
    ASSERT_EQ(mm->Initialize(MM_DATAKIND_ZELKO, 1), 1);

    // The profile switch asks for an angle, but none is given: switched off at once.
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    ASSERT_EQ(mm->CreateDataThread(module.port.Path16(), 115200, 8, 0, 0, 360, 0), 1);
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::CreateDataThread] Set MountAngle by Profile Request ERROR Value: Pitch(360), "
                        "Roll(0)\n"),
              1);
    EXPECT_EQ(mm->GetParam(MM_PARAM_MOUNTANGLEPROFILEUSE), 0);
    // Switched on again afterwards, it is consumed once the module has reported an angle.
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    module.port.StartChatter();

    const std::string fail =
        "[LIB_DBG][CMM::SetDataUpdate] Set MountAngle by Init Profile Fail : ReqPitch(360), ReqRoll(0)\n";
    ASSERT_TRUE(WaitUntil([&] { return log.Count(fail) == 1; }, 5 * kRoundMs));
    EXPECT_TRUE(ProfileCleared(mm));
    const std::vector<Bytes> identity = {mmt::kQueryVersion, mmt::kQueryProduct, mmt::kQueryHardware};
    std::vector<Bytes> expected = identity;
    expected.insert(expected.end(), identity.begin(), identity.end());
    expected.push_back(mmt::kQueryMountAngle);  // the angle is not known yet
    expected.push_back(mmt::kQueryMountAngle);  // asked again before the profile gives up
    EXPECT_TRUE(FramesBecome(module.port, expected));
    _mGPSDREngineerInfo eng;
    ASSERT_EQ(mm->GetGPSDREngineerInfo(&eng), 1);
    EXPECT_EQ(eng.sPitch, 5);
    EXPECT_EQ(eng.sRoll, 7);

    // Settled: later rounds send nothing.
    ASSERT_TRUE(NextRoundDone());
    EXPECT_EQ(module.port.Frames(), expected);
    EXPECT_EQ(log.Count(fail), 1);

    // Restarted with a profile angle: it is pushed until the module reports it.
    ASSERT_EQ(mm->StopDataThread(), 1);
    ASSERT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("GPSDR_THREAD") == 0; }, 2000));
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    module.port.Clear();
    log.Clear();
    ASSERT_EQ(mm->CreateDataThread(module.port.Path16(), 115200, 8, 0, 0, 3, -2), 1);
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::CreateDataThread] Set MountAngle by Profile Request : Pitch(3), Roll(-2)\n"),
              1);
    EXPECT_TRUE(ProfileCleared(mm));
    ASSERT_TRUE(WaitUntil([&] { return module.port.Frames().size() == 2; }, 1000));
    const std::vector<Bytes> frames = module.port.Frames();
    EXPECT_EQ(frames[0], mmt::kQueryMountAngle);
    EXPECT_TRUE(mmt::IsMountAngleCommand(frames[1]));
    EXPECT_EQ(frames[1][5], 0);  // type 0: the angles themselves
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(0), Pitch(3), "
                        "Roll(-2)\n"),
              1);
    ASSERT_EQ(mm->GetGPSDREngineerInfo(&eng), 1);
    EXPECT_EQ(eng.sPitch, 3);
    EXPECT_EQ(eng.sRoll, -2);
    ASSERT_TRUE(NextRoundDone());
    EXPECT_EQ(module.port.Frames().size(), 2u);
    EXPECT_FALSE(module.port.Malformed());

    delete mm;
}

TEST(MMSession, Version21ModuleIsNeverAskedForAMountAngleAndAVanishedDeviceStopsCleanly)
{
    AnsweringModule module;
    module.minor = 1;
    LogCapture log;
    CMM* mm = new CMM;
    ASSERT_EQ(mm->Initialize(MM_DATAKIND_ZELKO, 1), 1);
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    ASSERT_EQ(mm->CreateDataThread(module.port.Path16(), 115200, 8, 0, 0, 3, -2), 1);
    module.port.StartChatter();

    // Answered at once: the profile is dropped at the first round that knows the version.
    EXPECT_TRUE(ProfileCleared(mm));
    const std::vector<Bytes> identity = {mmt::kQueryVersion, mmt::kQueryProduct, mmt::kQueryHardware};
    EXPECT_TRUE(FramesBecome(module.port, identity));
    ASSERT_TRUE(NextRoundDone());
    EXPECT_EQ(module.port.Frames(), identity);
    EXPECT_FALSE(module.port.Malformed());

    // The device vanishes: every read fails at once, yet the loop keeps its pace.
    module.port.Vanish();
    const uint32_t tick0 = g_dwDataThreadLifeTick.load();
    const auto t0 = std::chrono::steady_clock::now();
    EXPECT_TRUE(WaitUntil([&] { return mm->CheckSerialPortError() == MM_PORT_DATA_STOPPED; }, 3000));
    const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - t0);
    EXPECT_LE(g_dwDataThreadLifeTick.load() - tick0, static_cast<uint32_t>(ms.count() / 100 + 2));

    log.Clear();
    delete mm;
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"[LIB_DBG][CMM::StopDataThread] Data Thread Destroyed\n"});
    EXPECT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("GPSDR_THREAD") + mmt::ThreadsNamed("MM_THREAD") == 0; },
                          1000));
}
