// Integer conversions shared by the geodesy sources.
#ifndef GPSDR_MODULE_GEO_MMNUMERIC_H
#define GPSDR_MODULE_GEO_MMNUMERIC_H

#include <cstdint>

constexpr double kMMPi = 3.141592653589793;

// Double to integer toward zero with the saturating behaviour of the ARM instructions the
// module code was tuned on: out-of-range values clamp and NaN gives 0. A plain cast is
// undefined there, and x86-64 would disagree with ARM (-1.5 to unsigned is 0xFFFFFFFF on x86).
inline int32_t GeoTruncS32(double v)
{
    if (v != v) return 0;
    if (v >= 2147483648.0) return INT32_MAX;
    if (v <= -2147483649.0) return INT32_MIN;
    return static_cast<int32_t>(v);
}

inline uint32_t GeoTruncU32(double v)
{
    if (!(v > -1.0)) return 0;  // negatives and NaN
    if (v >= 4294967296.0) return UINT32_MAX;
    return static_cast<uint32_t>(v);
}

// Coordinates and angles are 32-bit quantities whatever the width of the `long` that carries
// them, so LP64 and ILP32 builds agree.
inline int32_t GeoS32(long v) { return static_cast<int32_t>(static_cast<uint32_t>(v)); }
inline uint32_t GeoU32(unsigned long v) { return static_cast<uint32_t>(v); }

// Wrapping 32-bit signed arithmetic, done in unsigned to stay defined.
inline int32_t GeoWrapS32(uint32_t v) { return static_cast<int32_t>(v); }
inline uint32_t GeoAbsU32(int32_t v) { return v < 0 ? 0u - static_cast<uint32_t>(v) : static_cast<uint32_t>(v); }

#endif  // GPSDR_MODULE_GEO_MMNUMERIC_H
