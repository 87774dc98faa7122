#include <gtest/gtest.h>

#include <cmath>

#include "module/geo/OffsetTransform.h"

namespace {

// 1/1024 arc-second: 3686400 per degree.
constexpr unsigned kLon = 429096960;  // 116.4 E
constexpr unsigned kLat = 147087360;  // 39.9 N

struct Casm {
    uint32_t t1, t2;
    double rr, x1, y1, x2, y2, f;
};

Casm Save() { return Casm{casm_t1, casm_t2, casm_rr, casm_x1, casm_y1, casm_x2, casm_y2, casm_f}; }

void Load(const Casm& s)
{
    casm_t1 = s.t1, casm_t2 = s.t2, casm_rr = s.rr, casm_f = s.f;
    casm_x1 = s.x1, casm_y1 = s.y1, casm_x2 = s.x2, casm_y2 = s.y2;
}

int Call(unsigned lon, unsigned time, unsigned* outLon = nullptr, unsigned* outLat = nullptr)
{
    unsigned ol = 1, oa = 1;
    return wgtochina_lb(1, lon, kLat, 50, 0, time, outLon ? outLon : &ol, outLat ? outLat : &oa);
}

TEST(GeoOffset, RegionAndHeightBounds)
{
    struct Row {
        unsigned lon, lat;
        int height;
        bool pass;
    };
    const Row rows[] = {
        {265435546, kLat, 0, true},  {265435545, kLat, 0, false},  {508113838, kLat, 0, true},
        {508113839, kLat, 0, false}, {kLon, 3057132, 0, true},     {kLon, 3057131, 0, false},
        {kLon, 205801021, 0, true},  {kLon, 205801022, 0, false},  {kLon, kLat, 5000, true},
        {kLon, kLat, 5001, false},   {kLon, kLat, -400, true},
    };
    for (const Row& r : rows) {
        unsigned lon = 7, lat = 7;
        int rc = wgtochina_lb(0, r.lon, r.lat, r.height, 0, 1000, &lon, &lat);
        EXPECT_EQ(rc, r.pass ? 0 : -27137) << r.lon << "," << r.lat << "," << r.height;
        EXPECT_EQ(lon, r.pass ? r.lon : 0u);  // mode 0 passes the position through
        EXPECT_EQ(lat, r.pass ? r.lat : 0u);
    }
}

TEST(GeoOffset, StateOverACallSequence)
{
    Load(Casm{});
    // From the load-time zeros: a large dt, no armed check, the zero candidate becomes the reference.
    EXPECT_EQ(Call(kLon, 500000), 0);
    EXPECT_EQ(casm_t1, 500000u);
    EXPECT_EQ(casm_x1, 0.0);
    EXPECT_EQ(casm_f, 3.0);
    EXPECT_EQ(Call(kLon, 500000), 0);  // same time: counter +3, disarmed
    EXPECT_EQ(casm_f, 6.0);

    const unsigned t0 = 1000000;
    unsigned lon = 0, lat = 0;
    ASSERT_EQ(wgtochina_lb(0, kLon, kLat, 50, 0, t0, &lon, &lat), 0);
    EXPECT_EQ(casm_f, 3.0);
    EXPECT_EQ(casm_rr, t0 - static_cast<int>(t0 / 0.357) * 0.357);
    EXPECT_EQ(Call(kLon, t0 + 60000), 0);  // within 120 s: only the call time moves
    EXPECT_EQ(casm_t1, t0);
    EXPECT_EQ(casm_t2, t0 + 60000);
    EXPECT_EQ(casm_f, 3.0);

    const unsigned slow = kLon + 3185 * 200 - 1000, fast = slow + 3185 * 200 + 1000;
    EXPECT_EQ(Call(slow, t0 + 200000), 0);  // 3180 units/s: accepted, reference moves
    EXPECT_EQ(casm_x1, slow);
    EXPECT_EQ(casm_t1, t0 + 200000);
    EXPECT_EQ(casm_f, 3.0);
    EXPECT_EQ(Call(fast, t0 + 400000, &lon, &lat), -27137);  // 3190 units/s
    EXPECT_EQ(lon, 0u);
    EXPECT_EQ(lat, 0u);
    EXPECT_EQ(casm_f, 0.0);
    EXPECT_EQ(casm_x2, fast);
    EXPECT_EQ(casm_x1, slow);
    EXPECT_EQ(casm_t1, t0 + 200000);
    EXPECT_EQ(Call(kLon, t0 + 600000), 0);  // disarmed: the rejected jump becomes the reference
    EXPECT_EQ(casm_x1, fast);
    EXPECT_EQ(casm_f, 3.0);
    EXPECT_EQ(Call(fast + 3185 * 200 * 2, t0 + 500000), 0);  // backwards clock: huge dt, passes
    EXPECT_EQ(casm_t1, t0 + 500000);
}

TEST(GeoOffset, DeterministicTermAndDisplacement)
{
    unsigned lon = 0, lat = 0;
    wgtochina_lb(0, kLon, kLat, 0, 0, 0, &lon, &lat);
    EXPECT_EQ(casm_rr, 0.3);
    ASSERT_EQ(wgtochina_lb(0, kLon, kLat, 50, 0, 1234567, &lon, &lat), 0);
    const Casm seeded = Save();
    unsigned lon1 = 0, lat1 = 0, lon2 = 0, lat2 = 0;
    ASSERT_EQ(Call(kLon, 1240000, &lon1, &lat1), 0);
    const double rrAfter = casm_rr;
    Load(seeded);
    random_yj();
    EXPECT_EQ(random_yj(), rrAfter);  // two draws per call
    EXPECT_TRUE(rrAfter >= 0.0 && rrAfter < 1.0);
    Load(seeded);
    ASSERT_EQ(Call(kLon, 1240000, &lon2, &lat2), 0);
    EXPECT_EQ(lon1, lon2);
    EXPECT_EQ(lat1, lat2);
    // Held the same on every platform, to the unit.
    EXPECT_EQ(lon1, 429119998u);
    EXPECT_EQ(lat1, 147092562u);
    // Some hundreds of metres (one unit is about 3 cm of latitude).
    double dLon = (static_cast<double>(lon1) - kLon) * 0.0237, dLat = (static_cast<double>(lat1) - kLat) * 0.0302;
    EXPECT_GT(std::hypot(dLon, dLat), 100.0);
    EXPECT_LT(std::hypot(dLon, dLat), 1000.0);
    EXPECT_NEAR(Transform_jyj5(39.9, 111000.0), 1.0, 0.01);
    EXPECT_NEAR(Transform_jy5(60.0, 111000.0), 2.0, 0.02);
}

TEST(GeoOffset, SeriesSine)
{
    EXPECT_EQ(yj_sin2(-7.0), -yj_sin2(7.0));
    EXPECT_EQ(yj_sin2(4.0), -yj_sin2(4.0 - 3.141592653589793));
    for (double x = -20.0; x <= 20.0; x += 0.01) ASSERT_NEAR(yj_sin2(x), std::sin(x), 5e-4) << x;  // series ends at x^11
}

}  // namespace
