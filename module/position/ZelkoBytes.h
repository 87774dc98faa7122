// Little-endian field access for Zelko frames. Every multi-byte value of the protocol is read
// (and every value of a frame written) through these, so byte order and alignment live in one
// place. T is one of the fixed-width integers or float (IEEE single precision).
#ifndef GPSDR_POSITION_ZELKOBYTES_H
#define GPSDR_POSITION_ZELKOBYTES_H

#include <cstdint>
#include <cstring>
#include <type_traits>

template <class T>
inline T ZelkoGetLE(const unsigned char* p)
{
    static_assert(std::is_arithmetic<T>::value && sizeof(T) <= 4, "a protocol value is at most 32 bits");
    uint32_t bits = 0;
    for (unsigned i = 0; i < sizeof(T); ++i) bits |= static_cast<uint32_t>(p[i]) << (8 * i);
    if constexpr (std::is_floating_point<T>::value) {
        T v;
        std::memcpy(&v, &bits, sizeof v);
        return v;
    } else {
        return static_cast<T>(bits);
    }
}

template <class T>
inline void ZelkoPutLE(unsigned char* p, T value)
{
    static_assert(std::is_arithmetic<T>::value && sizeof(T) <= 4, "a protocol value is at most 32 bits");
    uint32_t bits = 0;
    if constexpr (std::is_floating_point<T>::value) {
        std::memcpy(&bits, &value, sizeof value);
    } else {
        bits = static_cast<uint32_t>(value);
    }
    for (unsigned i = 0; i < sizeof(T); ++i) p[i] = static_cast<unsigned char>(bits >> (8 * i));
}

#endif
