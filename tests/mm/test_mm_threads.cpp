// The running manager against a module on a real pseudo-terminal: the data and matching
// threads, the module session the data thread drives, port states over time, restarts and
// stops. One manager for all of it, since every full stop costs fixed seconds.
#include <chrono>

#include "tests/mm/MMTestSupport.h"

using mmt::Bytes;
using mmt::kQueryHardware;
using mmt::kQueryMountAngle;
using mmt::kQueryProduct;
using mmt::kQueryVersion;
using mmt::WaitUntil;

namespace {

using Clock = std::chrono::steady_clock;

const int kRoundMs = 4000;  // generous bound for one session round (ten data-thread cycles)
const std::string kDestroyed = "[LIB_DBG][CMM::StopDataThread] Data Thread Destroyed\n";

long ElapsedMs(Clock::time_point since)
{
    return static_cast<long>(std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - since).count());
}

}  // namespace

TEST(MMThreads, SessionPortStatesRestartAndStops)
{
    // Answers from the second version query on; takes the angles a calibration command gives.
    std::atomic<int> versionQueries{0}, minor{1}, pitch{5}, roll{7};
    mmt::FakeModule module([&](mmt::FakeModule& self, const Bytes& f) {
        if (f == kQueryVersion && ++versionQueries >= 2) self.Send(mmt::Version(2, static_cast<uint8_t>(minor)));
        if (mmt::IsMountAngleCommand(f)) pitch = 3, roll = -2;
        if (f == kQueryMountAngle || mmt::IsMountAngleCommand(f)) self.Send(mmt::MountAngle(pitch, roll));
    });
    const auto framesBecome = [&](const std::vector<Bytes>& expected) {
        return WaitUntil([&] { return module.Frames() == expected; }, 1000);
    };
    const auto profileCleared = [](CMM* mm) {
        return WaitUntil([&] { return mm->GetParam(MM_PARAM_MOUNTANGLEPROFILEUSE) == 0; }, 3 * kRoundMs);
    };
    _mGPSDREngineerInfo eng;

    mmt::LogCapture log;
    CMM* mm = CMM::GetInstance();
    ASSERT_NE(mm, nullptr);
    ASSERT_EQ(mm->Initialize(MM_DATAKIND_ZELKO, 1), 1);
    // The profile switch asks for an angle, but none is given: switched off at once.
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    const Clock::time_point opened = Clock::now();
    ASSERT_EQ(mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 360, 0), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_OK);
    EXPECT_EQ(mm->GetParam(MM_PARAM_MOUNTANGLEPROFILEUSE), 0);
    EXPECT_EQ(log.Take(), (std::vector<std::string>{
                              "[LIB_DBG][MM Option] FrameDrive(0), FeedBack(1), Altitude(0)\n",
                              "[LIB_DBG][CMM::SetDRType] Set DR Type (2)\n",
                              "[LIB_DBG][CMM::SetDataType] Set Data Kind ZELKO (100)\n",
                              "[LIB_DBG][CMM::Initialize] PositionMgr Init Success\n",
                              "{mThreadCreate} FileName module/MM/MM, Fuction Initialize, line 265 \n",
                              "[LIB_DBG][CMM::Initialize] MatchingThread Create Init Success\n",
                              "[LIB_DBG][CMM::SetParam] MM_PARAM_MOUNTANGLEPROFILEUSE Changed "
                              "MM_MOUNTANGLEPROFILEUSE_ENABLE\n",
                              "[LIB_DBG][CMM::CreateDataThread] Set MountAngle by Profile Request ERROR Value: "
                              "Pitch(360), Roll(0)\n",
                              "[LIB_DBG][CMM::OpenSerialPort] Com Port Open Success!! (" + module.Path() +
                                  ", 115200, 8)\n",
                              "{mThreadCreate} FileName module/MM/MM, Fuction StartDataThread, line 577 \n",
                              "[LIB_DBG][CMM::StartDataThread] Start Data Thread Success!!\n",
                          }));
    EXPECT_TRUE(WaitUntil([] { return procself::LibraryThreadCount() == 2; }));
    // Pending again, with no angle: a module before 2.2 drops it without a word.
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);

    // Open, and no data for longer than the module protocol's one second.
    EXPECT_TRUE(WaitUntil([&] { return mm->CheckSerialPortError() == MM_PORT_NO_DATA; }, 3000));
    EXPECT_GE(ElapsedMs(opened), 1000);

    // A ready fix is published through the matching thread.
    module.Send(mmt::Fix(0x15, 127.0, 37.5));
    _mMMPosition pub;
    ASSERT_TRUE(WaitUntil([&] { return mm->GetMMPos(&pub, 1) == 3; }, 2000));
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_OK);

    // The first read ran the session: the identity queries, in order, again each round until the
    // version is known; version 2.1 is never asked for its angle.
    module.Chatter(true);
    EXPECT_TRUE(profileCleared(mm));
    EXPECT_TRUE(
        framesBecome({kQueryVersion, kQueryProduct, kQueryHardware, kQueryVersion, kQueryProduct, kQueryHardware}));

    // The module reports 2.2 by itself: its angle is asked for until known, then the pending
    // profile without an angle fails once.
    module.Clear();
    minor = 2;
    module.Send(mmt::Version(2, 2));
    ASSERT_TRUE(WaitUntil([&] { return mm->GetGPSDREngineerInfo(&eng) == 1 && eng.ucAppVerMinor == 2; }, 2000));
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    EXPECT_TRUE(profileCleared(mm));
    EXPECT_TRUE(framesBecome({kQueryMountAngle, kQueryMountAngle}));
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::SetDataUpdate] Set MountAngle by Init Profile Fail : ReqPitch(360), "
                        "ReqRoll(0)\n"),
              1);
    ASSERT_EQ(mm->GetGPSDREngineerInfo(&eng), 1);
    EXPECT_EQ((std::pair<int, int>(eng.sPitch, eng.sRoll)), (std::pair<int, int>(5, 7)));

    // Paused while receiving: state 2.
    EXPECT_EQ(mm->PauseDataThread(1), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_PAUSED);
    EXPECT_EQ(mm->PauseDataThread(0), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_OK);
    // A command from the caller's thread waits for the data thread's read, then goes out.
    module.Clear();
    EXPECT_EQ(mm->SendZelkoCommand(1), 1);
    EXPECT_TRUE(framesBecome({Bytes{0x81, 0x03, 0x05, 0xF5, 0x82}}));

    // The module falls silent and the reader waits for it; stopping (twice is harmless) ends it.
    module.Chatter(false);
    ASSERT_TRUE(WaitUntil([] {
        const uint32_t tick = g_dwDataThreadLifeTick.load();
        std::this_thread::sleep_for(std::chrono::milliseconds(250));  // longer than a cycle's sleep
        return g_dwDataThreadLifeTick.load() == tick;
    }, 3000));
    log.Clear();
    EXPECT_EQ(mm->StopDataThread(), 1);
    EXPECT_EQ(mm->StopDataThread(), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_CLOSED);
    EXPECT_EQ(log.Take(), (std::vector<std::string>{kDestroyed, kDestroyed}));

    // Restarted at once, with a profile angle: it is pushed until the module reports it, by the
    // new data thread alone.
    ASSERT_EQ(mm->SetParam(MM_PARAM_MOUNTANGLEPROFILEUSE, 1), 1);
    module.Clear();
    log.Clear();
    ASSERT_EQ(mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 3, -2), 1);
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::CreateDataThread] Set MountAngle by Profile Request : Pitch(3), "
                        "Roll(-2)\n"),
              1);
    module.Chatter(true);
    EXPECT_TRUE(profileCleared(mm));
    EXPECT_EQ(procself::LibraryThreadCount(), 2u);  // no second data thread
    ASSERT_TRUE(WaitUntil([&] { return module.Frames().size() == 2; }, 1000));
    const std::vector<Bytes> frames = module.Frames();
    EXPECT_EQ(frames[0], kQueryMountAngle);
    EXPECT_TRUE(mmt::IsMountAngleCommand(frames[1]));
    EXPECT_EQ(frames[1][5], 0);  // type 0: the angles themselves
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::SetZelkoMountAngle] Send Mount Angle Calibration Set : Type(0), Pitch(3), "
                        "Roll(-2)\n"),
              1);
    ASSERT_EQ(mm->GetGPSDREngineerInfo(&eng), 1);
    EXPECT_EQ((std::pair<int, int>(eng.sPitch, eng.sRoll)), (std::pair<int, int>(3, -2)));

    // The device vanishes: every read fails at once, yet the loop keeps its pace and the port
    // reports data stopped.
    module.Vanish();
    const uint32_t tick0 = g_dwDataThreadLifeTick.load();
    const Clock::time_point vanished = Clock::now();
    ASSERT_TRUE(WaitUntil([&] { return g_dwDataThreadLifeTick.load() >= tick0 + 3; }, 2000));
    EXPECT_GE(ElapsedMs(vanished), 200);
    EXPECT_TRUE(WaitUntil([&] { return mm->CheckSerialPortError() == MM_PORT_DATA_STOPPED; }, 3000));

    // The full stop: one fixed second, then everything is gone; the published record stays.
    log.Clear();
    const Clock::time_point stopping = Clock::now();
    EXPECT_EQ(mm->Destroy(), 1);
    const long took = ElapsedMs(stopping);
    EXPECT_GE(took, 1000);
    EXPECT_LT(took, 5000);
    EXPECT_TRUE(WaitUntil([] { return procself::LibraryThreadCount() == 0; }));
    EXPECT_EQ(log.Take(), std::vector<std::string>{kDestroyed});
    EXPECT_EQ(mm->GetMMPos(&pub, 1), 3);
    CMM::FreeInstance();  // the destructor stops once more: one more message
    EXPECT_EQ(CMM::m_pInstance, nullptr);
    EXPECT_EQ(log.Take(), std::vector<std::string>{kDestroyed});
}
