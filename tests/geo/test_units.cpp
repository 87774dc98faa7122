#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <tuple>

#include "module/geo/MMUtility.h"

namespace {

using U = CMMUtility;

std::string LL(const _mLonLat& p)
{
    return std::to_string(p.lLon) + "," + std::to_string(p.lLat);
}

TEST(GeoUnits, DescribedConversions)
{
    tagLonLatDMS dms{};
    U::LonLatToDMS(-360050, 0, &dms);  // every part carries the sign
    EXPECT_EQ(std::make_tuple(dms.lonDegree, dms.lonMinute, dms.lonSecond), std::make_tuple(short{-1}, short{0}, -0.5));

    EXPECT_EQ(LL(U::DegreeToLonLat(127.5, 37.25)), "45900000,13410000");
    double lon = 0, lat = 0;
    U::LonLatToDegree(45900000, 13410000, &lon, &lat);
    EXPECT_EQ(std::make_pair(lon, lat), std::make_pair(127.5, 37.25));
    EXPECT_EQ(U::DegreeToLonLat(-1.5, 0.0).lLon, -540000);  // through the unsigned split

    EXPECT_EQ(LL(U::ChangeLonLatUnitstoDegree(1073741824, 0)), "32400000,0");
    // The module value is 32-bit: bit 31 set means west even where long is 64 bits wide.
    EXPECT_EQ(U::ChangeLonLatUnitstoDegree(static_cast<long>(0x80000000u), 0).lLon, -64800000);
    EXPECT_EQ(LL(U::ChangeLonLatUnits(2, -1073741824, 1073741824)), "0,331776000");  // west saturates
    EXPECT_EQ(LL(U::ChangeLonLatUnits(1, 1073741824, 536870912)), "32400000,16200000");
    const tagLonLatDouble tokyo = U::Wgs84ToTokyo(90.0, 45.0);
    EXPECT_EQ(LL(U::ChangeLonLatUnits(0, 1073741824, 536870912)), LL(U::DegreeToLonLat(tokyo.dLon, tokyo.dLat)));

    const struct { short (*f)(unsigned short); unsigned short in; short out; } module[] = {
        {U::ChangeHeadUnits, 32768, 1800}, {U::ChangeHeadUnits, 65535, 3599}, {U::ChangeSpeedUnits, 1000, 360},
        {U::ChangeSpeedUnits, 2, 0},       {U::ChangeSpeedUnits, 65535, -19357},  // 32-bit product wraps
        {U::ChangeDOPUnits, 256, 10},      {U::ChangeDOPUnits, 25, 0}};
    for (const auto& m : module) EXPECT_EQ(m.f(m.in), m.out) << m.in;

    const tagLonLatDouble nmea = U::NmeaToDegree(12730.0, 3715.0);
    EXPECT_EQ(std::make_pair(nmea.dLon, nmea.dLat), std::make_pair(127.5, 37.25));
    EXPECT_EQ(LL(U::GTConvert(1.0, -0.5)), "3686400,0");
}

// Every path between integer units, DMS, degrees and radians comes back to the start, to the
// last unit where the path truncates.
TEST(GeoUnits, RoundTripsAgree)
{
    std::mt19937 rng(7);
    std::uniform_int_distribution<int32_t> unit(-64800000, 64800000);
    for (int i = 0; i < 20000; ++i) {
        const int32_t lon = unit(rng), lat = unit(rng) / 2;
        double dLon, dLat, rLon, rLat, mLon, mLat;
        U::LonLatToDegree(lon, lat, &dLon, &dLat);
        U::LonLatToRadian(lon, lat, &rLon, &rLat);
        tagLonLatDMS dms{}, split{};
        U::LonLatToDMS(lon, lat, &dms);
        U::DMSToDegree(dms, &mLon, &mLat);
        ASSERT_EQ(mLon, dLon);
        ASSERT_EQ(mLat, dLat);
        ASSERT_EQ(U::DMSToRadian(dms.lonDegree, dms.lonMinute, dms.lonSecond), rLon);

        const _mLonLat back = U::DegreeToLonLat(dLon, dLat), fromRad = U::RadianToLonLat(rLon, rLat);
        ASSERT_LE(std::max(std::abs(back.lLon - lon), std::abs(back.lLat - lat)), 1) << lon << "," << lat;
        ASSERT_LE(std::max(std::abs(fromRad.lLon - lon), std::abs(fromRad.lLat - lat)), 1) << lon << "," << lat;

        short d, m;
        double s;
        U::RadianToDMS(rLon, &d, &m, &s);
        ASSERT_NEAR(d + m / 60.0 + s / 3600.0, dLon, 1e-9);
        U::DegreeToDMS(dLon, dLat, &split);
        ASSERT_NEAR(split.latDegree * 3600.0 + split.latMinute * 60.0 + split.latSecond, lat / 100.0, 1e-6);
    }
}

}  // namespace
