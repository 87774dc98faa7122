// Whole-degree table trigonometry, its inverse searches, integer square root and atan2.
#include "module/geo/MMUtility.h"

#include "module/geo/MMNumeric.h"
#include "module/geo/MMTrigTables.h"

namespace {

int32_t OddLookup(const int32_t* table, uint32_t period, int32_t deg)
{
    if (deg >= 0) return table[static_cast<uint32_t>(deg) % period];
    return -table[GeoAbsU32(deg) % period];
}

struct Bracket {
    int32_t lo, mid, hi;
};

// Bisection over entries 0..last of a monotonic table. It stops when lo meets mid or on an
// exact hit, so mid is not always the nearest entry; callers decide whether to look at hi.
Bracket Bisect(const int32_t* table, int32_t last, int32_t v, bool rising)
{
    Bracket b{0, last / 2, last};
    while (b.lo != b.mid) {
        int32_t diff = table[b.mid] - v;
        if (diff == 0) break;
        if ((diff > 0) == rising) b.hi = b.mid;
        else b.lo = b.mid;
        b.mid = (b.lo + b.hi) / 2;
    }
    return b;
}

int32_t Nearer(const int32_t* table, const Bracket& b, int32_t v)
{
    return GeoAbsU32(table[b.hi] - v) < GeoAbsU32(table[b.mid] - v) ? b.hi : b.mid;
}

constexpr int32_t kTanLimit = 5728996;  // tan 89

bool AtanSaturates(int32_t v) { return GeoAbsU32(v) > static_cast<uint32_t>(kTanLimit); }

// mAtan2's fixed-point ratio: the larger y, the fewer digits kept before the division.
struct RatioStep {
    uint32_t yLimit, numScale, resultScale;
};
constexpr RatioStep kRatioSteps[] = {
    {9999u, 100000u, 1u},     {99999u, 10000u, 10u},     {999999u, 1000u, 100u},
    {9999999u, 100u, 1000u},  {99999999u, 10u, 10000u}, {999999999u, 1u, 100000u},
};

int32_t AtanRatio(uint32_t ay, uint32_t ax)
{
    for (const RatioStep& s : kRatioSteps)
        if (ay <= s.yLimit) return GeoWrapS32(s.numScale * ay / ax * s.resultScale);
    return GeoTruncS32(ay * 0.1 / ax * 1000000.0);
}

}  // namespace

long CMMUtility::mSin(long deg) { return OddLookup(nMMSinTable, 360, GeoS32(deg)); }

long CMMUtility::mCos(long deg) { return nMMCosTable[GeoAbsU32(GeoS32(deg)) % 360]; }

long CMMUtility::mTan(long deg) { return OddLookup(nMMTanTable, 180, GeoS32(deg)); }

long CMMUtility::mAcos(long v)
{
    int32_t v32 = GeoS32(v);
    if (v32 < -100000 || v32 > 100000) return 0;
    return Nearer(nMMCosTable, Bisect(nMMCosTable, 180, v32, false), v32);
}

long CMMUtility::mAsin(long v) { return 90 - mAcos(v); }

// The search runs on the signed value, so every v in [-5728996, 0] gives 0; callers have
// always seen that, and it stays.
long CMMUtility::mAtan(long v)
{
    int32_t v32 = GeoS32(v);
    if (AtanSaturates(v32)) return v32 > 0 ? 90 : -90;
    int32_t a = Nearer(nMMTanTable, Bisect(nMMTanTable, 90, v32, true), v32);
    return v32 <= 0 ? -a : a;
}

// Same search as CMMUtility::mAtan but without the look at the upper neighbour.
long mAtan(long v)
{
    int32_t v32 = GeoS32(v);
    if (AtanSaturates(v32)) return v32 > 0 ? 90 : -90;
    int32_t a = Bisect(nMMAtanTable, 90, v32, true).mid;
    return v32 <= 0 ? -a : a;
}

long mSqrt(unsigned long x)
{
    uint32_t ux = GeoU32(x);
    uint32_t r = 32768, step = 32768;
    for (int round = 0; round < 16; ++round) {
        int32_t t = GeoWrapS32(r * r - ux);
        if (t == 0) return r;
        if (t > 0) r -= step;
        step /= 2;
        r += step;
    }
    return r;
}

long mAtan2(long y, long x)
{
    int32_t y32 = GeoS32(y), x32 = GeoS32(x);
    bool neg = y32 < 0;
    if (x32 == 0) return neg ? -90 : 90;
    int32_t off = neg ? 180 : 0;
    int32_t a = static_cast<int32_t>(mAtan(AtanRatio(GeoAbsU32(y32), GeoAbsU32(x32))));
    if (x32 >= 0) return neg ? -a : a;
    return (neg ? a : 180 - a) - off;
}
