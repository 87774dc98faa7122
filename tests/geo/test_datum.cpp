#include <gtest/gtest.h>

#include <cmath>

#include "module/geo/MMUtility.h"

namespace {

constexpr double kRad = 3.141592653589793 / 180.0;

TEST(GeoDatum, Wgs84ToTokyoExactDigits)
{
    const tagLonLatDouble t = CMMUtility::Wgs84ToTokyo(127.0, 37.5);
    EXPECT_EQ(t.dLon, 127.00213195912217);
    EXPECT_EQ(t.dLat, 37.49721379702848);
    const _mLonLat p = CMMUtility::Wgs84ToTokyo(_mLonLat{45720000, 13500000});
    EXPECT_EQ(p.lLon, 45720767);
    EXPECT_EQ(p.lLat, 13498996);

    // The table's kind 0 differs only in the last digits of its constants; the wrappers go
    // through DMS and back, and the abridged form is not an exact inverse.
    double lon, lat, dh;
    CMMUtility::GetDatumTransform(0, 127.0 * kRad, 37.5 * kRad, 0.0, &lon, &lat, &dh);
    EXPECT_NEAR(lon / kRad, t.dLon, 1e-9);
    EXPECT_NEAR(lat / kRad, t.dLat, 1e-9);
    const tagLonLatDouble bessel = CMMUtility::Wgs84ToBessel(127.0, 37.5);
    EXPECT_NEAR(std::hypot(bessel.dLon - t.dLon, bessel.dLat - t.dLat), 0.0, 1e-9);
    const tagLonLatDouble back = CMMUtility::BesselToWgs84(bessel.dLon, bessel.dLat);
    EXPECT_NEAR(std::hypot(back.dLon - 127.0, back.dLat - 37.5), 0.0, 1e-6);
}

TEST(GeoDatum, ParameterSetsAndTheirAsymmetry)
{
    const double lon0 = 139.7 * kRad, lat0 = 35.6 * kRad;
    double out[4][3];
    for (int kind = 0; kind < 4; ++kind) {
        const bool forward = kind % 2 == 0;
        CMMUtility::GetDatumTransform(kind, forward ? lon0 : out[kind - 1][0], forward ? lat0 : out[kind - 1][1], 0.0,
                                      &out[kind][0], &out[kind][1], &out[kind][2]);
    }
    // 0 then 1 comes back to within centimetres; 2 then 3 keeps the extra metre of dZ, which
    // shows up as sin(lat) metres of height on top of what 0 then 1 leaves.
    EXPECT_NEAR(out[1][0], lon0, 3e-8);
    EXPECT_NEAR(out[1][1], lat0, 3e-8);
    EXPECT_NEAR(out[0][2] + out[1][2], 0.0, 0.1);
    EXPECT_NEAR((out[2][2] + out[3][2]) - (out[0][2] + out[1][2]), std::sin(lat0), 0.001);
    EXPECT_GT(std::fabs(out[3][1] - lat0), 1e-8);
    EXPECT_NEAR((out[0][1] - lat0) / kRad * 3600.0, -11.0, 2.0);  // a few arc-seconds

    double lon, lat, dh;
    CMMUtility::GetDatumTransform(4, lon0, lat0, 0.0, &lon, &lat, &dh);  // the first unknown kind
    EXPECT_TRUE(std::isnan(lon) && std::isnan(lat) && std::isnan(dh));
}

}  // namespace
