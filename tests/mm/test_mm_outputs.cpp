// Inputs pushed in by a caller, the matching step, and the read operations.
#include <sys/time.h>

#include <cmath>
#include <cstring>

#include "tests/mm/MMTestSupport.h"
#include "tools/common/Format.h"

namespace {

_mGpsDataEx Record(double lonDeg, double latDeg, uint16_t heading = 1234)
{
    const double unitsPerDegree = 3686400.0;  // the manager's coordinate-unit kind 2
    // lon, lat, heading, speed, date, time, then no satellites, DOP, fix or altitude
    return {static_cast<int32_t>(lonDeg * unitsPerDegree), static_cast<int32_t>(latDeg * unitsPerDegree), heading, 567,
            150324, 123456000, 0, 0, 0, 0, 0, 0, 0, 0, 0, {}};
}

std::string ClockText(time_t t, const char* format = "%Y%m%d_%H%M%S")  // the device clock as the time text shows it
{
    tm local = {};
    char buf[32];
    strftime(buf, sizeof buf, format, localtime_r(&t, &local));
    return buf;
}

}  // namespace

TEST_F(MMCaller, PublicationWaitsForTheModuleAndGoesThroughTheOffsetTransform)
{
    Kind(MM_DATAKIND_GPSDATAEX);
    const _mGpsDataEx inside = Record(127.0, 37.5);
    EXPECT_EQ(Push(inside), 1);
    int status = 0;
    _mMMPosition pub = Published(&status);
    EXPECT_EQ(status, 3);
    // Shifted by some hundreds of metres, and now in 1/100 arc-second.
    const double dLon = pub.lLon - 127.0 * 360000, dLat = pub.lLat - 37.5 * 360000;
    EXPECT_GT(std::fabs(dLon) + std::fabs(dLat), 10.0);
    EXPECT_LT(std::fabs(dLon) + std::fabs(dLat), 3600.0);
    EXPECT_EQ(pub.dLon, pub.lLon);
    EXPECT_EQ(pub.dLat, pub.lLat);
    EXPECT_EQ(pub.wHeading * 1000 + pub.sSpeed, 1234567);
    EXPECT_EQ(pub.lMatchIndex[0] & pub.lMatchIndex[1], -1);
    EXPECT_EQ(pub.ucValid * 100 + pub.ucMatchState * 10 + pub.ucStatusFlag, 130);
    _mMMPosition cur = Published(&status, 0);
    EXPECT_EQ(status, 3);
    EXPECT_EQ(std::memcmp(&cur, &pub, sizeof pub), 0);
    _mGpsDataEx copy;
    EXPECT_EQ(s_mm->GetGPSData(&copy), 1);
    EXPECT_EQ(std::memcmp(&copy, &inside, sizeof copy), 0);

    // The module's fix is published only once the module sets its ready flag.
    Kind(MM_DATAKIND_ZELKO);
    EXPECT_EQ(Push(mmt::Fix(0x14, 127.0, 37.5, 0x1000)), 1);  // DR heading valid, not ready
    EXPECT_EQ(s_mm->DoMapMatching(), 0);
    EXPECT_EQ(s_mm->GetGPSData(&copy), 1);
    EXPECT_EQ(copy.wHeading, 225);  // 22.5 degrees
    EXPECT_EQ(Published().wHeading, 1234);
    EXPECT_EQ(Push(mmt::Fix(0x15, 127.0, 37.5, 0x1000)), 1);
    EXPECT_EQ(Published().wHeading, 225);
    EXPECT_NEAR(Published().lLon, pub.lLon, 10);  // transformed like the record above

    // A zero longitude is published as it came, untransformed.
    Kind(MM_DATAKIND_GPSDATAEX);
    EXPECT_EQ(Push(Record(0.0, 37.5)), 1);
    pub = Published();
    EXPECT_EQ(pub.lLon, 0);
    EXPECT_EQ(pub.lLat, Record(0.0, 37.5).lLat);

    // Outside the transform's region the conversion fails: an all-zero position, still valid.
    EXPECT_EQ(Push(Record(10.0, 50.0)), 1);
    pub = Published(&status);
    EXPECT_EQ(status, 3);
    EXPECT_EQ(pub.lLon | pub.lLat | pub.wHeading | pub.sSpeed, 0);
    EXPECT_EQ(pub.ucValid, 1);

    // A refused record publishes nothing.
    mmt::LogCapture log;
    EXPECT_EQ(Push(inside, 35), 0);
    EXPECT_EQ(log.Take(), std::vector<std::string>{"[MM-Err][CPositionMgr::ParsingGpsStruct] GpsDataEx size is not "
                                                   "same! Input(35), Varnex(36)\n"});
    EXPECT_EQ(Published().sSpeed, 0);
}

TEST_F(MMCaller, ModuleTimeRecordTimeAndDeviceClock)
{
    Push(mmt::Fix(0x15, 127.0, 37.5, 0x2000, 0));  // the module has delivered no time yet
    Push(ZelkoStuff(ZelkoSampleTimeConstel(2024, 3, 15, 12, 34, 56, 5)));
    _SYSTEMTIME st;
    std::memset(&st, 0xAA, sizeof st);
    EXPECT_EQ(s_mm->GetGPSTime(&st, 0), 0);
    EXPECT_EQ(st.wYear | st.wMonth, 0);
    unsigned short text[1024];
    const auto Text = [&] { return std::string(text, std::find(text, text + 1024, 0)); };
    const time_t before = time(nullptr);
    EXPECT_EQ(s_mm->GetCurTimeString(text, 0), 1);  // falls back to the device clock
    EXPECT_TRUE(Text() == ClockText(before) || Text() == ClockText(time(nullptr))) << Text();

    Push(mmt::Fix(0x15, 127.0, 37.5, 0x2000, 77));
    EXPECT_EQ(s_mm->GetGPSTime(&st, 0), 1);
    const _SYSTEMTIME module = {2024, 3, 15, 15, 12, 34, 56, 0};  // the day stands in for the weekday
    EXPECT_EQ(std::memcmp(&st, &module, sizeof st), 0);
    EXPECT_EQ(s_mm->GetCurTimeString(text, 0), 1);
    EXPECT_EQ(Text(), "20240315_123456");

    // Other kinds read the record's date and time as standard local time, rolled over alike on
    // every target past 2038: a summer Monday comes back an hour later; a second 60 that ends
    // the year 2040.
    Kind(MM_DATAKIND_GPSDATAEX);
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    _mGpsDataEx rec = Record(0.0, 0.0);
    const struct {
        int32_t date, time;
        _SYSTEMTIME st;
    } dates[] = {{150724, 123456000, {2024, 7, 1, 15, 13, 34, 56, 0}}, {311240, 235960000, {2041, 1, 2, 1, 0, 0, 0, 0}}};
    for (const auto& d : dates) {
        rec.lDate = d.date, rec.lTime = d.time;
        Push(rec);
        EXPECT_EQ(s_mm->GetGPSTime(&st, 0), 1);
        EXPECT_EQ(std::memcmp(&st, &d.st, sizeof st), 0) << d.date;
    }
    rec.lDate = 0;
    Push(rec);
    EXPECT_EQ(s_mm->GetGPSTime(&st, 0), 0);

    // The device clock needs no position data and gives the device's own local time, in a zone
    // where daylight saving is always in effect.
    setenv("TZ", "XST-10XDT,0/0,J365/25", 1);
    tzset();
    timeval t0{}, t1{1, 0};
    int got = 0;
    while (t0.tv_sec != t1.tv_sec)  // read within one second
        gettimeofday(&t0, nullptr), got = s_mm->GetGPSLocalTime(&st), gettimeofday(&t1, nullptr);
    EXPECT_EQ(got, 1);
    EXPECT_EQ(Format("%04d%02d%02d %d %02d%02d%02d", st.wYear, st.wMonth, st.wDay, st.wDayOfWeek, st.wHour, st.wMinute,
                     st.wSecond),
              ClockText(t0.tv_sec, "%Y%m%d %w %H%M%S"));
    setenv("TZ", "UTC", 1);
    tzset();
}

TEST_F(MMCaller, SatelliteCopyRules)
{
    // Three satellites fill the table's first entries; the third is not used in the fix.
    Push(ZelkoStuff(ZelkoSampleChannelMeas(3, 40, 40, 40, 0x04)));
    Push(ZelkoStuff(ZelkoSampleChannelMeas(7, 40, 40, 40, 0x10)));
    Push(ZelkoStuff(ZelkoSampleChannelMeas(9, 40, 40, 40, 0x00)));
    _mSatelView views[MM_SATEL_MAX];
    int count = -1;
    Push(ZelkoStuff(ZelkoSampleTimeConstel(2024, 3, 15, 12, 34, 56, 2)));  // two in view: the first two entries
    EXPECT_EQ(s_mm->GetSatelData(views, count), 1);
    ASSERT_EQ(count, 2);
    EXPECT_EQ(views[0].wSatID * 100 + views[1].wSatID, 307);

    Push(ZelkoStuff(ZelkoSampleTimeConstel(2024, 3, 15, 12, 34, 56, 0)));  // none in view: every valid entry
    EXPECT_EQ(s_mm->GetSatelData(views, count), 1);
    ASSERT_EQ(count, 3);
    EXPECT_EQ(views[2].wSatID, 9);

    _mGpsDataEx ex = {};
    ex.ucSatView = 3;
    EXPECT_EQ(s_mm->GetSatelCount(&ex), 2);
    ex.ucSatView = 1;
    EXPECT_EQ(s_mm->GetSatelCount(&ex), 1);
}

TEST_F(MMCaller, FactoryModeHeadingFilterAndPassThroughRecords)
{
    Kind(MM_DATAKIND_GPSDATAEX);
    Push(Record(0.0, 37.5, 900));  // published unconverted, heading kept
    ASSERT_EQ(Published().wHeading, 900);

    mmt::LogCapture log;
    EXPECT_EQ(s_mm->SetZelkoEngFactoryMode(1), 1);  // no data-kind check, unlike the other commands
    EXPECT_EQ(log.Take(),
              std::vector<std::string>{"[MM-Dbg][CPositionMgr::SetFactoryMode] Factory Mode Request!!!! (1)\n"});
    EXPECT_EQ(Published().wHeading, 0);  // the gyro heading, still 0 on this module
    EXPECT_EQ(Published(nullptr, 0).wHeading, 900);  // never on the current record
    s_mm->SetZelkoEngFactoryMode(0);
    EXPECT_EQ(Published().wHeading, 900);

    // The heading filter (module protocol only) holds back turns of up to 3.0 degrees.
    Kind(MM_DATAKIND_ZELKO);
    s_mm->DispHeadingFilter(1);  // remembers 900
    const struct {
        uint16_t heading;
        char hold;
        uint16_t shown;
    } steps[] = {{930, 1, 900}, {931, 1, 931}, {3590, 1, 3590}, {10, 1, 3590}, {20, 0, 20}};
    for (const auto& step : steps) {
        Kind(MM_DATAKIND_GPSDATAEX);
        Push(Record(0.0, 37.5, step.heading));
        Kind(MM_DATAKIND_ZELKO);
        s_mm->DispHeadingFilter(step.hold);
        EXPECT_EQ(Published().wHeading, step.shown) << step.heading;
    }

    // The low-level record carries the coordinate-unit kind, and only for the module's kind.
    _mZelkoLowDataInfo low;
    std::memset(&low, 0xAA, sizeof low);
    EXPECT_EQ(s_mm->GetZelkoLowInfo(&low), 1);
    EXPECT_EQ(low.wUnitKind, 2);
    Kind(MM_DATAKIND_GPSDATAEX);
    EXPECT_EQ(s_mm->GetZelkoLowInfo(&low), 0);
    int count = 0;  // and every getter refuses a null record
    EXPECT_EQ(s_mm->GetGPSTime(nullptr, 0) + s_mm->GetGPSData(nullptr) + s_mm->GetSatelData(nullptr, count) +
                  s_mm->GetSatelCount(nullptr) + s_mm->GetGPSDRDiagnosisData(nullptr) +
                  s_mm->GetGPSDREngineerInfo(nullptr) + s_mm->GetGPSDREngineerInfoEx(nullptr) +
                  s_mm->GetZelkoLowInfo(nullptr),
              0);
}
