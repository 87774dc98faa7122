// Ready-made inputs (raw records, FS records) and the offset transform of a position.
#include <cstring>
#include <tuple>

#include "module/geo/OffsetTransform.h"
#include "module/position/PositionMgr.h"
#include "tests/position/PositionTestSupport.h"

namespace {

using zf::Bytes;

class Inputs : public ::testing::Test {
protected:
    void SetUp() override
    {
        mgr.Initialize(3, 1, 2);
        // Module-side state that the inputs must clear or keep: version, product, gyro.
        Bytes product = zf::Blank(0x12, 0x03, 29);
        product[7] = 9;
        product[11] = 'P';
        const Bytes frames[] = {zf::Seal({0x81, 0x11, 0x01, 0x02, 0x03, 0x04, 0, 0, 0, 0, 0, 0x82}), zf::Seal(product),
                                zf::DRSensor(1, 1, 2858, 0)};
        for (const Bytes& f : frames) {
            std::vector<char> c = pt::Chars(zf::Stuff(f));
            mgr.ParsingZelko(c.data(), static_cast<unsigned short>(c.size()));
        }
        traces.Take();
    }

    _mGpsDataEx Pos()
    {
        _mGpsDataEx p;
        mgr.GetPosData(&p);
        return p;
    }
    _mGPSDREngineerInfo Eng()
    {
        _mGPSDREngineerInfo e;
        mgr.GetEngineeringModeData(&e);
        return e;
    }

    static _mGpsDataEx Sample()
    {
        _mGpsDataEx p = {};
        p.lLon = 468172800;  // 127 E in 1/1024 arc-second
        p.lLat = 138240000;  // 37.5 N
        p.wHeading = 1234;
        p.sSpeed = 567;
        p.lDate = 150324;
        p.lTime = 123456000;
        p.ucSatUsed = 7;
        p.ucSatView = 9;
        p.sDop1 = 11;
        p.sDop2 = 22;
        p.sDop3 = 33;
        p.ucFixValid = 1;
        p.sAltitude = 40;
        p.ucPosMode = 8;
        p.ucReserved2[0] = 0x5A;
        return p;
    }

    static void ExpectSameBytes(const _mGpsDataEx& a, const _mGpsDataEx& b)
    {
        EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a));
    }

    pt::Traces traces;
    CPositionMgr mgr;
};

TEST_F(Inputs, RawRecordsReplaceThePositionAndRebuildTheEngineeringRecord)
{
    _mGpsDataEx in = Sample();
    ASSERT_EQ(mgr.ParsingGpsStruct(reinterpret_cast<char*>(&in), 36), 1);
    ExpectSameBytes(Pos(), in);
    // Calendar-structure date on purpose: years since 1900, months from 0.
    EXPECT_EQ(pt::Describe(Eng()), "gps 468172800,138240000 dr 0,0 head 1234/0 speed 567/0 fix 4 bits 00/04 "
                                   "angle 360,360/0 dop 22,11,33 124-2-15 12:34:56");
    // The module's version survives; product identity and gyro record do not.
    const _mGPSDREngineerInfo e = Eng();
    EXPECT_EQ(pt::Text("%u.%u.%u %u %u", e.ucAppVerMajor, e.ucAppVerMinor, e.ucAppVerPatch, e.ucProductVer1,
                       e.wszProductName[0]),
              "2.3.4 0 0");
    _mGPSDREngineerInfoEx ex;
    mgr.GetEngineeringModeDataEx(&ex);
    EXPECT_EQ(ex.sGyroHeading + ex.lGyroRate, 0);

    // The 32-byte earlier form has no altitude and position mode; the reserved tail stays.
    in.ucFixValid = 0;
    in.lLon = 1;
    in.ucReserved2[0] = 0x11;
    ASSERT_EQ(mgr.ParsingGpsStruct(reinterpret_cast<char*>(&in), 32), 1);
    _mGpsDataEx expect = in;
    expect.sAltitude = 0;
    expect.ucPosMode = 0;
    expect.ucReserved2[0] = 0x5A;
    ExpectSameBytes(Pos(), expect);
    EXPECT_EQ(Eng().ucFixState, 2);
    EXPECT_EQ(Eng().ucStatusBits2, 0);
    EXPECT_TRUE(traces.Take().empty());

    for (unsigned short len : {35, 37}) {
        EXPECT_EQ(mgr.ParsingGpsStruct(reinterpret_cast<char*>(&in), len), 0);
        ExpectSameBytes(Pos(), expect);
    }
    EXPECT_EQ(traces.Take(), pt::Lines({"[MM-Err][CPositionMgr::ParsingGpsStruct] GpsDataEx size is not same! Input(35), Varnex(36)\n",
                                        "[MM-Err][CPositionMgr::ParsingGpsStruct] GpsDataEx size is not same! Input(37), Varnex(36)\n"}));
    EXPECT_EQ(mgr.ParsingGpsStruct(nullptr, 36), 0);
}

struct FsRecord {
    unsigned char b[123] = {};
    template <class T>
    void Set(size_t at, T v)
    {
        std::memcpy(b + at, &v, sizeof v);
    }
    int32_t Heading() const
    {
        int32_t h;
        std::memcpy(&h, b + 88, sizeof h);
        return h;
    }
    char* data() { return reinterpret_cast<char*>(b); }
};

TEST_F(Inputs, FsRecordsCarryBothSolutions)
{
    _mGpsDataEx before = Sample();
    mgr.SetPosData(&before);
    FsRecord fs;
    const double coordinates[] = {1270000000.0, 375000000.0, 123.9, -1.5, 1275000000.0, 372500000.0};
    for (int i = 0; i < 6; ++i) fs.Set(8 + 8 * i, coordinates[i]);
    fs.Set(64, 10.0);
    fs.Set<int16_t>(72, -7);
    fs.Set(74, 'A');
    fs.Set<int32_t>(88, -5);
    fs.Set(92, 'F');
    fs.Set<uint16_t>(116, 2024);
    const unsigned char when[] = {3, 15, 12, 34, 56};
    std::memcpy(fs.b + 118, when, sizeof when);
    ASSERT_EQ(mgr.ParsingFS(fs.data(), sizeof fs.b), 1);

    // The DR solution is the position; satellites and the first two DOP values are not FS data.
    EXPECT_EQ(pt::Describe(Pos()), "pos 45900000,13410000 head 3595 speed 36 date 150324 time 123456000 sats 7/9 "
                                   "dop 11,22,0 fix 1 alt -7 mode 6");
    EXPECT_EQ(fs.Heading(), 3595);  // written back into the caller's record
    // Four-digit year here, unlike the raw-record input; -1.5 truncates to unsigned 16 bits.
    EXPECT_EQ(pt::Describe(Eng()), "gps 45720000,13500000 dr 45900000,13410000 head 123/3595 speed -1/36 fix 4 "
                                   "bits 00/00 angle 360,360/0 dop 22,11,0 2024-3-15 12:34:56");

    // One correction only: 3600 becomes 0, 7300 stays out of range.
    const struct {
        int32_t in;
        int32_t out;
    } headings[] = {{3600, 0}, {7300, 3700}, {3599, 3599}};
    fs.Set(74, 'V');
    fs.Set(92, 'D');
    for (const auto& h : headings) {
        fs.Set(88, h.in);
        mgr.ParsingFS(fs.data());
        EXPECT_EQ(fs.Heading(), h.out);
        EXPECT_EQ(Pos().wHeading, static_cast<uint16_t>(h.out));
    }
    EXPECT_EQ(Pos().ucFixValid, 0);
    EXPECT_EQ(Eng().ucStatusBits2, 0x04);

    fs.b[36] = 11;
    EXPECT_EQ(mgr.ParsingFSSat(fs.data()), 1);
    EXPECT_EQ(Pos().ucSatUsed, 11);
    EXPECT_EQ(mgr.ParsingFS(nullptr) + mgr.ParsingFSSat(nullptr), 0);
}

TEST_F(Inputs, OffsetTransformOfThePosition)
{
    _mGpsDataEx in = Sample();
    _mGpsDataEx out;

    // The transform keeps process-wide state; replay it from the same start to know its answer.
    const auto state = std::make_tuple(casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f);
    unsigned int x = 0, y = 0;
    ASSERT_EQ(wgtochina_lb(1, static_cast<unsigned>(in.lLon), static_cast<unsigned>(in.lLat), in.sAltitude, 0,
                           static_cast<unsigned>(in.lTime), &x, &y),
              0);
    std::tie(casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f) = state;
    ASSERT_EQ(mgr.ConVConvert(&in, &out, 0), 1);
    EXPECT_EQ(out.lLon, static_cast<int32_t>(x * 0.0009765625 * 100.0));
    EXPECT_EQ(out.lLat, static_cast<int32_t>(y * 0.0009765625 * 100.0));
    EXPECT_NEAR(out.lLon, 127 * 360000, 360000 / 50);  // some hundreds of metres away
    EXPECT_EQ(0, std::memcmp(&out.wHeading, &in.wHeading, sizeof in - offsetof(_mGpsDataEx, wHeading)));

    // A zero coordinate passes unconverted; a rejected transform leaves an all-zero record.
    for (int32_t _mGpsDataEx::*axis : {&_mGpsDataEx::lLon, &_mGpsDataEx::lLat}) {
        _mGpsDataEx zero = in;
        zero.*axis = 0;
        EXPECT_EQ(mgr.ConVConvert(&zero, &out, 0), 0);
        ExpectSameBytes(out, zero);
    }
    in.sAltitude = 5001;
    EXPECT_EQ(mgr.ConVConvert(&in, &out, 0), 0);
    ExpectSameBytes(out, _mGpsDataEx());

    out.lLon = 42;
    EXPECT_EQ(GetGpsData(nullptr, &out), 0);
    EXPECT_EQ(out.lLon, 42);
    EXPECT_EQ(mgr.ConVConvert(nullptr, &out, 0), 0);
}

}  // namespace
