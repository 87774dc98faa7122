#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

#include "module/geo/MMUtility.h"

namespace {

// The tables are generated (scripts/gen_trig_tables.py); these are the entries callers lean on.
TEST(GeoTrig, TablesKeepTheirTwoExceptionsAndTruncation)
{
    EXPECT_EQ(nMMTanTable[45], 100000);
    EXPECT_EQ(nMMTanTable[90], 0);
    EXPECT_EQ(nMMSinTable[30], 49999);  // truncation lands just below the whole number
    EXPECT_EQ(nMMCosTable[120], -49999);

    EXPECT_EQ(CMMUtility::mSin(-30), -49999);
    EXPECT_EQ(CMMUtility::mSin(30 + 720), 49999);
    EXPECT_EQ(CMMUtility::mCos(-60), 50000);
    EXPECT_EQ(CMMUtility::mTan(225), 100000);
    EXPECT_EQ(CMMUtility::mTan(-91), 5728996);
}

// Reference for the searches: the bracketing pair of a monotonic scan, then the neighbour rule.
long ScanAcos(long v)
{
    if (v < -100000 || v > 100000) return 0;
    int i = 0;
    while (i < 180 && nMMCosTable[i + 1] >= v) ++i;  // cos[i] >= v > cos[i + 1]
    if (nMMCosTable[i] == v || i == 180) return i;
    return std::labs(nMMCosTable[i + 1] - v) < std::labs(nMMCosTable[i] - v) ? i + 1 : i;
}

long ScanAtan(long v, bool nearest)
{
    if (std::labs(v) > 5728996) return v > 0 ? 90 : -90;
    if (v <= 0) return 0;  // the search compares the signed value
    int i = 0;
    while (i < 89 && nMMTanTable[i + 1] <= v) ++i;  // tan[i] <= v < tan[i + 1]
    if (nearest && nMMTanTable[i] != v && std::labs(nMMTanTable[i + 1] - v) < std::labs(nMMTanTable[i] - v)) ++i;
    return i;
}

TEST(GeoTrig, SearchesMatchTableScan)
{
    // The reference agrees with the worked values first.
    EXPECT_EQ(ScanAcos(50000), 60);
    EXPECT_EQ(ScanAtan(100000, true), 45);
    EXPECT_EQ(ScanAtan(-100000, true), 0);

    std::vector<long> probes = {-6000000, -5728997, -5728996, -100000, -1, 0, 1, 5728997, 6000000};
    for (int i = 0; i <= 180; ++i)
        for (int d = -1; d <= 1; ++d) {
            probes.push_back(nMMCosTable[i] + d);
            if (i < 90) probes.push_back(nMMTanTable[i] + d);
        }
    std::mt19937 rng(3);
    std::uniform_int_distribution<long> any(-5800000, 5800000), unit(-100001, 100001);
    for (int i = 0; i < 20000; ++i) {
        probes.push_back(any(rng));
        probes.push_back(unit(rng));
    }
    for (long v : probes) {
        ASSERT_EQ(CMMUtility::mAcos(v), ScanAcos(v)) << v;
        ASSERT_EQ(CMMUtility::mAsin(v), 90 - ScanAcos(v)) << v;
        ASSERT_EQ(CMMUtility::mAtan(v), ScanAtan(v, true)) << v;
        ASSERT_EQ(mAtan(v), ScanAtan(v, false)) << v;
    }
}

TEST(GeoTrig, SqrtAndAtan2)
{
    std::mt19937 rng(5);
    std::uniform_int_distribution<uint32_t> below30(0, (1u << 30) - 1);
    for (int i = 0; i < 100000; ++i) {
        const uint32_t x = i < 4096 ? static_cast<uint32_t>(i) * static_cast<uint32_t>(i) : below30(rng);
        ASSERT_LE(std::fabs(mSqrt(x) - std::sqrt(static_cast<double>(x))), 1.0) << x;
    }

    EXPECT_EQ(mAtan2(0, -5), 180);
    EXPECT_EQ(mAtan2(-1, 0), -90);
    EXPECT_EQ(mAtan2(5, 0), 90);
    // The 100000-fold ratio wraps in 32 bits for large y; callers have always seen -90 here.
    EXPECT_EQ(mAtan2(200000000, 1), -90);
    const long mags[] = {1, 7, 99, 5000, 9999, 10000, 123456, 999999, 5000000, 87654321, 999999999, 2000000000};
    for (long ay : mags)
        for (long ax : mags)
            for (int q = 0; q < 4; ++q) {
                const long y = q & 1 ? -ay : ay, x = q & 2 ? -ax : ax;
                if (ay > 9999 && ay <= 999999999 && ay / ax > 21474) continue;  // the wrap above
                // Whole degrees from a floor search, on a ratio that keeps one digit less for
                // every digit y has beyond four (up to nine).
                double ratioStep = 1e-5;
                for (long lim = 9999; ay > lim && lim < 999999999 && ay <= 999999999; lim = lim * 10 + 9) ratioStep *= 10;
                const double want = std::atan2(static_cast<double>(y), static_cast<double>(x)) * 180.0 / M_PI;
                ASSERT_LE(std::fabs(mAtan2(y, x) - want), 1.0 + ratioStep * 180.0 / M_PI) << y << "," << x;
            }
}

}  // namespace
