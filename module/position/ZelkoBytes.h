// Little-endian field access for Zelko frames. Every multi-byte value of the protocol is read
// (and the command floats written) through these, so byte order and alignment live in one place.
#ifndef GPSDR_POSITION_ZELKOBYTES_H
#define GPSDR_POSITION_ZELKOBYTES_H

#include <cstdint>
#include <cstring>

inline uint16_t ZelkoU16(const unsigned char* p)
{
    return static_cast<uint16_t>(p[0] | (p[1] << 8));
}

inline int16_t ZelkoI16(const unsigned char* p)
{
    return static_cast<int16_t>(ZelkoU16(p));
}

inline uint32_t ZelkoU32(const unsigned char* p)
{
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) |
           (static_cast<uint32_t>(p[2]) << 16) | (static_cast<uint32_t>(p[3]) << 24);
}

inline int32_t ZelkoI32(const unsigned char* p)
{
    return static_cast<int32_t>(ZelkoU32(p));
}

inline float ZelkoF32(const unsigned char* p)
{
    const uint32_t bits = ZelkoU32(p);
    float f;
    std::memcpy(&f, &bits, sizeof f);
    return f;
}

inline void ZelkoPutF32(unsigned char* p, float f)
{
    uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    for (int i = 0; i < 4; ++i) p[i] = static_cast<unsigned char>(bits >> (8 * i));
}

#endif
