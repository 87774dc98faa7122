// What one update cycle hands to Java, computed without the thread.
#include <cstdlib>
#include <ctime>
#include <string>

#include <gtest/gtest.h>

#include "jni/UpdateCycle.h"

namespace {

// Every test of this program runs in a zone with daylight saving time, so that the time text's
// mktime/localtime round trip shows what it does across a DST change.
class CentralEuropeanTime : public ::testing::Environment {
public:
    void SetUp() override
    {
        setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
        tzset();
    }
};
::testing::Environment* const g_zone = ::testing::AddGlobalTestEnvironment(new CentralEuropeanTime);

_mGpsInfo At(int year, int month, int day, int hour, int minute, int second)
{
    _mGpsInfo info{};
    info.lYear = year;
    info.lMonth = month;
    info.lDay = day;
    info.lHour = hour;
    info.lMinute = minute;
    info.lSecond = second;
    return info;
}

std::string Text(const _mGpsInfo& info)
{
    char text[GIS_TIME_TEXT_LEN + 1];
    MakeGISTimeText(info, text);
    return text;
}

TEST(UpdateCycle, TimeTextIsTheUtcTimeNormalisedInsideTheYearWindow)
{
    EXPECT_EQ("20210315123456", Text(At(2021, 3, 15, 12, 34, 56)));
    EXPECT_EQ("20110101000000", Text(At(2011, 1, 1, 0, 0, 0)));
    EXPECT_EQ("20791231235959", Text(At(2079, 12, 31, 23, 59, 59)));
    EXPECT_EQ("00000000000000", Text(At(2010, 12, 31, 23, 59, 59)));
    EXPECT_EQ("00000000000000", Text(At(2080, 1, 1, 0, 0, 0)));
    // Out-of-range fields roll over, across the window's edge too.
    EXPECT_EQ("20210315123500", Text(At(2021, 3, 15, 12, 34, 60)));
    EXPECT_EQ("20210301000000", Text(At(2021, 2, 29, 0, 0, 0)));
    EXPECT_EQ("20110101000000", Text(At(2010, 12, 31, 23, 59, 60)));
    // No time from the module: all six fields 0.
    EXPECT_EQ("00000000000000", Text(_mGpsInfo{}));
    // In summer the UTC fields, read as standard time, come back an hour later.
    EXPECT_EQ("20210715130000", Text(At(2021, 7, 15, 12, 0, 0)));
}

TEST(UpdateCycle, ArgumentsAreDegreesDopsInSwappedOrderAndWholeDegreesOfHeading)
{
    _mMMPosition pos{};
    pos.lLon = 45720000;
    pos.lLat = 13500000;
    pos.dLon = 45720000.0;
    pos.dLat = 13500000.0;
    pos.wHeading = 3599;
    _mGpsInfo info = At(2024, 3, 15, 9, 30, 1);
    info.lAltitude = -12;
    info.fDop1 = 9.0f;
    info.fDop2 = 12.9f;

    SendGISArgs args = MakeSendGISArgs(pos, info);
    EXPECT_EQ(37.5, args.lat);
    EXPECT_EQ(127.0, args.lon);
    EXPECT_EQ(-12.0, args.alt);
    EXPECT_EQ(12, args.a);
    EXPECT_EQ(9, args.b);
    EXPECT_EQ(359, args.heading);
    EXPECT_EQ(0, args.reserved);
    EXPECT_STREQ("20240315093001", args.time);

    // The heading is read as signed 16 bits and truncated toward zero.
    const struct {
        uint16_t raw;
        int degrees;
    } headings[] = {{0, 0}, {9, 0}, {10, 1}, {1800, 180}, {65535, 0}, {65526, -1}, {32768, -3276}};
    for (const auto& h : headings) {
        pos.wHeading = h.raw;
        EXPECT_EQ(h.degrees, MakeSendGISArgs(pos, info).heading) << h.raw;
    }

    // Nothing published and no time: zeros and the zero text, as the first cycles send.
    SendGISArgs empty = MakeSendGISArgs(_mMMPosition{}, _mGpsInfo{});
    EXPECT_EQ(0.0, empty.lat);
    EXPECT_EQ(0.0, empty.lon);
    EXPECT_STREQ("00000000000000", empty.time);
}

}  // namespace
