// What each module message does to the position and module state, quirks included.
#include <climits>

#include "tests/position/PositionTestSupport.h"

namespace {

using pt::Describe;
using pt::Get;
using Bytes = ZelkoBytes;

Bytes Fix(uint8_t status, uint8_t ext, uint32_t lat, uint32_t lon, uint16_t heading)
{
    Bytes f = ZelkoBlankFrame(0x30, 0x02, 51);
    f[3] = status;
    f[4] = ext;
    ZelkoPutLE<uint32_t>(&f[10], lat);
    ZelkoPutLE<uint32_t>(&f[14], lon);
    ZelkoPutLE<uint16_t>(&f[20], heading);
    return f;
}

Bytes GpsFix(uint8_t modeByte, uint16_t heading, size_t len = 33)
{
    Bytes f = ZelkoBlankFrame(0x31, len == 33 ? 0x01 : 0x02, len);
    f[7] = modeByte;
    ZelkoPutLE<uint32_t>(&f[9], 1u << 29);   // 45 N
    ZelkoPutLE<uint32_t>(&f[13], 1u << 30);  // 90 E
    ZelkoPutLE<uint16_t>(&f[19], heading);
    ZelkoPutLE<uint16_t>(&f[21], 1000);
    return f;
}

Bytes Time()
{
    Bytes f = ZelkoSampleTimeConstel(2024, 3, 15, 12, 34, 56, 0x3D);
    ZelkoPutLE<uint16_t>(&f[11], 256);
    ZelkoPutLE<uint16_t>(&f[13], 512);
    ZelkoPutLE<uint16_t>(&f[15], 768);
    f[18] = 0x27;
    return f;
}

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
    std::string PosText() { return Describe(Get(mgr, &CPositionMgr::GetPosData)); }
    std::string LowText() { return Describe(Get(mgr, &CPositionMgr::GetZelkoLowOutData)); }
    _mGPSDREngineerInfo Eng() { return Get(mgr, &CPositionMgr::GetEngineeringModeData); }

    testsupport::LogCapture log;
    CPositionMgr mgr;
};

TEST_F(Actions, FixWithRawDRMakesThePosition)
{
    Bytes f = Fix(0x15, 0xCE, 1u << 29, 1u << 30, 32768);  // 45 N, 90 E, heading 180.0
    ZelkoPutLE<uint16_t>(&f[18], static_cast<uint16_t>(-12));
    ZelkoPutLE<uint16_t>(&f[22], 1000);
    EXPECT_EQ(Feed(f), 1);

    EXPECT_EQ(PosText(), "pos 32400000,16200000 head 1800 speed 360 date 0 time 0 sats 0/0 dop 0,0,0 fix 0 alt -12 mode 8");
    EXPECT_EQ(LowText(), "pos 32400000,16200000 quality 0 dop 0,0 raw 1000 head 1800 alt -12 0-0-0 0:0:0");

    // Without the DR-heading flag the position keeps its heading; zero coordinates stay zero.
    EXPECT_EQ(Feed(Fix(0x11, 0x00, 0, 0, 16384)), 1);
    EXPECT_EQ(PosText(), "pos 0,0 head 1800 speed 0 date 0 time 0 sats 0/0 dop 0,0,0 fix 0 alt 0 mode 6");
    EXPECT_EQ(Eng().wDRHeading, 900);
    EXPECT_EQ(Eng().ucStatusBits2, 0);

    // (0, 0) is never datum-shifted.
    mgr.Initialize(1, 0, 2);
    Feed(Fix(0x15, 0, 0, 0, 0));
    EXPECT_EQ(pt::Text("%d,%d", Get(mgr, &CPositionMgr::GetPosData).lLon, Get(mgr, &CPositionMgr::GetPosData).lLat), "0,0");
    EXPECT_TRUE(log.Take().empty());
}

TEST_F(Actions, GpsFixSetsFixStateAndEndsTheFixTimeMeasurement)
{
    unsigned char kind = 0;
    unsigned long ms = 12345;
    EXPECT_EQ(mgr.GetZelkoResetTime(kind, ms), 0);  // nothing measured yet
    mgr.StartMeasureFixTime(2);
    const struct { uint8_t modeByte; size_t len; int fixState, fixValid, measured; } steps[] = {
        {0x45, 33, 2, 0, 0}, {0x11, 43, 4, 1, 0}, {0x51, 43, 3, 1, 1}, {0x05, 33, 2, 0, 1}};
    for (const auto& s : steps) {
        Feed(GpsFix(s.modeByte, 16384, s.len));
        EXPECT_EQ(Eng().ucFixState, s.fixState);
        EXPECT_EQ(Get(mgr, &CPositionMgr::GetPosData).ucFixValid, s.fixValid);
        EXPECT_EQ(Get(mgr, &CPositionMgr::GetZelkoStatusData).ucFixMode, s.modeByte & 0x3F);
        EXPECT_EQ(mgr.GetZelkoResetTime(kind, ms), s.measured);
    }
    EXPECT_EQ(kind, 2);
    EXPECT_LT(ms, 5000u);

    EXPECT_EQ(PosText(), "pos 0,0 head 0 speed 0 date 0 time 0 sats 0/0 dop 0,0,0 fix 0 alt 0 mode 0");
}

TEST_F(Actions, TimeAndConstellationSummary)
{
    Feed(Time());  // 13 satellites reported
    EXPECT_EQ(PosText(), "pos 0,0 head 0 speed 0 date 150324 time 123456000 sats 12/12 dop 10,20,30 fix 0 alt 0 mode 0");
    EXPECT_EQ(LowText(), "pos 0,0 quality 3 dop 20,30 raw 0 head 0 alt 0 2024-3-15 12:34:56");
    EXPECT_EQ(Describe(Eng()), "gps 0,0 dr 0,0 head 0/0 speed 0/0 fix 0 bits 00/00 angle 360,360/0 dop 20,10,20 "
                               "2024-3-15 12:34:56");
    EXPECT_EQ(Get(mgr, &CPositionMgr::GetZelkoTimeData).wYear, 2024);
    EXPECT_EQ(Get(mgr, &CPositionMgr::GetZelkoStatusData).ucFixKind, 7);
}

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

TEST_F(Actions, ReportsAcknowledgementsAndEvents)
{
    EXPECT_EQ(mgr.CheckGetZelkoVer(0), 0);
    Feed({0x81, 0x11, 0x01, 0x00, 0x00, 0x01, 0, 0, 0, 0, 0, 0x82});
    for (unsigned char which = 0; which < 5; ++which) EXPECT_EQ(mgr.CheckGetZelkoVer(which), which != 2 && which != 4);

    Bytes product = ZelkoBlankFrame(0x12, 0x03, 29);
    ZelkoPutLE<uint32_t>(&product[3], 0x12345678);
    product[7] = 1;
    product[8] = 2;
    ZelkoPutLE<uint16_t>(&product[9], 772);
    std::memcpy(&product[11], "ZELKO-DR-MODULE1", 16);  // a full-length name has no terminator
    Feed(product);
    std::memcpy(&product[11], "DR7\0\0\0\0\0\0\0\0\0\0\0\0\0", 16);
    Feed(product);
    Bytes hardware = ZelkoBlankFrame(0x12, 0x04, 21);
    std::memcpy(&hardware[3], "HW-REV-B", 8);
    Feed(hardware);
    Feed({0x81, 0x10, 0x02, 0x12, 0x03, 0x05, 0x01, 0x00, 0x82});
    Feed({0x81, 0x10, 0x03, 0x07, 0x00, 0x00, 0x82});
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Dbg][ZelkoVerReport] App 0.0.1\n",
                                     "[MM-Dbg][ProductReport] 305419896, ZELKO-DR-MODULE1(772.2.1)\n",
                                     "[MM-Dbg][ProductReport] 305419896, DR7(772.2.1)\n",
                                     "[MM-Dbg][HardwareReport] HW-REV-B\n",
                                     "[MM-Dbg][CPositionMgr::ParsingZelko] Index Ack : Code(0x12), SubCode(0x3), Idx(0x5), State(1)\n",
                                     "[MM-Dbg][CPositionMgr::ParsingZelko] System Ack : SysCmd(0x7), State(0)\n"}));
    const _mGPSDREngineerInfo e = Eng();
    EXPECT_EQ(pt::Text("%u.%u.%u %c%c%c%u", e.ucProductVer1, e.ucProductVer2, e.wProductVer3, e.wszProductName[0],
                       e.wszProductName[1], e.wszProductName[2], e.wszProductName[3]),
              "1.2.772 DR70");

    // Event levels land in 3-bit fields of the diagnosis word.
    const struct { uint8_t event, severity; uint16_t word; } events[] = {{0x62, 0x10, 02}, {0x92, 0x30, 040002}, {0x65, 0x20, 040302}, {0x65, 0x05, 040002},
                  {0x74, 0x00, 041002}, {0x63, 0x30, 041042}, {0x70, 0x30, 041042}};
    for (const auto& ev : events) {
        Bytes f = ZelkoBlankFrame(0x14, 0x01, 15);
        f[11] = ev.event;
        f[12] = ev.severity;
        Feed(f);
        EXPECT_EQ(Get(mgr, &CPositionMgr::GetGPSDRDiagnosisData).wEventLevels, ev.word);
    }
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
    const Bytes fix = ZelkoStuff(ZelkoSeal(Fix(0x15, 0, 1u << 29, 1u << 30, 0)));
    pt::Feed(mgr, Bytes(fix.begin(), fix.begin() + 3));
    mgr.Initialize(1, 2, 2);
    EXPECT_EQ(pt::Feed(mgr, Bytes(fix.begin() + 3, fix.end())), 1);
    const _mGpsDataEx p = Get(mgr, &CPositionMgr::GetPosData);
    EXPECT_EQ(pt::Text("%d,%d", p.lLon, p.lLat), pt::Text("%d,%d", 90 * 3686400, 45 * 3686400));
}

}  // namespace
