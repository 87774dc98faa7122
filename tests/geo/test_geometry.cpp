#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "module/geo/MMUtility.h"

namespace {

using U = CMMUtility;

TEST(GeoGeometry, HeadingHelpersOverGrid)
{
    EXPECT_EQ(U::CalAngleAverage(0, 3000), 300);  // across north: 1800 - c, kept
    EXPECT_EQ(U::CalAngleAverage(100, 3500), 0);
    EXPECT_EQ(U::CalAngleDiffBy1800(3500, 100), 200);
    EXPECT_EQ(U::CalAngleDiffBy1800(0, 1800), 1800);
    EXPECT_EQ(U::CalAngleDiffBy1800(1800, 0), -1800);
    for (short a = 0; a < 3600; a += 45)
        for (short b = 0; b < 3600; b += 45) {
            const int abs = std::abs(a - b), shortest = abs <= 1800 ? abs : 3600 - abs;
            ASSERT_EQ(U::CalAngleDiffByAbs3600(a, b), abs);
            ASSERT_EQ(U::CalAngleDiffByAbs1800(a, b), shortest);
            const short d = U::CalAngleDiffBy1800(a, b);
            ASSERT_EQ(std::abs(d), shortest) << a << "," << b;
            ASSERT_EQ(((a + d) % 3600 + 3600) % 3600, b) << a << "," << b;
            const short avg = U::CalAngleAverage(a, b);
            ASSERT_TRUE(avg >= 0 && avg < 3600);
            if (abs <= 1800) {  // the plain midpoint: halfway along the short arc
                ASSERT_LE(std::abs(U::CalAngleDiffByAbs1800(avg, a) - U::CalAngleDiffByAbs1800(avg, b)), 1) << a << "," << b;
                ASSERT_LE(U::CalAngleDiffByAbs1800(avg, a), 900);
            }
        }
}

std::string Scales(long lat, bool squared = false)
{
    unsigned short lon = 0, la = 0;
    (squared ? UtilGetGoldenRatioSquare : UtilGetGoldenRatio)(lat, &lon, &la);
    return std::to_string(lon) + "," + std::to_string(la);
}

TEST(GeoGeometry, ScaleBandsAndDisplacement)
{
    EXPECT_EQ(Scales(45 * 360000), "209,308");
    EXPECT_EQ(Scales(100000), "209,308");  // near the equator: the band chosen last
    EXPECT_EQ(Scales(-100000, true), "4,10");
    EXPECT_EQ(Scales(-1800000), "306,307");
    EXPECT_EQ(Scales(1799999), "309,307");
    EXPECT_EQ(Scales(89 * 360000), "143,309");

    Scales(1000000);  // band 0 for the equator case below
    long dx = 0, dy = 7;
    U::LonLatDiffToDistDiff(0, _mLonLat{10000, -9999}, &dx, &dy);
    EXPECT_EQ(dx, 1000 * mSqrt(10 * 1000 * 1000));
    EXPECT_EQ(dy, -100 * mSqrt(9u * 9999 * 9999));
    U::LonLatDiffToDistDiff(0, _mLonLat{-123456789, 0}, &dx, nullptr);
    // Both the squared product and the 100000-fold result wrap in 32 bits.
    EXPECT_EQ(dx, static_cast<int32_t>(0u - 100000u * static_cast<uint32_t>(mSqrt(10 * 123456 * 123456u))));

    _mLonLat from{45720000, 13500000}, to{0, 0};
    EXPECT_EQ(U::CalDeltaMovingPosition(&from, 20000, 0, &to), 1);
    EXPECT_EQ(to.lLon, from.lLon);
    EXPECT_EQ(to.lLat, from.lLat + 64);  // 20000 * 100000 / 308 / 100000
    // Beyond about 21 m the 32-bit product wraps and the step turns round.
    U::CalDeltaMovingPosition(&from, 30000, 0, &to);
    EXPECT_EQ(to.lLat, from.lLat - 42);
    EXPECT_EQ(U::CalDeltaMovingPosition(&from, 20000, 0, nullptr), 0);
    // Going a distance and measuring it back agrees to the few per cent the rounded squared
    // scales allow.
    for (unsigned short h = 0; h < 360; h += 15) {
        U::CalDeltaMovingPosition(&from, 21000, h, &to);
        U::LonLatDiffToDistDiff(from.lLat, _mLonLat{to.lLon - from.lLon, to.lLat - from.lLat}, &dx, &dy);
        EXPECT_NEAR(dx, 21000 * U::mSin(h) / 100000.0, 1000) << h;
        EXPECT_NEAR(dy, 21000 * U::mCos(h) / 100000.0, 1000) << h;
    }
}

TEST(GeoGeometry, SideVerticalAngleAndLinkRuns)
{
    _mLonLat a{0, 0}, b{1000, 1000}, left{0, 1000}, right{1000, 0};
    EXPECT_EQ(U::CalcPosSide(&a, &b, &left), 1);
    EXPECT_EQ(U::CalcPosSide(&a, &b, &right), 2);
    EXPECT_EQ(U::CalcPosSide(&a, &b, &b), 0);
    _mLonLat far{100000, 100000}, p{122000, 100000};  // the 32-bit cross product wraps: right reads as left
    EXPECT_EQ(U::CalcPosSide(&a, &far, &p), 1);

    EXPECT_EQ(U::CalVAngle(1000, 10, 0), 45);
    EXPECT_EQ(U::CalVAngle(1000, 0, 10), -45);
    EXPECT_EQ(U::CalVAngle(99, 10, 0), 0);  // under a metre: no angle

    EXPECT_EQ(U::MultiLinkInclude(6, 2, 5, 3), 1);
    EXPECT_EQ(U::MultiLinkInclude(5, 4, 5, 3) * 10 + U::MultiLinkInclude(5, 3, 5, 3), 1);  // same start
    EXPECT_EQ(U::MultiLinkInclude(4, 1, 5, 3), 0);
    EXPECT_EQ(U::MultiLinkInclude(0xFFFFFFFFul, 2, 10, 0), 1);  // 32-bit sum wraps
}

}  // namespace
