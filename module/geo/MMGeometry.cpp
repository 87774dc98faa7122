// Heading arithmetic, side-of-line test and small displacements over the ground.
#include "module/geo/MMUtility.h"

#include "module/geo/MMNumeric.h"

namespace {

constexpr unsigned short kDefaultLonScale = 244;
constexpr unsigned short kDefaultLatScale = 300;

// A component of at most four digits keeps the product q * d * d inside 32 bits; larger ones
// lose a digit per step, up to three.
int32_t ComponentToMillimetres(unsigned short q, int32_t component)
{
    uint32_t d = GeoAbsU32(component);
    uint32_t scale = 100;
    while (d > 9999 && scale < 100000) {
        d /= 10;
        scale *= 10;
    }
    uint32_t out = scale * static_cast<uint32_t>(mSqrt(static_cast<uint32_t>(q) * d * d));
    return GeoWrapS32(component < 0 ? 0u - out : out);
}

int32_t MoveAlong(int32_t origin, int32_t dist, int32_t trig, unsigned short scale)
{
    int32_t step = GeoWrapS32(static_cast<uint32_t>(dist) * static_cast<uint32_t>(trig)) / scale;
    return GeoWrapS32(static_cast<uint32_t>(origin) + static_cast<uint32_t>(step / 100000));
}

}  // namespace

short CMMUtility::CalAngleDiffByAbs3600(short a, short b)
{
    int d = a - b;
    return static_cast<short>(d < 0 ? -d : d);
}

short CMMUtility::CalAngleDiffByAbs1800(short a, short b)
{
    short d = CalAngleDiffByAbs3600(a, b);
    return d <= 1800 ? d : static_cast<short>(3600 - d);
}

short CMMUtility::CalAngleDiffBy1800(short a, short b)
{
    int16_t d = static_cast<int16_t>(b - a);
    if (d > 1800) return static_cast<short>(d - 3600);
    if (d < -1800) return static_cast<short>(d + 3600);
    return d;
}

// Across north the "average" is 1800 - c rather than c + 1800. The matcher was tuned against
// this value, so it is kept.
short CMMUtility::CalAngleAverage(short a, short b)
{
    if (a == b) return a;
    int lo = a < b ? a : b;
    int span = (a < b ? b : a) - lo;
    int c = lo + span / 2;
    int r = span > 1800 ? 1800 - c : c;
    if (r >= 3600) r -= 3600;
    else if (r < 0) r += 3600;
    return static_cast<short>(r);
}

int CMMUtility::CalcPosSide(_mLonLat* a, _mLonLat* b, _mLonLat* p)
{
    if (!a || !b || !p) return 0;
    auto u = [](int32_t v) { return static_cast<uint32_t>(v); };
    int32_t cross = GeoWrapS32((u(b->lLon) - u(a->lLon)) * (u(p->lLat) - u(a->lLat)) -
                               (u(b->lLat) - u(a->lLat)) * (u(p->lLon) - u(a->lLon)));
    if (cross > 0) return 1;
    return cross < 0 ? 2 : 0;
}

int CMMUtility::CalDeltaMovingPosition(_mLonLat* from, long dist, unsigned short headingDeg, _mLonLat* to)
{
    if (!from || !to) return 0;
    unsigned short lonScale = 0, latScale = 0;
    UtilGetGoldenRatio(from->lLat, &lonScale, &latScale);
    if (lonScale == 0) lonScale = kDefaultLonScale;
    if (latScale == 0) latScale = kDefaultLatScale;
    int32_t s = static_cast<int32_t>(mSin(headingDeg));
    int32_t c = static_cast<int32_t>(mCos(headingDeg));
    int32_t d = GeoS32(dist);
    _mLonLat origin = *from;
    to->lLon = MoveAlong(origin.lLon, d, s, lonScale);
    to->lLat = MoveAlong(origin.lLat, d, c, latScale);
    return 1;
}

void CMMUtility::LonLatDiffToDistDiff(long lat, _mLonLat diff, long* dx, long* dy)
{
    unsigned short qLon = 0, qLat = 0;
    UtilGetGoldenRatioSquare(lat, &qLon, &qLat);
    if (dx) *dx = ComponentToMillimetres(qLon, diff.lLon);
    if (dy) *dy = ComponentToMillimetres(qLat, diff.lLat);
}

short CMMUtility::CalVAngle(long dist, short h1, short h2)
{
    int16_t e = static_cast<int16_t>(h1 - h2);
    int32_t k = GeoS32(dist) / 100;
    if (e == 0 || k == 0) return 0;
    return static_cast<short>(mAtan2(e, k));
}

int CMMUtility::MultiLinkInclude(unsigned long start1, unsigned short len1, unsigned long start2,
                                 unsigned short len2)
{
    uint32_t s1 = GeoU32(start1), s2 = GeoU32(start2);
    if (s2 > s1) return 0;
    return s1 + len1 <= s2 + len2 ? 1 : 0;
}
