#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "module/geo/MMUtility.h"

namespace {

TEST(GeoUnits, DescribedConversions)
{
    tagLonLatDMS dms{};
    CMMUtility::LonLatToDMS(-360050, 0, &dms);
    EXPECT_EQ(dms.lonDegree, -1);
    EXPECT_EQ(dms.lonMinute, 0);
    EXPECT_EQ(dms.lonSecond, -0.5);

    _mLonLat p = CMMUtility::DegreeToLonLat(127.5, 37.25);
    EXPECT_EQ(p.lLon, 45900000);
    EXPECT_EQ(p.lLat, 13410000);
    double lon = 0, lat = 0;
    CMMUtility::LonLatToDegree(p.lLon, p.lLat, &lon, &lat);
    EXPECT_EQ(lon, 127.5);
    EXPECT_EQ(lat, 37.25);
    EXPECT_EQ(CMMUtility::DegreeToLonLat(-1.5, 0.0).lLon, -540000);

    EXPECT_EQ(CMMUtility::ChangeLonLatUnitstoDegree(1073741824, 0).lLon, 32400000);
    // The module value is 32-bit: bit 31 set means west even where long is 64 bits wide.
    EXPECT_EQ(CMMUtility::ChangeLonLatUnitstoDegree(static_cast<long>(0x80000000u), 0).lLon, -64800000);
    EXPECT_EQ(CMMUtility::ChangeLonLatUnits(2, -1073741824, 1073741824).lLon, 0);
    EXPECT_EQ(CMMUtility::ChangeLonLatUnits(2, -1073741824, 1073741824).lLat, 331776000);
    tagLonLatDouble tokyo = CMMUtility::Wgs84ToTokyo(90.0, 45.0);
    _mLonLat viaTokyo = CMMUtility::DegreeToLonLat(tokyo.dLon, tokyo.dLat);
    _mLonLat kind0 = CMMUtility::ChangeLonLatUnits(0, 1073741824, 536870912);
    EXPECT_EQ(kind0.lLon, viaTokyo.lLon);
    EXPECT_EQ(kind0.lLat, viaTokyo.lLat);
    EXPECT_EQ(CMMUtility::ChangeLonLatUnits(1, 1073741824, 536870912).lLat, 16200000);

    EXPECT_EQ(CMMUtility::ChangeHeadUnits(32768), 1800);
    EXPECT_EQ(CMMUtility::ChangeHeadUnits(65535), 3599);
    EXPECT_EQ(CMMUtility::ChangeSpeedUnits(1000), 360);
    EXPECT_EQ(CMMUtility::ChangeSpeedUnits(2), 0);
    EXPECT_EQ(CMMUtility::ChangeSpeedUnits(65535), -19357);  // 32-bit product wraps
    EXPECT_EQ(CMMUtility::ChangeDOPUnits(256), 10);
    EXPECT_EQ(CMMUtility::ChangeDOPUnits(25), 0);

    tagLonLatDouble nmea = CMMUtility::NmeaToDegree(12730.0, 3715.0);
    EXPECT_EQ(nmea.dLon, 127.5);
    EXPECT_EQ(nmea.dLat, 37.25);
    _mLonLat gt = CMMUtility::GTConvert(1.0, -0.5);
    EXPECT_EQ(gt.lLon, 3686400);
    EXPECT_EQ(gt.lLat, 0);
}

// Every path between integer units, DMS, degrees and radians comes back to the start, to the
// last unit where the path truncates.
TEST(GeoUnits, RoundTripsAgree)
{
    std::mt19937 rng(7);
    std::uniform_int_distribution<int32_t> unit(-64800000, 64800000);
    for (int i = 0; i < 20000; ++i) {
        int32_t lon = unit(rng), lat = unit(rng) / 2;
        double dLon, dLat, rLon, rLat;
        CMMUtility::LonLatToDegree(lon, lat, &dLon, &dLat);
        CMMUtility::LonLatToRadian(lon, lat, &rLon, &rLat);
        tagLonLatDMS dms{};
        CMMUtility::LonLatToDMS(lon, lat, &dms);
        double mLon, mLat;
        CMMUtility::DMSToDegree(dms, &mLon, &mLat);
        ASSERT_EQ(mLon, dLon);
        ASSERT_EQ(mLat, dLat);
        ASSERT_EQ(CMMUtility::DMSToRadian(dms.lonDegree, dms.lonMinute, dms.lonSecond), rLon);

        _mLonLat back = CMMUtility::DegreeToLonLat(dLon, dLat);
        ASSERT_LE(std::abs(back.lLon - lon), 1) << lon;
        ASSERT_LE(std::abs(back.lLat - lat), 1) << lat;
        _mLonLat fromRad = CMMUtility::RadianToLonLat(rLon, rLat);
        ASSERT_LE(std::abs(fromRad.lLon - lon), 1) << lon;
        ASSERT_LE(std::abs(fromRad.lLat - lat), 1) << lat;

        short d, m;
        double s;
        CMMUtility::RadianToDMS(rLon, &d, &m, &s);
        ASSERT_NEAR(d + m / 60.0 + s / 3600.0, dLon, 1e-9);
        tagLonLatDMS split{};
        CMMUtility::DegreeToDMS(dLon, dLat, &split);
        ASSERT_NEAR(split.latDegree * 3600.0 + split.latMinute * 60.0 + split.latSecond, lat / 100.0, 1e-6);
    }
}

}  // namespace
