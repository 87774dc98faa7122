// What one update cycle hands to Java, computed without the thread.
#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "jni/GpsDRInterface.h"

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

TEST(UpdateCycle, ArgumentsCarryDegreesSwappedDopsWholeDegreesAndTheNormalisedUtcText)
{
    const struct {
        int year, month, day, hour, minute, second;
        uint16_t heading;
        const char* text;
        int degrees;
    } rows[] = {
        {2021, 3, 15, 12, 34, 56, 3599, "20210315123456", 359},
        {2011, 1, 1, 0, 0, 0, 0, "20110101000000", 0},
        {2079, 12, 31, 23, 59, 59, 9, "20791231235959", 0},
        {2010, 12, 31, 23, 59, 59, 10, "00000000000000", 1},
        {2080, 1, 1, 0, 0, 0, 1800, "00000000000000", 180},
        {0, 0, 0, 0, 0, 0, 65535, "00000000000000", 0},   // no time from the module
        // Out-of-range fields roll over, across the window's edge too.
        {2021, 3, 15, 12, 34, 60, 65526, "20210315123500", -1},  // heading read as signed 16 bits
        {2021, 2, 29, 0, 0, 0, 32768, "20210301000000", -3276},
        {2010, 12, 31, 23, 59, 60, 1, "20110101000000", 0},
        // In summer the UTC fields, read as standard time, come back an hour later.
        {2021, 7, 15, 12, 0, 0, 0, "20210715130000", 0},
    };
    _mMMPosition pos{};
    pos.lLon = 45720000, pos.lLat = 13500000, pos.dLon = 45720000.0, pos.dLat = 13500000.0;
    for (const auto& r : rows) {
        pos.wHeading = r.heading;
        const _mGpsInfo info{0, 0, 0, 0, r.year, r.month, r.day, r.hour, r.minute, r.second,
                             0, 0, 0, 0, -12, 0, 9.0f, 12.9f, 0, 0};
        const SendGISArgs args = MakeSendGISArgs(pos, info);
        SCOPED_TRACE(r.text);
        const double fixed[] = {args.lat, args.lon, args.alt, double(args.a), double(args.b), double(args.reserved)};
        EXPECT_EQ((std::vector<double>(fixed, fixed + 6)), (std::vector<double>{37.5, 127.0, -12.0, 12, 9, 0}));
        EXPECT_EQ(r.degrees, args.heading) << r.heading;
        EXPECT_STREQ(r.text, args.time);
    }
}

}  // namespace
