// Millimetres per coordinate unit by 5-degree latitude band.
#include <atomic>

#include "module/geo/MMUtility.h"

#include "module/geo/MMNumeric.h"

namespace {

struct ScaleRow {
    uint16_t lonSq, latSq;  // squared scale / 10000, rounded
    uint16_t lon, lat;      // mm per 1/100 arc-second at the band's middle
};

constexpr int16_t kLastBand = 12;  // 60 degrees and beyond

constexpr ScaleRow kScaleRows[kLastBand + 1] = {
    {10, 9, 309, 307}, {9, 9, 306, 307},  {9, 9, 303, 307},  {9, 9, 295, 307}, {8, 9, 285, 307},
    {8, 9, 274, 307},  {7, 9, 261, 308},  {6, 10, 245, 308}, {5, 10, 228, 308}, {4, 10, 209, 308},
    {4, 10, 188, 309}, {3, 10, 166, 309}, {2, 10, 143, 309},
};

constexpr uint32_t kNearEquator = 100000;  // about 0.28 degree
constexpr uint32_t kUnitsPerBand = 1800000;

// Near the equator the band cannot be told from noise, so the last band chosen is reused.
// Shared by every thread without a lock: a neighbour's band near the equator is acceptable.
std::atomic<int16_t> g_nScaleBand{0};

const ScaleRow& RowForLatitude(long lat)
{
    uint32_t a = GeoAbsU32(GeoS32(lat));
    int16_t band;
    if (a <= kNearEquator) {
        band = g_nScaleBand.load(std::memory_order_relaxed);
        if (band < 0) band = 0;
        if (band > kLastBand) band = kLastBand;
    } else {
        uint32_t b = a / kUnitsPerBand;
        band = b > static_cast<uint32_t>(kLastBand) ? kLastBand : static_cast<int16_t>(b);
    }
    g_nScaleBand.store(band, std::memory_order_relaxed);
    return kScaleRows[band];
}

}  // namespace

void UtilGetGoldenRatio(long lat, unsigned short* lonScale, unsigned short* latScale)
{
    const ScaleRow& row = RowForLatitude(lat);
    if (lonScale) *lonScale = row.lon;
    if (latScale) *latScale = row.lat;
}

void UtilGetGoldenRatioSquare(long lat, unsigned short* lonSq, unsigned short* latSq)
{
    const ScaleRow& row = RowForLatitude(lat);
    if (lonSq) *lonSq = row.lonSq;
    if (latSq) *latSq = row.latSq;
}
