// The running manager: a module on a real pseudo-terminal, the data and matching threads, port
// states over time, restarts and stops.
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "module/MM/MM.h"
#include "tests/mm/MMTestSupport.h"

using mmt::Bytes;
using mmt::FakeModule;
using mmt::LogCapture;
using mmt::WaitUntil;

namespace {

int ElapsedMs(std::chrono::steady_clock::time_point since)
{
    return static_cast<int>(
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - since).count());
}

bool PortStateBecomes(CMM* mm, int code, int timeoutMs)
{
    return WaitUntil([&] { return mm->CheckSerialPortError() == code; }, timeoutMs);
}

}  // namespace

TEST(MMThreads, RunningManagerPublishesReportsPortStatesAndStopsWhileSilent)
{
    FakeModule module;
    LogCapture log;
    CMM* mm = CMM::GetInstance();
    ASSERT_NE(mm, nullptr);
    EXPECT_EQ(CMM::GetInstance(), mm);
    ASSERT_EQ(mm->Initialize(MM_DATAKIND_ZELKO, 1), 1);
    ASSERT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("MM_THREAD") == 1; }, 2000));
    ASSERT_EQ(mm->SetParam(MM_PARAM_DATATYPE, MM_DATAKIND_ZELKO), 1);
    ASSERT_EQ(mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 360, 0), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_OK);
    EXPECT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("GPSDR_THREAD") == 1; }, 2000));
    EXPECT_EQ(mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 360, 0), 0);

    const std::vector<std::string> start = {
        "[LIB_DBG][MM Option] FrameDrive(0), FeedBack(1), Altitude(0)\n",
        "[LIB_DBG][CMM::SetDRType] Set DR Type (2)\n",
        "[LIB_DBG][CMM::SetDataType] Set Data Kind ZELKO (100)\n",
        "[LIB_DBG][CMM::Initialize] PositionMgr Init Success\n",
        "{mThreadCreate} FileName module/MM/MM, Fuction Initialize, line 265 \n",
        "[LIB_DBG][CMM::Initialize] MatchingThread Create Init Success\n",
        "[LIB_DBG][CMM::SetDRType] Set DR Type (2)\n",
        "[LIB_DBG][CMM::SetDataType] Set Data Kind ZELKO (100)\n",
        "[LIB_DBG][CMM::OpenSerialPort] Com Port Open Success!! (" + module.Path() + ", 115200, 8)\n",
        "{mThreadCreate} FileName module/MM/MM, Fuction StartDataThread, line 577 \n",
        "[LIB_DBG][CMM::StartDataThread] Start Data Thread Success!!\n",
        "[MM-Err][CMM::CreateDataThread] Data Thread Handle Already Exist\n",
    };
    EXPECT_EQ(log.Lines(), start);

    // Open, and no data for longer than the module protocol's one second.
    EXPECT_TRUE(PortStateBecomes(mm, MM_PORT_NO_DATA, 3000));

    // A fix with the module's ready flag is published through the matching thread.
    mmt::Fix fix;
    module.Send(mmt::Fix3002(fix));
    ASSERT_TRUE(WaitUntil([&] { _mMMPosition p; return mm->GetMMPos(&p, 1) == 3; }, 2000));
    _mMMPosition pub;
    mm->GetMMPos(&pub, 1);
    EXPECT_NEAR(pub.lLon, 127.0 * 360000, 3600);
    EXPECT_NEAR(pub.lLat, 37.5 * 360000, 3600);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_OK);

    // Without a longitude the fix is published as it stands, untransformed.
    fix.lonDeg = 0.0;
    module.Send(mmt::Fix3002(fix));
    ASSERT_TRUE(WaitUntil([&] { _mMMPosition p; mm->GetMMPos(&p, 1); return p.lLon == 0; }, 2000));
    _mGpsDataEx raw;
    ASSERT_EQ(mm->GetGPSData(&raw), 1);
    mm->GetMMPos(&pub, 1);
    EXPECT_EQ(pub.lLat, raw.lLat);

    // The first read also ran the session upkeep: the identity queries, in order.
    ASSERT_TRUE(WaitUntil([&] { return module.Frames().size() >= 3; }, 2000));
    EXPECT_EQ(module.Frames(), (std::vector<Bytes>{mmt::kQueryVersion, mmt::kQueryProduct, mmt::kQueryHardware}));
    EXPECT_FALSE(module.Malformed());

    module.StartChatter();
    EXPECT_EQ(mm->PauseDataThread(1), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_PAUSED);
    unsigned char frame[] = {0x81, 0x03, 0x01, 0xF9, 0x82};
    EXPECT_EQ(mm->DataSend(frame, sizeof frame), 0);
    EXPECT_EQ(mm->PauseDataThread(0), 1);
    EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_OK);

    // A command from the caller's thread waits for the data thread's read, then goes out.
    module.Clear();
    EXPECT_EQ(mm->SendZelkoCommand(1), 1);
    const Bytes reset1 = {0x81, 0x03, 0x05, 0xF5, 0x82};
    EXPECT_TRUE(WaitUntil([&] { return module.Frames() == std::vector<Bytes>{reset1}; }, 2000));

    // The module falls silent: data stopped after one second.
    module.StopChatter();
    EXPECT_TRUE(PortStateBecomes(mm, MM_PORT_DATA_STOPPED, 3000));

    // Stop and start again while the module stays silent: each stop ends the blocked reader.
    for (int cycle = 0; cycle < 3; ++cycle) {
        SCOPED_TRACE(cycle);
        log.Clear();
        EXPECT_EQ(mm->StopDataThread(), 1);
        EXPECT_EQ(mm->StopDataThread(), 1);  // twice is harmless
        EXPECT_EQ(mm->CheckSerialPortError(), MM_PORT_CLOSED);
        EXPECT_EQ(log.Count("[LIB_DBG][CMM::StopDataThread] Data Thread Destroyed\n"), 2);
        ASSERT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("GPSDR_THREAD") == 0; }, 2000));
        ASSERT_EQ(mm->CreateDataThread(module.Path16(), 115200, 8, 0, 0, 360, 0), 1);
        EXPECT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("GPSDR_THREAD") == 1; }, 2000));
    }

    // The full stop with the module silent: one fixed second, then everything is gone.
    log.Clear();
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ(mm->Destroy(), 1);
    const int took = ElapsedMs(before);
    EXPECT_GE(took, 1000);
    EXPECT_LT(took, 5000);
    EXPECT_TRUE(WaitUntil([] { return mmt::ThreadsNamed("GPSDR_THREAD") + mmt::ThreadsNamed("MM_THREAD") == 0; },
                          1000));
    EXPECT_EQ(log.Lines(), std::vector<std::string>{"[LIB_DBG][CMM::StopDataThread] Data Thread Destroyed\n"});
    _mMMPosition after;
    EXPECT_EQ(mm->GetMMPos(&after, 1), 3);  // the published record outlives the threads

    CMM::FreeInstance();  // destroys once more: one more message
    EXPECT_EQ(CMM::m_pInstance, nullptr);
    EXPECT_EQ(log.Count("[LIB_DBG][CMM::StopDataThread] Data Thread Destroyed\n"), 2);
}
