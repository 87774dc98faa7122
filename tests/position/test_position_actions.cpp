// What module messages do to the state where the stream digests cannot tell: the gyro heading's
// wraps and out-of-range steps, the mount-angle session with the host's commands, the version
// checks by id, defaults and a second Initialize.
#include <climits>

#include "tests/position/PositionTestSupport.h"

namespace {

using pt::Get;
using Bytes = ZelkoBytes;

Bytes Mount(float pitchSine, float rollTerm, uint8_t progress)
{
    Bytes f = ZelkoBlankFrame(0x70, 0x60, 75);
    ZelkoPutLE<float>(&f[29], pitchSine);
    ZelkoPutLE<float>(&f[33], rollTerm);
    f[72] = progress;
    return f;
}

class Actions : public ::testing::Test {
protected:
    void SetUp() override { mgr.Initialize(1, 1, 2); }

    int Feed(const Bytes& logical) { return pt::FeedFrame(mgr, logical); }
    _mGPSDREngineerInfo Eng() { return Get(mgr, &CPositionMgr::GetEngineeringModeData); }

    testsupport::LogCapture log;
    CPositionMgr mgr;
};

TEST_F(Actions, DRSensorIntegratesTheGyroHeading)
{
    const struct { uint32_t samples; int32_t gyroSum; short head; int32_t rate; } steps[] = {
        {1, -1143, 20, -87},   // +2 degrees
        {1, 2858, 3570, 218},  // 2 - 5 wraps to 357
        {2, -27, 3570, 0},     // rate -13 (toward zero), too small to turn
        {0, 999999, 3570, 0},  // no samples: only the sensor time moves
        {1, -2858, 20, -218},  // 357 + 5 wraps to 2
        // Out of range: one correction only, then the 16-bit store wraps; defined everywhere.
        {1, INT32_MIN, 25252, -163840000},
    };
    uint32_t tick = 100;
    for (const auto& s : steps) {
        Feed(ZelkoSampleDRSensor(++tick, s.samples, s.gyroSum, 3));
        EXPECT_EQ(mgr.GetGyroCalHead(), s.head);
        const _mGPSDREngineerInfoEx ex = Get(mgr, &CPositionMgr::GetEngineeringModeDataEx);
        EXPECT_EQ(pt::Text("%d %d", ex.sGyroHeading, ex.lGyroRate), pt::Text("%d %d", s.head, s.rate));
        EXPECT_EQ(Get(mgr, &CPositionMgr::GetZelkoTimeData).ulSensorTime, tick);
    }
}

TEST_F(Actions, MountAngleResultAndSessionChecks)
{
    const char* angles = "[MM-Dbg][ZelkoMountAngle] Pitch(30), Roll(30), Progress(37)\n";
    Feed({0x81, 0x11, 0x01, 0x02, 0x01, 0x00, 0, 0, 0, 0, 0, 0x82});
    EXPECT_EQ(mgr.CheckGetMountAngle(), 1);  // 2.1 has no calibration
    for (unsigned char which = 0; which < 5; ++which) EXPECT_EQ(mgr.CheckGetZelkoVer(which), which != 2 && which != 4);
    Feed({0x81, 0x11, 0x01, 0x02, 0x02, 0x07, 0, 0, 0, 0, 0, 0x82});
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Dbg][ZelkoVerReport] App 2.1.0\n", "[MM-Dbg][ZelkoVerReport] App 2.2.7\n"}));
    EXPECT_EQ(mgr.CheckGetMountAngle(), 0);  // angles unknown

    Feed(Mount(-0.5f, 0.4330127f, 37));  // pitch 30, roll 30
    EXPECT_EQ(log.Take(), pt::Lines({angles}));
    EXPECT_EQ(mgr.CheckGetMountAngle(), 1);

    // A reset waits for the module's progress to reach 100.
    unsigned char buf[200] = {};
    unsigned long len = 0;
    mgr.MakeMountAngleCal(1, 0, 0, buf, sizeof buf, len);
    EXPECT_EQ(Eng().ucMountAngleProgress, 0);
    EXPECT_EQ(mgr.CheckGetMountAngle(), 0);
    Feed(Mount(-1.0f, 0.5f, 100));  // pitch 90: roll unknown
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Dbg][ZelkoMountAngle] Pitch(90), Roll(360), Progress(100)\n"}));
    EXPECT_EQ(mgr.CheckGetMountAngle(), 1);
    EXPECT_EQ(mgr.CheckGetMountAngle(), 0);  // pending cleared; roll 360 is unknown

    // An accepted calibration command asks once more.
    Feed(Mount(-0.5f, 0.4330127f, 37));
    mgr.MakeMountAngleCal(0, 30, 30, buf, sizeof buf, len);
    EXPECT_EQ(Eng().ucMountAngleProgress, 100);
    Feed({0x81, 0x10, 0x01, 0x70, 0x60, 0x01, 0x00, 0x82});
    EXPECT_EQ(mgr.CheckGetMountAngle(), 1);
    Feed({0x81, 0x10, 0x01, 0x70, 0x60, 0x00, 0x00, 0x82});
    EXPECT_EQ(mgr.CheckGetMountAngle(), 0);
    EXPECT_EQ(mgr.CheckGetMountAngle(), 1);
    EXPECT_EQ(log.Take(), pt::Lines({angles,
                                     "[MM-Dbg][CPositionMgr::ParsingZelko] NonIdx Ack : Code(0x70), SubCode(0x60), State(1)\n",
                                     "[MM-Dbg][CPositionMgr::ParsingZelko] NonIdx Ack : Code(0x70), SubCode(0x60), State(0)\n"}));
}

TEST_F(Actions, DefaultsAndLifetime)
{
    CPositionMgr m;
    const _sZelkoStatusData st = Get(m, &CPositionMgr::GetZelkoStatusData);
    EXPECT_EQ(Bytes(reinterpret_cast<const unsigned char*>(&st), reinterpret_cast<const unsigned char*>(&st + 1)),
              Bytes({0xFF, 0xFF, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(m.SetPosData(nullptr) + m.GetPosData(nullptr) + m.GetSatelData(nullptr) + m.GetZelkoStatusData(nullptr) +
                  m.GetZelkoSubData(nullptr) + m.GetZelkoTimeData(nullptr) + m.GetZelkoLowOutData(nullptr) +
                  m.GetEngineeringModeData(nullptr) + m.GetEngineeringModeDataEx(nullptr) +
                  m.GetGPSDRDiagnosisData(nullptr),
              0);
    m.SetFactoryMode(1);
    EXPECT_EQ(m.GetFactoryMode(), 1);
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Dbg][CPositionMgr::SetFactoryMode] Factory Mode Request!!!! (1)\n"}));
    EXPECT_EQ(m.SetCurMMPosForInfo(_mPosition{11, 22, 3333, -44}), 1);
    const _mGPSDREngineerInfo e = Get(m, &CPositionMgr::GetEngineeringModeData);
    EXPECT_EQ(pt::Text("%d,%d %u %d", e.lMMLon, e.lMMLat, e.wMMHeading, e.sMMSpeed), "11,22 3333 -44");

    // A second Initialize keeps the parser (and what it holds) and only changes the settings:
    // the pair now goes out in 1/1024 arc-second.
    const Bytes fix = ZelkoStuff(ZelkoSampleFixWithRawDR(90, 45, 0, 0, 0));
    pt::Feed(mgr, Bytes(fix.begin(), fix.begin() + 3));
    mgr.Initialize(1, 2, 2);
    EXPECT_EQ(pt::Feed(mgr, Bytes(fix.begin() + 3, fix.end())), 1);
    const _mGpsDataEx p = Get(mgr, &CPositionMgr::GetPosData);
    EXPECT_EQ(pt::Text("%d,%d", p.lLon, p.lLat), pt::Text("%d,%d", 90 * 3686400, 45 * 3686400));
}

}  // namespace
