// Ready-made inputs (raw records, FS records) and the offset transform of a position.
#include <tuple>

#include "module/geo/OffsetTransform.h"
#include "tests/position/PositionTestSupport.h"

namespace {

using pt::Get;
using Bytes = ZelkoBytes;

// 127 E, 37.5 N in 1/1024 arc-second, and a filled reserved tail.
const _mGpsDataEx kSample = {468172800, 138240000, 1234, 567, 150324, 123456000, 7, 9, 11, 22, 33, 0, 1, 40, 8, {0x5A}};

Bytes Image(const _mGpsDataEx& p)
{
    return Bytes(reinterpret_cast<const unsigned char*>(&p), reinterpret_cast<const unsigned char*>(&p + 1));
}

class Inputs : public ::testing::Test {
protected:
    void SetUp() override
    {
        mgr.Initialize(3, 1, 2);
        // Module-side state that the inputs must clear or keep: version, product, gyro.
        Bytes product = ZelkoBlankFrame(0x12, 0x03, 29);
        product[7] = 9;
        product[11] = 'P';
        pt::FeedFrame(mgr, {0x81, 0x11, 0x01, 0x02, 0x03, 0x04, 0, 0, 0, 0, 0, 0x82});
        pt::FeedFrame(mgr, product);
        pt::FeedFrame(mgr, ZelkoSampleDRSensor(1, 1, 2858, 0));
        log.Clear();
    }

    _mGpsDataEx Pos() { return Get(mgr, &CPositionMgr::GetPosData); }
    _mGPSDREngineerInfo Eng() { return Get(mgr, &CPositionMgr::GetEngineeringModeData); }

    testsupport::LogCapture log;
    CPositionMgr mgr;
};

TEST_F(Inputs, RawRecordsReplaceThePositionAndRebuildTheEngineeringRecord)
{
    _mGpsDataEx in = kSample;
    ASSERT_EQ(mgr.ParsingGpsStruct(reinterpret_cast<char*>(&in), 36), 1);
    EXPECT_EQ(Image(Pos()), Image(kSample));
    // Calendar-structure date on purpose: years since 1900, months from 0.
    EXPECT_EQ(pt::Describe(Eng()), "gps 468172800,138240000 dr 0,0 head 1234/0 speed 567/0 fix 4 bits 00/04 "
                                   "angle 360,360/0 dop 22,11,33 124-2-15 12:34:56");
    // The module's version survives; product identity and gyro record do not.
    const _mGPSDREngineerInfo e = Eng();
    EXPECT_EQ(pt::Text("%u.%u.%u %u %u", e.ucAppVerMajor, e.ucAppVerMinor, e.ucAppVerPatch, e.ucProductVer1,
                       e.wszProductName[0]),
              "2.3.4 0 0");
    const _mGPSDREngineerInfoEx ex = Get(mgr, &CPositionMgr::GetEngineeringModeDataEx);
    EXPECT_EQ(pt::Text("%d %d", ex.sGyroHeading, ex.lGyroRate), "0 0");

    // The 32-byte earlier form has no altitude and position mode; the reserved tail stays.
    in.ucFixValid = 0;
    in.lLon = 1;
    in.ucReserved2[0] = 0x11;
    ASSERT_EQ(mgr.ParsingGpsStruct(reinterpret_cast<char*>(&in), 32), 1);
    _mGpsDataEx expect = in;
    expect.sAltitude = 0;
    expect.ucPosMode = 0;
    expect.ucReserved2[0] = 0x5A;
    EXPECT_EQ(Image(Pos()), Image(expect));
    EXPECT_EQ(Eng().ucFixState, 2);
    EXPECT_EQ(Eng().ucStatusBits2, 0);
    EXPECT_TRUE(log.Take().empty());

    for (unsigned short len : {35, 37}) EXPECT_EQ(mgr.ParsingGpsStruct(reinterpret_cast<char*>(&in), len), 0);
    EXPECT_EQ(Image(Pos()), Image(expect));
    EXPECT_EQ(log.Take(), pt::Lines({"[MM-Err][CPositionMgr::ParsingGpsStruct] GpsDataEx size is not same! Input(35), Varnex(36)\n",
                                     "[MM-Err][CPositionMgr::ParsingGpsStruct] GpsDataEx size is not same! Input(37), Varnex(36)\n"}));
    EXPECT_EQ(mgr.ParsingGpsStruct(nullptr, 36), 0);
}

TEST_F(Inputs, FsRecordsCarryBothSolutions)
{
    _mGpsDataEx before = kSample;
    mgr.SetPosData(&before);
    unsigned char fs[123] = {};
    auto set = [&fs](size_t at, auto v) { std::memcpy(fs + at, &v, sizeof v); };
    auto heading = [&fs] { int32_t h; std::memcpy(&h, fs + 88, sizeof h); return h; };
    char* record = reinterpret_cast<char*>(fs);
    const double coordinates[] = {1270000000.0, 375000000.0, 123.9, -1.5, 1275000000.0, 372500000.0, 0, 10.0};
    for (int i = 0; i < 8; ++i) set(8 + 8 * i, coordinates[i]);
    set(72, int16_t{-7});
    set(74, 'A');
    set(88, int32_t{-5});
    set(92, 'F');
    set(116, uint16_t{2024});
    const unsigned char when[] = {3, 15, 12, 34, 56};
    std::memcpy(fs + 118, when, sizeof when);
    ASSERT_EQ(mgr.ParsingFS(record, sizeof fs), 1);

    // The DR solution is the position; satellites and the first two DOP values are not FS data.
    EXPECT_EQ(pt::Describe(Pos()), "pos 45900000,13410000 head 3595 speed 36 date 150324 time 123456000 sats 7/9 "
                                   "dop 11,22,0 fix 1 alt -7 mode 6");
    EXPECT_EQ(heading(), 3595);  // written back into the caller's record
    // Four-digit year here, unlike the raw-record input; -1.5 truncates to unsigned 16 bits.
    EXPECT_EQ(pt::Describe(Eng()), "gps 45720000,13500000 dr 45900000,13410000 head 123/3595 speed -1/36 fix 4 "
                                   "bits 00/00 angle 360,360/0 dop 22,11,0 2024-3-15 12:34:56");

    // One correction only: 3600 becomes 0, 7300 stays out of range.
    set(74, 'V');
    set(92, 'D');
    for (auto h : {std::make_pair(3600, 0), std::make_pair(7300, 3700), std::make_pair(3599, 3599)}) {
        set(88, int32_t{h.first});
        mgr.ParsingFS(record);
        EXPECT_EQ(heading(), h.second);
        EXPECT_EQ(Pos().wHeading, h.second);
    }
    EXPECT_EQ(Pos().ucFixValid, 0);
    EXPECT_EQ(Eng().ucStatusBits2, 0x04);

    fs[36] = 11;
    EXPECT_EQ(mgr.ParsingFSSat(record), 1);
    EXPECT_EQ(Pos().ucSatUsed, 11);
    EXPECT_EQ(mgr.ParsingFS(nullptr) + mgr.ParsingFSSat(nullptr), 0);
}

TEST_F(Inputs, OffsetTransformOfThePosition)
{
    _mGpsDataEx in = kSample, out;

    // The transform keeps process-wide state; replay it from the same start to know its answer.
    const auto state = std::make_tuple(casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f);
    unsigned int x = 0, y = 0;
    ASSERT_EQ(wgtochina_lb(1, static_cast<unsigned>(in.lLon), static_cast<unsigned>(in.lLat), in.sAltitude, 0,
                           static_cast<unsigned>(in.lTime), &x, &y),
              0);
    std::tie(casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f) = state;
    ASSERT_EQ(mgr.ConVConvert(&in, &out, 0), 1);
    _mGpsDataEx expect = in;
    expect.lLon = static_cast<int32_t>(x * 0.0009765625 * 100.0);
    expect.lLat = static_cast<int32_t>(y * 0.0009765625 * 100.0);
    EXPECT_EQ(Image(out), Image(expect));
    EXPECT_NEAR(out.lLon, 127 * 360000, 360000 / 50);  // some hundreds of metres away

    // A zero coordinate passes unconverted; a rejected transform leaves an all-zero record.
    for (int32_t _mGpsDataEx::*axis : {&_mGpsDataEx::lLon, &_mGpsDataEx::lLat}) {
        _mGpsDataEx zero = in;
        zero.*axis = 0;
        EXPECT_EQ(mgr.ConVConvert(&zero, &out, 0), 0);
        EXPECT_EQ(Image(out), Image(zero));
    }
    in.sAltitude = 5001;
    EXPECT_EQ(mgr.ConVConvert(&in, &out, 0), 0);
    EXPECT_EQ(Image(out), Bytes(36, 0));

    out.lLon = 42;
    EXPECT_EQ(GetGpsData(nullptr, &out), 0);
    EXPECT_EQ(out.lLon, 42);
}

}  // namespace
