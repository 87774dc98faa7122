#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include "module/geo/OffsetTransform.h"

namespace {

// 1/1024 arc-second: 3686400 per degree.
constexpr unsigned kLon = 429096960;  // 116.4 E
constexpr unsigned kLat = 147087360;  // 39.9 N

auto State()
{
    return std::tie(casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f);
}

int Call(unsigned lon, unsigned time, unsigned* outLon = nullptr, unsigned* outLat = nullptr)
{
    unsigned ol = 1, oa = 1;
    return wgtochina_lb(1, lon, kLat, 50, 0, time, outLon ? outLon : &ol, outLat ? outLat : &oa);
}

TEST(GeoOffset, RegionAndHeightBounds)
{
    const struct { unsigned lon, lat; int height; bool pass; } rows[] = {
        {265435546, kLat, 0, true},  {265435545, kLat, 0, false},  {508113838, kLat, 0, true},
        {508113839, kLat, 0, false}, {kLon, 3057132, 0, true},     {kLon, 3057131, 0, false},
        {kLon, 205801021, 0, true},  {kLon, 205801022, 0, false},  {kLon, kLat, 5000, true},
        {kLon, kLat, 5001, false},   {kLon, kLat, -400, true},
    };
    for (const auto& r : rows) {
        unsigned lon = 7, lat = 7;
        EXPECT_EQ(wgtochina_lb(0, r.lon, r.lat, r.height, 0, 1000, &lon, &lat), r.pass ? 0 : -27137)
            << r.lon << "," << r.lat << "," << r.height;
        EXPECT_EQ(lon, r.pass ? r.lon : 0u);  // mode 0 passes the position through
        EXPECT_EQ(lat, r.pass ? r.lat : 0u);
    }
}

TEST(GeoOffset, StateOverACallSequence)
{
    State() = std::make_tuple(0u, 0u, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0);
    // From the load-time zeros: a large dt, no armed check, the zero candidate becomes the reference.
    EXPECT_EQ(Call(kLon, 500000), 0);
    EXPECT_EQ(std::make_tuple(casm_t1, casm_x1, casm_f), std::make_tuple(500000u, 0.0, 3.0));
    EXPECT_EQ(Call(kLon, 500000), 0);  // same time: counter +3, disarmed
    EXPECT_EQ(casm_f, 6.0);

    const unsigned t0 = 1000000;
    unsigned lon = 0, lat = 0;
    ASSERT_EQ(wgtochina_lb(0, kLon, kLat, 50, 0, t0, &lon, &lat), 0);
    EXPECT_EQ(std::make_tuple(casm_f, casm_rr), std::make_tuple(3.0, t0 - static_cast<int>(t0 / 0.357) * 0.357));
    EXPECT_EQ(Call(kLon, t0 + 60000), 0);  // within 120 s: only the call time moves
    EXPECT_EQ(std::make_tuple(casm_t1, casm_t2, casm_f), std::make_tuple(t0, t0 + 60000, 3.0));

    const unsigned slow = kLon + 3185 * 200 - 1000, fast = slow + 3185 * 200 + 1000;
    EXPECT_EQ(Call(slow, t0 + 200000), 0);  // 3180 units/s: accepted, reference moves
    EXPECT_EQ(std::make_tuple(casm_x1, casm_t1, casm_f), std::make_tuple(double(slow), t0 + 200000, 3.0));
    EXPECT_EQ(Call(fast, t0 + 400000, &lon, &lat), -27137);  // 3190 units/s
    EXPECT_EQ(std::make_pair(lon, lat), std::make_pair(0u, 0u));
    EXPECT_EQ(std::make_tuple(casm_f, casm_x2, casm_x1, casm_t1), std::make_tuple(0.0, double(fast), double(slow), t0 + 200000));
    EXPECT_EQ(Call(kLon, t0 + 600000), 0);  // disarmed: the rejected jump becomes the reference
    EXPECT_EQ(std::make_tuple(casm_x1, casm_f), std::make_tuple(double(fast), 3.0));
    EXPECT_EQ(Call(fast + 3185 * 200 * 2, t0 + 500000), 0);  // backwards clock: huge dt, passes
    EXPECT_EQ(casm_t1, t0 + 500000);
}

TEST(GeoOffset, DeterministicTermAndDisplacement)
{
    unsigned lon = 0, lat = 0;
    wgtochina_lb(0, kLon, kLat, 0, 0, 0, &lon, &lat);
    EXPECT_EQ(casm_rr, 0.3);
    ASSERT_EQ(wgtochina_lb(0, kLon, kLat, 50, 0, 1234567, &lon, &lat), 0);
    const auto seeded = std::make_tuple(casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f);
    unsigned lon1 = 0, lat1 = 0, lon2 = 0, lat2 = 0;
    ASSERT_EQ(Call(kLon, 1240000, &lon1, &lat1), 0);
    const double rrAfter = casm_rr;
    State() = seeded;
    random_yj();
    EXPECT_EQ(random_yj(), rrAfter);  // two draws per call
    EXPECT_TRUE(rrAfter >= 0.0 && rrAfter < 1.0);
    State() = seeded;
    ASSERT_EQ(Call(kLon, 1240000, &lon2, &lat2), 0);
    EXPECT_EQ(std::make_pair(lon1, lat1), std::make_pair(lon2, lat2));
    // Held the same on every platform, to the unit: about 570 m from the input.
    EXPECT_EQ(std::make_pair(lon1, lat1), std::make_pair(429119998u, 147092562u));
}

TEST(GeoOffset, SeriesSine)
{
    EXPECT_EQ(yj_sin2(-7.0), -yj_sin2(7.0));
    EXPECT_EQ(yj_sin2(4.0), -yj_sin2(4.0 - 3.141592653589793));
    for (double x = -20.0; x <= 20.0; x += 0.01) ASSERT_NEAR(yj_sin2(x), std::sin(x), 5e-4) << x;  // series ends at x^11
}

}  // namespace
